#include "velm/surfaces/flatness.h"

#include "velm/surfaces/detail/offset_expansion.h"
#include "velm/surfaces/detail/surface_flatness.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace velm {

namespace detail {

namespace {

// The numerator of a second derivative of X / w by x and y, each u or v, times w^3:
// w^2 Xxy - w (wx Xy + wy Xx + wxy X) + 2 wx wy X.
BernsteinNet numerator(const BernsteinNet& x, const BernsteinNet& w,
                       BernsteinNet (*by_x)(const BernsteinNet&),
                       BernsteinNet (*by_y)(const BernsteinNet&)) {
    if (w.empty()) return by_y(by_x(x));
    const BernsteinNet wx = by_x(w), wy = by_y(w);
    BernsteinNet sum = product(w, product(w, by_y(by_x(x))));
    add(sum, product(product(w, wx), by_y(x)), -1.0);
    add(sum, product(product(w, wy), by_x(x)), -1.0);
    add(sum, product(product(w, by_y(wx)), x), -1.0);
    add(sum, product(product(wx, wy), x), 2.0);
    return sum;
}

// |cosine| over an interval of angles.
double largest_cosine(const ERLimites& angles) {
    const double half_turn = std::numbers::pi;
    const double next = std::ceil(angles.start() / half_turn) * half_turn;
    if (next <= angles.end()) return 1.0;
    return std::max(std::fabs(std::cos(angles.start())), std::fabs(std::cos(angles.end())));
}

// Infinite for what isn't a number.
double size_of(const Interval& a, const Interval& b, const Interval& c = {}) {
    const double x = a.size(), y = b.size(), z = c.size();
    const double length = std::sqrt(x * x + y * y + z * z);
    return std::isfinite(length) ? length : std::numeric_limits<double>::infinity();
}

Flatness of_shape(const SurfaceTables& tables, const ERLimites& u, const ERLimites& v) {
    const AnalyticShape& shape = tables.shape;
    const double r = shape.radius, small = shape.small_radius;
    switch (tables.kind) {
    case SurfaceKind::cylinder:
        return {0.0, 0.0, std::fabs(r)};
    case SurfaceKind::cone: {
        const double a = u.start() + shape.lift, b = u.end() + shape.lift;
        const bool one_side = a >= 0.0 || b <= 0.0;
        return {0.0, one_side ? 0.0 : std::fabs(r),
                std::fabs(r) * std::max(std::fabs(a), std::fabs(b))};
    }
    case SurfaceKind::sphere:
        return {std::fabs(r) * largest_cosine(v), 0.0, std::fabs(r)};
    case SurfaceKind::torus: {
        // r cos v is largest where the cosine is, or where the limits contain none of its peaks, at
        // an end.
        const double turn = 2.0 * std::numbers::pi;
        const bool peak = std::ceil(v.start() / turn) * turn <= v.end();
        const double cosine = peak ? 1.0 : std::max(std::cos(v.start()), std::cos(v.end()));
        const bool crosses = std::fabs(r) < std::fabs(small);
        return {crosses ? std::fabs(r) + std::fabs(small) : r + small * cosine,
                crosses ? std::fabs(small) : 0.0, std::fabs(small)};
    }
    default:
        return {};
    }
}

// Bounds of the second derivatives, and whether a meridian stays in its half plane.
struct TurnedBounds {
    Flatness bends;
    bool half_plane;

    bool is_finite() const { return std::max({bends.uu, bends.uv, bends.vv}) < HUGE_VAL; }
};

// A surface of revolution turned back to the angle 0, moved along its normal.
TurnedBounds bounds_of_turned(const SurfaceTables& base, double offset, const ERLimites& u,
                              const ERLimites& v) {
    Interval jet[18];
    if (offset == 0.0) {
        jet_of_series(expansion_over(base, u, v), jet);
    } else {
        jet_of_series(offset_over(base, offset, u, v), jet);
    }
    const auto size = [&](int k) { return size_of(jet[3 * k], jet[3 * k + 1], jet[3 * k + 2]); };
    const bool half_plane = base.meridian && jet[0].lower >= -1e-12 * jet[0].upper;
    return {{size(3), size(4), size(5)}, half_plane};
}

// Where the normals of a base may turn so far over a rectangle that nothing bounds their length
// from below, the bounds of its halves, at most so often.
TurnedBounds bounds_of_halves(const SurfaceTables& base, double offset, const ERLimites& u,
                              const ERLimites& v, int levels) {
    const TurnedBounds whole = bounds_of_turned(base, offset, u, v);
    if (levels == 0 || offset == 0.0 || whole.is_finite()) return whole;
    const bool along_u = u.amplitude() * base.v.amplitude() >= v.amplitude() * base.u.amplitude();
    const ERLimites low(0.0, 0.5), high(0.5, 1.0);
    const auto half = [&](const ERLimites& part) {
        return along_u ? bounds_of_halves(base, offset, u(part), v, levels - 1)
                       : bounds_of_halves(base, offset, u, v(part), levels - 1);
    };
    const TurnedBounds a = half(low);
    if (!a.is_finite()) return whole;
    const TurnedBounds b = half(high);
    return {{std::max(a.bends.uu, b.bends.uu), std::max(a.bends.uv, b.bends.uv),
             std::max(a.bends.vv, b.bends.vv)},
            a.half_plane && b.half_plane};
}

Flatness of_turned(const SurfaceTables& base, double offset, const ERLimites& u,
                   const ERLimites& v) {
    constexpr int most_halvings = 8;
    TurnedBounds bounds = bounds_of_halves(base, offset, u, v, most_halvings);
    if (bounds.half_plane) bounds.bends.uv = 0.0;
    return bounds.bends;
}

} // namespace

Flatness SurfaceFlatness::bounds(const Bends& bends, int i, int j, const ERLimites& u,
                                 const ERLimites& v) const {
    const auto a = std::size_t(i), b = std::size_t(j);
    const ERLimites in_u(tables_.ends_u[a], tables_.ends_u[a + 1]);
    const ERLimites in_v(tables_.ends_v[b], tables_.ends_v[b + 1]);
    const double length_u = in_u.amplitude(), length_v = in_v.amplitude();
    const auto part_of = [&](BernsteinNet net) {
        restrict_net(net, in_u.ratio(u), in_v.ratio(v));
        return net;
    };
    const double weight = bends.weight.empty() ? 1.0 : range_of(part_of(bends.weight), 0).start();
    const double scale = 1.0 / (weight * weight * weight);
    return {largest_length(part_of(bends.uu)) * scale / (length_u * length_u),
            largest_length(part_of(bends.uv)) * scale / (length_u * length_v),
            largest_length(part_of(bends.vv)) * scale / (length_v * length_v)};
}

const SurfaceFlatness::Bends& SurfaceFlatness::bends(int i, int j) {
    if (kept_.empty())
        kept_.resize(std::size_t(tables_.patches_u()) * std::size_t(tables_.patches_v()));
    std::optional<Bends>& kept =
        kept_[std::size_t(j) * std::size_t(tables_.patches_u()) + std::size_t(i)];
    if (kept) return *kept;
    BernsteinNet net(tables_.degree_u, tables_.degree_v, 4);
    std::copy_n(tables_.patch(i, j), net.c.size(), net.c.data());
    // About a pole of the patch: derivatives don't change, and keep their digits.
    const double origin[] = {net.c[0] / net.c[3], net.c[1] / net.c[3], net.c[2] / net.c[3]};
    for (std::size_t n = 0; n < net.c.size(); n += 4)
        for (std::size_t k = 0; k < 3; ++k)
            net.c[n + k] -= origin[k] * net.c[n + 3];
    const BernsteinNet x = components_of(net, 0, 3);
    kept.emplace();
    if (tables_.rational) kept->weight = components_of(net, 3, 1);
    kept->uu = numerator(x, kept->weight, derivative_u, derivative_u);
    kept->uv = numerator(x, kept->weight, derivative_u, derivative_v);
    kept->vv = numerator(x, kept->weight, derivative_v, derivative_v);
    const auto a = std::size_t(i), b = std::size_t(j);
    kept->whole = bounds(*kept, i, j, {tables_.ends_u[a], tables_.ends_u[a + 1]},
                         {tables_.ends_v[b], tables_.ends_v[b + 1]});
    return *kept;
}

Flatness SurfaceFlatness::of_patches(const ERLimites& u, const ERLimites& v) {
    Flatness all;
    // A rectangle may be a line or a place: then the patch from there on counts.
    const int first_u = interval_of(tables_.ends_u, u.start());
    const int first_v = interval_of(tables_.ends_v, v.start());
    for (int i = first_u; i < tables_.patches_u(); ++i) {
        const auto a = std::size_t(i);
        const ERLimites in_u(std::max(tables_.ends_u[a], u.start()),
                             std::min(tables_.ends_u[a + 1], u.end()));
        if (i > first_u && !(in_u.amplitude() > 0.0)) break;
        for (int j = first_v; j < tables_.patches_v(); ++j) {
            const auto b = std::size_t(j);
            const ERLimites in_v(std::max(tables_.ends_v[b], v.start()),
                                 std::min(tables_.ends_v[b + 1], v.end()));
            if (j > first_v && !(in_v.amplitude() > 0.0)) break;
            const Bends& patch = bends(i, j);
            const bool is_whole = in_u == ERLimites(tables_.ends_u[a], tables_.ends_u[a + 1]) &&
                                  in_v == ERLimites(tables_.ends_v[b], tables_.ends_v[b + 1]);
            const Flatness own = is_whole ? patch.whole : bounds(patch, i, j, in_u, in_v);
            all = {std::max(all.uu, own.uu), std::max(all.uv, own.uv), std::max(all.vv, own.vv)};
        }
    }
    return all;
}

// A place as an interval that has a length, inside the domain.
static ERLimites widened(const ERLimites& part, const ERLimites& domain) {
    constexpr double width = 1e-9; // of the domain
    if (part.start() < part.end()) return part;
    const double least = width * domain.amplitude();
    return part.end() + least <= domain.end() ? ERLimites(part.start(), part.end() + least)
                                              : ERLimites(part.start() - least, part.end());
}

Flatness SurfaceFlatness::operator()(const ERLimites& u, const ERLimites& v) {
    switch (tables_.kind) {
    case SurfaceKind::patches:
        return of_patches(u, v);
    case SurfaceKind::revolution:
        return of_turned(tables_, 0.0, widened(u, tables_.u), widened(v, tables_.v));
    case SurfaceKind::offset:
        return of_turned(*tables_.base, tables_.offset, widened(u, tables_.u),
                         widened(v, tables_.v));
    default:
        return of_shape(tables_, u, v);
    }
}

std::vector<double> breaks(const SurfaceTables& tables, bool along_u) {
    const SurfaceTables& own = tables.base ? *tables.base : tables;
    const int needed = tables.base ? 2 : 1;
    std::vector<double> found;
    const std::vector<double>& ends = along_u ? own.ends_u : own.ends_v;
    const std::vector<int>& orders = along_u ? own.continuous_u : own.continuous_v;
    for (std::size_t k = 0; k < orders.size(); ++k)
        if (orders[k] < needed) found.push_back(ends[k + 1]);
    const double apex = -own.shape.lift;
    if (along_u && tables.kind == SurfaceKind::cone && tables.u.strictlyInBound(apex))
        found.push_back(apex);
    return found;
}

} // namespace detail

Flatness flatness(const PreparedSurface& surface, const ERLimites& u, const ERLimites& v) {
    const detail::SurfaceTables& tables = detail::SurfaceTables::of(surface);
    return detail::SurfaceFlatness(tables)(
        {tables.clamped_u(u.start()), tables.clamped_u(u.end())},
        {tables.clamped_v(v.start()), tables.clamped_v(v.end())});
}

std::vector<double> breaks_u(const PreparedSurface& surface) {
    return detail::breaks(detail::SurfaceTables::of(surface), true);
}

std::vector<double> breaks_v(const PreparedSurface& surface) {
    return detail::breaks(detail::SurfaceTables::of(surface), false);
}

} // namespace velm
