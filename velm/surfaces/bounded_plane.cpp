#include "velm/surfaces/bounded_plane.h"

#include "velm/curves/bezier_curve.h"
#include "velm/frame/stored_form.h"
#include "velm/surfaces/detail/framed_surface.h"
#include "velm/surfaces/detail/straight_line.h"
#include "velm/wireframe/arc_in_space.h"
#include "velm/wireframe/ellipse_in_space.h"

#include <utility>

VELM_DEFINE_CLASS(ERBoundedPlane, ERSurfaceBasedOnTransfo3D, ERBoundedSurface)
VELM_DEFINE_STORED_FORM(ERBoundedPlane, ERAnyBoundedSurface)
template class velm::detail::FramedSurface<ERBoundedPlane>;

using velm::detail::straight_line;

velm::detail::LocalPoint ERBoundedPlane::local(double u, double v) const {
    velm::detail::LocalPoint p;
    p.point = ERVector3D(u, v, 0.0);
    p.du = ERVector3D(Coord3D_X);
    p.dv = ERVector3D(Coord3D_Y);
    return p;
}

ERPoint3D ERBoundedPlane::centroid() const { return (*this)(getBoundU()(0.5), getBoundV()(0.5)); }

ERSegment3D ERBoundedPlane::getIsoU(double u) const {
    return ERSegment3D((*this)(u, vdeb()), (*this)(u, vfin()));
}

ERSegment3D ERBoundedPlane::getIsoV(double v) const {
    return ERSegment3D((*this)(udeb(), v), (*this)(ufin(), v));
}

t_SmartPtr<ERFiniteEntity3DWF> ERBoundedPlane::getEntityIsoU(double u) const {
    return straight_line(getIsoU(u), getBoundV());
}

t_SmartPtr<ERFiniteEntity3DWF> ERBoundedPlane::getEntityIsoV(double v) const {
    return straight_line(getIsoV(v), getBoundU());
}

ERMinimax3D ERBoundedPlane::getBox() const { return boundary_points(); }

double ERBoundedPlane::upperEstimateInU() const { return std::fabs(udeb() - ufin()); }

double ERBoundedPlane::upperEstimateInV() const { return std::fabs(vdeb() - vfin()); }

EREntity::DISTMINRES ERBoundedPlane::SignedMinimalDistance(const ERPoint3D& p, double& dist) {
    const ERPoint3D at = in_frame(p);
    dist = at.z();
    return getBoundU().inBound(at.x()) && getBoundV().inBound(at.y()) ? DISTMIN_FOUND
                                                                      : DISTMIN_AT_END;
}

int ERBoundedPlane::ProjectionNormale(const ERPoint3D& p, double, ERPoint2D& parameter, int) const {
    ERPoint3D foot;
    ERVector3D normal;
    ProjectionNormale(p, foot, normal);
    const ERPoint3D at = in_frame(foot);
    parameter = ERPoint2D(at.x(), at.y());
    return getBoundU().inBound(at.x()) && getBoundV().inBound(at.y()) ? 1 : 0;
}

int ERBoundedPlane::ProjectionNormale(const ERPoint3D& p, ERPoint3D& foot,
                                      ERVector3D& normal) const {
    return ERPlane(getMatrix(), Coord3D_Z).ProjectionNormale(p, foot, normal);
}

void ERBoundedPlane::reverse() {
    frame = ERChgRepere3D(axis(Coord3D_Y), axis(Coord3D_X), frame.origine());
    setBound(getBoundV(), getBoundU());
}

void ERBoundedPlane::offset(double d) { frame = raised_frame(d); }

void ERBoundedPlane::scale_extents(double s) {
    for (ERLimites* limits : {&natural_u, &natural_v, &working_u, &working_v}) {
        *limits *= s;
        if (!(s > 0.0)) std::swap(limits->start(), limits->end());
    }
}

void ERBoundedPlane::printOn(std::ostream&) const {}

namespace {

ERBoundedPlane square(const ERPmIsometrie3D& frame, double half) {
    if (half == 0.0) half = 1.0;
    return ERBoundedPlane(frame, {-half, half}, {-half, half});
}

} // namespace

ERBoundedPlane CreateBoundedPlane(const ERArc3D& arc) {
    return square(arc.getRepere(), arc.radius());
}

ERBoundedPlane CreateBoundedPlane(const ERArcEllipse3D& arc) {
    return square(arc.getRepere(), arc.getBigAxe() * 0.5);
}
