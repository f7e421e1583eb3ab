#include "velm/planar/contour.h"

#include "velm/frame/point_functions.h"

#include <algorithm>
#include <cmath>
#include <numbers>
#include <utility>

namespace velm {
namespace {

double sweep(const ERArc2D& arc) { return arc.endAngle() - arc.startAngle(); }

ERVector2D tangent(const ERArc2D& arc, double angle) {
    const double sense = arc.isDirect() ? 1.0 : -1.0;
    return {-sense * std::sin(angle), sense * std::cos(angle)};
}

} // namespace

Contour Contour::circle(const ERPoint2D& centre, double radius) {
    Contour contour;
    contour.append(ERPoint2D(centre.x() + radius, centre.y()),
                   ERArc2D(centre, radius, 0.0, 2.0 * std::numbers::pi));
    return contour;
}

void Contour::append(const ERPoint2D& vertex, int kind) {
    if (kind != straight || !kind_of_edge_.empty()) {
        kind_of_edge_.resize(static_cast<std::size_t>(vertices_.size()), straight);
        kind_of_edge_.push_back(kind);
    }
    vertices_.push_back(vertex);
}

void Contour::append(const ERPoint2D& vertex) { append(vertex, straight); }

void Contour::append(const ERPoint2D& vertex, const ERArc2D& arc) {
    append(vertex, static_cast<int>(arcs_.size()));
    arcs_.push_back(arc);
}

void Contour::append(const ERPoint2D& vertex, std::shared_ptr<const CurveEdge> curve) {
    append(vertex, first_curve - static_cast<int>(curves_.size()));
    curves_.push_back(std::move(curve));
}

double Contour::length(int edge) const {
    if (const ERArc2D* const along = arc(edge)) return along->arcLength(0.0);
    if (const CurveEdge* const along = curve(edge)) return along->length();
    const ERVector2D along((*this)[edge], (*this)[edge + 1]);
    return std::hypot(along.i(), along.j());
}

ERMinimax2D Contour::box(int edge) const {
    ERMinimax2D box((*this)[edge], (*this)[edge + 1]);
    if (const ERArc2D* const along = arc(edge)) box.Update(ERArc2D(*along).getBox());
    if (const CurveEdge* const along = curve(edge)) box.Update(along->prepared().box());
    return box;
}

ERMinimax2D Contour::box() const {
    ERMinimax2D all;
    for (int edge = 0; edge < size(); ++edge)
        all.Update(box(edge));
    return all;
}

ERVector2D Contour::direction_at_start(int edge) const {
    if (const ERArc2D* const along = arc(edge)) return tangent(*along, along->startAngle());
    if (const CurveEdge* const along = curve(edge)) return along->direction(0.0);
    return {(*this)[edge], (*this)[edge + 1]};
}

ERVector2D Contour::direction_at_end(int edge) const {
    if (const ERArc2D* const along = arc(edge)) return tangent(*along, along->endAngle());
    if (const CurveEdge* const along = curve(edge)) return along->direction(1.0);
    return {(*this)[edge], (*this)[edge + 1]};
}

// The polygon of the chords, and what lies between each arc or curve and its chord.
double Contour::signed_area() const {
    double twice = 0.0;
    for (int i = 1; i + 1 < size(); ++i)
        twice += cross(ERVector2D((*this)[0], (*this)[i]), ERVector2D((*this)[0], (*this)[i + 1]));
    for (const ERArc2D& arc : arcs_)
        twice += arc.radius() * arc.radius() * (sweep(arc) - std::sin(sweep(arc)));
    for (const auto& curve : curves_)
        twice += curve->twice_area();
    return twice / 2.0;
}

double Contour::magnitude() const {
    double largest = 0.0;
    for (const ERPoint2D& v : std::as_const(vertices_).view())
        largest = std::max({largest, std::fabs(v.x()), std::fabs(v.y())});
    for (const ERArc2D& arc : arcs_)
        largest = std::max({largest, std::fabs(arc.center().x()) + arc.radius(),
                            std::fabs(arc.center().y()) + arc.radius()});
    for (const auto& curve : curves_) {
        const ERMinimax2D box = curve->prepared().box();
        largest = std::max({largest, std::fabs(box.xmin), std::fabs(box.xmax), std::fabs(box.ymin),
                            std::fabs(box.ymax)});
    }
    return largest;
}

double Contour::mismatch() const {
    double most = 0.0;
    for (int edge = 0; !is_polygon() && edge < size(); ++edge) {
        const ERPoint2D &a = (*this)[edge], &b = (*this)[edge + 1];
        if (const ERArc2D* const along = arc(edge))
            for (const ERPoint2D& end : {a, b})
                most = std::max(most, std::fabs(distance(end, along->center()) - along->radius()));
        if (const CurveEdge* const along = curve(edge))
            most = std::max({most, distance(a, along->start()), distance(b, along->end())});
    }
    return most;
}

Contour Contour::scaled(double factor) const {
    if (factor == 1.0) return *this;
    Contour result(*this);
    for (ERPoint2D& v : result.vertices_)
        v *= factor;
    for (ERArc2D& arc : result.arcs_) {
        arc.setCenter(arc.center() * factor);
        arc.setRadius(arc.radius() * factor);
    }
    for (auto& curve : result.curves_)
        curve = curve->scaled(factor);
    return result;
}

std::uint64_t Outline::edge_count() const {
    std::uint64_t edges = 0;
    for (const Contour& contour : contours)
        edges += static_cast<std::uint64_t>(contour.size());
    return edges;
}

ERMinimax2D Outline::box() const {
    ERMinimax2D all;
    for (const Contour& contour : contours)
        all.Update(contour.box());
    return all;
}

} // namespace velm
