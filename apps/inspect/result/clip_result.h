// clip_result.h: the pieces of clipped polylines: `ClipResult`.
#pragma once

#include <vector>

#include "velm/inspection/clip_result.h"

namespace velm::inspect {

/// What was clipped, and the pieces.
struct ClipResult {
    ClipHead head;
    std::vector<ClipPiece> pieces; ///< polyline by polyline, each along its way
    ClipFigures figures;
};

} // namespace velm::inspect
