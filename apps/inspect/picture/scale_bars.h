// scale_bars.h: `draw_scale_bars`, the scales of a drawing and of its magnified deviations.
#pragma once

#include "inspect/picture/svg_canvas.h"

#include <string>
#include <string_view>

namespace velm::inspect {

/// The layout of the bars: side by side, or one above the other if that is too wide.
enum class ScaleBars { beside, stacked };

/// Two bars of round lengths, starting at `at`, the middle of the first one's left end: one for
/// lengths of the part, `unit` picture units each, named `part`, and one for deviations.
void draw_scale_bars(SvgCanvas& canvas, CanvasPoint at, ScaleBars form, std::string_view part,
                     double unit, double magnification);

} // namespace velm::inspect
