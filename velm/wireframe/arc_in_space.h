// ERArc3D: an arc of a circle of space. Arc3Points, ArcCenterStartEnd: arcs from points.
#pragma once

#include "velm/wireframe/angle_interval.h"
#include "velm/wireframe/arc.h"
#include "velm/wireframe/circle_in_space.h"

/// An arc of the plane in a frame. The parameter t is the angle from the frame's x axis. Distances
/// are those of the whole circle, which is part of the contract; velm::closest_point gives the
/// arc's own.
class VELM_API ERArc3D : public ERCircle3D, public ERFiniteEntity3DWFBoundedWithAngle {
    VELM_DECLARE_CLASS(ERArc3D)

public:
    using ERFiniteEntity3DWF::approxime;

    /// The whole turn with radius 0 at the origin.
    ERArc3D() = default;
    ERArc3D(const ERCircle3D& circle, ERRadian start, ERRadian end)
        : ERCircle3D(circle), ERFiniteEntity3DWFBoundedWithAngle(start, end) {}
    ERArc3D(const ERPmIsometrie3D& frame, double radius, ERRadian start, ERRadian end)
        : ERCircle3D(frame, radius), ERFiniteEntity3DWFBoundedWithAngle(start, end) {}
    ERArc3D(const ERArc2D& arc, const ERPmIsometrie3D& frame)
        : ERCircle3D(frame, arc),
          ERFiniteEntity3DWFBoundedWithAngle(arc.startAngle(), arc.endAngle()) {}
    ERArc3D(const ERPoint3D& center, const ERVector3D& normal, double radius, ERRadian start,
            ERRadian end)
        : ERCircle3D(center, normal, radius), ERFiniteEntity3DWFBoundedWithAngle(start, end) {}
    ERArc3D(const ERArc3D&) = default;
    ERArc3D& operator=(const ERArc3D& other);

    ERInfoPoint3DWF PtCur(double t) override;
    ERPoint3D operator()(double t) override;
    /// The least box.
    ERMinimax3D getBox() override;
    /// As for ERArc2D.
    ERCpoleNURBS3D ConvertToNurbs() override;
    /// Exact; the tolerance is not used.
    double arcLength(ERLimites interval, double tol) const override;
    double arcLength(double tol) const override;
    /// Both pieces are arcs in the sense of this one; t is not tested. Returns 1.
    int splitAt(t_SmartPtr<ERFiniteEntity3DWF>& first, t_SmartPtr<ERFiniteEntity3DWF>& second,
                double t) const override;

    /// The image of the arc: an ERArc2D, an ERSegment2D or an ERArcEllipse2D, chosen by the same
    /// rule as for the whole circle.
    t_SmartPtr<EREntity2DWF> get2DEntProjectedOn(const ERPmIsometrie3D& frame) override;

    /// Swaps the angles; the points of the arc don't change.
    void reverse() override;

    void printOn(std::ostream& out) const override;
    ERObject* getCopy() const override;

    /// The circle's form, then the start and the end angle.
    VELM_DECLARE_STORED_FORM();

private:
    template <class Self, class Form>
    static void stored_fields(Self& self, Form& form) {
        EREntAngle::stored_fields(self, form);
    }
};

/// The arc from a over b to c on the circle through the three, counter-clockwise about the normal
/// that GetCircle gives. Returns 1, or 0 with the arc unchanged for points on one line.
VELM_API int Arc3Points(ERArc3D& arc, const ERPoint3D& a, const ERPoint3D& b, const ERPoint3D& c);

/// The two arcs that make up the circle about `center` through `start` and `end`: `first` from
/// start to end, `second` from end to start, both counter-clockwise about the normal. If no normal
/// is given, it is the one about which `first` is the shorter arc; a given normal is made
/// perpendicular to the plane of the points, if they fix one, and keeps its side. Returns 1, or 0
/// with both arcs unchanged if the distances to the center differ by more than 1e-9, or if the
/// points are on one line and no normal is given.
VELM_API int ArcCenterStartEnd(ERArc3D& first, ERArc3D& second, const ERPoint3D& start,
                               const ERPoint3D& center, const ERPoint3D& end,
                               const ERVector3D& normal = ERVector3D());
