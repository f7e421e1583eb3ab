#include "inspect/picture/target_picture.h"

#include "inspect/base/number_text.h"
#include "inspect/base/text_escape.h"
#include "inspect/picture/label_places.h"
#include "inspect/picture/palette.h"
#include "inspect/picture/scale_bars.h"
#include "inspect/picture/svg_canvas.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <map>
#include <vector>

namespace velm::inspect {
namespace {

constexpr std::size_t most_points = 5000;
constexpr std::size_t most_obstacles = 2000;

std::array<double, 3> coordinates(const ERPoint3D& p) { return {p.x(), p.y(), p.z()}; }

// The measures that depend on the width of a drawing, in its units.
struct Measures {
    double margin;                    // around the points, for whiskers and labels
    double least_height, most_height; // of the drawing with its footer
    double whisker;                   // of a deviation at the end of the scale, at most
    std::size_t most_named;
    ScaleBars bars;
    double footer; // for the bars and the axes
};

Measures measures_for(double width) {
    if (width < 520.0) return {44.0, 240.0, 440.0, 26.0, 4, ScaleBars::stacked, 64.0};
    return {72.0, 280.0, 640.0, 42.0, 8, ScaleBars::beside, 40.0};
}

// Two axes of space on the picture, the third one towards the eye.
class View {
public:
    View(std::span<const TargetRow> rows, double width, const Measures& measures) : width_(width) {
        low_.fill(std::numeric_limits<double>::infinity());
        high_.fill(-std::numeric_limits<double>::infinity());
        for (const TargetRow& row : rows)
            for (std::size_t axis = 0; axis < 3; ++axis) {
                const double at = coordinates(row.target.target_point())[axis];
                low_[axis] = std::min(low_[axis], at);
                high_[axis] = std::max(high_[axis], at);
            }
        const std::size_t thin = extent(2) <= std::min(extent(0), extent(1)) ? 2
                                 : extent(1) <= extent(0)                    ? 1
                                                                             : 0;
        across_ = thin == 0 ? 1 : 0;
        up_ = thin == 2 ? 1 : 2;
        const double around = 2.0 * measures.margin;
        const double room = measures.most_height - around - measures.footer;
        if (extent(across_) > 0.0) unit_ = (width - around) / extent(across_);
        if (extent(up_) > 0.0)
            unit_ = std::min(extent(across_) > 0.0 ? unit_ : room, room / extent(up_));
        drawn_ = std::max(measures.least_height - measures.footer, extent(up_) * unit_ + around);
    }

    double unit() const { return unit_; }    // of the picture, per unit of the model
    double height() const { return drawn_; } // without the footer
    CanvasPoint place(const ERPoint3D& p) const {
        const auto at = coordinates(p);
        return {width_ / 2.0 + (at[across_] - low_[across_] / 2.0 - high_[across_] / 2.0) * unit_,
                drawn_ / 2.0 - (at[up_] - low_[up_] / 2.0 - high_[up_] / 2.0) * unit_};
    }
    CanvasPoint direction(const ERVector3D& v) const {
        const std::array<double, 3> all{v.i(), v.j(), v.k()};
        return {all[across_], -all[up_]};
    }
    std::string axes() const {
        constexpr std::string_view names = "xyz";
        return std::string(1, names[across_]) + " to the right, " + names[up_] + " upwards";
    }

private:
    double extent(std::size_t axis) const { return high_[axis] - low_[axis]; }

    double width_;
    std::size_t across_ = 0, up_ = 1;
    std::array<double, 3> low_{}, high_{};
    double unit_ = 1.0;
    double drawn_ = 0.0;
};

class TargetDrawing {
public:
    TargetDrawing(std::span<const TargetRow> rows, double width, const DeviationScale& scale,
                  const DeviationUnit& unit, double reference)
        : measures_(measures_for(width)), view_(rows, width, measures_), scale_(scale), unit_(unit),
          canvas_("Deviations at their nominal points", width, view_.height() + measures_.footer),
          labels_({2.0, 2.0, width - 4.0, view_.height() - 4.0}) {
        if (reference > 0.0)
            magnification_ = fine_step_below(measures_.whisker / (reference * view_.unit()));
    }

    void draw(const std::vector<const TargetRow*>& rising) {
        for (const TargetRow* row : rising)
            draw_point(*row);
        name_worst(rising);
    }
    void draw_footer(const std::string& note) {
        const double y = view_.height();
        draw_scale_bars(canvas_, {12.0, y + 14.0}, measures_.bars, "part", view_.unit(),
                        magnification_);
        const std::string content = view_.axes() + note;
        const bool stacked = measures_.bars == ScaleBars::stacked;
        canvas_.text(stacked ? CanvasPoint{12.0, y + 54.0}
                             : CanvasPoint{canvas_.own_width() - 12.0, y + 18.0},
                     content, text_size,
                     stacked ? SvgCanvas::Anchor::start : SvgCanvas::Anchor::end,
                     svg_fill(palette::soft));
    }
    std::string finish() const { return canvas_.finish(); }

private:
    static constexpr double text_size = palette::text_size;

    // From the nominal point to the end of its whisker, at most three times the usual length.
    CanvasPoint whisker(const TargetRow& row) const {
        ERVector3D normal;
        CanvasPoint along;
        if (row.target.get_surface_normal(normal) != 0) {
            along = view_.direction(normal);
            along = {along.x * row.deviation, along.y * row.deviation};
        } else {
            along = view_.direction(
                ERVector3D(row.target.target_point(), row.target.calculated_point()));
        }
        const double factor = magnification_ * view_.unit();
        const double length = std::hypot(along.x, along.y) * factor;
        const double cut = std::min(1.0, 3.0 * measures_.whisker / std::max(length, 1e-300));
        return {along.x * factor * cut, along.y * factor * cut};
    }

    // A dot, and out of tolerance a triangle that points to the side of the limit.
    static std::string sign(const TargetRow& row, const CanvasPoint& at) {
        if (row.in_tolerance != false)
            return "M" + svg_point({at.x - 3.5, at.y}) + "a3.5 3.5 0 1 0 7 0a3.5 3.5 0 1 0 -7 0z";
        const double side = row.deviation > 0.0 ? 1.0 : -1.0;
        return "M" + svg_point({at.x, at.y - side * 6.0}) + "l" + svg_point({6.0, side * 10.0}) +
               "h-12z";
    }

    void draw_point(const TargetRow& row) {
        const CanvasPoint at = view_.place(row.target.target_point()), end = whisker(row);
        const std::string color(DeviationScale::color(scale_.class_of(row)));
        canvas_.raw("<g><title>" +
                    xml_text(clipped(terminal_text(row.id), 60) + ": " +
                             DeviationUnit(std::fabs(row.deviation)).whole_text(row.deviation, 2)) +
                    "</title><path d=\"M" + svg_point(at) + "l" + svg_point(end) + "\" stroke=\"" +
                    color + "\" stroke-width=\"2\"/><path d=\"" + sign(row, at) + "\" fill=\"" +
                    color + "\" " + svg_stroke(palette::paper, 0.8) + "/></g>\n");
        if (labels_.obstacles().size() >= most_obstacles) return;
        for (const double part : {0.0, 0.5, 1.0})
            labels_.avoid({at.x + end.x * part, at.y + end.y * part});
    }

    // No two names close to each other.
    void name_worst(const std::vector<const TargetRow*>& rising) {
        constexpr double apart = 30.0;
        std::vector<CanvasPoint> named;
        for (auto row = rising.rbegin(); row != rising.rend(); ++row) {
            if (named.size() == measures_.most_named || (*row)->severity <= 0.0) return;
            if ((*row)->in_tolerance == true) return;
            const CanvasPoint at = view_.place((*row)->target.target_point());
            const CanvasPoint along = whisker(**row);
            const CanvasPoint end{at.x + along.x, at.y + along.y};
            if (std::any_of(named.begin(), named.end(), [&](const CanvasPoint& other) {
                    return std::hypot(at.x - other.x, at.y - other.y) < apart;
                }))
                continue;
            const std::string content = clipped(terminal_text((*row)->id), 18) + "\u2002" +
                                        unit_.whole_text((*row)->deviation);
            if (labels_.draw(canvas_, end, along, content, text_size)) named.push_back(at);
        }
    }

    Measures measures_;
    View view_;
    const DeviationScale& scale_;
    const DeviationUnit& unit_;
    SvgCanvas canvas_;
    LabelPlaces labels_;
    double magnification_ = 1.0;
};

// The worst row of each cell of space: very many points are all shown, binned.
std::vector<const TargetRow*> worst_of_cells(std::span<const TargetRow> rows) {
    constexpr double cells = 64.0; // along the longest side of the points' box
    std::array<double, 3> low, high;
    low.fill(std::numeric_limits<double>::infinity());
    high.fill(-std::numeric_limits<double>::infinity());
    for (const TargetRow& row : rows)
        for (std::size_t axis = 0; axis < 3; ++axis) {
            const double at = coordinates(row.target.target_point())[axis];
            low[axis] = std::min(low[axis], at);
            high[axis] = std::max(high[axis], at);
        }
    const double longest = std::max({high[0] - low[0], high[1] - low[1], high[2] - low[2]});
    const double size = longest > 0.0 ? longest / cells : 1.0;
    std::map<std::array<int, 3>, const TargetRow*> worst;
    for (const TargetRow& row : rows) {
        std::array<int, 3> cell{};
        for (std::size_t axis = 0; axis < 3; ++axis)
            cell[axis] =
                static_cast<int>((coordinates(row.target.target_point())[axis] - low[axis]) / size);
        const auto [at, is_new] = worst.try_emplace(cell, &row);
        if (!is_new && row.severity > at->second->severity) at->second = &row;
    }
    std::vector<const TargetRow*> kept;
    for (const auto& [cell, row] : worst)
        kept.push_back(row);
    return kept;
}

// The rows to draw, the worst last.
std::vector<const TargetRow*> drawn_rows(std::span<const TargetRow> rows) {
    std::vector<const TargetRow*> drawn;
    if (rows.size() > most_points)
        drawn = worst_of_cells(rows);
    else
        for (const TargetRow& row : rows)
            drawn.push_back(&row);
    std::stable_sort(drawn.begin(), drawn.end(), [](const TargetRow* a, const TargetRow* b) {
        return a->severity < b->severity;
    });
    if (drawn.size() > most_points)
        drawn.erase(drawn.begin(), drawn.end() - static_cast<std::ptrdiff_t>(most_points));
    return drawn;
}

LegendNotes legend_notes(std::span<const TargetRow> rows, const Summary& summary) {
    LegendNotes notes;
    notes.has_tolerance = summary.is_judged();
    bool has_normals = false;
    for (const TargetRow& row : rows) {
        ERVector3D normal;
        has_normals |= row.target.get_surface_normal(normal) != 0;
        if (row.in_tolerance == false) {
            const std::optional<Tolerance>& band = row.limits ? row.limits : summary.tolerance;
            ++(row.deviation > band->upper ? notes.above : notes.below);
        }
    }
    notes.outwards =
        has_normals ? "along the normals, magnified" : "towards the measured points, magnified";
    return notes;
}

// What all pictures of the rows share.
class TargetPictures {
public:
    TargetPictures(std::span<const TargetRow> rows, const Summary& summary, int decimals)
        : rows_(rows), summary_(summary), drawn_(drawn_rows(rows)), cells_([&] {
              DeviationHistogram histogram;
              for (const TargetRow& row : rows)
                  histogram.add(row.deviation);
              return histogram.cells();
          }()),
          reference_(reference_deviation(cells_, summary.tolerance)),
          scale_(summary.tolerance, reference_),
          unit_(std::max({std::fabs(scale_.lower()), std::fabs(scale_.upper()), reference_}),
                decimals) {}

    std::string drawing(double width) const {
        const std::string note = drawn_.size() == rows_.size()
                                     ? ""
                                     : "; the worst of each place, " + grouped(drawn_.size(), ",") +
                                           " of " + grouped(rows_.size(), ",") + " points";
        TargetDrawing drawing(rows_, width, scale_, unit_, reference_);
        drawing.draw(drawn_);
        drawing.draw_footer(note);
        return drawing.finish();
    }
    std::string legend() const { return page_legend(scale_, legend_notes(rows_, summary_), unit_); }
    std::string distribution() const {
        return page_distribution(cells_, scale_, summary_.tolerance.has_value(), unit_);
    }
    // The column beside a drawing on a sheet.
    void draw_column(SvgCanvas& canvas, double top, const std::vector<FigureLine>& figures) const {
        constexpr double left = palette::column_left,
                         wide = SvgCanvas::width - palette::border - left;
        constexpr double high = 290.0, legend = 150.0, gap = 12.0;
        const double bottom = SvgCanvas::height - palette::foot;
        draw_figures(canvas, {left, top, wide, high}, figures);
        draw_histogram(canvas,
                       {left, top + high + gap, wide, bottom - legend - 2.0 * gap - top - high},
                       cells_, scale_, summary_.tolerance.has_value(), unit_);
        draw_legend(canvas, {left, bottom - legend, wide, legend}, scale_,
                    legend_notes(rows_, summary_), unit_);
    }

private:
    std::span<const TargetRow> rows_;
    const Summary& summary_;
    std::vector<const TargetRow*> drawn_;
    std::vector<DeviationHistogram::Cell> cells_;
    double reference_;
    DeviationScale scale_;
    DeviationUnit unit_;
};

} // namespace

PagePictures target_pictures(std::span<const TargetRow> rows, const Summary& summary,
                             int decimals) {
    const TargetPictures pictures(rows, summary, decimals);
    return {{pictures.drawing(PagePictures::wide_width), pictures.legend()},
            {pictures.drawing(PagePictures::narrow_width), pictures.legend()},
            pictures.distribution()};
}

std::string target_svg(std::span<const TargetRow> rows, const Summary& summary, int decimals,
                       const ReportHead& head, const std::vector<FigureLine>& figures) {
    const TargetPictures pictures(rows, summary, decimals);
    constexpr double border = palette::border,
                     wide = palette::column_left - border - palette::column_gap;
    SvgCanvas canvas(head.title, head.subtitle);
    const double top = draw_header(canvas, head);
    // The drawing is a picture of its own within the sheet.
    const std::string start = "<svg ";
    canvas.raw(start + "x=\"" + svg_number(border) + "\" y=\"" + svg_number(top) + "\" width=\"" +
               svg_number(wide) + "\" height=\"" +
               svg_number(SvgCanvas::height - palette::foot - top) + "\" " +
               pictures.drawing(wide).substr(start.size()));
    pictures.draw_column(canvas, top, figures);
    return canvas.finish();
}

} // namespace velm::inspect
