#include "velm/planar/profile.h"

#include "velm/frame/point_functions.h"
#include "velm/planar/polygon_measures.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace velm {
namespace {

// The ray of `Inside` ends at the abscissa 1e12, and products of differences vanish below 1e-150.
constexpr double largest_unscaled = 1e11;
constexpr double smallest_unscaled = 1e-100;
constexpr double farthest_comparable = 1e150; // whose square is a double

// Some ten roundings of the largest coordinate: the parameter of a foot, its coordinates and their
// differences from the point are a product and a sum or difference each, and the root adds one.
constexpr double rounding_per_magnitude = 1e-15;

double magnitude(const ERPoint2D& p) { return std::max(std::fabs(p.x()), std::fabs(p.y())); }

bool turns_left(const Contour& contour) {
    if (!contour.is_polygon()) return contour.signed_area() > 0.0;
    Polygon polygon = contour.vertices();
    const ERPoint2D first = polygon.front(); // about it: the distance from the origin blurs nothing
    for (ERPoint2D& v : polygon)
        v -= first;
    return IsCounterClockWise(polygon) != 0;
}

// Positive where an edge turns left, at that part of the way along it.
double curvature(const Contour& contour, int edge, double part) {
    if (const CurveEdge* const curve = contour.curve(edge)) return curve->curvature(part);
    const ERArc2D* const arc = contour.arc(edge);
    return arc == nullptr ? 0.0 : (arc->isDirect() ? 1.0 : -1.0) / arc->radius();
}

// Positive where a contour bends to the left from the edge `before` to the edge `after`. Where arcs
// turn back on themselves the curvatures tell.
double bend(const Contour& contour, int before, int after) {
    // Directions of arcs are good to a few roundings of the coordinates, which may be a million
    // times the radius.
    constexpr double rounding = 1e-9;
    const ERVector2D coming = contour.direction_at_end(before);
    const ERVector2D going = contour.direction_at_start(after);
    const double sine = cross(coming, going), cosine = coming * going;
    const double curved = curvature(contour, before, 1.0) + curvature(contour, after, 0.0);
    const bool turns_back = cosine < 0.0 && std::fabs(sine) <= rounding * -cosine;
    return turns_back && curved != 0.0 ? -curved : sine;
}

// Which side of an edge p lies on, whose foot on it is given, positive on the left; at a vertex of
// an arc or a curve the side of the tangent there.
double side(const Contour& contour, int edge, const ERPoint2D& p, double part) {
    if (const CurveEdge* const curve = contour.curve(edge))
        return cross(curve->direction(part), ERVector2D(curve->point(part), p));
    const ERArc2D* const arc = contour.arc(edge);
    if (arc == nullptr)
        return cross(ERVector2D(contour[edge], contour[edge + 1]), ERVector2D(contour[edge], p));
    const double depth = arc->radius() - ERVector2D(arc->center(), p).norme();
    return arc->isDirect() ? depth : -depth;
}

double side_at_end(const Contour& contour, int edge, const ERPoint2D& p) {
    if (contour.is_straight(edge)) return side(contour, edge, p, 1.0);
    return cross(contour.direction_at_end(edge), ERVector2D(contour[edge + 1], p));
}

double side_at_start(const Contour& contour, int edge, const ERPoint2D& p) {
    if (contour.is_straight(edge)) return side(contour, edge, p, 0.0);
    return cross(contour.direction_at_start(edge), ERVector2D(contour[edge], p));
}

// How far p lies from its foot, and the unit vector away from there, of no length on the foot. From
// within an arc both go by the radius, so that neither depends on the rounding of the foot, which
// is the projection on the arc then.
struct Gap {
    double distance;
    ERVector2D away;
};

Gap gap_between(const Contour& contour, const NearestEdge& nearest, const ERPoint2D& p) {
    const ERArc2D* const arc = contour.arc(nearest.edge);
    if (arc != nullptr && nearest.parameter > 0.0 && nearest.parameter < 1.0) {
        const ERVector2D radial(arc->center(), p);
        const double reach = std::hypot(radial.i(), radial.j());
        const double distance = std::fabs(reach - arc->radius());
        const double sign = reach < arc->radius() ? -1.0 : 1.0;
        // Where only some normals count the foot may be the end of that stretch instead, which is
        // farther by more than the roundings of the coordinates and the radius.
        const double size = magnitude(p) + magnitude(arc->center()) + arc->radius();
        const double most = distance + 10.0 * rounding_per_magnitude * size;
        if (ERVector2D(nearest.foot, p).norme() <= most) {
            if (distance == 0.0) return {0.0, {}};
            if (reach > 0.0)
                return {distance, ERVector2D(radial.i() * sign / reach, radial.j() * sign / reach)};
        }
    }
    const ERVector2D away(nearest.foot, p);
    const double distance = std::hypot(away.i(), away.j());
    if (distance == 0.0) return {0.0, {}};
    return {distance, ERVector2D(away.i() / distance, away.j() / distance)};
}

} // namespace

std::span<const std::string_view> choice_names(OutlinePlace) {
    static constexpr std::string_view names[] = {"inside", "outside", "on_edge", "on_vertex",
                                                 "unassigned"};
    return names;
}

Profile::Profile(const Outline& outline) {
    double largest = 0.0;
    for (const Contour& contour : outline.contours)
        largest = std::max(largest, contour.magnitude());
    if (largest > largest_unscaled || largest < smallest_unscaled)
        scale_ = std::ldexp(1.0, std::clamp(-std::ilogb(largest), -1000, 1000));

    for (std::size_t c = 0; c < outline.contours.size(); ++c) {
        const Contour scaled = outline.contours[c].scaled(scale_);
        const double rounding = rounding_per_magnitude * scaled.magnitude();
        parts_.push_back({EdgeTree(scaled), turns_left(scaled) != outline.is_hole[c], rounding,
                          rounding + 2.0 * scaled.mismatch()});
    }
    for (const OutlineArea& area : outline.areas) {
        std::vector<int> contours{area.outer};
        contours.insert(contours.end(), area.holes.begin(), area.holes.end());
        const bool is_outer_straight = part(area.outer).edges.contour().is_polygon();
        areas_.push_back({ERRegion2D(static_cast<int>(contours.size()), is_outer_straight ? 1 : 0),
                          {},
                          area.outer});
        for (const int c : contours) {
            if (part(c).edges.contour().is_polygon())
                areas_.back().straight.Add(part(c).edges.contour().vertices());
            else
                areas_.back().curved.push_back(c);
        }
        if (areas_.back().straight.entries() > 0) areas_.back().straight.build_index();
    }
}

bool Profile::is_comparable(const ERPoint2D& p) const {
    return magnitude(p) * scale_ <= farthest_comparable;
}

OutlineComparison Profile::compare(const ERPoint2D& point) const {
    const ERPoint2D p = point * scale_;
    NearestEdge nearest{std::numeric_limits<double>::infinity(), {}};
    for (std::size_t c = 0; c < parts_.size(); ++c)
        parts_[c].edges.find_nearest(p, static_cast<int>(c), nearest);

    const Side side = locate(p, nearest);
    const bool outside =
        side == Side::border ? lies_outside_of_edge(p, nearest) : side == Side::outside;
    return comparison(p, nearest, outside);
}

std::optional<OutlineComparison>
Profile::compare(const ERPoint2D& point, const ERVector2D& direction, double least_cosine) const {
    const ERPoint2D p = point * scale_;
    NearestEdge nearest{std::numeric_limits<double>::infinity(), {}};
    for (std::size_t c = 0; c < parts_.size(); ++c) {
        const double outward_side = parts_[c].material_on_left ? 1.0 : -1.0;
        parts_[c].edges.find_nearest(p, static_cast<int>(c),
                                     {direction, least_cosine, outward_side}, nearest);
    }
    if (nearest.edge < 0) return std::nullopt;
    return comparison(p, nearest, ERVector2D(nearest.foot, p) * edge_outward(nearest) >= 0.0);
}

OutlineComparison Profile::comparison(const ERPoint2D& p, const NearestEdge& nearest,
                                      bool outside) const {
    const Part& part = this->part(nearest.contour);
    const Gap gap = gap_between(part.edges.contour(), nearest, p);
    const double sign = outside ? 1.0 : -1.0;
    return {nearest.foot / scale_,
            nearest.contour,
            nearest.edge,
            nearest.parameter,
            gap.distance == 0.0 ? 0.0 : sign * gap.distance / scale_,
            gap.distance <= part.border ? edge_outward(nearest) : gap.away * sign,
            place_of(p, nearest, gap.distance, outside)};
}

OutlinePlace Profile::place_of(const ERPoint2D& p, const NearestEdge& nearest, double distance,
                               bool outside) const {
    const Part& part = this->part(nearest.contour);
    if (distance > part.rounding) return outside ? OutlinePlace::outside : OutlinePlace::inside;
    const Contour& contour = part.edges.contour();
    const auto is_near = [&](const ERPoint2D& vertex) {
        return std::hypot(p.x() - vertex.x(), p.y() - vertex.y()) <= part.rounding;
    };
    const bool is_at_vertex = contour.size() > 1 && (is_near(contour[nearest.edge]) ||
                                                     is_near(contour[nearest.edge + 1]));
    return is_at_vertex ? OutlinePlace::on_vertex : OutlinePlace::on_edge;
}

Profile::Side Profile::locate(const ERPoint2D& p, const NearestEdge& nearest) const {
    for (const Material& area : areas_)
        if (const Side side = locate(p, nearest, area); side != Side::outside) return side;
    return Side::outside;
}

Profile::Side Profile::locate(const ERPoint2D& p, const NearestEdge& nearest,
                              const Material& area) const {
    int decided_by = 0;
    const PosContours position = area.straight.CheckPoint(p, decided_by);
    if (position == REGION_OUTSIDE) return Side::outside;
    if (position != REGION_INSIDE) return Side::border;
    for (const int c : area.curved) {
        const Part& curved = part(c);
        if (nearest.squared_distance <= curved.border * curved.border) return Side::border;
        if (curved.edges.encloses(p) != (c == area.outer)) return Side::outside;
    }
    return Side::material;
}

bool Profile::lies_outside_of_edge(const ERPoint2D& p, const NearestEdge& nearest) const {
    const Part& part = this->part(nearest.contour);
    const Contour& contour = part.edges.contour();
    const double turn = part.material_on_left ? 1.0 : -1.0;
    if (nearest.parameter > 0.0 && nearest.parameter < 1.0)
        return !(turn * side(contour, nearest.edge, p, nearest.parameter) > 0.0);
    const int count = contour.size();
    const int before = nearest.parameter == 0.0 ? (nearest.edge + count - 1) % count : nearest.edge;
    const int after = (before + 1) % count;
    const double first = turn * side_at_end(contour, before, p);
    const double second = turn * side_at_start(contour, after, p);
    const bool convex = turn * bend(contour, before, after) >= 0.0;
    return convex ? !(first > 0.0 && second > 0.0) : !(first >= 0.0 || second >= 0.0);
}

ERVector2D Profile::edge_outward(const NearestEdge& nearest) const {
    const Part& part = this->part(nearest.contour);
    const Contour& contour = part.edges.contour();
    ERVector2D along = contour.direction_at_start(nearest.edge).getnormalized();
    if (const CurveEdge* const curve = contour.curve(nearest.edge))
        along = curve->direction(nearest.parameter).getnormalized();
    if (const ERArc2D* const arc = contour.arc(nearest.edge)) {
        const ERVector2D radial = ERVector2D(arc->center(), nearest.foot).getnormalized();
        along = arc->isDirect() ? ERVector2D(-radial.j(), radial.i())
                                : ERVector2D(radial.j(), -radial.i());
    }
    return part.material_on_left ? ERVector2D(along.j(), -along.i())
                                 : ERVector2D(-along.j(), along.i());
}

} // namespace velm
