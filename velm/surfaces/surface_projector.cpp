#include "velm/surfaces/surface_projector.h"

#include "velm/numerics/detail/triples.h"
#include "velm/surfaces/detail/analytic_feet.h"
#include "velm/surfaces/detail/in_parts.h"
#include "velm/surfaces/detail/projector_tables.h"
#include "velm/surfaces/detail/quotient_rule.h"
#include "velm/surfaces/detail/stationary_feet.h"
#include "velm/wireframe/detail/angles.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace velm {
namespace detail {

ProjectorTables::ProjectorTables(const PreparedSurface& prepared) : surface(prepared) {
    analytic = surface.patches_u() == 0 && surface.kind() != SurfaceKind::offset;
    const auto patches = analytic ? patches_of(SurfaceTables::of(surface)) : surface;
    if (!patches) return;
    std::vector<OrientedBox> boxes;
    leaves.build(*patches, leaf_frame(patches->box()), boxes);
    tree.build(boxes);
    if (!analytic) lines = sharp_lines(surface, leaves);
}

namespace {

// An offset this far from the normal, as the cosine of its angle with a tangent, is not along it.
constexpr double askew = 1e-9;
// A second derivative of the squared distance, or the square of a tangent, that is this small
// beside what it is made of is taken as none.
constexpr double flat_bend = 1e-9, collapsed_tangent = 1e-14, least_tangent = 1e-16;

// Tangents, and the second derivatives of half the squared distance.
struct FirstAndSecond {
    double ps[3], pt[3], bend[3];
};

FirstAndSecond derivatives_at(const SurfaceLeaves& leaves, const SurfaceLeaf& leaf,
                              const LeafPlace& place) {
    LeafJet jet;
    power_jet_at(leaves.poles(leaf), leaves.degree_u, leaves.degree_v, place.s, place.t, jet);
    double p[18];
    divide_by_weight(jet.x, 2, p);
    FirstAndSecond d = {};
    std::copy_n(p + 3, 3, d.ps);
    std::copy_n(p + 6, 3, d.pt);
    d.bend[0] = dot3(d.ps, d.ps) + dot3(place.from_query, p + 9);
    d.bend[1] = dot3(d.ps, d.pt) + dot3(place.from_query, p + 12);
    d.bend[2] = dot3(d.pt, d.pt) + dot3(place.from_query, p + 15);
    return d;
}

// Where a place is in its part: on limits that are no seams, and on any side.
struct Sides {
    bool edge_u, edge_v, any;
};

SurfaceFootKind kind_of(const FirstAndSecond& d, const double* from_query, const Sides& on,
                        double rounding) {
    const double extent = dot3(d.ps, d.ps) + dot3(d.pt, d.pt);
    const double e = std::max(dot3(d.ps, d.ps), least_tangent * extent),
                 g = std::max(dot3(d.pt, d.pt), least_tangent * extent);
    // A tangent that vanishes alone leaves a unique place, as where an offset surface folds.
    const auto is_point = [=](double square, double bend) {
        return square <= collapsed_tangent * extent && bend <= flat_bend * extent;
    };
    if (is_point(e, d.bend[0]) || is_point(g, d.bend[2])) return SurfaceFootKind::degenerate;
    const double a = d.bend[0] / e, c = d.bend[2] / g, b = d.bend[1] / std::sqrt(e * g);
    // The determinant of the tangents' form is 1 where they are at right angles.
    const double cosine = dot3(d.ps, d.pt) / std::sqrt(e * g);
    const bool flat = a * c - b * b <= flat_bend * (1.0 - cosine * cosine) || a + c <= 0.0;
    const double least = askew * std::sqrt(dot3(from_query, from_query)) + rounding;
    const bool is_askew = std::fabs(dot3(d.ps, from_query)) > least * std::sqrt(e) ||
                          std::fabs(dot3(d.pt, from_query)) > least * std::sqrt(g);
    if (flat && !is_askew) return SurfaceFootKind::degenerate;
    if (on.edge_u && on.edge_v) return SurfaceFootKind::corner;
    if (on.edge_u || on.edge_v)
        return (on.edge_u ? c : a) <= flat_bend ? SurfaceFootKind::degenerate
                                                : SurfaceFootKind::edge;
    return is_askew && on.any ? SurfaceFootKind::edge
           : flat             ? SurfaceFootKind::degenerate
                              : SurfaceFootKind::interior;
}

SurfaceFootKind kind_of(const SurfaceLeaves& leaves, const SurfaceLeaf& leaf,
                        const LeafPlace& place, const FirstAndSecond& d) {
    const auto on = [&](std::uint8_t low, std::uint8_t high, double s) {
        return (s <= -1.0 && (leaf.limits & low)) || (s >= 1.0 && (leaf.limits & high));
    };
    return kind_of(d, place.from_query,
                   {!leaves.closed_u && on(side_u_low, side_u_high, place.s),
                    !leaves.closed_v && on(side_v_low, side_v_high, place.t),
                    std::max(std::fabs(place.s), std::fabs(place.t)) >= 1.0},
                   foot_size_part * leaves.size);
}

} // namespace

SurfaceFoot foot_at(const PreparedSurface& surface, const SurfaceLeaves& leaves,
                    const LeafPlace& place, const double* q) {
    const SurfaceLeaf& leaf = leaves[place.leaf];
    const FirstAndSecond d = derivatives_at(leaves, leaf, place);
    SurfaceFoot foot;
    foot.u = leaves.u_at(leaf, place.s);
    foot.v = leaves.v_at(leaf, place.t);
    const double local[3] = {q[0] + place.from_query[0], q[1] + place.from_query[1],
                             q[2] + place.from_query[2]};
    foot.point = leaves.frame.to_model(local);
    foot.distance = std::sqrt(place.squared) / leaves.frame.scale;
    foot.kind = kind_of(leaves, leaf, place, d);
    const ERVector3D normal =
        ERVector3D(d.ps[0], d.ps[1], d.ps[2]) ^ ERVector3D(d.pt[0], d.pt[1], d.pt[2]);
    const double length = normal.norme();
    const double tangents = dot3(d.ps, d.ps) * dot3(d.pt, d.pt);
    foot.normal = length * length > 1e-12 * tangents && foot.kind != SurfaceFootKind::degenerate &&
                          surface.kind() != SurfaceKind::offset
                      ? normal * (1.0 / length)
                      : surface.normal(foot.u, foot.v);
    return foot;
}

SurfaceFoot foot_at(const PreparedSurface& surface, const AnalyticPlace& place) {
    const SurfaceTables& tables = SurfaceTables::of(surface);
    SurfaceFoot foot;
    foot.u = place.u, foot.v = place.v;
    const SurfaceJet jet = surface.jet(foot.u, foot.v);
    foot.point = jet.point;
    foot.distance = std::sqrt(place.squared);
    foot.normal = surface.normal(foot.u, foot.v);
    const AnalyticShape& shape = tables.shape;
    const ERVector3D from = shape.x * place.from_query[0] + shape.y * place.from_query[1] +
                            shape.z * place.from_query[2];
    const double from_query[3] = {from.i(), from.j(), from.k()};
    // By parameters over the limits, which are angles or lengths.
    const double in_u = tables.u.amplitude(), in_v = tables.v.amplitude();
    FirstAndSecond d = {};
    for (int c = 0; c < 3; ++c) {
        d.ps[c] = jet.du[c] * in_u, d.pt[c] = jet.dv[c] * in_v;
        d.bend[0] += d.ps[c] * d.ps[c] + from_query[c] * jet.duu[c] * in_u * in_u;
        d.bend[1] += d.ps[c] * d.pt[c] + from_query[c] * jet.duv[c] * in_u * in_v;
        d.bend[2] += d.pt[c] * d.pt[c] + from_query[c] * jet.dvv[c] * in_v * in_v;
    }
    const auto on_edge = [](double t, const ERLimites& limits, bool turns) {
        const bool whole = turns && limits.amplitude() >= turn * (1.0 - 1e-12);
        return !whole && (t == limits.start() || t == limits.end());
    };
    const bool turns_u =
        surface.kind() == SurfaceKind::sphere || surface.kind() == SurfaceKind::torus;
    foot.kind = kind_of(d, from_query,
                        {on_edge(foot.u, tables.u, turns_u),
                         on_edge(foot.v, tables.v, surface.kind() != SurfaceKind::plane), false},
                        0.0);
    return foot;
}

} // namespace detail

using detail::LeafSearch;
using detail::ProjectorTables;

namespace {

SurfaceFoot nearest_on_patches(const ProjectorTables& tables, const ERPoint3D& p,
                               const ERPoint2D* hint, int budget) {
    double q[3];
    const detail::SurfaceLeaves& leaves = tables.leaves;
    leaves.frame.to_local(p, q);
    LeafSearch search(q, leaves.size, budget);
    int hinted = -1;
    double on_leaf[2] = {};
    if (hint != nullptr) {
        const auto within = [](double t, const ERLimites& limits) {
            return t > limits.start() ? std::min(t, limits.end()) : limits.start();
        };
        hinted =
            leaves.leaf_at(within(hint->x(), tables.surface.domain_u()),
                           within(hint->y(), tables.surface.domain_v()), &on_leaf[0], &on_leaf[1]);
    }
    detail::search_from_best(
        tables.tree, leaves.size, search,
        [&](LeafSearch& all) {
            if (hinted >= 0) all.leaf_from(leaves, leaves[hinted], hinted, on_leaf[0], on_leaf[1]);
            detail::search_tree(tables.tree, leaves, all,
                                [hinted](int leaf) { return leaf != hinted; });
        },
        [&](int leaf, LeafSearch& alone) { alone.leaf(leaves, leaves[leaf], leaf); });
    SurfaceFoot foot = detail::foot_at(tables.surface, leaves, search.best(), q);
    // Roundings of local points and of their squares.
    const double distance = std::sqrt(search.best().squared);
    const double lower = std::sqrt(std::max(0.0, search.lower()));
    foot.lower = std::min(lower / leaves.frame.scale, foot.distance);
    foot.certified = !search.spent() && distance - lower <= search.allowed(distance);
    return foot;
}

bool is_finite(const ERPoint3D& p) {
    return std::isfinite(p.x()) && std::isfinite(p.y()) && std::isfinite(p.z());
}

double largest_part(const ERVector3D& v) {
    return std::max({std::fabs(v.i()), std::fabs(v.j()), std::fabs(v.k())});
}

SurfaceFoot nearest_of(const ProjectorTables& tables, const ERPoint3D& p, const ERPoint2D* hint,
                       int budget) {
    // Beyond this, local, squares of distances overflow.
    constexpr double longest = 1e150;
    const ERMinimax3D box = tables.surface.box();
    const ERPoint3D middle = (box.MinPoint() + box.MaxPoint()) * 0.5;
    const double reach = largest_part(ERVector3D(middle, p)) * tables.leaves.frame.scale;
    if (!std::isfinite(reach)) {
        SurfaceFoot none;
        none.distance = std::numeric_limits<double>::quiet_NaN();
        return none;
    }
    if (reach > longest) { // the foot of a point on the way, without a certificate
        const ERVector3D way(middle, p);
        SurfaceFoot foot = nearest_of(tables, middle + way * (0.5 * longest / reach), hint, budget);
        const ERVector3D offset(foot.point, p);
        const double part = largest_part(offset);
        foot.distance = part * (offset * (1.0 / part)).norme();
        foot.lower = std::max(0.0, foot.distance - box.diagonal());
        foot.certified = false;
        return foot;
    }
    if (!tables.analytic) return nearest_on_patches(tables, p, hint, std::max(budget, 0));
    const detail::SurfaceTables& shape = detail::SurfaceTables::of(tables.surface);
    SurfaceFoot foot = detail::foot_at(tables.surface, detail::AnalyticFeet(shape, p).nearest());
    const double roundings =
        detail::foot_size_part * shape.box.diagonal() + detail::foot_distance_part * foot.distance;
    foot.lower = std::max(0.0, foot.distance - 0.5 * roundings);
    foot.certified = true;
    return foot;
}

} // namespace

std::optional<SurfaceProjector> SurfaceProjector::on(const PreparedSurface& surface) {
    return SurfaceProjector(std::make_shared<const ProjectorTables>(surface));
}

SurfaceProjector::SurfaceProjector(std::shared_ptr<const ProjectorTables> tables)
    : tables_(std::move(tables)) {}

const PreparedSurface& SurfaceProjector::surface() const { return tables_->surface; }

SurfaceFoot SurfaceProjector::nearest(const ERPoint3D& p, int budget) const {
    return nearest_of(*tables_, p, nullptr, budget);
}

SurfaceFoot SurfaceProjector::nearest(const ERPoint3D& p, const ERPoint2D& hint, int budget) const {
    return nearest_of(*tables_, p, &hint, budget);
}

void SurfaceProjector::feet(const ERPoint3D& p, std::vector<SurfaceFoot>& feet) const {
    feet.clear();
    if (is_finite(p)) detail::StationaryFeet(*tables_, p, feet).perpendicular();
}

void SurfaceProjector::all_minima(const ERPoint3D& p, double distance,
                                  std::vector<SurfaceFoot>& feet) const {
    feet.clear();
    if (is_finite(p)) detail::StationaryFeet(*tables_, p, feet).minima(distance);
}

void SurfaceProjector::nearest(std::span<const ERPoint3D> points, std::span<SurfaceFoot> feet,
                               int threads) const {
    detail::in_parts(points.size(), threads, [&](std::size_t from, std::size_t to) {
        for (std::size_t k = from; k < to; ++k)
            feet[k] = nearest(points[k]);
    });
}

} // namespace velm
