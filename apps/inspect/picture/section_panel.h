// section_panel.h: the parts beside the drawing of a section: figures, distribution, legend.
#pragma once

#include "inspect/picture/deviation_histogram.h"
#include "inspect/picture/deviation_scale.h"
#include "inspect/picture/svg_canvas.h"

#include <cstdint>
#include <string>
#include <vector>

namespace velm::inspect {

struct LegendNotes {
    std::uint64_t above = 0, below = 0; ///< points beyond the limits
    int cut_whiskers = 0;
    bool has_tolerance = false;
    bool shows_band = false;
    bool shows_envelope = false;
    std::string outwards = "outwards: material in excess"; ///< of the drawn offsets; empty for none
};

/// The title, the line below it, and the verdict in a box.
void draw_header(SvgCanvas& canvas, const std::string& title, const std::string& below,
                 const Summary& summary);

/// The end of a long path, which says more than its beginning.
std::string shown_path(const std::string& path);

/// A heading over a rule, at the top of an area.
void draw_heading(SvgCanvas& canvas, const CanvasBox& area, const std::string& content);

void draw_figures(SvgCanvas& canvas, const CanvasBox& area, const Summary& summary,
                  const DeviationUnit& unit);

/// The data for the legend.
double legend_height(const LegendNotes& notes);

/// The scale of colours with its limits, and the meaning of the signs in the drawing.
void draw_legend(SvgCanvas& canvas, const CanvasBox& area, const DeviationScale& scale,
                 const LegendNotes& notes, const DeviationUnit& unit);

/// Bars in the colours of the scale, the limits as lines. Values that are more than one and a half
/// widths of the middle 99 in 100 outside of it are counted in the end bars.
void draw_histogram(SvgCanvas& canvas, const CanvasBox& area,
                    const std::vector<DeviationHistogram::Cell>& cells, const DeviationScale& scale,
                    bool has_tolerance, const DeviationUnit& unit);

} // namespace velm::inspect
