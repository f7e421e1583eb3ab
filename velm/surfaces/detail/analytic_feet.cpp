#include "velm/surfaces/detail/analytic_feet.h"

#include "velm/wireframe/detail/angles.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace velm::detail {
namespace {

// An angle this near to a limit is that limit: 1e-12 of a turn.
constexpr double angle_snap = 1e-12 * turn;
// A direction this short beside the coordinates that it comes from is none.
constexpr double undetermined = 0x1p-50;

constexpr bool turns_u(SurfaceKind kind) {
    return kind == SurfaceKind::sphere || kind == SurfaceKind::torus;
}
constexpr bool turns_v(SurfaceKind kind) { return kind != SurfaceKind::plane; }

// Brings an angle or a length to the limits; returns false if it is beyond them.
bool bring(bool angle, const ERLimites& limits, double& t) {
    if (!angle) return t >= limits.start() && t <= limits.end();
    const double low = limits.start(), high = limits.end();
    double raised = angle_from(low, t);
    if (raised > high && raised - turn >= low - angle_snap) raised = low;
    if (raised > high + angle_snap) return false;
    t = std::min(raised, high);
    if (t - low < angle_snap) t = low;
    if (high - t < angle_snap) t = high;
    return true;
}

} // namespace

AnalyticFeet::AnalyticFeet(const SurfaceTables& tables, const ERPoint3D& p) : tables_(tables) {
    const ERVector3D from(p - tables.shape.origin);
    x_ = from * tables.shape.x, y_ = from * tables.shape.y, z_ = from * tables.shape.z;
    axis_ = std::hypot(x_, y_);
    interior();
    for (const double u : {tables.u.start(), tables.u.end()}) {
        side_u(u);
        for (const double v : {tables.v.start(), tables.v.end()})
            add(u, v, false, false);
    }
    for (const double v : {tables.v.start(), tables.v.end()})
        side_v(v);
}

double AnalyticFeet::direction(double x, double y, const ERLimites& limits) const {
    const double reach = std::fabs(x_) + std::fabs(y_) + std::fabs(z_) +
                         std::fabs(tables_.shape.radius) + std::fabs(tables_.shape.small_radius);
    if (std::fabs(x) + std::fabs(y) <= undetermined * reach) return limits.start();
    return std::atan2(y, x);
}

void AnalyticFeet::interior() {
    const AnalyticShape& shape = tables_.shape;
    const double half_turn = std::numbers::pi;
    if (tables_.kind == SurfaceKind::plane) return add(x_, y_, true, true);
    const bool about_u = turns_u(tables_.kind);
    const double about = direction(x_, y_, about_u ? tables_.u : tables_.v);
    for (const double side : {1.0, -1.0}) { // the half plane of the point, and the opposite one
        const double angle = side > 0.0 ? about : about + half_turn, out = side * axis_;
        if (tables_.kind == SurfaceKind::cylinder) {
            add(z_, angle, true, true);
        } else if (tables_.kind == SurfaceKind::cone) {
            const double slope = shape.radius;
            add((slope * out + z_) / (1.0 + slope * slope) - shape.lift, angle, true, true);
        } else {
            const double spine = tables_.kind == SurfaceKind::torus ? shape.radius : 0.0;
            const double latitude = direction(out - spine, z_, tables_.v);
            add(angle, latitude, true, true);
            add(angle, latitude + half_turn, true, true);
        }
    }
}

void AnalyticFeet::side_u(double u) {
    const AnalyticShape& shape = tables_.shape;
    double v = y_;
    if (turns_u(tables_.kind)) {
        const double spine = tables_.kind == SurfaceKind::torus ? shape.radius : 0.0;
        v = direction(x_ * std::cos(u) + y_ * std::sin(u) - spine, z_, tables_.v);
    } else if (turns_v(tables_.kind)) {
        v = direction(x_, y_, tables_.v);
    }
    add(u, v, false, true);
    if (turns_v(tables_.kind)) add(u, v + std::numbers::pi, false, true);
}

void AnalyticFeet::side_v(double v) {
    double u = x_;
    if (tables_.kind == SurfaceKind::cylinder) u = z_;
    if (tables_.kind == SurfaceKind::cone) {
        const double slope = tables_.shape.radius;
        u = (slope * (x_ * std::cos(v) + y_ * std::sin(v)) + z_) / (1.0 + slope * slope) -
            tables_.shape.lift;
    }
    if (turns_u(tables_.kind)) u = direction(x_, y_, tables_.u);
    add(u, v, true, false);
    if (turns_u(tables_.kind)) add(u + std::numbers::pi, v, true, false);
}

void AnalyticFeet::add(double u, double v, bool free_u, bool free_v) {
    if (free_u && !bring(turns_u(tables_.kind), tables_.u, u)) return;
    if (free_v && !bring(turns_v(tables_.kind), tables_.v, v)) return;
    const AnalyticShape& shape = tables_.shape;
    AnalyticPlace& place = places_[static_cast<std::size_t>(count_++)];
    place = {u, v, free_u, free_v, {u - x_, v - y_, -z_}, 0.0};
    if (tables_.kind != SurfaceKind::plane) {
        const double r = shape.radius;
        double about = v, out = r, rise = u;
        if (tables_.kind == SurfaceKind::cone) rise = u + shape.lift, out = rise * r;
        if (turns_u(tables_.kind)) {
            const bool is_torus = tables_.kind == SurfaceKind::torus;
            const double tube = is_torus ? shape.small_radius : r;
            about = u;
            out = (is_torus ? r : 0.0) + tube * std::cos(v);
            rise = tube * std::sin(v);
        }
        place.from_query[0] = out * std::cos(about) - x_;
        place.from_query[1] = out * std::sin(about) - y_;
        place.from_query[2] = rise - z_;
    }
    for (const double c : place.from_query)
        place.squared += c * c;
}

const AnalyticPlace& AnalyticFeet::nearest() const {
    const auto begin = places_.begin();
    return *std::min_element(
        begin, begin + count_,
        [](const AnalyticPlace& a, const AnalyticPlace& b) { return a.squared < b.squared; });
}

} // namespace velm::detail
