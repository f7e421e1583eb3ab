// velm::detail::RayWalk: tests the edges of a polygon against the ray to the right of a point.
#pragma once

#include "velm/frame/point.h"
#include "velm/frame/vector.h"
#include "velm/planar/orientation.h"
#include "velm/planar/point_in_polygon.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace velm::detail {

inline constexpr double ray_edge_tolerance = 1e-10; // of ccw, on products
inline constexpr double ray_end = 1e12;             // the ray runs from the point to this abscissa

enum class RayEdge { missed, crossed, has_vertex, has_point };

/// One edge that p's ordinate meets and that is not all to the left of p.
inline RayEdge ray_test_by_rules(const ERPoint2D& p, const ERPoint2D& a, const ERPoint2D& b) {
    if (p == b) return RayEdge::has_vertex;
    if (ccw(a, b, p, ray_edge_tolerance) == 0) return RayEdge::has_point;
    if (a.y() == b.y() || !(p.y() > std::min(a.y(), b.y()))) return RayEdge::missed;
    return Intersect(a, b, p, ERPoint2D(ray_end, p.y())) ? RayEdge::crossed : RayEdge::missed;
}

/// The same test that also accepts edges to the left of p, which count as missed. If the two cross
/// products of the rules are clear of zero and nothing over- or underflows, their signs decide, and
/// no branch depends on the data. Otherwise, NaN included, the full rules apply.
inline RayEdge ray_test(const ERPoint2D& p, const ERPoint2D& a, const ERPoint2D& b) {
    const ERVector2D edge(a, b);
    const ERVector2D to_p(a, p);
    const double side_of_p = to_p.j() * edge.i() - to_p.i() * edge.j();
    const double side_of_ray_end = to_p.j() * edge.i() - (ray_end - a.x()) * edge.j();
    const bool right_of_a = p.x() > a.x();
    const bool right_of_b = p.x() > b.x();
    const bool all_left = right_of_a & right_of_b;
    const double reach = std::abs(to_p.i()) + std::abs(b.x() - p.x());
    const int clear = int{std::abs(side_of_p) > ray_edge_tolerance} &
                      (std::abs(side_of_ray_end) > 0.0) &
                      (reach < std::numeric_limits<double>::max()) & (ray_end - p.x() >= 1.0);
    if (!(clear | all_left)) return ray_test_by_rules(p, a, b);

    // The upper end is on the ray's line, to the left of p.
    const int upper_end_behind =
        (int{a.y() == p.y()} & right_of_a) | (int{b.y() == p.y()} & right_of_b);
    const int above_lower_end = int{p.y() > a.y()} | (p.y() > b.y());
    const int ends_on_both_sides = (side_of_p > 0.0) != (side_of_ray_end > 0.0);
    return static_cast<RayEdge>(int{!all_left} & above_lower_end & int{!upper_end_behind} &
                                ends_on_both_sides);
}

/// A walk over the edges of a polygon, in order.
struct RayWalk {
    ERPoint2D p;
    bool odd = false;              // crossings so far
    relpos found = relpos_outside; // any other value: on a vertex or an edge, and the walk is over

    /// Takes an edge that p's ordinate meets; one all to the left of p is missed.
    void cross(const ERPoint2D& a, const ERPoint2D& b) {
        const RayEdge edge = ray_test(p, a, b);
        odd ^= edge == RayEdge::crossed;
        if (edge > RayEdge::crossed) [[unlikely]]
            found = edge == RayEdge::has_vertex ? relpos_on_vertex : relpos_on_edge;
    }
    bool is_over() const { return found != relpos_outside; }
    relpos result() const { return is_over() ? found : odd ? relpos_inside : relpos_outside; }

    /// Whether an ordinate is neither above both ends nor below both; NaN counts as neither.
    static bool meets(double ordinate, const ERPoint2D& a, const ERPoint2D& b) {
        const bool above = (ordinate > a.y()) & (ordinate > b.y());
        const bool below = (ordinate < a.y()) & (ordinate < b.y());
        return !(above | below);
    }
};

} // namespace velm::detail
