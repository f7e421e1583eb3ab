// scale_bars.h: `draw_scale_bars`, the scales of a drawing and of its magnified deviations.
#pragma once

#include <string>
#include <string_view>

#include "inspect/picture/svg_canvas.h"

namespace velm::inspect {

/// How the bars stand: side by side, or one above the other where that is too wide.
enum class ScaleBars { beside, stacked };

/// Two bars of round lengths from `at` on, the middle of the first one's left end: one for lengths
/// of the part, `unit` picture units each, named `part`, and one for deviations.
void draw_scale_bars(SvgCanvas& canvas, CanvasPoint at, ScaleBars form, std::string_view part,
                     double unit, double magnification);

} // namespace velm::inspect
