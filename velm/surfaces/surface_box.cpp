#include "velm/surfaces/surface_box.h"

#include "velm/surfaces/detail/best_first.h"
#include "velm/surfaces/detail/quotient_net.h"
#include "velm/surfaces/detail/surface_flatness.h"
#include "velm/wireframe/detail/angles.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace velm {

namespace {

using detail::BernsteinNet;
using detail::SurfaceTables;

constexpr int most_halvings = 1 << 16;

// Calls f at the ends of an interval of angles and where a cos t + b sin t has its extremes in it.
template <class F>
void for_extremes(const ERLimites& angles, double a, double b, F f) {
    f(angles.start());
    f(angles.end());
    const double direction = std::atan2(b, a);
    for (double t : {direction, direction + 0.5 * detail::turn})
        if (detail::bring_within(angles, t)) f(t);
}

// The least and the largest value of one coordinate of an analytic surface.
ERLimites range_of_shape(const SurfaceTables& tables, int axis) {
    const detail::AnalyticShape& s = tables.shape;
    const double a = s.x[axis], b = s.y[axis], c = s.z[axis];
    const auto wave = [](double p, double q, double t) {
        return p * std::cos(t) + q * std::sin(t);
    };
    ERLimites range(HUGE_VAL, -HUGE_VAL);
    const auto include = [&](double value) {
        range.start() = std::min(range.start(), s.origin[axis] + value);
        range.end() = std::max(range.end(), s.origin[axis] + value);
    };
    const bool by_angles = tables.kind == SurfaceKind::sphere || tables.kind == SurfaceKind::torus;
    if (by_angles) {
        const double spine = tables.kind == SurfaceKind::torus ? s.radius : 0.0;
        const double tube = tables.kind == SurfaceKind::torus ? s.small_radius : s.radius;
        for_extremes(tables.u, a, b, [&](double u) {
            const double out = wave(a, b, u);
            for_extremes(tables.v, tube * out, tube * c,
                         [&](double v) { include(spine * out + tube * wave(out, c, v)); });
        });
        return range;
    }
    for (const double u : {tables.u.start(), tables.u.end()}) {
        const double height = u + s.lift;
        const double radius = tables.kind == SurfaceKind::cone ? s.radius * height : s.radius;
        if (tables.kind == SurfaceKind::plane) {
            for (const double v : {tables.v.start(), tables.v.end()})
                include(u * a + v * b);
        } else {
            for_extremes(tables.v, a, b,
                         [&](double v) { include(radius * wave(a, b, v) + height * c); });
        }
    }
    return range;
}

// A part of a patch with one coordinate, or its negative.
struct PatchPart {
    detail::QuotientNet coordinate;
    double attained = -HUGE_VAL, upper = -HUGE_VAL;

    explicit PatchPart(detail::QuotientNet own = {}) : coordinate(std::move(own)) {
        coordinate.for_corners([&](double value) { attained = std::max(attained, value); });
        coordinate.for_values([&](double value) { upper = std::max(upper, value); });
    }
};

detail::LargestValue largest_of_patches(const SurfaceTables& tables, int axis, double sign,
                                        double tolerance) {
    const double origin = tables.box.center_point()[axis];
    std::vector<PatchPart> parts;
    for (int j = 0; j < tables.patches_v(); ++j)
        for (int i = 0; i < tables.patches_u(); ++i) {
            BernsteinNet own(tables.degree_u, tables.degree_v, 1), weight(own);
            const double* pole = tables.patch(i, j);
            for (std::size_t k = 0; k < own.count(); ++k, pole += 4) {
                own.c[k] = sign * (pole[axis] - origin * pole[3]);
                weight.c[k] = pole[3];
            }
            parts.emplace_back(detail::QuotientNet(own, weight));
        }
    const auto halve = [](const PatchPart& whole, PatchPart& low, PatchPart& high) {
        const bool along_u = whole.coordinate.bends_along_u();
        low = PatchPart(whole.coordinate.half(along_u, true));
        high = PatchPart(whole.coordinate.half(along_u, false));
    };
    detail::LargestValue found = detail::best_first(
        std::move(parts), halve,
        [tolerance](double attained, double upper) { return upper - attained <= tolerance; },
        most_halvings);
    found.attained += sign * origin;
    found.upper += sign * origin;
    return found;
}

// A rectangle of parameters.
struct RectanglePart {
    ERLimites u, v;
    double bend_u = 0.0, bend_v = 0.0, attained = 0.0, upper = 0.0;
};

detail::LargestValue largest_by_flatness(const PreparedSurface& surface,
                                         detail::SurfaceFlatness& flatness, int axis, double sign,
                                         double tolerance) {
    const auto bounded = [&](RectanglePart part) {
        const Flatness f = flatness(part.u, part.v);
        const double a = part.u.amplitude(), b = part.v.amplitude();
        part.bend_u = f.uu * a * a;
        part.bend_v = f.vv * b * b;
        part.attained = -HUGE_VAL;
        for (const double u : {part.u.start(), part.u.end()})
            for (const double v : {part.v.start(), part.v.end()})
                part.attained = std::max(part.attained, sign * surface(u, v)[axis]);
        const double box = sign > 0.0 ? surface.box().upper(axis) : -surface.box().lower(axis);
        part.upper = std::min(part.attained + f.deviation(a, b), box);
        return part;
    };
    std::vector<double> in_u = breaks_u(surface), in_v = breaks_v(surface);
    in_u.insert(in_u.begin(), surface.domain_u().start());
    in_v.insert(in_v.begin(), surface.domain_v().start());
    in_u.push_back(surface.domain_u().end());
    in_v.push_back(surface.domain_v().end());
    std::vector<RectanglePart> parts;
    for (std::size_t i = 0; i + 1 < in_u.size(); ++i)
        for (std::size_t j = 0; j + 1 < in_v.size(); ++j)
            parts.push_back(bounded({{in_u[i], in_u[i + 1]}, {in_v[j], in_v[j + 1]}}));
    const auto halve = [&](const RectanglePart& whole, RectanglePart& low, RectanglePart& high) {
        low = high = whole;
        const bool finite = whole.bend_u < HUGE_VAL && whole.bend_v < HUGE_VAL;
        const bool along_u = finite ? whole.bend_u >= whole.bend_v
                                    : surface.domain_u().ratio(whole.u).amplitude() >=
                                          surface.domain_v().ratio(whole.v).amplitude();
        ERLimites &first = along_u ? low.u : low.v, &second = along_u ? high.u : high.v;
        first.end() = second.start() = 0.5 * first.start() + 0.5 * first.end();
        low = bounded(low);
        high = bounded(high);
    };
    return detail::best_first(
        std::move(parts), halve,
        [tolerance](double attained, double upper) { return upper - attained <= tolerance; },
        most_halvings);
}

} // namespace

TightBox tight_box(const PreparedSurface& surface, double tolerance) {
    const SurfaceTables& tables = SurfaceTables::of(surface);
    const double allowed = tolerance > 0.0 ? tolerance : 0x1p-30 * tables.box.diagonal();
    detail::SurfaceFlatness flatness(tables);
    TightBox result;
    ERPoint3D low, high;
    for (int axis = 0; axis < 3; ++axis) {
        if (tables.poles.empty() && !tables.base) {
            const ERLimites range = range_of_shape(tables, axis);
            low[axis] = range.start();
            high[axis] = range.end();
            continue;
        }
        for (const double sign : {-1.0, 1.0}) {
            const detail::LargestValue found =
                tables.base ? largest_by_flatness(surface, flatness, axis, sign, allowed)
                            : largest_of_patches(tables, axis, sign, allowed);
            result.excess = std::max(result.excess, found.upper - found.attained);
            (sign < 0.0 ? low : high)[axis] = sign * found.upper;
        }
    }
    result.box = ERMinimax3D(low, high);
    return result;
}

} // namespace velm
