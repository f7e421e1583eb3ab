// surface_raster.h: `draw_still`, a still picture of an inspected part.
#pragma once

#include "inspect/picture/deviation_scale.h"
#include "inspect/picture/png_image.h"
#include "inspect/picture/surface_coloring.h"

#include <array>
#include <span>
#include <string_view>

namespace velm::inspect {

/// A direction to look at the part from: what is to the right and what is up in the picture.
struct StillView {
    std::string_view name;
    std::array<float, 3> right, up;
};

/// From the front (along y), the right, the back, the left, the top (against z) and the bottom.
std::span<const StillView, 6> standard_views();

/// How lengths and deviations are drawn.
struct StillScale {
    double pixels_of_unit = 1.0;  ///< of the part
    double magnification = 1.0;   ///< of the deviations
    double border = 0.0;          ///< around the part, in its units
    bool shows_whiskers = true;   ///< of all points, else of those out of tolerance
    bool is_judged = false;       ///< else the outermost colours are no fault
    double longest_whisker = 0.0; ///< a deviation's as drawn, in units of the part
};

/// The class of a point's colour, beyond a limit if and only if the point is out of tolerance.
int color_of(const ViewPoint& point, const DeviationScale& colors);

/// The part in parallel projection: surfaces in the colour of the deviation, striped where it is
/// out of tolerance, the ends of faces as lines, each point on top of its whisker. A triangle with
/// its tip upwards is a point above its upper limit, one with its tip downwards below the lower;
/// only an outline of it is drawn if the part hides it.
IndexedImage draw_still(const ColoredMesh& mesh, std::span<const ViewPoint> points,
                        const StillView& view, const StillScale& scale,
                        const DeviationScale& colors);

} // namespace velm::inspect
