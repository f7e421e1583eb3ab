// ERCylinder: a cylinder without ends. ERBoundedCylinder: the part between two heights and angles.
#pragma once

#include "velm/frame/radian.h"
#include "velm/surfaces/framed_surface.h"
#include "velm/wireframe/arc_in_space.h"
#include "velm/wireframe/line.h"
#include "velm/wireframe/segment.h"

/// The points at a distance from a line.
class VELM_API ERCylinder : public ERSurface {
    VELM_DECLARE_CLASS(ERCylinder)

public:
    /// About the x axis with radius 0.
    ERCylinder() = default;
    ERCylinder(const ERInfLine3D& line, double distance) : radius_(distance), axis_(line) {}

    const ERInfLine3D& axe() const { return axis_; }
    double radius() const { return radius_; }
    void radius(double value) { radius_ = value; }
    double diameter() const { return 2.0 * radius_; }
    void diameter(double value) { radius_ = 0.5 * value; }

    /// The distance to the axis less the radius: DISTMIN_FOUND, or DISTMIN_EVERYWHERE within 1e-11
    /// of the axis.
    DISTMINRES SignedMinimalDistance(const ERPoint3D& p, double& dist) override;
    static DISTMINRES SignedMinimalDistanceCylinder(const ERInfLine3D& line, double radius,
                                                    const ERPoint3D& p, double& dist);
    /// The normal is that away from the axis, also for a p inside. 0 for a p within 1e-11 of the
    /// axis in each coordinate.
    int ProjectionNormale(const ERPoint3D& p, ERPoint3D& foot, ERVector3D& normal) const override;
    static int ProjectionNormaleCylinder(const ERPoint3D& p, const ERInfLine3D& line, double radius,
                                         ERPoint3D& foot, ERVector3D& normal);

    /// Reverses the axis; the points stay.
    void reverse_axis();
    void reverse() override;
    /// Adds to the radius.
    void offset(double d) override;
    void scale(double s) override;
    void translate(const ERPoint3D& v) override;
    void transformFrom(const ERPmSimilitude3D& t) override;
    void transformFrom(const ERPmIsometrie3D& t) override;
    void transformTo(const ERPmSimilitude3D& t) override;
    void transformTo(const ERPmIsometrie3D& t) override;

    void printOn(std::ostream& out) const override;
    ERObject* getCopy() const override;
    /// The axis, then the radius.
    VELM_DECLARE_STORED_FORM();

private:
    template <class Self, class Form>
    static void stored_fields(Self& self, Form& form) {
        form(self.axis_);
        form(self.radius_);
    }

    double radius_ = 0.0;
    ERInfLine3D axis_;
};

/// P(u, v) = (R cos v, R sin v, u) in the frame: u is a height, v an angle.
class VELM_API ERBoundedCylinder : public velm::detail::FramedSurface<ERBoundedCylinder> {
    VELM_DECLARE_CLASS(ERBoundedCylinder)

public:
    /// Radius 0, and [0, 1] for u and v.
    ERBoundedCylinder() = default;
    /// The whole turn about the segment: the frame's origin is its middle, u runs over its length.
    ERBoundedCylinder(const ERSegment3D& segment, double radius);
    /// `half_height` above and below the frame's origin.
    ERBoundedCylinder(const ERPmIsometrie3D& placed, double half_height, double radius,
                      ERRadian start, ERRadian end);
    ERBoundedCylinder(const ERPmIsometrie3D& placed, double radius, const ERLimites& u,
                      const ERLimites& v);

    /// From udeb to ufin on the axis.
    ERSegment3D axe() const;
    /// Takes the heights of the segment's projection on the axis as limits of u, natural and
    /// working.
    void axe(const ERSegment3D& segment);
    /// ufin - udeb.
    double height() const { return ufin() - udeb(); }
    /// Becomes the whole cylinder about the axis from udeb on, with this height: the frame moves
    /// to the new middle, and its x axis may turn.
    void height(double value);
    double radius() const { return radius_; }
    void radius(double value) { radius_ = value; }
    double diameter() const { return 2.0 * radius_; }
    void diameter(double value) { radius_ = 0.5 * value; }
    /// The section at height u.
    ERArc3D getArc(double u) const;
    t_SmartPtr<ERFiniteEntity3DWF> getEntityIsoU(double u) const override;
    /// An ERCpoleBezier3D of degree 1.
    t_SmartPtr<ERFiniteEntity3DWF> getEntityIsoV(double v) const override;

    /// The corners of the least box in the frame, boxed.
    ERMinimax3D getBox() const override;
    double upperEstimateInU() const override;
    double upperEstimateInV() const override;

    /// As for the whole cylinder.
    DISTMINRES SignedMinimalDistance(const ERPoint3D& p, double& dist) override;
    /// The angle is measured from vdeb and runs over [vdeb, vdeb + 2 pi). 1 if v is in its limits
    /// and, with inBound other than 0, u too; the parameter is set whenever there is a foot.
    int ProjectionNormale(const ERPoint3D& p, double distance, ERPoint2D& parameter,
                          int inBound) const override;
    /// On the whole cylinder; 0 also for limits of u without extent.
    int ProjectionNormale(const ERPoint3D& p, ERPoint3D& foot, ERVector3D& normal) const override;

    /// Adds to the radius.
    void offset(double d) override;
    void printOn(std::ostream& out) const override;
    /// The frame, the four pairs of limits, the radius.
    VELM_DECLARE_STORED_FORM();

private:
    friend class velm::detail::FramedSurface<ERBoundedCylinder>;
    velm::detail::LocalPoint local(double u, double v) const;
    void scale_extents(double s);

    template <class Self, class Form>
    static void stored_fields(Self& self, Form& form) {
        placed_fields(self, form);
        form(self.radius_);
    }

    double radius_ = 0.0;
};
