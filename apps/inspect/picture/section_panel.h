// section_panel.h: the parts beside the drawing of a section: figures, distribution, legend.
#pragma once

#include "inspect/picture/deviation_histogram.h"
#include "inspect/picture/deviation_scale.h"
#include "inspect/picture/report_head.h"
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

/// The title, the line below it, the verdict in a box, and the lines of the head. Returns the top
/// of what follows.
double draw_header(SvgCanvas& canvas, const ReportHead& head);

/// A heading over a rule, at the top of an area.
void draw_heading(SvgCanvas& canvas, const CanvasBox& area, const std::string& content);

void draw_figures(SvgCanvas& canvas, const CanvasBox& area, const std::vector<FigureLine>& figures);

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
