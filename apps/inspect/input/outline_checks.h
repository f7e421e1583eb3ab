// outline_checks.h: requirements on the contours of a nominal file: `require_area`,
// `require_areas`.
#pragma once

#include "inspect/input/text_source.h"
#include "velm/planar/outline_checks.h"

#include <cstddef>
#include <vector>

namespace velm::inspect {

/// Throws `Failure` (input), naming the line where the contour starts, unless it encloses an area:
/// three different vertices at least that are not all on one line, or arcs that don't just lead
/// back the same way; within what a double can hold.
void require_area(const TextSource& source, std::size_t line, const Contour& contour);

/// A contour and the line where it starts.
struct LocatedContour {
    Contour contour;
    std::size_t line;
};

/// Makes an outline of contours and finds its areas. Throws `Failure` (input), naming both lines
/// and the place, if two contours cross or coincide, or one crosses itself.
void require_areas(const TextSource& source, std::vector<LocatedContour> contours,
                   Outline& outline);

} // namespace velm::inspect
