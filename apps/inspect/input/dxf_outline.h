// dxf_outline.h: the contours of a drawing: `contours_of_drawing`, `notes_about_drawing`.
#pragma once

#include "inspect/input/dxf_drawing.h"
#include "inspect/input/outline_checks.h"

#include <string>
#include <vector>

namespace velm::inspect {

/// Links the pieces of a drawing to contours, joining two ends that are closer than the tolerance;
/// closed pieces are contours of their own, and pieces that are not closed but have ends closer
/// than the tolerance are refused. Arcs of circles stay arcs; elliptical arcs and splines become
/// NURBS edges, exactly, cut at their kinks. The contour of the largest area comes first.
///
/// Throws `Failure` (input), with the line and the place, about an end that meets no other one or
/// several, or a drawing without pieces.
std::vector<LocatedContour> contours_of_drawing(const TextSource& source, const Drawing& drawing,
                                                double tolerance);

/// One sentence each: the unit and its conversion, the entities left out.
std::vector<std::string> notes_about_drawing(const Drawing& drawing);

} // namespace velm::inspect
