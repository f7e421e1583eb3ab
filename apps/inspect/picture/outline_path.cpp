#include "inspect/picture/outline_path.h"

#include "velm/curves/curve_bounds.h"

#include <cmath>
#include <numbers>

namespace velm::inspect {
namespace {

constexpr double flat = 0.02; // picture units between an arc or a curve and its chord

} // namespace

OutlinePath::OutlinePath(const Contour& contour,
                         const std::function<CanvasPoint(const ERPoint2D&)>& place, double unit)
    : start_(place(contour[0])) {
    for (int edge = 0; edge < contour.size(); ++edge) {
        if (const ERArc2D* const arc = contour.arc(edge))
            go_round(*arc, contour[edge + 1], place, unit);
        else if (const CurveEdge* const curve = contour.curve(edge))
            go_along(*curve, place, unit);
        else if (edge + 1 < contour.size())
            add({place(contour[edge + 1]), 0.0, {}, false}, 0.0);
    }
}

void OutlinePath::go_round(const ERArc2D& arc, const ERPoint2D& end,
                           const std::function<CanvasPoint(const ERPoint2D&)>& place, double unit) {
    constexpr double largest_piece = 2.0 * std::numbers::pi / 3.0;
    const ERCircle2D& circle = arc;
    const double sweep = arc.endAngle() - arc.startAngle();
    const int count = static_cast<int>(std::ceil(std::fabs(sweep) / largest_piece));
    const double radius = arc.radius() * unit;
    const double part = sweep / count;
    const bool is_flat = radius * (1.0 - std::cos(part / 2.0)) < flat;
    for (int i = 1; i <= count; ++i) {
        const CanvasPoint to = place(i == count ? end : circle(arc.startAngle() + part * i));
        add({to, is_flat ? 0.0 : radius, place(arc.center()), sweep < 0.0},
            std::fabs(part) * radius);
    }
}

void OutlinePath::go_along(const CurveEdge& curve,
                           const std::function<CanvasPoint(const ERPoint2D&)>& place, double unit) {
    const std::vector<CurveVertex<2>> vertices = polyline(curve.prepared(), flat / unit);
    for (std::size_t i = 1; i < vertices.size(); ++i)
        add({place(vertices[i].point), 0.0, {}, false}, 0.0);
}

void OutlinePath::add(const Piece& piece, double length) {
    const CanvasPoint& from = pieces_.empty() ? start_ : pieces_.back().to;
    if (length >= finest_detail ||
        std::hypot(piece.to.x - from.x, piece.to.y - from.y) >= finest_detail)
        pieces_.push_back(piece);
}

std::string OutlinePath::data() const {
    std::string data = "M" + svg_point(start_);
    for (const Piece& piece : pieces_) {
        if (piece.radius > 0.0) {
            const std::string radius = svg_number(piece.radius);
            data += "A" + radius + " " + radius + " 0 0 " + (piece.is_clockwise ? "1 " : "0 ");
        } else {
            data += "L";
        }
        data += svg_point(piece.to);
    }
    return data + "Z";
}

void OutlinePath::sample(double step, std::vector<CanvasPoint>& points) const {
    const auto go_straight = [&](const CanvasPoint& a, const CanvasPoint& b) {
        const int count = 1 + static_cast<int>(std::hypot(b.x - a.x, b.y - a.y) / step);
        for (int i = 0; i < count; ++i) {
            const double part = static_cast<double>(i) / count;
            points.push_back({a.x + (b.x - a.x) * part, a.y + (b.y - a.y) * part});
        }
    };
    CanvasPoint from = start_;
    for (const Piece& piece : pieces_) {
        if (piece.radius == 0.0) {
            go_straight(from, piece.to);
        } else {
            const CanvasPoint& c = piece.center;
            const double first = std::atan2(from.y - c.y, from.x - c.x);
            const double turned = std::remainder(
                std::atan2(piece.to.y - c.y, piece.to.x - c.x) - first, 2.0 * std::numbers::pi);
            const int count = 1 + static_cast<int>(std::fabs(turned) * piece.radius / step);
            for (int i = 0; i < count; ++i) {
                const double angle = first + turned * i / count;
                points.push_back(
                    {c.x + piece.radius * std::cos(angle), c.y + piece.radius * std::sin(angle)});
            }
        }
        from = piece.to;
    }
    go_straight(from, start_);
}

} // namespace velm::inspect
