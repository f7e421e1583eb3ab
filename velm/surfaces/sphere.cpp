#include "velm/surfaces/sphere.h"

#include "velm/frame/stored_form.h"
#include "velm/surfaces/detail/framed_surface.h"
#include "velm/surfaces/detail/turned_point.h"

#include <ostream>

VELM_DEFINE_CLASS(ERSphere, ERSurface)
VELM_DEFINE_STORED_FORM(ERSphere, ERSurface)
VELM_DEFINE_CLASS(ERBoundedSphere, ERSurfaceBasedOnTransfo3D, ERBoundedSurface)
VELM_DEFINE_STORED_FORM(ERBoundedSphere, ERAnyBoundedSurface)
template class velm::detail::FramedSurface<ERBoundedSphere>;

using velm::detail::turn;

EREntity::DISTMINRES ERSphere::SignedMinimalDistanceSphere(const ERPoint3D& center, double radius,
                                                           const ERPoint3D& p, double& dist) {
    const double from_center = distance(center, p);
    dist = from_center - radius;
    return from_center <= equalityTolerance ? DISTMIN_EVERYWHERE : DISTMIN_FOUND;
}

EREntity::DISTMINRES ERSphere::SignedMinimalDistance(const ERPoint3D& p, double& dist) {
    return SignedMinimalDistanceSphere(center_, radius_, p, dist);
}

int ERSphere::ProjectionNormaleSphere(const ERPoint3D& center, double radius, const ERPoint3D& p,
                                      ERPoint3D& foot, ERVector3D& normal) {
    if (p == center) return 0;
    normal = ERVector3D(center, p).getnormalized();
    foot = center + radius * normal;
    return 1;
}

int ERSphere::ProjectionNormale(const ERPoint3D& p, ERPoint3D& foot, ERVector3D& normal) const {
    return ProjectionNormaleSphere(center_, radius_, p, foot, normal);
}

int ERSphere::project(const ERPoint3D& p, ERPoint3D& foot) const {
    ERVector3D normal;
    return ProjectionNormale(p, foot, normal);
}

void ERSphere::reverse() {}

void ERSphere::offset(double d) { radius_ += d; }

void ERSphere::scale(double s) {
    center_ = center_ * s;
    radius_ *= std::fabs(s);
}

void ERSphere::translate(const ERPoint3D& v) { center_ = center_ + v; }

void ERSphere::transformFrom(const ERPmSimilitude3D& t) {
    t.TransFrom(center_);
    radius_ *= std::fabs(t.getFactHomo());
}

void ERSphere::transformFrom(const ERPmIsometrie3D& t) { t.TransFrom(center_); }

void ERSphere::transformTo(const ERPmSimilitude3D& t) {
    t.TransTo(center_);
    radius_ /= std::fabs(t.getFactHomo());
}

void ERSphere::transformTo(const ERPmIsometrie3D& t) { t.TransTo(center_); }

namespace {

void print_sphere(std::ostream& out, const ERPoint3D& center, double radius) {
    out << "\n Sphere : centre " << center << '\n' << " Rayon =" << radius << '\n';
}

} // namespace

void ERSphere::printOn(std::ostream& out) const { print_sphere(out, center_, radius_); }

ERObject* ERSphere::getCopy() const { return new ERSphere(*this); }

ERBoundedSphere::ERBoundedSphere(const ERPmIsometrie3D& placed, double radius, const ERLimites& u,
                                 const ERLimites& v)
    : FramedSurface(placed, u, v), radius_(radius) {}

ERBoundedSphere::ERBoundedSphere(const ERSphere& sphere, const ERLimites& u, const ERLimites& v)
    : ERBoundedSphere(ERTranslation3D(sphere.center()), sphere.radius(), u, v) {}

// Assigns each virtual base once.
ERBoundedSphere& ERBoundedSphere::operator=(const ERBoundedSphere& other) {
    ERSurfaceBasedOnTransfo3D::operator=(other);
    ERBoundedSurface::operator=(other);
    radius_ = other.radius_;
    return *this;
}

velm::detail::LocalPoint ERBoundedSphere::local(double u, double v) const {
    const ERVector3D meridian = velm::detail::turned(u) * radius_;
    const double c = std::cos(v), s = std::sin(v);
    velm::detail::LocalPoint p;
    p.point = meridian * c + ERVector3D(0.0, 0.0, radius_ * s);
    p.du = velm::detail::turned_further(meridian) * c;
    p.duu = meridian * -c;
    p.dv = meridian * -s + ERVector3D(0.0, 0.0, radius_ * c);
    p.duv = velm::detail::turned_further(meridian) * -s;
    p.dvv = -p.point;
    return p;
}

ERArc3D ERBoundedSphere::getIsoU(double u) const {
    ERVector3D x = velm::detail::turned(u);
    frame.TransFrom(x);
    return ERArc3D(ERChgRepere3D(x, axis(Coord3D_Z), center()), radius_, vdeb(), vfin());
}

ERArc3D ERBoundedSphere::getIsoV(double v) const {
    return ERArc3D(raised_frame(radius_ * std::sin(v)), radius_ * std::cos(v), udeb(), ufin());
}

t_SmartPtr<ERFiniteEntity3DWF> ERBoundedSphere::getEntityIsoU(double u) const {
    return static_cast<ERFiniteEntity3DWF*>(new ERArc3D(getIsoU(u)));
}

t_SmartPtr<ERFiniteEntity3DWF> ERBoundedSphere::getEntityIsoV(double v) const {
    return static_cast<ERFiniteEntity3DWF*>(new ERArc3D(getIsoV(v)));
}

ERMinimax3D ERBoundedSphere::getBox() const {
    ERMinimax3D box(center(), center());
    box.Inflate(radius_);
    return box;
}

double ERBoundedSphere::upperEstimateInU() const { return (ufin() - udeb()) * radius_; }

double ERBoundedSphere::upperEstimateInV() const { return (vfin() - vdeb()) * radius_; }

EREntity::DISTMINRES ERBoundedSphere::SignedMinimalDistance(const ERPoint3D& p, double& dist) {
    return ERSphere::SignedMinimalDistanceSphere(center(), radius_, p, dist);
}

int ERBoundedSphere::ProjectionNormale(const ERPoint3D& p, ERPoint3D& foot,
                                       ERVector3D& normal) const {
    return ERSphere::ProjectionNormaleSphere(center(), radius_, p, foot, normal);
}

namespace {

// How far outside its limits a parameter may be to be taken for the limit.
constexpr double snap = 0x1p-23;

double longitude_near(double u, const ERLimites& limits) {
    u += turn * std::floor(limits.start() / turn + 0.5);
    if (u >= limits.start()) {
        if (u <= limits.end()) return u;
        if (u - turn >= limits.start()) return u - turn;
        return u - snap <= limits.end() ? limits.end() : u;
    }
    if (u + turn <= limits.end()) return u + turn;
    return limits.start() <= u + snap ? limits.start() : u;
}

double latitude_near(double v, const ERLimites& limits) {
    if (v < limits.start() && limits.start() - v <= snap) return limits.start();
    if (v > limits.end() && v - limits.end() <= snap) return limits.end();
    return v;
}

} // namespace

int ERBoundedSphere::ProjectionNormale(const ERPoint3D& p, double, ERPoint2D& parameter,
                                       int inBound) const {
    ERPoint3D foot;
    ERVector3D normal;
    if (!ProjectionNormale(p, foot, normal)) return 0;
    const ERPoint3D at = in_frame(foot);
    const ERLimites in_u = getBoundU(), in_v = getBoundV();
    parameter = ERPoint2D(
        longitude_near(std::atan2(at.y(), at.x()), in_u),
        latitude_near(std::atan2(at.z(), std::sqrt(at.x() * at.x() + at.y() * at.y())), in_v));
    return in_v.inBound(parameter.y()) && (inBound == 0 || in_u.inBound(parameter.x())) ? 1 : 0;
}

void ERBoundedSphere::offset(double d) { radius_ += d; }

void ERBoundedSphere::scale_extents(double s) { radius_ *= s; }

void ERBoundedSphere::printOn(std::ostream& out) const {
    out << frame << '\n';
    ERBoundedSurface::printOn(out);
    print_sphere(out, center(), radius_);
}
