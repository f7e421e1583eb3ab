#include "inspect/picture/fit_picture.h"

#include "inspect/picture/deviation_histogram.h"
#include "inspect/picture/fit_drawing.h"
#include "inspect/picture/fit_lines.h"
#include "inspect/picture/palette.h"
#include "inspect/picture/section_panel.h"

#include <algorithm>
#include <cmath>
#include <vector>

namespace velm::inspect {
namespace {

constexpr double border = palette::border, left = palette::column_left;

// The range of the drawing: the largest residual, and the tolerance if it is of the same size.
double reach(const FitResult& result) {
    const RunningStatistics& deviations = result.summary.signed_deviations;
    const double largest =
        std::max(std::fabs(deviations.minimum()), std::fabs(deviations.maximum()));
    if (!result.tolerance) return largest > 0.0 ? largest : 1e-9;
    const double limit =
        std::max(std::fabs(result.tolerance->lower), std::fabs(result.tolerance->upper));
    if (largest == 0.0) return limit > 0.0 ? limit : 1e-9;
    return 1.05 * std::clamp(limit, largest, 4.0 * largest);
}

LegendNotes notes_of(const FitResult& result) {
    LegendNotes notes;
    notes.has_tolerance = result.tolerance.has_value();
    if (result.tolerance)
        for (const double residual : result.residuals) {
            if (residual > result.tolerance->upper) ++notes.above;
            if (residual < result.tolerance->lower) ++notes.below;
        }
    notes.outwards = result.kind == FitKind::plane  ? ""
                     : result.kind == FitKind::line ? "upwards: beside the line, magnified"
                                                    : "outwards: beyond the circle, magnified";
    return notes;
}

// What all pictures of a fit share.
struct Look {
    double reference;
    DeviationScale scale;
    DeviationUnit unit;
    std::vector<DeviationHistogram::Cell> cells;
};

Look look_of(const FitResult& result) {
    const double reference = reach(result);
    const DeviationScale scale(result.tolerance, reference);
    DeviationHistogram histogram;
    for (const double residual : result.residuals)
        histogram.add(residual);
    return {reference, scale,
            DeviationUnit(std::max({std::fabs(scale.lower()), std::fabs(scale.upper()), reference}),
                          fit_decimals(result)),
            histogram.cells()};
}

} // namespace

std::string fit_svg(const FitResult& result, const FitPoints& points) {
    const Look look = look_of(result);
    const double wide = SvgCanvas::width - border - left;
    const double bottom = SvgCanvas::height - palette::foot;
    const ReportHead head = fit_head(result);
    SvgCanvas canvas(head.title, "Residuals of " + result.measured);
    const double top = draw_header(canvas, head);
    FitDrawing(canvas, {border, top, left - border - palette::column_gap, bottom - top}, result,
               points, look.scale, look.unit, look.reference)
        .draw();
    constexpr double legend = 122.0, distribution = 126.0, gap = 12.0;
    const double histogram_top = bottom - legend - distribution - gap;
    draw_figures(canvas, {left, top, wide, histogram_top - gap - top}, fit_figures(result));
    draw_histogram(canvas, {left, histogram_top, wide, distribution}, look.cells, look.scale,
                   result.tolerance.has_value(), look.unit);
    draw_legend(canvas, {left, bottom - legend, wide, legend}, look.scale, notes_of(result),
                look.unit);
    return canvas.finish();
}

PagePictures fit_pictures(const FitResult& result, const FitPoints& points) {
    const Look look = look_of(result);
    const std::string legend = page_legend(look.scale, notes_of(result), look.unit);
    const auto draw = [&](double width) {
        constexpr double side = 12.0, high = 0.75; // of the width
        SvgCanvas canvas("Residuals of " + result.measured, width, high * width);
        FitDrawing(canvas, {side, side, width - 2.0 * side, high * width - 2.0 * side}, result,
                   points, look.scale, look.unit, look.reference)
            .draw();
        return PagePictures::Drawing{canvas.finish(), legend};
    };
    return {draw(PagePictures::wide_width), draw(PagePictures::narrow_width),
            page_distribution(look.cells, look.scale, result.tolerance.has_value(), look.unit)};
}

} // namespace velm::inspect
