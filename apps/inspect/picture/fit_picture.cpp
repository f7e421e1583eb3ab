#include "inspect/picture/fit_picture.h"

#include "inspect/base/number_text.h"
#include "inspect/base/text_escape.h"
#include "inspect/picture/deviation_histogram.h"
#include "inspect/picture/fit_drawing.h"
#include "inspect/picture/fit_lines.h"
#include "inspect/picture/palette.h"
#include "inspect/picture/section_panel.h"

#include <algorithm>
#include <cmath>

namespace velm::inspect {
namespace {

constexpr double border = palette::border, top = palette::below_header, left = palette::column_left;

// The range of the drawing: the largest residual, and the tolerance if it is of the same size.
double reach(const FitResult& result) {
    const RunningStatistics& deviations = result.summary.deviations;
    const double largest =
        std::max(std::fabs(deviations.minimum()), std::fabs(deviations.maximum()));
    if (!result.tolerance) return largest > 0.0 ? largest : 1e-9;
    const double limit =
        std::max(std::fabs(result.tolerance->lower), std::fabs(result.tolerance->upper));
    if (largest == 0.0) return limit > 0.0 ? limit : 1e-9;
    return 1.05 * std::clamp(limit, largest, 4.0 * largest);
}

std::string title_of(const FitResult& result) {
    return result.kind == FitKind::plane  ? "Flatness of a plane"
           : result.kind == FitKind::line ? "Straightness of a line"
                                          : "Roundness of a circle";
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

} // namespace

std::string fit_svg(const FitResult& result, const FitPoints& points, const std::string& path) {
    const double reference = reach(result);
    const DeviationScale scale(result.tolerance, reference);
    const DeviationUnit unit(
        std::max({std::fabs(scale.lower()), std::fabs(scale.upper()), reference}));
    DeviationHistogram histogram;
    for (const double residual : result.residuals)
        histogram.add(residual);

    const double wide = SvgCanvas::width - border - left;
    const double bottom = SvgCanvas::height - palette::foot;
    SvgCanvas canvas(title_of(result), "Residuals of " + path);
    draw_header(canvas, title_of(result), "least squares of " + shown_path(path), result.summary);
    FitDrawing(canvas, {border, top, left - border - palette::column_gap, bottom - top}, result,
               points, scale, unit, reference)
        .draw();
    draw_figures(canvas, {left, top, wide, 236.0}, result.summary, unit);
    draw_heading(canvas, {left, 342.0, wide, 20.0}, "Fitted");
    double y = 380.0;
    for (const auto& [name, value] : entity_lines(result, fit_decimals(result))) {
        canvas.text({left, y}, name, palette::text_size, SvgCanvas::Anchor::start,
                    svg_fill(palette::soft));
        canvas.text({left + 74.0, y}, value, palette::text_size);
        y += palette::row_step;
    }
    draw_histogram(canvas, {left, 506.0, wide, 126.0}, histogram.cells(), scale,
                   result.tolerance.has_value(), unit);
    draw_legend(canvas, {left, 644.0, wide, bottom - 644.0}, scale, notes_of(result), unit);
    return canvas.finish();
}

} // namespace velm::inspect
