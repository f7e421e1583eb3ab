// ERCircle3D: a circle of space.
#pragma once

#include "velm/frame/smart_pointer.h"
#include "velm/wireframe/circle.h"
#include "velm/wireframe/planar_entity.h"

class ERSegment2D;

/// A circle of the plane in a frame. The parameter t is the angle from the frame's x axis.
class VELM_API ERCircle3D : public ERPlanarEntity3DWF {
    VELM_DECLARE_CLASS(ERCircle3D)

public:
    /// Radius 0 at the origin, in the plane z = 0.
    ERCircle3D() = default;
    /// In the plane perpendicular to `axis` at `height`, with the circle's coordinates on the other
    /// two axes in order (castToPoint3D).
    ERCircle3D(const ERCircle2D& circle, Coord3D axis, double height);
    ERCircle3D(const ERPmIsometrie3D& frame, double radius);
    ERCircle3D(const ERPmIsometrie3D& frame, const ERCircle2D& circle);
    ERCircle3D(const ERPoint3D& center, const ERVector3D& normal, double radius);

    /// The circle in the frame's plane.
    const ERCircle2D& flat() const { return circle_; }
    ERPoint3D center() const;
    /// Moves the circle.
    void setCenter(const ERPoint3D& center);
    /// Turns the circle about its center by the least rotation that takes the old normal to the new
    /// one.
    void setNormale(const ERVector3D& normal);
    double radius() const { return circle_.radius(); }
    void setRadius(double radius) { circle_.setRadius(radius); }
    double diameter() const { return circle_.diameter(); }
    void setDiameter(double diameter) { circle_.setDiameter(diameter); }

    ERPoint3D operator()(double t) const;
    /// The least box.
    ERMinimax3D getBox() const;
    /// Convert, see curves/conics.h.
    ERCpoleNURBS3D ConvertToNurbs() const;

    /// The true distance to the circle, negative if the foot of p on the plane is inside it.
    /// DISTMIN_IN_SPACE for a p within 1e-11 of the plane, else DISTMIN_FOUND; the codes are part
    /// of the contract.
    DISTMINRES SignedMinimalDistance(const ERPoint3D& p, double& dist) override;

    /// The kind of the circle's projection on the xy plane of a frame, by the tolerance that is
    /// common to all circles: a circle if the cross product of the planes' normals is no longer
    /// than the tolerance, a segment if their dot product is no greater, else an ellipse.
    int Project2DWillBeCircle(const ERPmIsometrie3D& frame) const;
    int Project2DWillBeSegment(const ERPmIsometrie3D& frame) const;
    int Project2DWillBeEllipse(const ERPmIsometrie3D& frame) const;
    /// The projection as one of these kinds.
    t_SmartPtr<ERCircle2D> Circle2DFromProjectOn(const ERPmIsometrie3D& frame) const;
    t_SmartPtr<ERSegment2D> Segment2DFromProjectOn(const ERPmIsometrie3D& frame) const;
    t_SmartPtr<EREllipse2D> Ellipse2DFromProjectOn(const ERPmIsometrie3D& frame) const;
    t_SmartPtr<EREntity2DWF> get2DEntProjectedOn(const ERPmIsometrie3D& frame) override;

    /// Sets the tolerance of all circles (default: 1e-10). Don't set it while other threads
    /// project.
    static void SetProjectionPrecision(double precision) { precisionProj = precision; }
    static double precisionProj;

    /// Multiplies the frame's origin and the circle; of a circle exactly at the frame's origin only
    /// the radius.
    void scale(double s) override;

    void printOn(std::ostream& out) const override;
    ERObject* getCopy() const override;

    /// The frame, then the circle in it.
    VELM_DECLARE_STORED_FORM();

protected:
    void scale_flat(double ratio) override;

    template <class Self, class Form>
    static void stored_fields(Self& self, Form& form) {
        form(self.circle_);
    }

    ERCircle2D circle_;
};
