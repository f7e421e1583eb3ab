// ProjectPoint of the bounded plane, cylinder, cone, sphere and torus: each is the zero set of a
// polynomial in its frame, whose roots along the line are the crossings.
#include "velm/frame/point_functions.h"
#include "velm/numerics/real_roots.h"
#include "velm/surfaces/bounded_plane.h"
#include "velm/surfaces/cone.h"
#include "velm/surfaces/cylinder.h"
#include "velm/surfaces/ray_surface_result.h"
#include "velm/surfaces/sphere.h"
#include "velm/surfaces/torus.h"

#include <array>
#include <cmath>
#include <numbers>

namespace {

// A polynomial of degree 4 at most along the line, the lowest power first.
using Along = std::array<double, 5>;

// The line in the surface's frame, from its point nearest to the frame's origin, d of unit length.
struct LocalLine {
    ERVector3D o, d;

    ERVector3D at(double t) const { return o + d * t; }
    // a x^2 + b y^2 + c z^2 + constant.
    Along quadric(double a, double b, double c, double constant) const {
        const ERVector3D weighted_o(a * o.i(), b * o.j(), c * o.k());
        const ERVector3D weighted_d(a * d.i(), b * d.j(), c * d.k());
        return {weighted_o * o + constant, 2.0 * (weighted_o * d), weighted_d * d, 0.0, 0.0};
    }
};

double angle(double y, double x) { return std::atan2(y, x); }

// For each family its polynomial and the parameters of a point on the whole surface.

Along implicit(const ERBoundedPlane&, const LocalLine& line) {
    return {line.o.k(), line.d.k(), 0.0, 0.0, 0.0};
}
ERPoint2D parameters(const ERBoundedPlane&, const ERVector3D& p) { return {p.i(), p.j()}; }

Along implicit(const ERBoundedCylinder& s, const LocalLine& line) {
    return line.quadric(1.0, 1.0, 0.0, -s.radius() * s.radius());
}
ERPoint2D parameters(const ERBoundedCylinder&, const ERVector3D& p) {
    return {p.k(), angle(p.j(), p.i())};
}

Along implicit(const ERBoundedCone& s, const LocalLine& line) {
    const double slope = std::tan(s.demiAngle());
    return line.quadric(1.0, 1.0, -slope * slope, 0.0);
}
ERPoint2D parameters(const ERBoundedCone& s, const ERVector3D& p) {
    const double side = p.k() * std::tan(s.demiAngle()) < 0.0 ? -1.0 : 1.0; // of the apex
    return {p.k(), angle(side * p.j(), side * p.i())};
}

Along implicit(const ERBoundedSphere& s, const LocalLine& line) {
    return line.quadric(1.0, 1.0, 1.0, -s.radius() * s.radius());
}
ERPoint2D parameters(const ERBoundedSphere&, const ERVector3D& p) {
    return {angle(p.j(), p.i()), angle(p.k(), std::hypot(p.i(), p.j()))};
}

// (|p|^2 + R^2 - r^2)^2 - 4 R^2 (x^2 + y^2)
Along implicit(const ERBoundedTorus& s, const LocalLine& line) {
    const double spine = s.radius() * s.radius(), tube = s.small_radius() * s.small_radius();
    const Along q = line.quadric(1.0, 1.0, 1.0, spine - tube);
    const Along flat = line.quadric(4.0 * spine, 4.0 * spine, 0.0, 0.0);
    return {q[0] * q[0] - flat[0], 2.0 * q[0] * q[1] - flat[1],
            q[1] * q[1] + 2.0 * q[0] * q[2] - flat[2], 2.0 * q[1] * q[2], q[2] * q[2]};
}
ERPoint2D parameters(const ERBoundedTorus& s, const ERVector3D& p) {
    return {angle(p.j(), p.i()), angle(p.k(), std::hypot(p.i(), p.j()) - s.radius())};
}

// An angle by whole turns in the limits, or as near above their start as possible.
double turned_into(const ERLimites& limits, double t) {
    constexpr double turn = 2.0 * std::numbers::pi;
    constexpr double at_start = 1e-12; // a foot below the start by rounding is on it
    const double turns = (limits.start() - t) / turn;
    return t + turn * std::ceil(turns - at_start);
}

template <class Surface>
ERPoint2D in_limits(const Surface& s, ERPoint2D p) {
    constexpr bool turns_u =
        std::is_same_v<Surface, ERBoundedSphere> || std::is_same_v<Surface, ERBoundedTorus>;
    constexpr bool turns_v = std::is_same_v<Surface, ERBoundedTorus> ||
                             std::is_same_v<Surface, ERBoundedCylinder> ||
                             std::is_same_v<Surface, ERBoundedCone>;
    if (turns_u) p.x() = turned_into(s.getBoundU(), p.x());
    if (turns_v) p.y() = turned_into(s.getBoundV(), p.y());
    return p;
}

bool is_inside(const ERLimites& limits, double t) {
    constexpr double on_limit = 1e-12; // of a parameter of size 1 or more
    const double slack =
        on_limit * std::max({1.0, std::fabs(limits.start()), std::fabs(limits.end())});
    return t >= limits.start() - slack && t <= limits.end() + slack;
}

} // namespace

namespace velm::detail {

template <class Self>
void FramedSurface<Self>::ProjectPoint(const ERPoint3D& p, ERRaySurfaceResult& result,
                                       int inBound) const {
    constexpr std::size_t most_crossings = 4;
    const ERPoint3D local = in_frame(p);
    ERVector3D direction(0.0, 0.0, 1.0);
    this->frame.TransTo(direction);
    direction.normalize();
    LocalLine line{ERVector3D(local), direction};
    line.o = line.o - direction * (line.o * direction);
    const double infinity = std::numeric_limits<double>::infinity();
    RealRoot roots[most_crossings];
    const int found = real_roots(implicit(self(), line), ERLimites(-infinity, infinity), roots);
    for (int k = 0; k < found; ++k) {
        if (roots[k].multiplicity == 0) return; // the line lies in the surface
        const ERPoint2D at = in_limits(self(), parameters(self(), line.at(roots[k].value)));
        if (inBound &&
            !(is_inside(this->getBoundU(), at.x()) && is_inside(this->getBoundV(), at.y())))
            continue;
        ERInfoPoint3DSurf solution = PtCur(at.x(), at.y());
        result.AddPointSolution(solution);
    }
}

#define VELM_INSTANTIATE(Surface)                                                                  \
    template void FramedSurface<Surface>::ProjectPoint(const ERPoint3D&, ERRaySurfaceResult&, int) \
        const;
VELM_INSTANTIATE(ERBoundedPlane)
VELM_INSTANTIATE(ERBoundedCylinder)
VELM_INSTANTIATE(ERBoundedCone)
VELM_INSTANTIATE(ERBoundedSphere)
VELM_INSTANTIATE(ERBoundedTorus)
#undef VELM_INSTANTIATE

} // namespace velm::detail
