#include "velm/surfaces/surfaces_from_arcs.h"

#include "velm/frame/math_utils.h"
#include "velm/frame/point_functions.h"
#include "velm/surfaces/cone.h"
#include "velm/surfaces/cylinder.h"
#include "velm/surfaces/sphere.h"
#include "velm/surfaces/torus.h"
#include "velm/transforms/transformation_factories.h"
#include "velm/wireframe/detail/angles.h"

#include <algorithm>
#include <cmath>
#include <numbers>

using std::numbers::pi;
using velm::detail::turn;

namespace {

constexpr double cosine_tolerance = 0.0001;
constexpr double length_tolerance = 0.001;

ERLimites ordered(double a, double b) { return {std::min(a, b), std::max(a, b)}; }

ERLimites limits_of(const ERArc3D& arc) { return ordered(arc.startAngle(), arc.endAngle()); }

bool wider(const ERArc3D& a, const ERArc3D& b) {
    return limits_of(a).amplitude() > limits_of(b).amplitude();
}

ERPmIsometrie3D frame_at_center(const ERArc3D& arc) {
    const ERPmIsometrie3D& frame = arc.getRepere();
    return ERTranslation3D(ERVector3D(frame.origine(), arc.center())) * frame;
}

ERVector3D axis(const ERArc3D& arc, Coord3D name) { return arc.getRepere().getVector(name); }

} // namespace

int CreateCylinderFrom2Arcs(const ERArc3D& a, const ERArc3D& b, ERBoundedCylinder& cyl) {
    if (!(std::fabs(std::fabs(a.normale() * b.normale()) - 1.0) <= cosine_tolerance)) return 0;
    const ERArc3D& reference = wider(a, b) ? a : b;
    const double half = 0.5 * distance(a.center(), b.center());
    const ERPmIsometrie3D frame = ERChgRepere3D(
        axis(reference, Coord3D_X), axis(reference, Coord3D_Y), milieu(a.center(), b.center()));
    cyl = ERBoundedCylinder(frame, 0.5 * (a.radius() + b.radius()), ERLimites(-half, half),
                            limits_of(reference));
    return 1;
}

int CreateConeFrom2Arcs(const ERArc3D& a, const ERArc3D& b, ERBoundedCone& cone) {
    const ERArc3D& reference = wider(a, b) ? a : b;
    const ERVector3D x = axis(reference, Coord3D_X);
    ERBoundedCone found;
    if (!CreateBoundedCone(x, a.center(), a.radius(), b.center(), b.radius(), found)) return 0;

    ERVector3D in_cone = x;
    found.getMatrix().TransTo(in_cone);
    const double shift = std::atan2(in_cone.j(), in_cone.i());
    double start = reference.startAngle() + shift, end = reference.endAngle() + shift;
    if (!(found.direction() * reference.normale() > 0.0)) {
        start = turn - start;
        end = turn - end;
    }
    found.setBound(found.getBoundU(), ordered(start, end));
    found.adjust();
    cone = found;
    return 1;
}

int CreateTorusFrom2Arcs(const ERArc3D& a, const ERArc3D& b, ERBoundedTorus& torus) {
    if (!(b.radius() <= a.radius())) return 0;
    if (!(std::fabs(a.normale() * b.normale()) <= cosine_tolerance)) return 0;
    const ERVector3D outward(a.center(), b.center());
    const ERVector3D onward = a.normale() ^ outward;

    ERVector3D in_section = axis(b, Coord3D_X);
    ERChgRepere3D(outward, onward, a.center()).TransTo(in_section);
    double shift = std::atan2(in_section.k(), in_section.i());
    if (shift < 0.0) shift += turn;
    // The tube's angle turns about -onward.
    const double sense = b.normale() * onward > 0.0 ? -1.0 : 1.0;
    const ERLimites u = limits_of(a);
    const ERLimites v = ordered(sense * b.startAngle() + shift, sense * b.endAngle() + shift);
    torus = ERBoundedTorus(frame_at_center(a), a.radius(), b.radius(), u.start(), u.end(),
                           v.start(), v.end());
    torus.adjust();
    return 1;
}

namespace {

// The latitudes that an arc sweeps from one latitude to another, which may be beyond a pole.
ERLimites swept_latitudes(double from, double to) {
    constexpr double pole = 0.5 * pi;
    if (to <= -1.5 * pi || to >= 1.5 * pi) return {-pole, pole};
    if (to < -pole) {
        from = std::min(from, to + pi);
        to = -pole;
    } else if (to > pole) {
        from = std::min(from, pi - to);
        to = pole;
    }
    const ERLimites swept = ordered(from, to);
    const ERLimites whole(-pole - equalityTolerance, pole + equalityTolerance);
    if (!(swept.start() < swept.end() && whole.inBound(swept.start()) &&
          whole.inBound(swept.end())))
        return swept;
    return {std::max(swept.start(), -pole), std::min(swept.end(), pole)};
}

} // namespace

int CreateSphereFrom2Arcs(const ERArc3D& a, const ERArc3D& b, ERBoundedSphere& sphere) {
    if (!isEqual(a.center(), b.center(), length_tolerance) ||
        !(std::fabs(a.radius() - b.radius()) <= length_tolerance))
        return 0;
    const bool a_leads = !wider(b, a);
    const ERArc3D &main = a_leads ? a : b, &other = a_leads ? b : a;

    const ERCircle3D& circle = other;
    const ERVector3D w(circle.center(), circle(other.startAngle()));
    const ERVector3D across = w ^ main.normale();
    const double from = std::atan2(w * main.normale(), across.norme());
    const double sweep = other.endAngle() - other.startAngle();
    const double to = other.normale() * across < 0.0 ? from - sweep : from + sweep;
    sphere = ERBoundedSphere(frame_at_center(main), a.radius(), limits_of(main),
                             swept_latitudes(from, to));
    return 1;
}
