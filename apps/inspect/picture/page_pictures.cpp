#include "inspect/picture/page_pictures.h"

#include "inspect/picture/svg_canvas.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace velm::inspect {
namespace {

constexpr double width = 300.0;

} // namespace

PictureLook::PictureLook(std::vector<DeviationHistogram::Cell> distribution, double usual_large,
                         const std::optional<Tolerance>& tolerance, int decimals)
    : cells(std::move(distribution)), reference(usual_large), scale(tolerance, reference),
      unit(std::max({std::fabs(scale.lower()), std::fabs(scale.upper()), reference}), decimals) {}

double reference_deviation(const std::vector<DeviationHistogram::Cell>& cells,
                           const std::optional<Tolerance>& tolerance) {
    double usual = std::max(std::fabs(DeviationHistogram::quantile(cells, 0.01)),
                            std::fabs(DeviationHistogram::quantile(cells, 0.99)));
    if (usual == 0.0) // all except a few are perfect
        usual = std::max(std::fabs(cells.front().value), std::fabs(cells.back().value));
    if (!tolerance) return usual;
    const double limit = std::max(std::fabs(tolerance->lower), std::fabs(tolerance->upper));
    return usual > 0.0 ? std::clamp(limit, usual, 3.0 * usual) : limit;
}

std::string page_distribution(const std::vector<DeviationHistogram::Cell>& cells,
                              const DeviationScale& scale, bool has_tolerance,
                              const DeviationUnit& unit) {
    constexpr double height = 190.0, side = 24.0; // room for the numbers at the ends of the axis
    SvgCanvas canvas("Distribution of the deviations", width, height);
    draw_histogram(canvas, {side, 0.0, width - 2.0 * side, height}, cells, scale, has_tolerance,
                   unit);
    return canvas.finish();
}

std::string page_legend(const DeviationScale& scale, const LegendNotes& notes,
                        const DeviationUnit& unit) {
    const double height = legend_height(notes);
    SvgCanvas canvas("Colours and signs of the drawing", width, height);
    draw_legend(canvas, {8.0, 0.0, width - 16.0, height}, scale, notes, unit);
    return canvas.finish();
}

} // namespace velm::inspect
