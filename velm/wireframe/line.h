// ERInfLine2D, ERInfLine3D: infinite lines, and the distances of points and lines to them.
#pragma once

#include "velm/frame/dimension.h"
#include "velm/frame/entity.h"
#include "velm/frame/point.h"
#include "velm/frame/vector.h"

namespace velm::detail {

/// The common base of the lines of the plane and of space. A line keeps a unit direction and, as
/// its origin, the foot of the perpendicular from the coordinates' origin; both are restored
/// whenever the line is set or moved. A direction of length 0 is kept.
template <class D>
class VELM_API InfLine : public D::WireEntity {
public:
    using Point = typename D::Point;
    using Vector = typename D::Vector;

    /// The x axis.
    InfLine() : direction_(static_cast<typename D::Coord>(0)) {}
    /// Through `from` and `to`, in that direction.
    InfLine(const Point& from, const Point& to) : InfLine(Vector(from, to), from) {}
    InfLine(const Vector& direction, const Point& through) { set(direction, through); }
    explicit InfLine(const typename D::Segment& segment);

    const Vector& dirVector() const { return direction_; }
    const Point& origine() const { return origin_; }
    /// The foot of the perpendicular from p.
    Point projectPt(const Point& p) const {
        return origin_ + (Vector(origin_, p) * direction_) * direction_;
    }

    void scale(double s) override;
    void translate(const Point& v) override;
    /// Negates the direction.
    void reverse() override;

    /// The direction, then the origin, as doubles.
    VELM_DECLARE_STORED_FORM();

protected:
    /// Normalises the direction, then moves the origin to the foot from the coordinates' origin.
    void set(const Vector& direction, const Point& through);
    /// Keeps the direction to the last bit.
    void move_to(const Point& through);

    Vector direction_;
    Point origin_;

private:
    template <class Self, class Form>
    static void stored_fields(Self& self, Form& form) {
        form(self.direction_, self.origin_);
    }
};

} // namespace velm::detail

/// A line of the plane, with the normal form a x + b y + c = 0, a^2 + b^2 = 1.
class VELM_API ERInfLine2D : public velm::detail::InfLine<velm::Plane> {
    VELM_DECLARE_CLASS(ERInfLine2D)

public:
    using InfLine::InfLine;
    ERInfLine2D() = default;
    /// The line a x + b y + c = 0 with the direction (-b, a); a and b not both 0.
    ERInfLine2D(double a, double b, double c);

    double a() const { return direction_.j(); }
    double b() const { return -direction_.i(); }
    double c() const { return direction_.i() * origin_.y() - direction_.j() * origin_.x(); }
    /// The unit normal (a, b), to the right of the direction.
    ERVector2D normalVector() const { return {a(), b()}; }

    void transformFrom(const ERTransfo2D& t) override;
    void transformTo(const ERTransfo2D& t) override;
    /// An ERInfLine3D.
    t_SmartPtr<EREntity3DWF> get3DEquiv(const ERPmIsometrie3D& frame) override;

    /// The signed distance a x + b y + c, positive to the right; always DISTMIN_FOUND.
    DISTMINRES SignedMinimalDistance(const ERPoint2D& p, double& dist) override;
    /// The line moved by d along the normal.
    ERInfLine2D parallele(double d) const;
    /// Moves this line by d along its normal.
    void offset(double d);
    /// Whether the directions, or their opposites, are within the angle tol of each other.
    bool isParallelTo(const ERInfLine2D& other, double tol) const;

    void printOn(std::ostream& out) const override;
    ERObject* getCopy() const override;
};

/// A line of space.
class VELM_API ERInfLine3D : public velm::detail::InfLine<velm::Space> {
    VELM_DECLARE_CLASS(ERInfLine3D)

public:
    using InfLine::InfLine;
    ERInfLine3D() = default;

    void transformFrom(const ERPmSimilitude3D& t) override;
    void transformFrom(const ERPmIsometrie3D& t) override;
    void transformTo(const ERPmSimilitude3D& t) override;
    void transformTo(const ERPmIsometrie3D& t) override;
    /// An ERInfLine2D; empty if the line is exactly perpendicular to the plane.
    t_SmartPtr<EREntity2DWF> get2DEntProjectedOn(const ERPmIsometrie3D& frame) override;

    /// The distance to the line, without a sign; always DISTMIN_IN_SPACE, which is part of the
    /// contract.
    DISTMINRES SignedMinimalDistance(const ERPoint3D& p, double& dist) override;
    /// Whether the directions, or their opposites, are within the angle tol of each other.
    bool IsParallelTo(const ERInfLine3D& other, double tol) const;

    void printOn(std::ostream& out) const override;
    ERObject* getCopy() const override;
};

/// The distance from p to the line, without a sign.
VELM_API double distance(const ERInfLine2D& line, const ERPoint2D& p);
VELM_API double distance(const ERInfLine3D& line, const ERPoint3D& p);
/// The distance of two lines: between their closest points or, if `intersect` treats them as
/// parallel, from the second line's origin to the first. Not for lines that are parallel except for
/// rounding: their closest points may be arbitrarily far away.
VELM_API double distance(const ERInfLine3D& first, const ERInfLine3D& second);

extern template class velm::detail::InfLine<velm::Plane>;
extern template class velm::detail::InfLine<velm::Space>;
