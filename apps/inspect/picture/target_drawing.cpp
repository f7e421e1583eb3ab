#include "inspect/picture/target_drawing.h"

#include "inspect/base/number_text.h"
#include "inspect/base/text_escape.h"
#include "inspect/picture/palette.h"

#include <algorithm>
#include <cmath>
#include <unordered_map>

namespace velm::inspect {
namespace {

using Anchor = SvgCanvas::Anchor;

constexpr double text_size = palette::text_size;
constexpr std::size_t most_obstacles = 2000;

// A triangle about a place, upwards above the upper limit.
std::string triangle(const CanvasPoint& at, double side, double size) {
    return "M" + svg_point({at.x, at.y - side * 6.0 * size}) + "l" +
           svg_point({6.0 * size, side * 10.0 * size}) + "h" + svg_number(-12.0 * size) + "z";
}

// Coordinates at the end of the range of doubles may have no place.
int cell_of(double at) {
    constexpr double most = 1e6;
    return static_cast<int>(std::fmin(std::fmax(at, -most), most));
}

std::string sign(const TargetRow& row, const CanvasPoint& at) {
    if (row.in_tolerance != false)
        return "M" + svg_point({at.x - 3.5, at.y}) + "a3.5 3.5 0 1 0 7 0a3.5 3.5 0 1 0 -7 0z";
    return triangle(at, row.deviation > 0.0 ? 1.0 : -1.0, 1.0);
}

} // namespace

TargetDrawing::TargetDrawing(const TargetBox& box, double width, const Look& look)
    : measures_(TargetMeasures::of(width)), front_(box, width, measures_),
      side_(front_.along_the_surface(measures_, front_.height())), look_(look),
      canvas_("Deviations at their nominal points", width,
              front_.height() + side_.height() + measures_.footer),
      labels_({2.0, 2.0, width - 4.0, front_.height() - 4.0}) {
    if (look.reference > 0.0)
        magnification_ = fine_step_below(measures_.whisker / (look.reference * front_.unit()));
    canvas_.line({12.0, side_.top()}, {width - 12.0, side_.top()}, svg_stroke(palette::rule, 1.0));
}

// From the nominal point to the end of its whisker, at most three times the usual length.
CanvasPoint TargetDrawing::whisker(const TargetView& view, const TargetRow& row) const {
    ERVector3D normal;
    CanvasPoint along;
    if (row.target.get_surface_normal(normal) != 0) {
        along = view.direction(normal);
        along = {along.x * row.deviation, along.y * row.deviation};
    } else {
        along =
            view.direction(ERVector3D(row.target.target_point(), row.target.calculated_point()));
    }
    const double factor = magnification_ * view.unit();
    const double length = std::hypot(along.x, along.y) * factor;
    const double cut = std::min(1.0, 3.0 * measures_.whisker / std::max(length, 1e-300));
    return {along.x * factor * cut, along.y * factor * cut};
}

void TargetDrawing::draw_point(const TargetView& view, const TargetRow& row, bool has_note) {
    const CanvasPoint at = view.place(row.target.target_point()), end = whisker(view, row);
    const std::string color(DeviationScale::color(look_.scale.class_of(row)));
    const std::string note =
        has_note
            ? "<title>" +
                  xml_text(clipped(terminal_text(row.id), 60) + ": " +
                           DeviationUnit(std::fabs(row.deviation)).whole_text(row.deviation, 2)) +
                  "</title>"
            : "";
    canvas_.raw("<g>" + note + "<path d=\"M" + svg_point(at) + "l" + svg_point(end) +
                "\" stroke=\"" + color + "\" stroke-width=\"2\"/><path d=\"" + sign(row, at) +
                "\" fill=\"" + color + "\" " + svg_stroke(palette::paper, 0.8) + "/></g>\n");
    if (&view != &front_ || labels_.obstacles().size() >= most_obstacles) return;
    for (const double part : {0.0, 0.5, 1.0})
        labels_.avoid({at.x + end.x * part, at.y + end.y * part});
}

void TargetDrawing::draw_points(const std::vector<const TargetRow*>& rising) {
    constexpr std::size_t most_notes = 1000; // in two drawings from two sides each
    for (const TargetView* const view : {&front_, &side_})
        for (const TargetRow* const row : rising)
            draw_point(*view, *row, rising.size() <= most_notes);
}

void TargetDrawing::draw_cells(std::span<const TargetSpot> spots) {
    points_ = spots.size();
    cells_ = draw_cells(front_, spots);
    draw_cells(side_, spots);
}

// Returns the number of squares.
std::size_t TargetDrawing::draw_cells(const TargetView& view, std::span<const TargetSpot> spots) {
    struct Cell {
        int x, y;
        double sum = 0.0, worst = 0.0; // worst: the deviation farthest beyond its limit
        std::size_t count = 0;
        int beyond = 0;
    };
    const double size = measures_.cell;
    const auto columns = static_cast<long>(canvas_.own_width() / size) + 2;
    std::unordered_map<long, Cell> cells;
    for (const TargetSpot& spot : spots) {
        const CanvasPoint at = view.place(spot.nominal);
        const int x = cell_of(at.x / size), y = cell_of(at.y / size);
        Cell& cell = cells.try_emplace(y * columns + x, Cell{x, y}).first->second;
        cell.sum += double(spot.deviation);
        ++cell.count;
        const double far = std::fabs(double(spot.deviation));
        if (spot.beyond == 0 || far <= cell.worst) continue;
        cell.worst = far;
        cell.beyond = spot.beyond;
    }
    std::vector<Cell> all;
    for (const auto& [number, cell] : cells)
        all.push_back(cell);
    std::sort(all.begin(), all.end(), [](const Cell& a, const Cell& b) {
        return a.worst != b.worst ? a.worst > b.worst : a.y != b.y ? a.y < b.y : a.x < b.x;
    });
    std::array<std::string, DeviationScale::classes> squares;
    for (const Cell& cell : all)
        squares[static_cast<std::size_t>(
            look_.scale.class_of(cell.sum / static_cast<double>(cell.count)))] +=
            "M" + svg_point({cell.x * size, cell.y * size}) + "h" + svg_number(size) + "v" +
            svg_number(size) + "h" + svg_number(-size) + "z";
    for (int number = 0; number < DeviationScale::classes; ++number)
        if (const std::string& data = squares[static_cast<std::size_t>(number)]; !data.empty())
            canvas_.path(data, svg_fill(DeviationScale::color(number)));
    constexpr std::size_t most_marks = 300;
    std::array<std::string, 2> marks; // below and above
    for (std::size_t n = 0; n < std::min(most_marks, all.size()) && all[n].beyond != 0; ++n)
        marks[all[n].beyond > 0 ? 1 : 0] +=
            triangle({(all[n].x + 0.5) * size, (all[n].y + 0.5) * size}, all[n].beyond, 0.6);
    for (const int side : {0, 1})
        if (const std::string& data = marks[static_cast<std::size_t>(side)]; !data.empty())
            canvas_.path(data, svg_fill(DeviationScale::color(side == 1 ? DeviationScale::above
                                                                        : DeviationScale::below)) +
                                   " " + svg_stroke(palette::paper, 0.6));
    return all.size();
}

void TargetDrawing::name_worst(std::span<const TargetRow> worst) {
    constexpr double apart = 30.0;
    std::vector<CanvasPoint> named;
    for (const TargetRow& row : worst) {
        if (named.size() == measures_.most_named || row.severity <= 0.0) return;
        if (row.in_tolerance == true) return;
        const CanvasPoint at = front_.place(row.target.target_point());
        const CanvasPoint along = points_ == 0 ? whisker(front_, row) : CanvasPoint{};
        if (std::any_of(named.begin(), named.end(), [&](const CanvasPoint& other) {
                return std::hypot(at.x - other.x, at.y - other.y) < apart;
            }))
            continue;
        const std::string content =
            clipped(terminal_text(row.id), 18) + "\u2002" + look_.unit.whole_text(row.deviation);
        if (labels_.draw(canvas_, {at.x + along.x, at.y + along.y}, along, content, text_size))
            named.push_back(at);
    }
}

void TargetDrawing::draw_footer() {
    const double y = side_.top() + side_.height(), right = canvas_.own_width() - 12.0;
    const std::string soft = svg_fill(palette::soft);
    for (const TargetView* const view : {&front_, &side_})
        canvas_.text({right, view->top() + 18.0}, view->axes(), text_size, Anchor::end, soft);
    if (points_ == 0) {
        draw_scale_bars(canvas_, {12.0, y + 14.0}, measures_.bars, "part", front_.unit(),
                        magnification_);
        return;
    }
    canvas_.text({12.0, y + 14.0},
                 grouped(points_, ",") + " points in " + grouped(cells_, ",") + " places",
                 text_size, Anchor::start, soft);
    canvas_.text({12.0, y + 30.0}, "coloured by the mean of each; the worst are marked", text_size,
                 Anchor::start, soft);
}

} // namespace velm::inspect
