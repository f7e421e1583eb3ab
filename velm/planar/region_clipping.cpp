// ERRegion2D::Intersect and IntersectWithSnap: the pieces of a polyline in a region.
#include "velm/frame/box_clipping.h"
#include "velm/frame/point_functions.h"
#include "velm/planar/detail/region_contours.h"
#include "velm/planar/detail/region_index.h"
#include "velm/planar/orientation.h"
#include "velm/planar/polyline_offset.h"
#include "velm/planar/region.h"
#include "velm/wireframe/intersections.h"
#include "velm/wireframe/line.h"
#include "velm/wireframe/segment.h"

#include <algorithm>
#include <cmath>
#include <optional>
#include <span>
#include <utility>
#include <vector>

namespace {

using velm::detail::RegionIndex;
using Pieces = ERTValVector<ERVec<ERPoint2D>>;

constexpr double vertex_tolerance = 1e-9; // of the parameter along a contour's edge

// A segment of the polyline; edges of contours are tested against it, the cheap tests first.
class SegmentCut {
public:
    SegmentCut(const ERPoint2D& from, const ERPoint2D& to) : a(from), b(to), box(from, to) {}

    const ERMinimax2D& extent() const { return box; }

    // Appends the crossing with the edge from c to d, if any, as a stop after `start`.
    void cross(const ERPoint2D& c, const ERPoint2D& d, double start, int contour,
               std::vector<_Intersect>& stops) const {
        if (c == d) return;
        const ERMinimax2D edge_box(c, d);
        if (edge_box | box) return;
        if (edge_box.positionRelative(a, b) == SEGMENT_OUTSIDE_BOX) return;
        if (box.positionRelative(c, d) == SEGMENT_OUTSIDE_BOX) return;
        if (!Intersect(c, d, a, b)) return;
        ERPoint2D p;
        if (!intersect(ERInfLine2D(c, d), ERInfLine2D(a, b), p)) return;
        const double t = div_vect(a, b, p);
        const double u = div_vect(c, d, p);
        if (!(t >= 0.0 && t <= 1.0)) return; // without tolerance: part of the contract
        const bool on_vertex =
            std::fabs(u) <= vertex_tolerance || std::fabs(u - 1.0) <= vertex_tolerance;
        stops.emplace_back(p, start + t, on_vertex ? REGION_ON_VERTEX : REGION_ON_EDGE, contour);
    }

private:
    const ERPoint2D& a;
    const ERPoint2D& b;
    ERMinimax2D box;
};

// The contour's vertices except a last one that repeats the first.
std::span<const ERPoint2D> opened(const ERVec<ERPoint2D>& contour) {
    const std::span<const ERPoint2D> points = contour.view();
    return !points.empty() && points.front() == points.back() ? points.first(points.size() - 1)
                                                              : points;
}

// A walk from stop to stop that makes pieces.
class PieceMaker {
public:
    explicit PieceMaker(std::span<const _Intersect> all) : stops(all) {}

    // `position` classifies a point.
    template <class Position>
    std::vector<ERVec<ERPoint2D>> make(Position position) {
        for (std::size_t at = 0; at + 1 < stops.size(); ++at) {
            if (is_kept(at, position))
                keep(at);
            else
                finish();
        }
        finish();
        return std::move(pieces);
    }

private:
    static bool on_contour(PosContours where) {
        return where == REGION_ON_EDGE || where == REGION_ON_VERTEX;
    }

    // Whether the polyline from a stop to the next one is in the region.
    template <class Position>
    bool is_kept(std::size_t at, Position& position) const {
        const _Intersect &cur = stops[at], &next = stops[at + 1];
        if (!on_contour(cur.position)) return cur.position == REGION_INSIDE;
        // Only here the next stop is checked: part of the contract.
        if (at == 0 && !on_contour(next.position)) return next.position == REGION_INSIDE;
        // A midpoint on an edge counts as inside, one on a vertex as outside: part of the contract.
        const PosContours where = position(milieu(cur.point, next.point));
        return where == REGION_INSIDE || where == REGION_ON_EDGE;
    }

    void keep(std::size_t at) {
        if (piece.empty()) piece.push_back(stops[at].point);
        piece.push_back(stops[at + 1].point);
    }
    void finish() {
        if (!piece.empty()) pieces.emplace_back(std::span<const ERPoint2D>(piece));
        piece.clear();
    }

    std::span<const _Intersect> stops;
    std::vector<ERPoint2D> piece;
    std::vector<ERVec<ERPoint2D>> pieces;
};

double length_of(const ERVec<ERPoint2D>& polyline) {
    const std::span<const ERPoint2D> points = polyline.view();
    double sum = 0.0;
    for (std::size_t i = 1; i < points.size(); ++i)
        sum += distance(points[i - 1], points[i]);
    return sum;
}

} // namespace

void ERRegion2D::append_crossings(const _Intersect& from, const _Intersect& to,
                                  const RegionIndex* index, std::vector<_Intersect>& stops) const {
    const SegmentCut segment(from.point, to.point);
    if (index != nullptr && index->known_under(segment.extent())) return;
    for (int i = 0; i < added_; ++i) {
        if (contours_->boxes[static_cast<std::size_t>(i)] | segment.extent()) continue;
        const auto visit = [&](const ERPoint2D& c, const ERPoint2D& d) {
            segment.cross(c, d, from.parameter, i, stops);
        };
        if (index != nullptr && index->tree(i) != nullptr) {
            index->tree(i)->visit_near(from.point, to.point, visit);
            continue;
        }
        const std::span<const ERPoint2D> vertices = opened(Contour(i));
        if (vertices.size() < 3) continue;
        for (std::size_t k = 0; k + 1 < vertices.size(); ++k)
            visit(vertices[k], vertices[k + 1]);
        visit(vertices.back(), vertices.front());
    }
}

// Stops of equal parameter are in the order in which they are found: the polyline's point, then
// the crossings of the segment that ends there, then those of the one that begins.
std::vector<_Intersect> ERRegion2D::stops_of(const ERVec<ERPoint2D>& polyline,
                                             const RegionIndex* index) const {
    std::vector<_Intersect> points;
    points.reserve(polyline.view().size());
    for (const ERPoint2D& p : polyline.view()) {
        if (!points.empty() && p == points.back().point) continue;
        int contour = 0;
        const PosContours where = position(p, contour, index);
        points.emplace_back(p, static_cast<double>(points.size()), where, contour);
    }
    if (points.size() < 2) return {};

    std::vector<_Intersect> stops, crossings;
    stops.reserve(points.size() + 64);
    for (std::size_t k = 0; k + 1 < points.size(); ++k) {
        stops.push_back(points[k]);
        // The crossings of the previous segment that are at this point.
        stops.insert(stops.end(), crossings.begin(), crossings.end());
        crossings.clear();
        append_crossings(points[k], points[k + 1], index, crossings);
        std::stable_sort(crossings.begin(), crossings.end());
        const auto at_end = std::lower_bound(crossings.begin(), crossings.end(), points[k + 1]);
        stops.insert(stops.end(), crossings.begin(), at_end);
        crossings.erase(crossings.begin(), at_end);
    }
    stops.push_back(points.back());
    stops.insert(stops.end(), crossings.begin(), crossings.end());
    return stops;
}

void ERRegion2D::Intersect(ERVec<ERPoint2D> const& polyline, ERTValVector<ERVec<ERPoint2D>>& result,
                           ERDebugIntersect* debug) const {
    const ERVec<ERPoint2D> walked = polyline; // may be one of `result`
    if (added_ > 0 && first_outer_ && (ERMinimax2D(walked) | contours_->boxes[0])) return;
    const RegionIndex* const made = index(walked.size());
    const std::vector<_Intersect> stops = stops_of(walked, made);
    if (stops.empty()) return;
    if (debug != nullptr) {
        for (const _Intersect& stop : stops)
            debug->onIntersect(&stop);
    }
    std::vector<ERVec<ERPoint2D>> pieces = PieceMaker(stops).make([&](const ERPoint2D& p) {
        int contour = 0;
        return position(p, contour, made);
    });
    const int before = result.length();
    result.reshape(before + static_cast<int>(pieces.size()));
    std::move(pieces.begin(), pieces.end(), result.begin() + before);
}

void ERRegion2D::IntersectWithSnap(ERVec<ERPoint2D> const& polyline,
                                   ERTValVector<ERVec<ERPoint2D>>& result, double snap) const {
    const ERVec<ERPoint2D> walked = polyline;
    Intersect(walked, result, nullptr);
    double length = 0.0;
    for (const ERVec<ERPoint2D>& piece : result)
        length += length_of(piece);

    // The pieces of the polyline moved sideways, and their length after moving them back.
    const auto moved = [&](double d) {
        std::pair<Pieces, double> pieces;
        Intersect(OffsetPolyline(walked, d), pieces.first, nullptr);
        for (const ERVec<ERPoint2D>& piece : std::as_const(pieces.first))
            pieces.second += length_of(OffsetPolyline(piece, -d));
        return pieces;
    };
    auto right = moved(-snap);
    auto left = moved(snap);
    auto& longer = left.second > right.second ? left : right;
    if (longer.second > length + 10.0 * snap) result = std::move(longer.first);
}
