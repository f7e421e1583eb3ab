#include "velm/wireframe/closest_point.h"

#include "velm/frame/interval.h"
#include "velm/frame/point_functions.h"
#include "velm/platform/ellipse_kernel.h"
#include "velm/wireframe/arc_in_space.h"
#include "velm/wireframe/detail/angles.h"
#include "velm/wireframe/ellipse_in_space.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace velm {

namespace {

using Flat = ClosestPoint<ERPoint2D>;
using Solid = ClosestPoint<ERPoint3D>;
using detail::EllipseFrame;

// The limits in rising order.
ERLimites rising(const EREntAngle& angles) {
    const double start = angles.startAngle(), end = angles.endAngle();
    return ERLimites(std::min(start, end), std::max(start, end));
}

Flat on_circle(const ERCircle2D& circle, const ERPoint2D& p, double t) {
    const ERPoint2D at = circle(t);
    return {at, t, distance(at, p)};
}

Flat on_arc(const ERCircle2D& circle, const ERLimites& bound, const ERPoint2D& p) {
    double angle = detail::angle_about(circle.center(), p);
    if (detail::bring_within(bound, angle)) return on_circle(circle, p, angle);
    const Flat first = on_circle(circle, p, bound.start()),
               last = on_circle(circle, p, bound.end());
    return last.distance < first.distance ? last : first;
}

Flat on_ellipse(const EllipseFrame& ellipse, const ERPoint2D& p) {
    const ERPoint2D query = ellipse.to_frame(p);
    tqkCurvePointList2 points;
    tqkEllipse2(ellipse.half_big, ellipse.half_small)
        .global_closest_point(query.x(), query.y(), points);
    if (points.size() == 0) return {ellipse.at(0.0), 0.0, distance(ellipse.at(0.0), p)};
    const ERPoint2D at = ellipse.from_frame(points[0].x, points[0].y);
    return {at, points[0].parameter, std::hypot(points[0].x - query.x(), points[0].y - query.y())};
}

// The eccentric angle of the local minimum across the big axis from a query in the first
// quadrant of the ellipse's frame, in [-pi / 2, 0]; false if there is none. The feet at the angle
// -u, 0 < u < pi / 2, solve c^2 = a x / cos u + b y / sin u, c^2 = a^2 - b^2, whose right side is
// convex; the greater root is the minimum.
bool minimum_across(const EllipseFrame& ellipse, double x, double y, double& t) {
    const double a = ellipse.half_big, b = ellipse.half_small;
    const double A = a * x, B = b * y, gap = (a - b) * (a + b);
    const auto excess = [&](double u) {
        return A / std::cos(u) + (B == 0.0 ? 0.0 : B / std::sin(u)) - gap;
    };
    double low = std::atan2(std::cbrt(B), std::cbrt(A)), high = 0.5 * std::numbers::pi;
    if (A == 0.0) {
        t = -high;
        return B <= gap;
    }
    if (!(excess(low) < 0.0)) return false;
    for (double middle = 0.5 * (low + high); low < middle && middle < high;
         middle = 0.5 * (low + high)) {
        (excess(middle) < 0.0 ? low : high) = middle;
    }
    t = -low;
    return true;
}

Flat on_ellipse_arc(const EllipseFrame& ellipse, const ERLimites& bound, const ERPoint2D& p) {
    Flat best = on_ellipse(ellipse, p);
    if (detail::bring_within(bound, best.parameter)) return best;

    const auto candidate = [&](double t) {
        const ERPoint2D at = ellipse.at(t);
        const double d = distance(at, p);
        if (d < best.distance) best = {at, t, d};
    };
    best.distance = HUGE_VAL;
    candidate(bound.start());
    candidate(bound.end());
    // The nearest point of the whole again, mirrored: the other point of an equally near pair.
    const ERPoint2D query = ellipse.to_frame(p);
    double t;
    if (minimum_across(ellipse, std::fabs(query.x()), std::fabs(query.y()), t)) {
        if (query.x() < 0.0) t = std::numbers::pi - t;
        if (query.y() < 0.0) t = -t;
        if (detail::bring_within(bound, t)) candidate(t);
    }
    return best;
}

// Solves in the plane of a frame; the distance is the hypotenuse of the one in the plane and the
// height.
template <class Solve>
Solid in_frame(const ERPmIsometrie3D& frame, const ERPoint3D& p, Solve solve) {
    ERPoint3D local = p;
    frame.TransTo(local);
    const Flat flat = solve(local.castToPoint2D(Coord3D_Z));
    return {detail::lifted(frame, flat.point), flat.parameter,
            std::hypot(flat.distance, local.z())};
}

} // namespace

Flat closest_point(const ERCircle2D& circle, const ERPoint2D& p) {
    return on_circle(circle, p, detail::angle_about(circle.center(), p));
}

Flat closest_point(const ERArc2D& arc, const ERPoint2D& p) { return on_arc(arc, rising(arc), p); }

Flat closest_point(const EREllipse2D& ellipse, const ERPoint2D& p) {
    return on_ellipse(ellipse.frame(), p);
}

Flat closest_point(const ERArcEllipse2D& arc, const ERPoint2D& p) {
    const double first = arc.udeb(), last = arc.ufin();
    return on_ellipse_arc(arc.frame(), {std::min(first, last), std::max(first, last)}, p);
}

Solid closest_point(const ERCircle3D& circle, const ERPoint3D& p) {
    return in_frame(circle.getRepere(), p,
                    [&](const ERPoint2D& q) { return closest_point(circle.flat(), q); });
}

Solid closest_point(const ERArc3D& arc, const ERPoint3D& p) {
    return in_frame(arc.getRepere(), p,
                    [&](const ERPoint2D& q) { return on_arc(arc.flat(), rising(arc), q); });
}

Solid closest_point(const EREllipse3D& ellipse, const ERPoint3D& p) {
    return in_frame(ellipse.getRepere(), p,
                    [&](const ERPoint2D& q) { return closest_point(ellipse.flat(), q); });
}

Solid closest_point(const ERArcEllipse3D& arc, const ERPoint3D& p) {
    return in_frame(arc.getRepere(), p,
                    [&](const ERPoint2D& q) { return closest_point(arc.flat_arc(), q); });
}

} // namespace velm
