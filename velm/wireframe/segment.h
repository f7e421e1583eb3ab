// ERSegment2D, ERSegment3D: straight pieces between two points, with the parameter interval [0, 1].
#pragma once

#include "velm/frame/finite_entity.h"
#include "velm/frame/point.h"

namespace velm::detail {

/// The common base of the segments of the plane and of space.
template <class D>
class VELM_API Segment : public D::FiniteEntity {
public:
    using Point = typename D::Point;
    using Vector = typename D::Vector;
    using Curve = typename D::FiniteEntity;
    using Curve::approxime;

    /// Both ends at the origin.
    Segment() = default;
    Segment(const Point& p1, const Point& p2) : P1(p1), P2(p2) {}

    const Point& getP1() const { return P1; }
    const Point& getP2() const { return P2; }
    void setP1(const Point& p) { P1 = p; }
    void setP2(const Point& p) { P2 = p; }
    /// P2 - P1, not normalised.
    Vector dirVector() const;

    void scale(double s) override;
    void translate(const Point& v) override;
    /// Swaps the ends.
    void reverse() override;

    typename D::InfoPoint PtCur(double t) override;
    /// P1 + t (P2 - P1); t is not clamped.
    Point operator()(double t) override;
    /// The two ends, for any n.
    ERVec<Point> approxime(int n) override;
    typename D::Box getBox() override;
    /// Of degree 1, with the ends as poles.
    typename D::NurbsCurve ConvertToNurbs() override;
    /// Exact; the tolerance is not used.
    double arcLength(ERLimites interval, double tol) const override;
    double arcLength(double tol) const override;
    /// Gives (P1, point at t) and (point at t, P2), and 1. A t outside [0, 1] gives a point beyond
    /// the ends.
    int splitAt(t_SmartPtr<Curve>& first, t_SmartPtr<Curve>& second, double t) const override;

    /// P1, then P2, as doubles.
    VELM_DECLARE_STORED_FORM();

protected:
    Point at(double t) const;

    Point P1;
    Point P2;

private:
    template <class Self, class Form>
    static void stored_fields(Self& self, Form& form) {
        form(self.P1, self.P2);
    }
};

} // namespace velm::detail

/// A segment of the plane.
class VELM_API ERSegment2D : public velm::detail::Segment<velm::Plane> {
    VELM_DECLARE_CLASS(ERSegment2D)

public:
    using ERFiniteEntity2DWF::SignedMinimalDistance;
    using Segment::Segment;

    /// 0 for any tolerance.
    int isClosed(double tol) const override;

    /// Appends the parameter of the foot of p if it is in [0, 1]; tol is not used. Returns the size
    /// of `params`, including earlier values. A degenerate segment appends nothing.
    int ProjectPoint(const ERPoint2D& p, ERVec<double>& params, double tol) const override;

    void transformFrom(const ERTransfo2D& t) override;
    void transformTo(const ERTransfo2D& t) override;
    /// An ERSegment3D.
    t_SmartPtr<EREntity3DWF> get3DEquiv(const ERPmIsometrie3D& frame) override;

    /// The distance to the segment, positive to the right of its direction, negative to the left
    /// and on its line; t is the parameter of the nearest point, in [0, 1]. Returns DISTMIN_FOUND
    /// if the foot is on the segment within 1e-7 of the parameter, else DISTMIN_AT_END.
    DISTMINRES SignedMinimalDistance(const ERPoint2D& p, double& dist, double& t) override;

    void printOn(std::ostream& out) const override;
    ERObject* getCopy() const override;
};

/// A segment of space.
class VELM_API ERSegment3D : public velm::detail::Segment<velm::Space> {
    VELM_DECLARE_CLASS(ERSegment3D)

public:
    using ERFiniteEntity3DWF::isClosed;
    using Segment::Segment;

    void transformFrom(const ERPmSimilitude3D& t) override;
    void transformFrom(const ERPmIsometrie3D& t) override;
    void transformTo(const ERPmSimilitude3D& t) override;
    void transformTo(const ERPmIsometrie3D& t) override;
    /// An ERSegment2D.
    t_SmartPtr<EREntity2DWF> get2DEntProjectedOn(const ERPmIsometrie3D& frame) override;

    /// The distance to the segment, without a sign; the result as for ERSegment2D.
    DISTMINRES SignedMinimalDistance(const ERPoint3D& p, double& dist) override;

    /// Appends the distance along the segment from P1 to the plane at height z, if it is in [0, 1];
    /// returns the size of `params`, or 0 for a segment parallel to the plane. Part of the
    /// contract: the value is a parameter only on a segment of unit length, and a crossing farther
    /// along than 1 is not found.
    int intersectWithPlanZ(double z, ERVec<double>& params) const override;

    /// 0, always.
    virtual int isClosed() const;

    void printOn(std::ostream& out) const override;
    ERObject* getCopy() const override;
};

/// The position of p between a and b, as the ratio of differences on the axis of the greatest
/// extent. In a tie the later axis is used; equal a and b divide by 0.
VELM_API double div_vect(const ERPoint2D& a, const ERPoint2D& b, const ERPoint2D& p);
VELM_API double div_vect(const ERPoint3D& a, const ERPoint3D& b, const ERPoint3D& p);

extern template class velm::detail::Segment<velm::Plane>;
extern template class velm::detail::Segment<velm::Space>;
