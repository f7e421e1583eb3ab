#include "inspect/input/dxf_outline.h"

#include "inspect/base/number_text.h"
#include "inspect/input/outline_pieces.h"
#include "inspect/input/piece_links.h"
#include "velm/frame/point_functions.h"
#include "velm/planar/curve_edge.h"

#include <algorithm>
#include <cmath>
#include <memory>
#include <numbers>
#include <utility>
#include <variant>

namespace velm::inspect {
namespace {

// An edge of a contour before linking.
struct LooseEdge {
    ERPoint2D start, end;
    std::variant<std::monostate, ERArc2D, std::shared_ptr<const CurveEdge>> along;
    std::size_t line = 0;
};

class DrawingEdges {
public:
    DrawingEdges(const TextSource& source, const Drawing& drawing) : source_(source) {
        for (const DrawnPiece& piece : drawing.pieces)
            std::visit([&](const auto& shape) { add(shape, piece.line); }, piece.shape);
    }
    std::vector<LooseEdge> edges;

private:
    void add(const DrawnSegment& segment, std::size_t line) {
        edges.push_back({segment.start, segment.end, {}, line});
    }
    void add(const DrawnArc& arc, std::size_t line) {
        if (arc.is_circular())
            edges.push_back({arc.start, arc.end, circular_arc(arc), line});
        else
            add(elliptical_curve(arc), line);
    }
    void add(const DrawnSpline& spline, std::size_t line) { add(spline_curve(spline), line); }
    void add(const ERCpoleNURBS2D& curve, std::size_t line) {
        const std::vector<ERCpoleNURBS2D> parts = CurveEdge::smooth_parts(curve);
        if (parts.empty())
            source_.refuse_at(line, "the curve can't be evaluated: its weights or poles are beyond "
                                    "what a double can hold");
        for (const ERCpoleNURBS2D& part : parts) {
            std::shared_ptr<const CurveEdge> edge = CurveEdge::make(part);
            edges.push_back({edge->start(), edge->end(), edge, line});
        }
    }

    const TextSource& source_;
};

void append(Contour& contour, const LooseEdge& edge, const PieceLinks::Link& link) {
    if (const ERArc2D* const arc = std::get_if<ERArc2D>(&edge.along))
        contour.append(link.from, link.reversed ? ERArc2D(arc->center(), arc->radius(),
                                                          arc->endAngle(), arc->startAngle())
                                                : *arc);
    else if (const auto* const curve = std::get_if<std::shared_ptr<const CurveEdge>>(&edge.along))
        contour.append(link.from, link.reversed ? (*curve)->reversed() : *curve);
    else
        contour.append(link.from);
}

bool is_closed(const LooseEdge& edge) {
    if (const ERArc2D* const arc = std::get_if<ERArc2D>(&edge.along))
        return std::fabs(arc->endAngle() - arc->startAngle()) >=
               2.0 * std::numbers::pi * (1.0 - 1e-15);
    const auto* const curve = std::get_if<std::shared_ptr<const CurveEdge>>(&edge.along);
    return curve && (*curve)->prepared().closed();
}

} // namespace

std::vector<LocatedContour> contours_of_drawing(const TextSource& source, const Drawing& drawing,
                                                double tolerance) {
    const std::vector<LooseEdge> edges = DrawingEdges(source, drawing).edges;
    std::vector<LocatedContour> contours;
    const auto add = [&](Contour contour, std::size_t line) {
        require_area(source, line, contour);
        contours.push_back({std::move(contour), line});
    };
    PieceLinks links(source, tolerance);
    std::vector<const LooseEdge*> linked;
    for (const LooseEdge& edge : edges) {
        if (is_closed(edge)) {
            Contour contour;
            append(contour, edge, {0, false, edge.start});
            add(std::move(contour), edge.line);
        } else if (distance(edge.start, edge.end) < tolerance) {
            source.refuse_at(edge.line, "the ends of the piece are closer to each other than the "
                                        "chain tolerance " +
                                            shortest(tolerance));
        } else {
            links.add(edge.start, edge.end, edge.line);
            linked.push_back(&edge);
        }
    }
    for (const PieceLinks::Ring& ring : links.rings()) {
        Contour contour;
        for (const PieceLinks::Link& link : ring)
            append(contour, *linked[link.piece], link);
        add(std::move(contour), links.first_line(ring));
    }
    put_largest_first(contours);
    return contours;
}

std::vector<std::string> notes_about_drawing(const Drawing& drawing) {
    std::vector<std::string> notes;
    if (!drawing.unit.empty() && drawing.millimetres != 1.0)
        notes.push_back("the drawing's unit is the " + drawing.unit +
                        "; the outline is in millimetres");
    for (const LeftOut& left : drawing.left_out)
        notes.push_back("left out: " + std::to_string(left.count) + " " + left.type + ", " +
                        left.why + " (the first one at line " + std::to_string(left.first_line) +
                        ")");
    return notes;
}

} // namespace velm::inspect
