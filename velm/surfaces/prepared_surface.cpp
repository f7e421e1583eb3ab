#include "velm/surfaces/prepared_surface.h"

#include "velm/curves/detail/basis_functions.h"
#include "velm/frame/thread_data.h"
#include "velm/surfaces/detail/analytic_jet.h"
#include "velm/surfaces/detail/offset_expansion.h"
#include "velm/surfaces/detail/quotient_rule.h"
#include "velm/surfaces/detail/surface_tables.h"
#include "velm/surfaces/detail/tensor_jet.h"
#include "velm/surfaces/limit_normal.h"

#include <algorithm>
#include <cmath>

namespace velm {

using detail::AnalyticJet;
using detail::DirectionBasis;
using detail::interval_of;
using detail::Jet;
using detail::SurfaceTables;
using detail::Turn;

namespace {

// The order of derivatives that the samples need.
int order_of(const SurfaceSamples& samples) {
    const bool second = !samples.duu.empty() || !samples.duv.empty() || !samples.dvv.empty() ||
                        !samples.curvatures.empty();
    const bool first = !samples.du.empty() || !samples.dv.empty() || !samples.normals.empty();
    return second ? 2 : first ? 1 : 0;
}

PrincipalCurvatures curvatures_of(const Jet& jet) {
    const ERVector3D pu = jet.vector(1), pv = jet.vector(2);
    const double e = pu * pu, f = pu * pv, g = pv * pv;
    const ERVector3D product = pu ^ pv;
    const double area = product * product, unit = 1.0 / std::sqrt(area);
    const double l = jet.vector(3) * product * unit, m = jet.vector(4) * product * unit,
                 n = jet.vector(5) * product * unit;
    const double gauss = (l * n - m * m) / area;
    const double mean = 0.5 * (n * e - 2.0 * f * m + l * g) / area;
    const double root = std::sqrt(std::max(0.0, mean * mean - gauss));
    return {mean - root, mean + root};
}

// Bernstein's functions at t between two ends; memory as basis_memory says.
template <class Degree, class Order>
[[gnu::always_inline]] inline DirectionBasis bernstein_at(double low, double high, Degree p,
                                                          double t, Order order, double* memory) {
    const double inverse = 1.0 / (high - low);
    const double x = (t - low) * inverse, y = (high - t) * inverse;
    const auto shares = [=](int, int, double value) __attribute__((always_inline)) {
        return detail::BasisShares{y * value, x * value};
    };
    const auto factor = [=](int j, int) __attribute__((always_inline)) { return j * inverse; };
    return detail::basis_from(p, order, memory, shares, factor);
}

template <class Order>
[[gnu::always_inline]] inline void finish(const double (*sums)[4], bool rational, Order order,
                                          Jet& jet) {
    if (rational) return detail::divide_by_weight(sums, order, jet.c);
    constexpr int counts[] = {1, 3, 6};
    for (int k = 0; k < counts[order]; ++k)
        std::copy_n(sums[k], 3, jet.c + 3 * k);
}

// Calls f(degree in u, degree in v, order) with constants in the usual cases.
template <class F>
void with_degrees(const SurfaceTables& tables, int order, F f) {
    detail::with_order(order, [&](auto wanted) {
        if (tables.degree_u == tables.degree_v) {
            detail::with_degree(tables.degree_u, [&](auto p) { f(p, p, wanted); });
        } else {
            f(tables.degree_u, tables.degree_v, wanted);
        }
    });
}

// Room on the stack for constant degrees, else for those that surfaces are prepared of.
constexpr int highest_degree = 64;
template <class Degree, std::size_t Fixed, std::size_t Inline>
using Room = detail::DegreeWork<Degree, Fixed, Inline>;

// f(index, jet) at each parameter of a NURBS surface: at random places its own poles stay in the
// nearest cache where those of all patches don't.
template <class F>
void for_spline(const SurfaceTables& tables, std::span<const ERPoint2D> parameters, int order,
                F f) {
    const auto side = [](double t, const ERLimites& limits) {
        return t < limits.end() ? tqk_above : tqk_below;
    };
    for (std::size_t k = 0; k < parameters.size(); ++k) {
        const double u = tables.clamped_u(parameters[k].x());
        const double v = tables.clamped_v(parameters[k].y());
        Jet jet = {};
        tables.spline.evaluate({u, v, side(u, tables.u), side(v, tables.v)}, order, jet.c);
        f(k, jet);
    }
}

// f(index, jet) at each parameter of a Bezier surface.
template <class F>
void for_patches(const SurfaceTables& tables, std::span<const ERPoint2D> parameters, int order,
                 F f) {
    using detail::basis_memory;
    with_degrees(tables, order, [&](auto p, auto q, auto wanted) {
        Room<decltype(p), basis_memory(5), basis_memory(highest_degree)> memory_u(basis_memory(p));
        Room<decltype(q), basis_memory(5), basis_memory(highest_degree)> memory_v(basis_memory(q));
        Room<decltype(p), 12 * 6, 12 * (highest_degree + 1)> sums(12 * (std::size_t(p) + 1));
        for (std::size_t k = 0; k < parameters.size(); ++k) {
            const double u = tables.clamped_u(parameters[k].x());
            const double v = tables.clamped_v(parameters[k].y());
            const int i = interval_of(tables.ends_u, u), j = interval_of(tables.ends_v, v);
            const double *const ends_u = &tables.ends_u[std::size_t(i)],
                                *const ends_v = &tables.ends_v[std::size_t(j)];
            const DirectionBasis in_u =
                bernstein_at(ends_u[0], ends_u[1], p, u, wanted, memory_u.data());
            const DirectionBasis in_v =
                bernstein_at(ends_v[0], ends_v[1], q, v, wanted, memory_v.data());
            double homogeneous[6][4];
            detail::sum_columns(tables.patch(i, j), 4 * (p + 1), p + 1, in_v, q, wanted,
                                sums.data());
            detail::jet_of_columns(sums.data(), in_u, p, wanted, homogeneous);
            Jet jet = {};
            finish(homogeneous, tables.rational, wanted, jet);
            f(k, jet);
        }
    });
}

// f(index, jet) at all pairs. Basis functions along U are kept for a run of u; the columns of a
// patch are summed once for each v and patch.
template <class F>
void for_patch_grid(const SurfaceTables& tables, std::span<const double> u,
                    std::span<const double> v, int order, F f) {
    using detail::basis_memory;
    constexpr std::size_t run_doubles = 8192;
    with_degrees(tables, order, [&](auto p, auto q, auto wanted) {
        const std::size_t per_u = basis_memory(p) + 1; // and the patch
        const std::size_t run = std::max(run_doubles / per_u, std::size_t(1));
        double* const scratch = GetThreadScratch(static_cast<int>(run * per_u));
        Room<decltype(q), basis_memory(5), basis_memory(highest_degree)> memory_v(basis_memory(q));
        Room<decltype(p), 12 * 6, 12 * (highest_degree + 1)> sums(12 * (std::size_t(p) + 1));
        for (std::size_t from = 0; from < u.size(); from += run) {
            const std::size_t count = std::min(run, u.size() - from);
            const auto basis = [&](double t, int patch, double* memory)
                __attribute__((always_inline)) {
                const double* const ends = &tables.ends_u[std::size_t(patch)];
                return bernstein_at(ends[0], ends[1], p, t, wanted, memory);
            };
            for (std::size_t i = 0; i < count; ++i) {
                const double t = tables.clamped_u(u[from + i]);
                const int patch = interval_of(tables.ends_u, t);
                scratch[i * per_u] = patch;
                basis(t, patch, scratch + i * per_u + 1);
            }
            for (std::size_t k = 0; k < v.size(); ++k) {
                const double t = tables.clamped_v(v[k]);
                const int row = interval_of(tables.ends_v, t);
                const double* const ends = &tables.ends_v[std::size_t(row)];
                const DirectionBasis in_v =
                    bernstein_at(ends[0], ends[1], q, t, wanted, memory_v.data());
                int summed = -1;
                for (std::size_t i = 0; i < count; ++i) {
                    const double* const own = scratch + i * per_u;
                    const int patch = static_cast<int>(own[0]);
                    if (patch != summed)
                        detail::sum_columns(tables.patch(patch, row), 4 * (p + 1), p + 1, in_v, q,
                                            wanted, sums.data());
                    summed = patch;
                    const double* const b = own + 1;
                    const int n = p + 1;
                    const DirectionBasis in_u{b, b + n, b + 2 * n, b + 3 * n, b + 4 * n};
                    double homogeneous[6][4];
                    detail::jet_of_columns(sums.data(), in_u, p, wanted, homogeneous);
                    Jet jet = {};
                    finish(homogeneous, tables.rational, wanted, jet);
                    f(k * u.size() + from + i, jet);
                }
            }
        }
    });
}

} // namespace

PreparedSurface::PreparedSurface(std::shared_ptr<const SurfaceTables> tables)
    : tables_(std::move(tables)) {}

SurfaceKind PreparedSurface::kind() const { return tables_->kind; }

ERLimites PreparedSurface::domain_u() const { return tables_->u; }

ERLimites PreparedSurface::domain_v() const { return tables_->v; }

ERMinimax3D PreparedSurface::box() const { return tables_->box; }

int PreparedSurface::patches_u() const { return tables_->patches_u(); }

int PreparedSurface::patches_v() const { return tables_->patches_v(); }

SurfacePatch PreparedSurface::patch(int i_u, int i_v) const {
    const SurfaceTables& t = *tables_;
    const auto u = std::size_t(i_u), v = std::size_t(i_v);
    return {{t.patch(i_u, i_v), 4 * t.poles_of_patch()},
            t.degree_u,
            t.degree_v,
            t.rational,
            {t.ends_u[u], t.ends_u[u + 1]},
            {t.ends_v[v], t.ends_v[v + 1]},
            t.boxes[v * std::size_t(t.patches_u()) + u],
            t.angular_u,
            t.angular_v};
}

double PreparedSurface::offset() const { return tables_->offset; }

std::optional<PreparedSurface> PreparedSurface::base() const {
    if (!tables_->base) return std::nullopt;
    return PreparedSurface(tables_->base);
}

namespace {

// The product of the tangents, or null where it is at most this part of what a plane of the size of
// the box has.
ERVector3D regular_normal(const SurfaceTables& tables, const Jet& jet, double vanishing) {
    const ERVector3D product = jet.vector(1) ^ jet.vector(2);
    const double length = product.norme();
    const double size = tables.box.diagonal();
    if (length * tables.u.amplitude() * tables.v.amplitude() > vanishing * size * size)
        return product * (1.0 / length);
    return ERVector3D();
}

Jet jet_at(const SurfaceTables& tables, const ERPoint2D& at, int order);

// The product of the tangents where it is far from vanishing, else the limit.
ERVector3D normal_of(const SurfaceTables& tables, const ERPoint2D& at, const Jet& jet) {
    constexpr double vanishing = 1e-6;
    const ERVector3D regular = regular_normal(tables, jet, vanishing);
    if (regular.norme2() > 0.0) return regular;
    const ERPoint2D inside(tables.clamped_u(at.x()), tables.clamped_v(at.y()));
    const ERVector3D limit = limit_normal(
        detail::surface_point(inside, jet_at(tables, inside, 2).c), tables.u, tables.v);
    if (tables.kind != SurfaceKind::torus || limit.norme2() > 0.0) return limit;
    // Where the tube only touches the axis, dP/du vanishes twice.
    const detail::AnalyticShape& shape = tables.shape;
    const ERVector3D out = shape.x * std::cos(inside.x()) + shape.y * std::sin(inside.x());
    const ERVector3D away = out * std::cos(inside.y()) + shape.z * std::sin(inside.y());
    return shape.radius * shape.small_radius < 0.0 ? -away : away;
}

// A point moved along the base's normal, or along its limit: by the series where tangents have few
// digits and it has all. Where the base has no normal but a limit that gives no derivatives, they
// are those a little nearer to the middle of the limits.
Jet moved_jet(const SurfaceTables& tables, const ERPoint2D& at, int order) {
    constexpr double few_digits = 1e-2, none = 1e-6;
    const SurfaceTables& base = *tables.base;
    const Jet below = jet_at(base, at, 1);
    const auto series_at = [&](double u, double v) {
        Jet jet = {};
        jet_of_series(detail::offset_at(base, tables.offset, u, v), jet.c);
        return jet;
    };
    const bool by_limit = !(regular_normal(base, below, few_digits).norme2() > 0.0) &&
                          detail::has_limit_tangent(base, at.x(), at.y());
    Jet jet = {};
    if (order > 0 || by_limit) jet = series_at(at.x(), at.y());
    const auto is_finite = [](double x) { return std::isfinite(x); };
    if (by_limit && std::all_of(std::begin(jet.c), std::end(jet.c), is_finite)) return jet;
    ERVector3D normal = regular_normal(base, below, none);
    if (!(normal.norme2() > 0.0)) {
        constexpr double step = 1e-4;
        if (order > 0)
            jet = series_at((1.0 - step) * at.x() + step * tables.u(0.5),
                            (1.0 - step) * at.y() + step * tables.v(0.5));
        normal = normal_of(base, at, below);
    }
    for (int k = 0; k < 3; ++k)
        jet.c[k] = below.c[k] + tables.offset * normal[k];
    return jet;
}

// f(index, jet) at each parameter of a surface of any kind.
template <class F>
void for_parameters(const SurfaceTables& tables, std::span<const ERPoint2D> parameters, int order,
                    F f) {
    if (tables.spline.is_complete()) return for_spline(tables, parameters, order, f);
    if (tables.kind == SurfaceKind::patches) return for_patches(tables, parameters, order, f);
    const AnalyticJet shape(tables);
    for (std::size_t k = 0; k < parameters.size(); ++k) {
        const double u = tables.clamped_u(parameters[k].x());
        const double v = tables.clamped_v(parameters[k].y());
        if (tables.base) {
            f(k, moved_jet(tables, {u, v}, order));
        } else if (tables.generatrix) {
            f(k, detail::jet_of_turned(tables.shape, tables.generatrix->point_at(u),
                                       Turn::of(v, true)));
        } else {
            f(k, shape.at(shape.turn_u(u), shape.turn_v(v)));
        }
    }
}

Jet jet_at(const SurfaceTables& tables, const ERPoint2D& at, int order) {
    Jet found = {};
    const int values = 3 * (order + 1) * (order + 2) / 2; // the others are not set
    for_parameters(tables, {&at, 1}, order,
                   [&](std::size_t, const Jet& jet) { std::copy_n(jet.c, values, found.c); });
    return found;
}

// f(index, jet) at all pairs of a surface of another kind than patches: what belongs to u is asked
// for once for each run, and what belongs to v once for each run and v.
template <class InU, class InV, class At, class F>
void for_runs(std::span<const double> u, std::span<const double> v, InU in_u, InV in_v, At at,
              F f) {
    constexpr std::size_t run = 256;
    decltype(in_u(0.0)) of_u[run];
    for (std::size_t from = 0; from < u.size(); from += run) {
        const std::size_t count = std::min(run, u.size() - from);
        for (std::size_t i = 0; i < count; ++i)
            of_u[i] = in_u(u[from + i]);
        for (std::size_t k = 0; k < v.size(); ++k) {
            const auto of_v = in_v(v[k]);
            for (std::size_t i = 0; i < count; ++i)
                f(k * u.size() + from + i, at(of_u[i], of_v));
        }
    }
}

template <class F>
void for_pairs(const SurfaceTables& tables, std::span<const double> u, std::span<const double> v,
               int order, F f) {
    if (tables.kind == SurfaceKind::patches) return for_patch_grid(tables, u, v, order, f);
    const auto clamped_u = [&](double t) { return tables.clamped_u(t); };
    const auto clamped_v = [&](double t) { return tables.clamped_v(t); };
    const AnalyticJet shape(tables);
    if (tables.base) {
        for_runs(
            u, v, clamped_u, clamped_v,
            [&](double x, double y) {
                return moved_jet(tables, {x, y}, order);
            },
            f);
    } else if (tables.generatrix) {
        for_runs(
            u, v, [&](double t) { return tables.generatrix->point_at(clamped_u(t)); },
            [&](double t) { return Turn::of(clamped_v(t), true); },
            [&](const ERInfoPoint3DWF& on, const Turn& turn) {
                return detail::jet_of_turned(tables.shape, on, turn);
            },
            f);
    } else {
        for_runs(
            u, v, [&](double t) { return shape.turn_u(clamped_u(t)); },
            [&](double t) { return shape.turn_v(clamped_v(t)); },
            [&](const Turn& x, const Turn& y) { return shape.at(x, y); }, f);
    }
}

// Writes what is wanted of one jet.
[[gnu::always_inline]] inline void write(const SurfaceTables& tables, const ERPoint2D& at,
                                         const Jet& jet, std::size_t k, const SurfaceSamples& to) {
    if (!to.points.empty()) to.points[k] = jet.point();
    if (!to.du.empty()) to.du[k] = jet.vector(1);
    if (!to.dv.empty()) to.dv[k] = jet.vector(2);
    if (!to.duu.empty()) to.duu[k] = jet.vector(3);
    if (!to.duv.empty()) to.duv[k] = jet.vector(4);
    if (!to.dvv.empty()) to.dvv[k] = jet.vector(5);
    if (!to.normals.empty()) to.normals[k] = normal_of(tables, at, jet);
    if (!to.curvatures.empty()) to.curvatures[k] = curvatures_of(jet);
}

} // namespace

ERPoint3D PreparedSurface::operator()(double u, double v) const {
    return jet_at(*tables_, {u, v}, 0).point();
}

SurfaceJet PreparedSurface::jet(double u, double v) const {
    const Jet found = jet_at(*tables_, {u, v}, 2);
    return {found.point(),   found.vector(1), found.vector(2),
            found.vector(3), found.vector(4), found.vector(5)};
}

ERVector3D PreparedSurface::normal(double u, double v) const {
    return normal_of(*tables_, {u, v}, jet_at(*tables_, {u, v}, 1));
}

void PreparedSurface::evaluate(std::span<const ERPoint2D> parameters,
                               const SurfaceSamples& samples) const {
    const SurfaceTables& tables = *tables_;
    for_parameters(
        tables, parameters,
        order_of(samples), [&](std::size_t k, const Jet& jet) __attribute__((always_inline)) {
            write(tables, parameters[k], jet, k, samples);
        });
}

void PreparedSurface::grid(std::span<const double> u, std::span<const double> v,
                           const SurfaceSamples& samples) const {
    const SurfaceTables& tables = *tables_;
    for_pairs(
        tables, u, v,
        order_of(samples), [&](std::size_t k, const Jet& jet) __attribute__((always_inline)) {
            write(tables, {u[k % u.size()], v[k / u.size()]}, jet, k, samples);
        });
}

} // namespace velm
