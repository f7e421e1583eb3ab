// ERBoundedPlane: a rectangle of a plane. CreateBoundedPlane: the one about an arc.
#pragma once

#include "velm/surfaces/framed_surface.h"
#include "velm/surfaces/plane.h"
#include "velm/wireframe/segment.h"

/// P(u, v) = (u, v, 0) in the frame.
class VELM_API ERBoundedPlane : public velm::detail::FramedSurface<ERBoundedPlane> {
    VELM_DECLARE_CLASS(ERBoundedPlane)

public:
    /// The unit square of the xy plane.
    ERBoundedPlane() = default;
    ERBoundedPlane(const ERPmIsometrie3D& placed, const ERLimites& u, const ERLimites& v)
        : FramedSurface(placed, u, v) {}
    /// In the plane's own frame, see ERPlane::getTransfo.
    ERBoundedPlane(const ERPlane& plane, const ERLimites& u, const ERLimites& v)
        : FramedSurface(plane.getTransfo(), u, v) {}

    /// The middle of the rectangle.
    ERPoint3D centroid() const;
    /// The lines of constant u and of constant v as segments, in the sense of the other parameter.
    ERSegment3D getIsoU(double u) const;
    ERSegment3D getIsoV(double v) const;
    /// The same as ERCpoleBezier3D of degree 1 over the limits of the other parameter.
    t_SmartPtr<ERFiniteEntity3DWF> getEntityIsoU(double u) const override;
    t_SmartPtr<ERFiniteEntity3DWF> getEntityIsoV(double v) const override;

    /// The box of the four corners: the least one.
    ERMinimax3D getBox() const override;
    /// The widths of the limits.
    double upperEstimateInU() const override;
    double upperEstimateInV() const override;

    /// The height in the frame, with its sign: DISTMIN_FOUND, or DISTMIN_AT_END outside the limits.
    DISTMINRES SignedMinimalDistance(const ERPoint3D& p, double& dist) override;
    /// 1 inside the closed limits, regardless of inBound. The parameter is set in any case.
    int ProjectionNormale(const ERPoint3D& p, double distance, ERPoint2D& parameter,
                          int inBound) const override;
    /// On the whole plane; always 1.
    int ProjectionNormale(const ERPoint3D& p, ERPoint3D& foot, ERVector3D& normal) const override;

    /// Exchanges the frame's x and y axes, and the working limits with them; the natural limits are
    /// unchanged, which is part of the contract. The points stay where they are.
    void reverse() override;
    /// Moves the frame along its z axis.
    void offset(double d) override;

    /// Prints nothing, which is part of the contract.
    void printOn(std::ostream& out) const override;
    /// The frame, then the four pairs of limits.
    VELM_DECLARE_STORED_FORM();

private:
    friend class velm::detail::FramedSurface<ERBoundedPlane>;
    velm::detail::LocalPoint local(double u, double v) const;
    void scale_extents(double s);

    template <class Self, class Form>
    static void stored_fields(Self& self, Form& form) {
        placed_fields(self, form);
    }
};

/// In the arc's frame, from -r to r in u and v: r is the arc's radius, half the big axis of an
/// ellipse, or 1 if that is exactly 0.
VELM_API ERBoundedPlane CreateBoundedPlane(const ERArc3D& arc);
VELM_API ERBoundedPlane CreateBoundedPlane(const ERArcEllipse3D& arc);
