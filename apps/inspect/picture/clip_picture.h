// clip_picture.h: the picture of clipped polylines: `clip_picture`.
#pragma once

#include <string>

#include "inspect/input/outline_reader.h"
#include "inspect/input/polyline_reader.h"
#include "inspect/result/clip_result.h"

namespace velm::inspect {

/// An SVG page to scale: the region, the polylines as thin lines, the pieces in it as bold ones
/// with dots at their ends.
std::string clip_picture(const NominalOutline& region, const Polylines& polylines,
                         const ClipResult& result);

} // namespace velm::inspect
