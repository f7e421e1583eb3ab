// ERInfoPoint2D, ERInfoPoint3DWF: a point of a curve with its parameter and its first two
// derivatives, the result of PtCur.
#pragma once

#include "velm/export.h"
#include "velm/frame/dimension.h"
#include "velm/frame/point.h"
#include "velm/frame/vector.h"

#include <iosfwd>

namespace velm::detail {

/// The common part of the info points of the plane and of space. A plain value.
template <class D>
class CurvePoint {
public:
    using Point = typename D::Point;
    using Vector = typename D::Vector;

    /// The parameter of the point on its curve.
    double Parametre = 0.0;
    /// The sense of travel: +1 along the parameter, -1 against it.
    int Sens = 1;

    const Point& point() const { return point_; }
    /// The first derivative by the parameter, not normalised.
    const Vector& tangente() const { return first_; }
    /// The second derivative by the parameter.
    const Vector& second_derivative() const { return second_; }

protected:
    CurvePoint() = default;
    CurvePoint(double parametre, int sens, const Point& point, const Vector& first,
               const Vector& second)
        : Parametre(parametre), Sens(sens), point_(point), first_(first), second_(second) {}

private:
    Point point_;
    Vector first_;
    Vector second_;
};

} // namespace velm::detail

/// A point of a curve in the plane.
class VELM_API ERInfoPoint2D : public velm::detail::CurvePoint<velm::Plane> {
public:
    /// Point and derivatives zero, sense +1.
    ERInfoPoint2D() = default;
    ERInfoPoint2D(double parametre, int sens, const ERPoint2D& point, const ERVector2D& first,
                  const ERVector2D& second)
        : CurvePoint(parametre, sens, point, first, second) {}

    /// The unit tangent turned by +90 degrees; zero for a zero tangent.
    ERVector2D normale() const;

    /// The radius of curvature; the largest finite double if |T x A| is at most 1e-11.
    double radius() const;

    /// One field per line. The labels are fixed; the curvature's label is before radius().
    void printOn(std::ostream& out) const;
};

/// A point of a curve in space.
class VELM_API ERInfoPoint3DWF : public velm::detail::CurvePoint<velm::Space> {
public:
    /// Point and derivatives zero.
    ERInfoPoint3DWF() = default;
    ERInfoPoint3DWF(double parametre, int sens, const ERPoint3D& point, const ERVector3D& first,
                    const ERVector3D& second)
        : CurvePoint(parametre, sens, point, first, second) {}
    /// A point of the plane lifted into a frame: `value` is inserted at `axis`, into the
    /// derivatives too: part of the contract. Then TransFrom maps the point as a point and the
    /// derivatives as vectors. Defined in transforms/curve_sections.cpp.
    ERInfoPoint3DWF(const ERInfoPoint2D& info, const ERTr3DRev& frame, Coord3D axis, double value);

    /// The unit vector of (T x A) x T, towards the centre of curvature; zero if the curve is
    /// straight there.
    ERVector3D normale() const;

    /// As ERInfoPoint2D::radius().
    double radius() const;

    /// Whether the tangent is exactly zero.
    int isTgteSingular() const;

    /// Whether the second derivative, or its cross product with the tangent, is exactly zero.
    int isNormSingular() const;

    /// One field per line, with fixed labels.
    void printOn(std::ostream& out) const;
};

VELM_API std::ostream& operator<<(std::ostream& out, const ERInfoPoint2D& info);
VELM_API std::ostream& operator<<(std::ostream& out, const ERInfoPoint3DWF& info);
