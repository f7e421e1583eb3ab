#include "inspect/picture/target_picture.h"

#include "inspect/picture/palette.h"
#include "inspect/picture/section_panel.h"

#include <algorithm>
#include <cmath>

namespace velm::inspect {
namespace {

int side_beyond(const TargetRow& row, const std::optional<Tolerance>& tolerance) {
    if (row.in_tolerance != false) return 0;
    const std::optional<Tolerance>& band = row.limits ? row.limits : tolerance;
    return row.deviation > band->upper ? 1 : -1;
}

TargetSpot spot_of(const TargetRow& row, const std::optional<Tolerance>& tolerance) {
    return {row.target.target_point(), static_cast<float>(row.deviation),
            static_cast<signed char>(side_beyond(row, tolerance))};
}

} // namespace

void TargetPicture::add(const TargetRow& row) {
    box_.add(row.target.target_point());
    histogram_.add(row.deviation);
    const int beyond = side_beyond(row, head_.tolerance);
    if (beyond != 0) ++(beyond > 0 ? above_ : below_);
    has_normals_ = has_normals_ || !row.is_distance;
    if (spots_.empty() && rows_.size() < most_points) return rows_.push_back(row);
    for (const TargetRow& before : rows_)
        spots_.push_back(spot_of(before, head_.tolerance));
    rows_ = {};
    spots_.push_back(spot_of(row, head_.tolerance));
}

PictureLook TargetPicture::look(int decimals) const {
    std::vector<DeviationHistogram::Cell> cells = histogram_.cells();
    const double reference = reference_deviation(cells, head_.tolerance);
    return {std::move(cells), reference, head_.tolerance, decimals};
}

LegendNotes TargetPicture::notes() const {
    LegendNotes notes;
    notes.has_tolerance = head_.is_judged();
    notes.above = above_;
    notes.below = below_;
    notes.outwards = !spots_.empty() ? ""
                     : has_normals_  ? "along the normals, magnified"
                                     : "towards the measured points, magnified";
    return notes;
}

std::string TargetPicture::drawing(double width, const PictureLook& look,
                                   const std::vector<TargetRow>& worst) const {
    TargetDrawing drawing(box_, width, {look.scale, look.unit, look.reference});
    if (!spots_.empty()) {
        drawing.draw_cells(spots_);
    } else {
        std::vector<const TargetRow*> rising;
        for (const TargetRow& row : rows_)
            rising.push_back(&row);
        std::stable_sort(rising.begin(), rising.end(), [](const TargetRow* a, const TargetRow* b) {
            return a->severity < b->severity;
        });
        drawing.draw_points(rising);
    }
    drawing.name_worst(worst);
    drawing.draw_footer();
    return drawing.finish();
}

PagePictures TargetPicture::page(int decimals, const std::vector<TargetRow>& worst) const {
    const PictureLook look = this->look(decimals);
    const std::string legend = page_legend(look.scale, notes(), look.unit);
    return {{drawing(PagePictures::wide_width, look, worst), legend},
            {drawing(PagePictures::narrow_width, look, worst), legend},
            page_distribution(look.cells, look.scale, head_.tolerance.has_value(), look.unit)};
}

std::string TargetPicture::svg(const ReportHead& head, const std::vector<FigureLine>& figures,
                               int decimals, const std::vector<TargetRow>& worst) const {
    const PictureLook look = this->look(decimals);
    constexpr double border = palette::border, left = palette::column_left,
                     wide = left - border - palette::column_gap,
                     column = SvgCanvas::width - border - left;
    constexpr double high = 290.0, legend = 150.0, gap = 12.0;
    SvgCanvas canvas(head.title, head.subtitle);
    const double top = draw_header(canvas, head), bottom = SvgCanvas::height - palette::foot;
    // The drawing is a picture of its own within the sheet.
    const std::string start = "<svg ";
    canvas.raw(start + "x=\"" + svg_number(border) + "\" y=\"" + svg_number(top) + "\" width=\"" +
               svg_number(wide) + "\" height=\"" + svg_number(bottom - top) + "\" " +
               drawing(wide, look, worst).substr(start.size()));
    draw_figures(canvas, {left, top, column, high}, figures);
    draw_histogram(canvas,
                   {left, top + high + gap, column, bottom - legend - 2.0 * gap - top - high},
                   look.cells, look.scale, head_.tolerance.has_value(), look.unit);
    draw_legend(canvas, {left, bottom - legend, column, legend}, look.scale, notes(), look.unit);
    return canvas.finish();
}

} // namespace velm::inspect
