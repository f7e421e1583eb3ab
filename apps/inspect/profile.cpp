#include "inspect/profile.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "velm/planar/point_in_polygon.h"
#include "velm/planar/polygon_measures.h"

namespace velm::inspect {
namespace {

constexpr double largest_unscaled = 1e11;
constexpr double smallest_unscaled = 1e-100;
constexpr double farthest_comparable = 1e150;

double magnitude(const ERPoint2D& p) { return std::max(std::fabs(p.x()), std::fabs(p.y())); }

// By the area about its first vertex, so that the distance from the origin doesn't blur it.
bool turns_left(Polygon contour) {
    const ERPoint2D first = contour.front();
    for (ERPoint2D& v : contour)
        v -= first;
    return IsCounterClockWise(contour) != 0;
}

double cross(const ERVector2D& a, const ERVector2D& b) { return a.i() * b.j() - a.j() * b.i(); }

} // namespace

Profile::Profile(const Outline& outline) {
    double largest = 0.0;
    for (const Polygon& contour : outline.contours)
        for (const ERPoint2D& v : contour)
            largest = std::max(largest, magnitude(v));
    if (largest > largest_unscaled || largest < smallest_unscaled)
        scale_ = std::ldexp(1.0, std::clamp(-std::ilogb(largest), -1000, 1000));

    for (const Polygon& contour : outline.contours) {
        Polygon scaled = contour;
        for (ERPoint2D& v : scaled)
            v *= scale_;
        const bool is_hole = !contours_.empty();
        material_on_left_.push_back(turns_left(scaled) != is_hole);
        contours_.emplace_back(scaled);
    }
}

bool Profile::is_comparable(const ERPoint2D& p) const {
    return magnitude(p) * scale_ <= farthest_comparable;
}

Comparison Profile::compare(const ERPoint2D& point) const {
    const ERPoint2D p = point * scale_;
    NearestEdge nearest{std::numeric_limits<double>::infinity(), {}};
    for (std::size_t c = 0; c < contours_.size(); ++c)
        contours_[c].find_nearest(p, static_cast<int>(c), nearest);

    const Place place = locate(p);
    const bool outside =
        place == Place::border ? lies_outside_of_edge(p, nearest) : place == Place::outside;
    ERVector2D away(nearest.foot, p);
    const double distance = std::hypot(away.i(), away.j());
    const double sign = outside ? 1.0 : -1.0;
    return {nearest.foot / scale_,
            nearest.contour,
            nearest.edge,
            nearest.parameter,
            distance == 0.0 ? 0.0 : sign * distance / scale_,
            distance == 0.0 ? edge_outward(nearest)
                            : ERVector2D(away.i() * sign / distance, away.j() * sign / distance)};
}

Profile::Place Profile::locate(const ERPoint2D& p) const {
    bool in_outer = false;
    bool in_hole = false;
    for (std::size_t c = 0; c < contours_.size(); ++c) {
        contours_[c].reduce_for_inside(p, chain_);
        const relpos position = Inside(p, chain_.data(), static_cast<int>(chain_.size()), -1);
        if (position == relpos_on_vertex || position == relpos_on_edge) return Place::border;
        (c == 0 ? in_outer : in_hole) |= position == relpos_inside;
    }
    return in_outer && !in_hole ? Place::material : Place::outside;
}

bool Profile::lies_outside_of_edge(const ERPoint2D& p, const NearestEdge& nearest) const {
    const auto c = static_cast<std::size_t>(nearest.contour);
    const auto vertices = contours_[c].polygon().view();
    const std::size_t count = vertices.size();
    const auto vertex = [&](std::size_t i) -> const ERPoint2D& { return vertices[i % count]; };
    const double turn = material_on_left_[c] ? 1.0 : -1.0;
    const auto is_within = [&](std::size_t edge) { // on the material's side of the edge's line
        const ERPoint2D& a = vertex(edge);
        return turn * cross(ERVector2D(a, vertex(edge + 1)), ERVector2D(a, p)) > 0.0;
    };

    const auto edge = static_cast<std::size_t>(nearest.edge);
    if (nearest.parameter > 0.0 && nearest.parameter < 1.0) return !is_within(edge);
    const std::size_t before = nearest.parameter == 0.0 ? edge + count - 1 : edge;
    const ERVector2D coming(vertex(before), vertex(before + 1));
    const ERVector2D going(vertex(before + 1), vertex(before + 2));
    const bool convex = turn * cross(coming, going) >= 0.0;
    return convex ? !(is_within(before) && is_within(before + 1))
                  : !(is_within(before) || is_within(before + 1));
}

ERVector2D Profile::edge_outward(const NearestEdge& nearest) const {
    const auto c = static_cast<std::size_t>(nearest.contour);
    const auto vertices = contours_[c].polygon().view();
    const auto edge = static_cast<std::size_t>(nearest.edge);
    const ERVector2D along =
        ERVector2D(vertices[edge], vertices[(edge + 1) % vertices.size()]).getnormalized();
    return material_on_left_[c] ? ERVector2D(along.j(), -along.i())
                                : ERVector2D(-along.j(), along.i());
}

} // namespace velm::inspect
