// clip_picture.h: the picture of clipped polylines: `clip_picture`.
#pragma once

#include "inspect/input/outline_reader.h"
#include "inspect/input/polyline_reader.h"
#include "inspect/result/clip_result.h"

#include <string>

namespace velm::inspect {

/// An SVG page to scale: the region, the polylines as thin lines, the pieces in it as bold ones
/// with dots at the ends.
std::string clip_picture(const NominalOutline& region, const Polylines& polylines,
                         const ClipResult& result);

} // namespace velm::inspect
