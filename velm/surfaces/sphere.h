// ERSphere: a sphere. ERBoundedSphere: the part between two longitudes and latitudes.
#pragma once

#include "velm/surfaces/framed_surface.h"
#include "velm/wireframe/arc_in_space.h"

/// The points at a distance from a center.
class VELM_API ERSphere : public ERSurface {
    VELM_DECLARE_CLASS(ERSphere)

public:
    /// Radius 0 at the origin.
    ERSphere() = default;
    ERSphere(const ERPoint3D& middle, double distance) : center_(middle), radius_(distance) {}

    const ERPoint3D& center() const { return center_; }
    void center(const ERPoint3D& p) { center_ = p; }
    double radius() const { return radius_; }
    void radius(double value) { radius_ = value; }
    double diameter() const { return 2.0 * radius_; }
    void diameter(double value) { radius_ = 0.5 * value; }

    /// The distance to the center less the radius: DISTMIN_FOUND, or DISTMIN_EVERYWHERE within
    /// 1e-11 of the center.
    DISTMINRES SignedMinimalDistance(const ERPoint3D& p, double& dist) override;
    static DISTMINRES SignedMinimalDistanceSphere(const ERPoint3D& center, double radius,
                                                  const ERPoint3D& p, double& dist);
    /// The normal is that away from the center. 0 for the center itself, by exact comparison.
    int ProjectionNormale(const ERPoint3D& p, ERPoint3D& foot, ERVector3D& normal) const override;
    static int ProjectionNormaleSphere(const ERPoint3D& center, double radius, const ERPoint3D& p,
                                       ERPoint3D& foot, ERVector3D& normal);
    /// The foot alone.
    int project(const ERPoint3D& p, ERPoint3D& foot) const;

    /// Does nothing: a sphere stores no orientation.
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
    /// The center, then the radius.
    VELM_DECLARE_STORED_FORM();

private:
    template <class Self, class Form>
    static void stored_fields(Self& self, Form& form) {
        form(self.center_, self.radius_);
    }

    ERPoint3D center_;
    double radius_ = 0.0;
};

/// P(u, v) = (R cos v cos u, R cos v sin u, R sin v) in the frame: u is the longitude, v the
/// latitude.
class VELM_API ERBoundedSphere : public velm::detail::FramedSurface<ERBoundedSphere> {
    VELM_DECLARE_CLASS(ERBoundedSphere)

public:
    /// Radius 0, and [0, 1] for u and v.
    ERBoundedSphere() = default;
    ERBoundedSphere(const ERPmIsometrie3D& placed, double radius, const ERLimites& u,
                    const ERLimites& v);
    /// Along the axes of space.
    ERBoundedSphere(const ERSphere& sphere, const ERLimites& u, const ERLimites& v);
    ERBoundedSphere(const ERBoundedSphere&) = default;
    ERBoundedSphere& operator=(const ERBoundedSphere& other);

    ERPoint3D center() const { return frame.origine(); }
    double radius() const { return radius_; }
    void radius(double value) { radius_ = value; }
    double diameter() const { return 2.0 * radius_; }
    void diameter(double value) { radius_ = 0.5 * value; }
    /// The meridian of a longitude and the parallel of a latitude.
    ERArc3D getIsoU(double u) const;
    ERArc3D getIsoV(double v) const;
    t_SmartPtr<ERFiniteEntity3DWF> getEntityIsoU(double u) const override;
    t_SmartPtr<ERFiniteEntity3DWF> getEntityIsoV(double v) const override;

    /// The box of the whole sphere, regardless of the limits.
    ERMinimax3D getBox() const override;
    double upperEstimateInU() const override;
    double upperEstimateInV() const override;

    /// As for the whole sphere.
    DISTMINRES SignedMinimalDistance(const ERPoint3D& p, double& dist) override;
    /// The longitude is shifted by a turn where that brings it into the limits; a parameter outside
    /// them by at most 2^-23 is taken for the limit. 1 if v is in its limits and, with inBound
    /// other than 0, u too; the parameter is set whenever there is a foot.
    int ProjectionNormale(const ERPoint3D& p, double distance, ERPoint2D& parameter,
                          int inBound) const override;
    /// On the whole sphere.
    int ProjectionNormale(const ERPoint3D& p, ERPoint3D& foot, ERVector3D& normal) const override;

    /// Adds to the radius.
    void offset(double d) override;
    void printOn(std::ostream& out) const override;
    /// The frame, the four pairs of limits, the radius.
    VELM_DECLARE_STORED_FORM();

private:
    friend class velm::detail::FramedSurface<ERBoundedSphere>;
    velm::detail::LocalPoint local(double u, double v) const;
    void scale_extents(double s);

    template <class Self, class Form>
    static void stored_fields(Self& self, Form& form) {
        placed_fields(self, form);
        form(self.radius_);
    }

    double radius_ = 0.0;
};
