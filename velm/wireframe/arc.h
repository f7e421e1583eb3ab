// ERArc2D: an arc of a circle of the plane. Arc3Points, Arc2PointsCenter: arcs from points.
#pragma once

#include "velm/wireframe/angle_interval.h"
#include "velm/wireframe/circle.h"

/// An arc of a circle between two angles. The parameter t is the angle in radians, regardless of
/// the limits: the arc runs from startAngle to endAngle, clockwise if the end is below the start,
/// while PtCur and getBound always follow the rising angle.
class VELM_API ERArc2D : public ERFiniteEntity2DWFBoundedWithAngle, public ERCircle2D {
    VELM_DECLARE_CLASS(ERArc2D)

public:
    using ERFiniteEntity2DWF::approxime;

    /// The whole turn with radius 0 at the origin.
    ERArc2D() = default;
    ERArc2D(const ERCircle2D& circle, ERRadian start, ERRadian end)
        : ERFiniteEntity2DWFBoundedWithAngle(start, end), ERCircle2D(circle) {}
    ERArc2D(const ERPoint2D& center, double radius, ERRadian start, ERRadian end)
        : ERFiniteEntity2DWFBoundedWithAngle(start, end), ERCircle2D(center, radius) {}

    ERArc2D(const ERArc2D&) = default;
    ERArc2D& operator=(const ERArc2D& other);

    ERInfoPoint2D PtCur(double t) override;
    /// center + radius (cos t, sin t).
    ERPoint2D operator()(double t) override;
    ERMinimax2D getBox() override;
    /// Convert, see curves/conics.h: an arc whose end is below its start gives its complement.
    ERCpoleNURBS2D ConvertToNurbs() override;
    /// Exact; the tolerance is not used.
    double arcLength(ERLimites interval, double tol) const override;
    double arcLength(double tol) const override;
    /// (-cos t, -sin t): towards the center, regardless of the sense of the arc.
    ERVector2D normal(double t) override;
    /// Both pieces are arcs in the sense of this one; t is not tested. Returns 1.
    int splitAt(t_SmartPtr<ERFiniteEntity2DWF>& first, t_SmartPtr<ERFiniteEntity2DWF>& second,
                double t) const override;

    /// Shifts the limits by whole turns until the start is in [0, 2 pi]. A direct arc between 0 and
    /// 2 pi is unchanged.
    void normalized();

    /// Appends the angle of p seen from the center, in (-pi, pi] or, if the limits extend beyond
    /// pi, in [0, 2 pi), if it is between the limits; tol is not used. Returns the size of
    /// `params`, including earlier values, or -1, with nothing appended, if p is exactly the
    /// center.
    int ProjectPoint(const ERPoint2D& p, ERVec<double>& params, double tol) const override;

    /// Appends the angles in (-pi, pi] at which the arc crosses the vertical line x = y (the level
    /// is an abscissa, despite the name: part of the contract), if they are between the limits. If
    /// the line touches the circle, the one angle, 0 or pi, is appended regardless of the limits.
    /// Returns the size of `params`, or 0 for a line that misses the circle.
    int intersectWithAxeY(double y, ERVec<double>& params) const override;

    /// Between the limits, by whole turns: the circle's signed distance and DISTMIN_FOUND. Outside
    /// them the distance to the nearer end, negative for p inside the circle, and DISTMIN_AT_END.
    /// At the center -radius and DISTMIN_EVERYWHERE, with t at the start. t is the nearest point's
    /// parameter.
    DISTMINRES SignedMinimalDistance(const ERPoint2D& p, double& dist, double& t) override;
    DISTMINRES SignedMinimalDistance(const ERPoint2D& p, double& dist) override;

    void scale(double s) override;
    void translate(const ERPoint2D& v) override;
    /// A transformation that keeps orientation adds its angle to the limits. A mirror swaps the
    /// ends: the image runs from the last point to the first in the sense of this arc.
    void transformFrom(const ERTransfo2D& t) override;
    void transformTo(const ERTransfo2D& t) override;
    /// An ERArc3D.
    t_SmartPtr<EREntity3DWF> get3DEquiv(const ERPmIsometrie3D& frame) override;

    /// Swaps the angles.
    void reverse() override;

    void printOn(std::ostream& out) const override;
    ERObject* getCopy() const override;

    /// The circle, then the start and the end angle.
    VELM_DECLARE_STORED_FORM();

private:
    /// The mirror image by a map that reverses orientation.
    template <class Map>
    void mirror(Map map);

    template <class Self, class Form>
    static void stored_fields(Self& self, Form& form) {
        EREntAngle::stored_fields(self, form);
    }
};

/// The arc that runs counter-clockwise from a to c on the circle through a, b and c. Part of the
/// contract: b only fixes the circle, and need not be on the arc. Returns 1, or 0 with the arc
/// unchanged if GetCircle finds no circle.
VELM_API int Arc3Points(ERArc2D& arc, const ERPoint2D& a, const ERPoint2D& b, const ERPoint2D& c);

/// The arc about `center` that runs counter-clockwise from p1 to p2; a whole turn from angle 0 if
/// they agree exactly. With `reversed` set, the one that runs clockwise from p1 to p2, a whole turn
/// from 2 pi to 0. Returns 1, or 0 with the arc unchanged if the distances to the center differ by
/// more than 1e-9.
VELM_API int Arc2PointsCenter(ERArc2D& arc, const ERPoint2D& p1, const ERPoint2D& p2,
                              const ERPoint2D& center, int reversed);
