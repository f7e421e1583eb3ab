#include "inspect/picture/fit_picture.h"

#include "inspect/picture/palette.h"
#include "inspect/picture/section_panel.h"

#include <algorithm>
#include <cmath>

namespace velm::inspect {
namespace {

constexpr double border = palette::border, left = palette::column_left;

// The range of the drawing: the largest residual, and the tolerance if it is of the same size.
double reach(const std::optional<Tolerance>& tolerance, const Summary& summary) {
    const RunningStatistics& deviations = summary.signed_deviations;
    const double largest =
        std::max(std::fabs(deviations.minimum()), std::fabs(deviations.maximum()));
    if (!tolerance) return largest > 0.0 ? largest : 1e-9;
    const double limit = std::max(std::fabs(tolerance->lower), std::fabs(tolerance->upper));
    if (largest == 0.0) return limit > 0.0 ? limit : 1e-9;
    return 1.05 * std::clamp(limit, largest, 4.0 * largest);
}

} // namespace

void FitPicture::add(const FitRow& row) {
    spots_.push_back({place_in_drawing(head_.entity, row.measured), row.deviation});
    histogram_.add(row.deviation);
    if (row.in_tolerance == false) ++(row.deviation > head_.tolerance->upper ? above_ : below_);
}

LegendNotes FitPicture::notes() const {
    LegendNotes notes;
    notes.has_tolerance = head_.tolerance.has_value();
    notes.above = above_;
    notes.below = below_;
    notes.outwards = head_.entity.kind == FitKind::plane ? ""
                     : head_.entity.kind == FitKind::line
                         ? "upwards: beside the line, magnified"
                         : "outwards: beyond the circle, magnified";
    return notes;
}

PictureLook FitPicture::look(const Summary& summary, int decimals) const {
    return {histogram_.cells(), reach(head_.tolerance, summary), head_.tolerance, decimals};
}

std::string FitPicture::svg(const ReportHead& head, const std::vector<FigureLine>& figures,
                            const Summary& summary, int decimals,
                            const std::vector<FitRow>& worst) const {
    const PictureLook look = this->look(summary, decimals);
    const double wide = SvgCanvas::width - border - left;
    const double bottom = SvgCanvas::height - palette::foot;
    SvgCanvas canvas(head.title, "Residuals of " + head_.measured);
    const double top = draw_header(canvas, head);
    FitDrawing(canvas, {border, top, left - border - palette::column_gap, bottom - top}, head_,
               spots_, worst, {look.scale, look.unit, look.reference, decimals})
        .draw();
    constexpr double legend = 122.0, distribution = 126.0, gap = 12.0;
    const double histogram_top = bottom - legend - distribution - gap;
    draw_figures(canvas, {left, top, wide, histogram_top - gap - top}, figures);
    draw_histogram(canvas, {left, histogram_top, wide, distribution}, look.cells, look.scale,
                   head_.tolerance.has_value(), look.unit);
    draw_legend(canvas, {left, bottom - legend, wide, legend}, look.scale, notes(), look.unit);
    return canvas.finish();
}

PagePictures FitPicture::page(const Summary& summary, int decimals,
                              const std::vector<FitRow>& worst) const {
    const PictureLook look = this->look(summary, decimals);
    const std::string legend = page_legend(look.scale, notes(), look.unit);
    const auto draw = [&](double width) {
        constexpr double side = 12.0, high = 0.75; // of the width
        SvgCanvas canvas("Residuals of " + head_.measured, width, high * width);
        FitDrawing(canvas, {side, side, width - 2.0 * side, high * width - 2.0 * side}, head_,
                   spots_, worst, {look.scale, look.unit, look.reference, decimals})
            .draw();
        return PagePictures::Drawing{canvas.finish(), legend};
    };
    return {draw(PagePictures::wide_width), draw(PagePictures::narrow_width),
            page_distribution(look.cells, look.scale, head_.tolerance.has_value(), look.unit)};
}

} // namespace velm::inspect
