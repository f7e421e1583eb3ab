// page_pictures.h: `PagePictures`, the pictures of a report's page, and their common parts.
#pragma once

#include "inspect/picture/deviation_histogram.h"
#include "inspect/picture/deviation_scale.h"
#include "inspect/picture/section_panel.h"

#include <optional>
#include <string>
#include <vector>

namespace velm::inspect {

/// The markup of <svg> elements in the colours of the drawings, without a background. The drawing
/// is made twice, so that its texts are legible on a desk and on a phone: the page shows one of
/// them.
struct PagePictures {
    struct Drawing {
        std::string picture, legend;
    };
    /// A drawing that its reader turns, in place of the two: its element, what belongs to the
    /// page's style and script, elements of data that the script begins with, and further ones
    /// that it takes when the page is read.
    struct View {
        std::string markup, style, script, data, further_data;
    };
    Drawing wide, narrow;
    std::string distribution;
    View view{};

    /// The widths that the two drawings are made for, in picture units.
    static constexpr double wide_width = 900.0, narrow_width = 420.0;
};

/// What the parts of a picture share: the distribution of the deviations, and how one is coloured,
/// drawn and written.
struct PictureLook {
    std::vector<DeviationHistogram::Cell> cells;
    double reference; ///< see `reference_deviation`
    DeviationScale scale;
    DeviationUnit unit;

    PictureLook(std::vector<DeviationHistogram::Cell> distribution, double usual_large,
                const std::optional<Tolerance>& tolerance, int decimals);
};

/// The deviation for which a drawing chooses the length of its whiskers, a usual large one:
/// exceeded by two in a hundred, but at least the tolerance if that is of the same size.
double reference_deviation(const std::vector<DeviationHistogram::Cell>& cells,
                           const std::optional<Tolerance>& tolerance);

std::string page_distribution(const std::vector<DeviationHistogram::Cell>& cells,
                              const DeviationScale& scale, bool has_tolerance,
                              const DeviationUnit& unit);

std::string page_legend(const DeviationScale& scale, const LegendNotes& notes,
                        const DeviationUnit& unit);

} // namespace velm::inspect
