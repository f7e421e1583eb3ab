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

Contour Contour::circle(const ERPoint2D& center, double radius) {
    Contour contour;
    contour.append(ERPoint2D(center.x() + radius, center.y()),
                   ERArc2D(center, radius, 0.0, 2.0 * std::numbers::pi));
    return contour;
}

void Contour::append(const ERPoint2D& vertex) {
    vertices_.push_back(vertex);
    if (!arcs_.empty()) arc_of_edge_.push_back(-1);
}

void Contour::append(const ERPoint2D& vertex, const ERArc2D& arc) {
    arc_of_edge_.resize(static_cast<std::size_t>(vertices_.size()), -1);
    vertices_.push_back(vertex);
    arc_of_edge_.push_back(static_cast<int>(arcs_.size()));
    arcs_.push_back(arc);
}

double Contour::length(int edge) const {
    if (const ERArc2D* const along = arc(edge)) return along->arcLength(0.0);
    const ERVector2D along((*this)[edge], (*this)[edge + 1]);
    return std::hypot(along.i(), along.j());
}

ERMinimax2D Contour::box(int edge) const {
    ERMinimax2D box((*this)[edge], (*this)[edge + 1]);
    if (const ERArc2D* const along = arc(edge)) box.Update(ERArc2D(*along).getBox());
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
    return {(*this)[edge], (*this)[edge + 1]};
}

ERVector2D Contour::direction_at_end(int edge) const {
    if (const ERArc2D* const along = arc(edge)) return tangent(*along, along->endAngle());
    return {(*this)[edge], (*this)[edge + 1]};
}

// The polygon of the chords, and what lies between each arc and its chord.
double Contour::signed_area() const {
    double twice = 0.0;
    for (int i = 1; i + 1 < size(); ++i)
        twice += cross(ERVector2D((*this)[0], (*this)[i]), ERVector2D((*this)[0], (*this)[i + 1]));
    for (const ERArc2D& arc : arcs_)
        twice += arc.radius() * arc.radius() * (sweep(arc) - std::sin(sweep(arc)));
    return twice / 2.0;
}

double Contour::magnitude() const {
    double largest = 0.0;
    for (const ERPoint2D& v : std::as_const(vertices_).view())
        largest = std::max({largest, std::fabs(v.x()), std::fabs(v.y())});
    for (const ERArc2D& arc : arcs_)
        largest = std::max({largest, std::fabs(arc.center().x()) + arc.radius(),
                            std::fabs(arc.center().y()) + arc.radius()});
    return largest;
}

double Contour::mismatch() const {
    double most = 0.0;
    for (int edge = 0; has_arcs() && edge < size(); ++edge)
        if (const ERArc2D* const along = arc(edge))
            for (const int end : {edge, edge + 1})
                most = std::max(
                    most, std::fabs(distance((*this)[end], along->center()) - along->radius()));
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
