#include "velm/surfaces/cylinder.h"

#include "velm/frame/stored_form.h"
#include "velm/surfaces/detail/framed_surface.h"
#include "velm/surfaces/detail/straight_line.h"
#include "velm/surfaces/detail/turned_point.h"
#include "velm/transforms/transformed_values.h"
#include "velm/wireframe/arc.h"

#include <ostream>

VELM_DEFINE_CLASS(ERCylinder, ERSurface)
VELM_DEFINE_STORED_FORM(ERCylinder, ERSurface)
VELM_DEFINE_CLASS(ERBoundedCylinder, ERSurfaceBasedOnTransfo3D, ERBoundedSurface)
VELM_DEFINE_STORED_FORM(ERBoundedCylinder, ERAnyBoundedSurface)
template class velm::detail::FramedSurface<ERBoundedCylinder>;

using velm::detail::turn;

EREntity::DISTMINRES ERCylinder::SignedMinimalDistanceCylinder(const ERInfLine3D& line,
                                                               double radius, const ERPoint3D& p,
                                                               double& dist) {
    const double from_axis = distance(line, p);
    dist = from_axis - radius;
    return from_axis <= equalityTolerance ? DISTMIN_EVERYWHERE : DISTMIN_FOUND;
}

EREntity::DISTMINRES ERCylinder::SignedMinimalDistance(const ERPoint3D& p, double& dist) {
    return SignedMinimalDistanceCylinder(axis_, radius_, p, dist);
}

int ERCylinder::ProjectionNormaleCylinder(const ERPoint3D& p, const ERInfLine3D& line,
                                          double radius, ERPoint3D& foot, ERVector3D& normal) {
    const ERPoint3D on_axis = line.projectPt(p);
    if (isEqual(p, on_axis, equalityTolerance) || std::isnan(radius)) return 0;
    const ERVector3D outward = ERVector3D(on_axis, p).getnormalized();
    foot = on_axis + std::fabs(radius) * outward;
    normal = radius == 0.0 ? ERVector3D() : outward;
    return 1;
}

int ERCylinder::ProjectionNormale(const ERPoint3D& p, ERPoint3D& foot, ERVector3D& normal) const {
    return ProjectionNormaleCylinder(p, axis_, radius_, foot, normal);
}

void ERCylinder::reverse_axis() { axis_.reverse(); }

void ERCylinder::reverse() { reverse_axis(); }

void ERCylinder::offset(double d) { radius_ += d; }

void ERCylinder::scale(double s) {
    axis_.scale(s);
    radius_ *= std::fabs(s);
}

void ERCylinder::translate(const ERPoint3D& v) { axis_.translate(v); }

void ERCylinder::transformFrom(const ERPmSimilitude3D& t) {
    axis_.transformFrom(t);
    radius_ *= std::fabs(t.getFactHomo());
}

void ERCylinder::transformFrom(const ERPmIsometrie3D& t) { axis_.transformFrom(t); }

void ERCylinder::transformTo(const ERPmSimilitude3D& t) {
    axis_.transformTo(t);
    radius_ /= std::fabs(t.getFactHomo());
}

void ERCylinder::transformTo(const ERPmIsometrie3D& t) { axis_.transformTo(t); }

namespace {

template <class Axis>
void print_cylinder(std::ostream& out, const Axis& axis, double radius) {
    out << "Cylindre :   Segment =" << axis << '\n' << "         :   Radius  =" << radius << '\n';
}

} // namespace

void ERCylinder::printOn(std::ostream& out) const { print_cylinder(out, axis_, radius_); }

ERObject* ERCylinder::getCopy() const { return new ERCylinder(*this); }

ERBoundedCylinder::ERBoundedCylinder(const ERPmIsometrie3D& placed, double radius,
                                     const ERLimites& u, const ERLimites& v)
    : FramedSurface(placed, u, v), radius_(radius) {}

ERBoundedCylinder::ERBoundedCylinder(const ERPmIsometrie3D& placed, double half_height,
                                     double radius, ERRadian start, ERRadian end)
    : ERBoundedCylinder(placed, radius, ERLimites(-half_height, half_height),
                        ERLimites(start, end)) {}

ERBoundedCylinder::ERBoundedCylinder(const ERSegment3D& segment, double radius)
    : ERBoundedCylinder(
          ERChgRepere3D(segment.dirVector(), milieu(segment.getP1(), segment.getP2())),
          0.5 * segment.dirVector().norme(), radius, 0.0, turn) {}

velm::detail::LocalPoint ERBoundedCylinder::local(double u, double v) const {
    const ERVector3D outward = velm::detail::turned(v) * radius_;
    velm::detail::LocalPoint p;
    p.point = outward + ERVector3D(0.0, 0.0, u);
    p.du = ERVector3D(Coord3D_Z);
    p.dv = velm::detail::turned_further(outward);
    p.dvv = -outward;
    return p;
}

ERSegment3D ERBoundedCylinder::axe() const {
    const ERVector3D up = axis(Coord3D_Z);
    const ERPoint3D origin = frame.origine();
    return ERSegment3D(origin + up * udeb(), origin + up * ufin());
}

void ERBoundedCylinder::axe(const ERSegment3D& segment) {
    const double a = in_frame(segment.getP1()).z(), b = in_frame(segment.getP2()).z();
    setBound(ERLimites(std::min(a, b), std::max(a, b)), getBoundV());
    adjust();
}

void ERBoundedCylinder::height(double value) {
    const ERSegment3D old = axe();
    const bool has_height = old.dirVector().norme() > 0.0;
    const ERVector3D up = has_height ? old.dirVector().getnormalized() : axis(Coord3D_Z);
    const ERPoint3D end = old.getP1() + up * value;
    *this = ERBoundedCylinder(ERSegment3D(old.getP1(), end), radius_);
}

ERArc3D ERBoundedCylinder::getArc(double u) const {
    return ERArc3D(raised_frame(u), radius_, vdeb(), vfin());
}

t_SmartPtr<ERFiniteEntity3DWF> ERBoundedCylinder::getEntityIsoU(double u) const {
    return static_cast<ERFiniteEntity3DWF*>(new ERArc3D(getArc(u)));
}

t_SmartPtr<ERFiniteEntity3DWF> ERBoundedCylinder::getEntityIsoV(double v) const {
    return velm::detail::straight_line(ERSegment3D((*this)(udeb(), v), (*this)(ufin(), v)),
                                       getBoundU());
}

ERMinimax3D ERBoundedCylinder::getBox() const {
    const ERMinimax2D flat = ERArc2D(ERPoint2D(), radius_, vdeb(), vfin()).getBox();
    return frame >> ERMinimax3D(flat.xmin, flat.xmax, flat.ymin, flat.ymax, udeb(), ufin());
}

double ERBoundedCylinder::upperEstimateInU() const { return ufin() - udeb(); }

double ERBoundedCylinder::upperEstimateInV() const { return (vfin() - vdeb()) * radius_; }

EREntity::DISTMINRES ERBoundedCylinder::SignedMinimalDistance(const ERPoint3D& p, double& dist) {
    return ERCylinder::SignedMinimalDistanceCylinder(ERInfLine3D(axis(Coord3D_Z), frame.origine()),
                                                     radius_, p, dist);
}

int ERBoundedCylinder::ProjectionNormale(const ERPoint3D& p, ERPoint3D& foot,
                                         ERVector3D& normal) const {
    if (!(std::fabs(udeb() - ufin()) > 0.0)) return 0;
    return ERCylinder::ProjectionNormaleCylinder(p, ERInfLine3D(axis(Coord3D_Z), frame.origine()),
                                                 radius_, foot, normal);
}

int ERBoundedCylinder::ProjectionNormale(const ERPoint3D& p, double, ERPoint2D& parameter,
                                         int inBound) const {
    ERPoint3D foot;
    ERVector3D normal;
    if (!ProjectionNormale(p, foot, normal)) return 0;
    const ERPoint3D at = in_frame(foot);
    const ERPoint3D start(local(udeb(), vdeb()).point);
    parameter = ERPoint2D(at.z(), vdeb() + velm::detail::angle_after(start, at));
    return getBoundV().inBound(parameter.y()) &&
                   (inBound == 0 || getBoundU().inBound(parameter.x()))
               ? 1
               : 0;
}

void ERBoundedCylinder::offset(double d) { radius_ += d; }

void ERBoundedCylinder::scale_extents(double s) {
    radius_ *= s;
    natural_u *= s;
    working_u *= s;
}

void ERBoundedCylinder::printOn(std::ostream& out) const {
    print_cylinder(out, axe(), radius_);
    out << frame << '\n';
    ERBoundedSurface::printOn(out);
}
