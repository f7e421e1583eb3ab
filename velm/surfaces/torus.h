// ERTorus: a torus. ERBoundedTorus: the part between two angles about its axis and two round its
// tube.
#pragma once

#include "velm/surfaces/framed_surface.h"
#include "velm/wireframe/arc_in_space.h"

/// The points at a distance, the small radius, from a circle, the spine.
class VELM_API ERTorus : public ERSurface {
    VELM_DECLARE_CLASS(ERTorus)

public:
    /// Radii 0 at the origin, without an axis.
    ERTorus() = default;
    /// The axis is kept as it is given; its length matters only for the tolerance of
    /// SignedMinimalDistance.
    ERTorus(const ERPoint3D& middle, const ERVector3D& axis, double radius, double small_radius)
        : radius_(radius), small_radius_(small_radius), axis_(axis), origin_(middle) {}

    const ERPoint3D& origin() const { return origin_; }
    const ERVector3D& vect() const { return axis_; }
    double radius() const { return radius_; }
    void radius(double value) { radius_ = value; }
    double small_radius() const { return small_radius_; }
    void small_radius(double value) { small_radius_ = value; }

    /// The distance to the spine less the small radius: DISTMIN_FOUND. DISTMIN_EVERYWHERE on the
    /// axis, where the distance counts with the difference of the z coordinates of space: part of
    /// the contract, and the distance only if the axis is along z.
    DISTMINRES SignedMinimalDistance(const ERPoint3D& p, double& dist) override;
    static DISTMINRES SignedMinimalDistanceTorus(const ERPoint3D& origin, const ERVector3D& axis,
                                                 double radius, double small_radius,
                                                 const ERPoint3D& p, double& dist);
    /// The normal points from the spine to p, also for a p inside the tube. 0 for a p on the axis
    /// or on the spine.
    int ProjectionNormale(const ERPoint3D& p, ERPoint3D& foot, ERVector3D& normal) const override;
    static int ProjectionNormalTorus(const ERPoint3D& origin, const ERVector3D& axis, double radius,
                                     double small_radius, const ERPoint3D& p, ERPoint3D& foot,
                                     ERVector3D& normal);

    /// Negates the axis; the points stay.
    void reverse() override;
    /// Adds to the small radius.
    void offset(double d) override;
    void scale(double s) override;
    void translate(const ERPoint3D& v) override;
    void transformFrom(const ERPmSimilitude3D& t) override;
    void transformFrom(const ERPmIsometrie3D& t) override;
    void transformTo(const ERPmSimilitude3D& t) override;
    void transformTo(const ERPmIsometrie3D& t) override;

    void printOn(std::ostream& out) const override;
    ERObject* getCopy() const override;
    /// The axis, the origin, the small radius, the radius.
    VELM_DECLARE_STORED_FORM();

private:
    template <class Map>
    void move(Map map, double factor);

    template <class Self, class Form>
    static void stored_fields(Self& self, Form& form) {
        form(self.axis_, self.origin_, self.small_radius_, self.radius_);
    }

    double radius_ = 0.0;
    double small_radius_ = 0.0;
    ERVector3D axis_;
    ERPoint3D origin_;
};

/// P(u, v) = ((R + r cos v) cos u, (R + r cos v) sin u, r sin v) in the frame: u is the angle about
/// the frame's z axis, v that round the tube.
///
/// Part of the contract: PtCur stores its derivatives with u and v exchanged. tangenteU is dP/dv,
/// along the tube circle, tangenteV is dP/du, and so on; normale points to the spine.
class VELM_API ERBoundedTorus : public velm::detail::FramedSurface<ERBoundedTorus> {
    VELM_DECLARE_CLASS(ERBoundedTorus)

public:
    /// Radii 0, and [0, 1] for u and v.
    ERBoundedTorus() = default;
    /// Sets the working limits; the natural ones stay [0, 1], here and below, which is part of the
    /// contract.
    ERBoundedTorus(const ERPmIsometrie3D& placed, double radius, double small_radius,
                   double u_start, double u_end, double v_start, double v_end);
    /// Both turns.
    explicit ERBoundedTorus(const ERTorus& torus);

    ERPoint3D origin() const { return frame.origine(); }
    ERVector3D vect() const { return getNormale(); }
    double radius() const { return radius_; }
    void radius(double value) { radius_ = value; }
    double small_radius() const { return small_radius_; }
    void small_radius(double value) { small_radius_ = value; }
    /// The circle in the middle of the tube, over the limits of u.
    ERArc3D GetSpine() const;
    /// An arc of the tube circle, and one about the axis.
    t_SmartPtr<ERFiniteEntity3DWF> getEntityIsoU(double u) const override;
    t_SmartPtr<ERFiniteEntity3DWF> getEntityIsoV(double v) const override;

    /// Part of the contract, and not tight: before the extremes of the tube in its limits are
    /// looked at, the box reaches 13 below the lower and 7 above the upper end of v along the axis,
    /// in model units. Shifts the working limits by whole turns into [-2 pi, 2 pi], see
    /// ProjectionNormale.
    ERMinimax3D getBox() const override;
    /// Part of the contract: the width of u with the small radius, that of v with R + r.
    double upperEstimateInU() const override;
    double upperEstimateInV() const override;

    /// The distance of p to the spine, with the code of SignedMinimalDistance.
    DISTMINRES SignedMinimalDistance(const ERPoint3D& p, double& dist) override;
    double dist2(const ERPoint3D& p) const;
    /// Both angles are measured from the start of their limits, which are shifted as by getBox. 1
    /// if, with inBound other than 0, both are in their limits; the parameter is set whenever there
    /// is a foot. Part of the contract: v is right only for a vdeb in the outer half of the tube,
    /// cos(vdeb) > 0; elsewhere it comes out mirrored about vdeb.
    int ProjectionNormale(const ERPoint3D& p, double distance, ERPoint2D& parameter,
                          int inBound) const override;
    /// On the whole torus.
    int ProjectionNormale(const ERPoint3D& p, ERPoint3D& foot, ERVector3D& normal) const override;

    /// Adds to the small radius.
    void offset(double d) override;
    void printOn(std::ostream& out) const override;
    /// The version 1 as a 32-bit number, the four pairs of limits, the frame, the small radius, the
    /// radius: another order than the other families, kept for file compatibility.
    VELM_DECLARE_STORED_FORM();

private:
    friend class velm::detail::FramedSurface<ERBoundedTorus>;
    velm::detail::LocalPoint local(double u, double v) const;
    void scale_extents(double s);
    void shift_limits() const;

    template <class Self, class Form>
    static void stored_fields(Self& self, Form& form) {
        int version = 1;
        form(version);
        ERBoundedSurface::stored_fields(self, form);
        ERSurfaceBasedOnTransfo3D::stored_fields(self, form);
        form(self.small_radius_, self.radius_);
    }

    double radius_ = 0.0;
    double small_radius_ = 0.0;
};
