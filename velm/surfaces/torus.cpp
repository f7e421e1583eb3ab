#include "velm/surfaces/torus.h"

#include "velm/frame/stored_form.h"
#include "velm/surfaces/detail/framed_surface.h"
#include "velm/surfaces/detail/turned_point.h"
#include "velm/transforms/transformed_values.h"

#include <numbers>
#include <ostream>

VELM_DEFINE_CLASS(ERTorus, ERSurface)
VELM_DEFINE_STORED_FORM(ERTorus, ERSurface)
VELM_DEFINE_CLASS(ERBoundedTorus, ERSurfaceBasedOnTransfo3D, ERBoundedSurface)
VELM_DEFINE_STORED_FORM(ERBoundedTorus, ERAnyBoundedSurface)
template class velm::detail::FramedSurface<ERBoundedTorus>;

using std::numbers::pi;
using velm::detail::turn;

namespace {

EREntity::DISTMINRES distance_to_spine(const ERPoint3D& origin, const ERVector3D& axis,
                                       double radius, const ERPoint3D& p, double& dist) {
    const ERVector3D side = axis ^ ERVector3D(origin, p);
    if (side.norme() <= equalityTolerance) {
        const double height = p.z() - origin.z();
        dist = std::sqrt(height * height + radius * radius);
        return EREntity::DISTMIN_EVERYWHERE;
    }
    dist = distance(p, origin + radius * (side ^ axis).getnormalized());
    return EREntity::DISTMIN_FOUND;
}

} // namespace

EREntity::DISTMINRES ERTorus::SignedMinimalDistanceTorus(const ERPoint3D& origin,
                                                         const ERVector3D& axis, double radius,
                                                         double small_radius, const ERPoint3D& p,
                                                         double& dist) {
    const DISTMINRES result = distance_to_spine(origin, axis, radius, p, dist);
    dist -= small_radius;
    return result;
}

EREntity::DISTMINRES ERTorus::SignedMinimalDistance(const ERPoint3D& p, double& dist) {
    return SignedMinimalDistanceTorus(origin_, axis_, radius_, small_radius_, p, dist);
}

int ERTorus::ProjectionNormalTorus(const ERPoint3D& origin, const ERVector3D& axis, double radius,
                                   double small_radius, const ERPoint3D& p, ERPoint3D& foot,
                                   ERVector3D& normal) {
    const ERVector3D w(origin, p);
    if (isParallel(w, axis, equalityTolerance)) return 0;
    if (isPerpendicular(w, axis, equalityTolerance) &&
        std::fabs(radius - w.norme()) <= equalityTolerance)
        return 0;
    const ERPoint3D on_spine = origin + radius * ((axis ^ w) ^ axis).getnormalized();
    normal = ERVector3D(on_spine, p).getnormalized();
    foot = on_spine + small_radius * normal;
    return 1;
}

int ERTorus::ProjectionNormale(const ERPoint3D& p, ERPoint3D& foot, ERVector3D& normal) const {
    return ProjectionNormalTorus(origin_, axis_, radius_, small_radius_, p, foot, normal);
}

void ERTorus::reverse() { axis_ = -axis_; }

void ERTorus::offset(double d) { small_radius_ += d; }

void ERTorus::scale(double s) {
    origin_ = origin_ * s;
    radius_ *= std::fabs(s);
    small_radius_ *= std::fabs(s);
}

void ERTorus::translate(const ERPoint3D& v) { origin_ = origin_ + v; }

template <class Map>
void ERTorus::move(Map map, double factor) {
    const double length = axis_.norme();
    map(origin_);
    map(axis_);
    axis_ = axis_.getnormalized() * length;
    radius_ *= factor;
    small_radius_ *= factor;
}

void ERTorus::transformFrom(const ERPmSimilitude3D& t) {
    move([&t](auto& x) { t.TransFrom(x); }, std::fabs(t.getFactHomo()));
}

void ERTorus::transformFrom(const ERPmIsometrie3D& t) {
    transformFrom(static_cast<const ERPmSimilitude3D&>(t));
}

void ERTorus::transformTo(const ERPmSimilitude3D& t) {
    move([&t](auto& x) { t.TransTo(x); }, 1.0 / std::fabs(t.getFactHomo()));
}

void ERTorus::transformTo(const ERPmIsometrie3D& t) {
    transformTo(static_cast<const ERPmSimilitude3D&>(t));
}

void ERTorus::printOn(std::ostream& out) const {
    out << "Tore :   Vector       =" << axis_ << '\n'
        << "     :   Origin       =" << origin_ << '\n'
        << "     :   Radius       =" << radius_ << '\n'
        << "     :   Small Radius =" << small_radius_ << '\n';
}

ERObject* ERTorus::getCopy() const { return new ERTorus(*this); }

ERBoundedTorus::ERBoundedTorus(const ERPmIsometrie3D& placed, double radius, double small_radius,
                               double u_start, double u_end, double v_start, double v_end)
    : radius_(radius), small_radius_(small_radius) {
    frame = placed;
    setBound(ERLimites(u_start, u_end), ERLimites(v_start, v_end));
}

ERBoundedTorus::ERBoundedTorus(const ERTorus& torus)
    : ERBoundedTorus(ERChgRepere3D(torus.vect(), torus.origin()), torus.radius(),
                     torus.small_radius(), 0.0, turn, 0.0, turn) {}

velm::detail::LocalPoint ERBoundedTorus::local(double u, double v) const {
    const ERVector3D outward = velm::detail::turned(u);
    const ERVector3D onward = velm::detail::turned_further(outward);
    const double c = small_radius_ * std::cos(v), s = small_radius_ * std::sin(v);
    const double reach = radius_ + c;
    velm::detail::LocalPoint p;
    p.point = outward * reach + ERVector3D(0.0, 0.0, s);
    // Exchanged on purpose: hosts read the tube's derivatives where the others store those by u.
    p.du = outward * -s + ERVector3D(0.0, 0.0, c);
    p.duu = outward * -c + ERVector3D(0.0, 0.0, -s);
    p.dv = onward * reach;
    p.dvv = outward * -reach;
    p.duv = onward * -s;
    return p;
}

ERArc3D ERBoundedTorus::GetSpine() const { return ERArc3D(frame, radius_, udeb(), ufin()); }

t_SmartPtr<ERFiniteEntity3DWF> ERBoundedTorus::getEntityIsoU(double u) const {
    ERVector3D x = velm::detail::turned(u);
    frame.TransFrom(x);
    const ERPmIsometrie3D section = ERChgRepere3D(x, axis(Coord3D_Z), origin() + x * radius_);
    return static_cast<ERFiniteEntity3DWF*>(new ERArc3D(section, small_radius_, vdeb(), vfin()));
}

t_SmartPtr<ERFiniteEntity3DWF> ERBoundedTorus::getEntityIsoV(double v) const {
    return static_cast<ERFiniteEntity3DWF*>(new ERArc3D(raised_frame(small_radius_ * std::sin(v)),
                                                        radius_ + small_radius_ * std::cos(v),
                                                        udeb(), ufin()));
}

namespace {

// Brings the limits near 0 by whole turns; the multiplication in the last case is part of the
// contract.
void shift_by_turns(ERLimites& limits) {
    double &a = limits.start(), &b = limits.end();
    if (b - a > turn) b = a + turn;
    double turns = 0.0;
    if (a > turn) {
        turns = -std::trunc(a / turn);
    } else if (a < -turn) {
        turns = std::fabs(std::trunc(a / turn));
    } else if (b > turn) {
        turns = -std::trunc(b / turn);
    } else if (b < -turn) {
        turns = std::fabs(std::trunc(b * 0.5 * pi));
    }
    limits += turns * turn;
}

// The least and the greatest of four products.
ERLimites range_of(double a, double b, double c, double d) {
    return {std::min({a, b, c, d}), std::max({a, b, c, d})};
}

} // namespace

void ERBoundedTorus::shift_limits() const {
    shift_by_turns(working_u);
    shift_by_turns(working_v);
}

ERMinimax3D ERBoundedTorus::getBox() const {
    constexpr double margin = 10.0, drop = 3.0; // fixed by the contract
    shift_limits();
    const ERLimites u = getBoundU(), v = getBoundV();
    const double at_start = radius_ + small_radius_ * std::cos(v.start());
    const double at_end = radius_ + small_radius_ * std::cos(v.end());
    double inner = std::min(at_start, at_end), outer = std::max(at_start, at_end);
    if (v.inBound(pi) || v.inBound(-pi)) inner = radius_ - small_radius_;
    if (v.inBound(0.0)) outer = radius_ + small_radius_;

    const double c1 = std::cos(u.start()), c2 = std::cos(u.end());
    const double s1 = std::sin(u.start()), s2 = std::sin(u.end());
    ERLimites x = range_of(outer * c1, outer * c2, inner * c1, inner * c2);
    ERLimites y = range_of(outer * s1, outer * s2, inner * s1, inner * s2);
    const double z1 = small_radius_ * std::sin(v.start()), z2 = small_radius_ * std::sin(v.end());
    ERLimites z(std::min(z1, z2) - margin - drop, std::max(z1, z2) + margin - drop);

    const auto holds = [](const ERLimites& limits, double angle) {
        return limits.inBound(angle) || limits.inBound(angle - turn);
    };
    if (u.inBound(0.0)) x.end() = outer;
    if (holds(u, pi)) x.start() = -outer;
    if (holds(u, 0.5 * pi)) y.end() = outer;
    if (holds(u, 1.5 * pi)) y.start() = -outer;
    if (holds(v, 0.5 * pi)) z.end() = small_radius_;
    if (holds(v, 1.5 * pi)) z.start() = -small_radius_;
    return frame >> ERMinimax3D(x.start(), x.end(), y.start(), y.end(), z.start(), z.end());
}

double ERBoundedTorus::upperEstimateInU() const { return (ufin() - udeb()) * small_radius_; }

double ERBoundedTorus::upperEstimateInV() const {
    return (vfin() - vdeb()) * (radius_ + small_radius_);
}

EREntity::DISTMINRES ERBoundedTorus::SignedMinimalDistance(const ERPoint3D& p, double& dist) {
    return ERTorus::SignedMinimalDistanceTorus(origin(), vect(), radius_, small_radius_, p, dist);
}

double ERBoundedTorus::dist2(const ERPoint3D& p) const {
    double dist = 0.0;
    distance_to_spine(origin(), vect(), radius_, p, dist);
    return dist;
}

int ERBoundedTorus::ProjectionNormale(const ERPoint3D& p, ERPoint3D& foot,
                                      ERVector3D& normal) const {
    return ERTorus::ProjectionNormalTorus(origin(), vect(), radius_, small_radius_, p, foot,
                                          normal);
}

int ERBoundedTorus::ProjectionNormale(const ERPoint3D& p, double, ERPoint2D& parameter,
                                      int inBound) const {
    ERPoint3D foot;
    ERVector3D normal;
    if (!ProjectionNormale(p, foot, normal)) return 0;
    shift_limits();
    const ERInfoPoint3DSurf start = PtCur(udeb(), vdeb());
    const double about_axis = velm::detail::angle_after(in_frame(start.point()), in_frame(foot));

    ERRotation3D(vect(), -about_axis).TransFrom(normal);
    const ERVector3D outward = -start.normale();
    const ERVector3D across = outward ^ normal;
    const double sine = across * (outward ^ vect()) < 0.0 ? -across.norme() : across.norme();
    double round_tube = std::atan2(sine, outward * normal);
    if (round_tube < 0.0) round_tube += turn;

    parameter = ERPoint2D(udeb() + about_axis, vdeb() + round_tube);
    return inBound == 0 ||
                   (getBoundU().inBound(parameter.x()) && getBoundV().inBound(parameter.y()))
               ? 1
               : 0;
}

void ERBoundedTorus::offset(double d) { small_radius_ += d; }

void ERBoundedTorus::scale_extents(double s) {
    radius_ *= s;
    small_radius_ *= s;
}

void ERBoundedTorus::printOn(std::ostream& out) const {
    out << "Tore     : Radius        =" << radius_ << '\n'
        << "         : Small Radius  =" << small_radius_ << '\n'
        << frame << '\n';
    ERBoundedSurface::printOn(out);
}
