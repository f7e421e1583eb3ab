#include "velm/planar/point_in_polygon.h"

#include "velm/frame/vec.h"
#include "velm/frame/vector.h"
#include "velm/planar/orientation.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdint>
#include <limits>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace {

constexpr double edge_tolerance = 1e-10; // of ccw, on products
constexpr double ray_end = 1e12;         // the ray runs from the point to this abscissa

enum class Edge { missed, crossed, has_vertex, has_point };

/// One edge that p's ordinate meets and that is not all to the left of p.
Edge test_by_rules(const ERPoint2D& p, const ERPoint2D& a, const ERPoint2D& b) {
    if (p == b) return Edge::has_vertex;
    if (ccw(a, b, p, edge_tolerance) == 0) return Edge::has_point;
    if (a.y() == b.y() || !(p.y() > std::min(a.y(), b.y()))) return Edge::missed;
    return Intersect(a, b, p, ERPoint2D(ray_end, p.y())) ? Edge::crossed : Edge::missed;
}

/// The same with the edges to the left of p admitted, which are missed. Where the two cross
/// products of the rules are clear of zero and nothing over- or underflows, their signs tell
/// everything; no branch depends on the data then. Otherwise, NaN included, the rules are gone
/// through.
Edge test(const ERPoint2D& p, const ERPoint2D& a, const ERPoint2D& b) {
    const ERVector2D edge(a, b);
    const ERVector2D to_p(a, p);
    const double side_of_p = to_p.j() * edge.i() - to_p.i() * edge.j();
    const double side_of_ray_end = to_p.j() * edge.i() - (ray_end - a.x()) * edge.j();
    const bool right_of_a = p.x() > a.x();
    const bool right_of_b = p.x() > b.x();
    const bool all_left = right_of_a & right_of_b;
    const double reach = std::abs(to_p.i()) + std::abs(b.x() - p.x());
    const int clear = int{std::abs(side_of_p) > edge_tolerance} & (side_of_ray_end != 0.0) &
                      (reach < std::numeric_limits<double>::max()) & (ray_end - p.x() >= 1.0);
    if (!(clear | all_left)) return test_by_rules(p, a, b);

    // The upper end lies on the ray's line, behind p.
    const int upper_end_behind =
        (int{a.y() == p.y()} & right_of_a) | (int{b.y() == p.y()} & right_of_b);
    const int above_lower_end = int{p.y() > a.y()} | (p.y() > b.y());
    const int ends_on_both_sides = (side_of_p > 0.0) != (side_of_ray_end > 0.0);
    return static_cast<Edge>(int{!all_left} & above_lower_end & int{!upper_end_behind} &
                             ends_on_both_sides);
}

/// For up to 64 vertices, a bit each: whether the ordinate lies above the vertex, and below.
/// Neither for equality and for NaN.
struct Sides {
    std::uint64_t above = 0;
    std::uint64_t below = 0;
};

void add_sides(Sides& sides, double ordinate, const ERPoint2D* vertices, int from, int count) {
    for (int k = from; k < count; ++k) {
        sides.above |= static_cast<std::uint64_t>(ordinate > vertices[k].y()) << k;
        sides.below |= static_cast<std::uint64_t>(ordinate < vertices[k].y()) << k;
    }
}

Sides sides_of(double ordinate, const ERPoint2D* vertices, int count) {
    Sides sides;
    add_sides(sides, ordinate, vertices, 0, count);
    return sides;
}

/// The state of a walk over the edges: the vertex before, as an edge's start, and the crossings.
struct Walk {
    const ERPoint2D& p;
    bool odd = false;
    relpos found = relpos_outside; // on a vertex or an edge: the walk is over
};

/// Tests the edges that end at the vertices of one block; the bits of the vertex before it are in
/// `carry`. True when p was found on an edge.
bool walk_block(Walk& walk, const ERPoint2D* vertices, int count, Sides& carry) {
    const Sides sides = sides_of(walk.p.y(), vertices, count);
    const std::uint64_t all = ~std::uint64_t{0} >> (64 - count);
    std::uint64_t met = ~((sides.above & (sides.above << 1 | carry.above)) |
                          (sides.below & (sides.below << 1 | carry.below))) &
                        all;
    carry = {sides.above >> 63, sides.below >> 63};
    for (; met != 0; met &= met - 1) {
        const ERPoint2D* const end = vertices + std::countr_zero(met);
        const Edge edge = test(walk.p, end[-1], end[0]);
        if (edge > Edge::crossed) {
            walk.found = edge == Edge::has_vertex ? relpos_on_vertex : relpos_on_edge;
            return true;
        }
        walk.odd ^= edge == Edge::crossed;
    }
    return false;
}

} // namespace

relpos Inside(const ERPoint2D& p, const ERPoint2D* points, int count, int) {
    if (count < 1) return relpos_outside;
    if (p == points[0]) return relpos_on_vertex;
    Walk walk{p};
    Sides carry{1, 1}; // no edge ends at the first vertex
    for (int i = 0; i < count; i += 64) {
        if (walk_block(walk, points + i, std::min(64, count - i), carry)) return walk.found;
    }
    const ERPoint2D& last = points[count - 1];
    if (!(last == points[0])) {
        if (p == last) return relpos_on_vertex;
        const ERPoint2D closing[] = {last, points[0]};
        carry = sides_of(p.y(), closing, 1);
        if (walk_block(walk, closing + 1, 1, carry)) return walk.found;
    }
    return walk.odd ? relpos_inside : relpos_outside;
}

relpos Inside(const ERPoint2D& p, const ERVec<ERPoint2D>& polygon) {
    return Inside(p, polygon.data(), polygon.size(), -1);
}
