// EREllipse3D, ERArcEllipse3D: ellipses of space and their arcs.
#pragma once

#include "velm/wireframe/angle_interval.h"
#include "velm/wireframe/ellipse.h"
#include "velm/wireframe/elliptical_arc.h"
#include "velm/wireframe/planar_entity.h"

/// An ellipse of the plane in a frame.
class VELM_API EREllipse3D : public ERPlanarEntity3DWF {
    VELM_DECLARE_CLASS(EREllipse3D)

public:
    EREllipse3D() = default;
    EREllipse3D(const EREllipse2D& ellipse, const ERPmIsometrie3D& frame)
        : ERPlanarEntity3DWF(frame), ellipse_(ellipse) {}
    /// About the frame's origin, with the big axis along its x axis.
    EREllipse3D(const ERPmIsometrie3D& frame, double bigHalf, double smallHalf)
        : EREllipse3D(EREllipse2D(bigHalf, smallHalf, 0.0, ERPoint2D()), frame) {}
    /// From the center, an end of the big axis, and a third point of the ellipse, such as an end of
    /// the small axis. The ellipse turns from the big axis towards the third point. A third point
    /// as far out along the big axis as its end leaves no small axis.
    EREllipse3D(const ERPoint3D& center, const ERPoint3D& bigEnd, const ERPoint3D& point);
    /// A big axis shorter than the distance of the foci is set to that distance. If the foci agree,
    /// GetOrthogonalDirections gives the direction.
    EREllipse3D(const ERPoint3D& focus1, const ERPoint3D& focus2, double big,
                const ERVector3D& normal);

    /// The ellipse in the frame's plane.
    const EREllipse2D& flat() const { return ellipse_; }
    ERPoint3D getCenter() const;
    ERVec<ERPoint3D> getFocus() const;
    ERVector3D getBigAxisDirection() const;
    ERVector3D getSmallAxisDirection() const;
    double getBigAxe() const { return ellipse_.getBigAxe(); }
    double getSmallAxe() const { return ellipse_.getSmallAxe(); }
    /// The least box.
    ERMinimax3D getBox() const;
    /// The whole ellipse; defined in curves/wireframe_to_nurbs.cpp.
    ERCpoleNURBS3D ConvertToNurbs() const;

    /// An EREllipse2D, or an ERSegment2D if the planes are perpendicular within the tolerance that
    /// is common to all circles (ERCircle3D::SetProjectionPrecision).
    t_SmartPtr<EREntity2DWF> get2DEntProjectedOn(const ERPmIsometrie3D& frame) override;

    void scale(double s) override;
    void printOn(std::ostream& out) const override;
    ERObject* getCopy() const override;

    /// The frame, then the ellipse in it.
    VELM_DECLARE_STORED_FORM();

protected:
    void scale_flat(double ratio) override;

    template <class Self, class Form>
    static void stored_fields(Self& self, Form& form) {
        form(self.ellipse_);
    }

    EREllipse2D ellipse_;
};

/// An arc of an ellipse of the plane in a frame; angles and parameter as for ERArcEllipse2D.
class VELM_API ERArcEllipse3D : public EREllipse3D, public ERFiniteEntity3DWFBoundedWithAngle {
    VELM_DECLARE_CLASS(ERArcEllipse3D)

public:
    using ERFiniteEntity3DWF::approxime;

    ERArcEllipse3D() = default;
    ERArcEllipse3D(const EREllipse3D& ellipse, ERRadian start, ERRadian end)
        : EREllipse3D(ellipse), ERFiniteEntity3DWFBoundedWithAngle(start, end) {}
    ERArcEllipse3D(const ERArcEllipse2D& arc, const ERPmIsometrie3D& frame)
        : EREllipse3D(arc, frame),
          ERFiniteEntity3DWFBoundedWithAngle(arc.startAngle(), arc.endAngle()) {}
    ERArcEllipse3D(const ERArcEllipse3D&) = default;
    ERArcEllipse3D& operator=(const ERArcEllipse3D& other);

    /// The arc in the frame's plane.
    ERArcEllipse2D flat_arc() const;

    ERLimites getBound() override;
    double udeb() const override;
    double ufin() const override;
    ERInfoPoint3DWF PtCur(double t) override;
    ERPoint3D operator()(double t) override;
    /// The least box.
    ERMinimax3D getBox() override;
    /// As for the arc in the frame's plane.
    ERCpoleNURBS3D ConvertToNurbs() override;
    double arcLength(ERLimites interval, double tol) const override;
    double arcLength(double tol) const override;
    /// Cuts at the parameter t. Returns 1.
    int splitAt(t_SmartPtr<ERFiniteEntity3DWF>& first, t_SmartPtr<ERFiniteEntity3DWF>& second,
                double t) const override;

    /// The image of the arc: an ERArcEllipse2D or an ERSegment2D, chosen by the same rule as for
    /// the whole ellipse.
    t_SmartPtr<EREntity2DWF> get2DEntProjectedOn(const ERPmIsometrie3D& frame) override;

    /// Swaps the angles; the points of the arc don't change.
    void reverse() override;

    void printOn(std::ostream& out) const override;
    ERObject* getCopy() const override;

    /// The ellipse's form, then the start and the end angle.
    VELM_DECLARE_STORED_FORM();

private:
    template <class Self, class Form>
    static void stored_fields(Self& self, Form& form) {
        EREntAngle::stored_fields(self, form);
    }
};
