// ERCircle2D: a circle of the plane. GetCircle: the circle through three points.
#pragma once

#include "velm/frame/box.h"
#include "velm/frame/entity.h"
#include "velm/frame/point.h"

/// A circle of the plane. It has no ends, and so no parameter interval of its own.
class VELM_API ERCircle2D : public virtual EREntity2DWF {
    VELM_DECLARE_CLASS(ERCircle2D)

public:
    /// Radius 0 at the origin.
    ERCircle2D() = default;
    ERCircle2D(const ERPoint2D& center, double radius) : center_(center), radius_(radius) {}

    const ERPoint2D& center() const { return center_; }
    void setCenter(const ERPoint2D& center) { center_ = center; }
    double radius() const { return radius_; }
    void setRadius(double radius) { radius_ = radius; }
    double diameter() const { return 2.0 * radius_; }
    void setDiameter(double diameter) { radius_ = 0.5 * diameter; }

    /// center + radius (cos t, sin t), t in radians.
    ERPoint2D operator()(double t) const;
    ERMinimax2D getBox() const;
    /// Convert, see curves/conics.h.
    ERCpoleNURBS2D ConvertToNurbs() const;

    /// |p - center| - radius, positive outside. DISTMIN_EVERYWHERE for a p within 1e-11 of the
    /// center, else DISTMIN_FOUND.
    DISTMINRES SignedMinimalDistance(const ERPoint2D& p, double& dist) override;

    /// Multiplies the center and the radius.
    void scale(double s) override;
    void translate(const ERPoint2D& v) override;
    /// The radius is multiplied by the ratio of lengths of t, or of its inverse.
    void transformFrom(const ERTransfo2D& t) override;
    void transformTo(const ERTransfo2D& t) override;
    /// An ERCircle3D.
    t_SmartPtr<EREntity3DWF> get3DEquiv(const ERPmIsometrie3D& frame) override;

    /// Does nothing: a circle has no direction.
    void reverse() override;

    void printOn(std::ostream& out) const override;
    ERObject* getCopy() const override;

    /// The center, then the radius, as doubles.
    VELM_DECLARE_STORED_FORM();

protected:
    template <class Self, class Form>
    static void stored_fields(Self& self, Form& form) {
        form(self.center_, self.radius_);
    }

    ERPoint2D center_;
    double radius_ = 0.0;
};

/// The circle through a, b and c. Returns 1, or 0 if the points are on one line or two of them
/// agree: `center` is unchanged then, and `radius` is set to the largest finite double.
VELM_API int GetCircle(const ERPoint2D& a, const ERPoint2D& b, const ERPoint2D& c,
                       ERPoint2D& center, double& radius);
/// The same in space, with the unit normal of the plane, about which a, b, c turn
/// counter-clockwise. Points whose normal (a to b crossed with b to c, both normalised) has no
/// component above 1e-11 are on one line; `normal` is unchanged then, too.
VELM_API int GetCircle(const ERPoint3D& a, const ERPoint3D& b, const ERPoint3D& c,
                       ERPoint3D& center, ERVector3D& normal, double& radius);
/// The same without the normal.
VELM_API int GetCircle(const ERPoint3D& a, const ERPoint3D& b, const ERPoint3D& c,
                       ERPoint3D& center, double& radius);
