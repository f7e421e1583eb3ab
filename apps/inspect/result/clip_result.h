// clip_result.h: the pieces of clipped polylines: `ClipResult`.
#pragma once

#include "velm/inspection/clip_result.h"

#include <vector>

namespace velm::inspect {

/// The files, the pieces and the figures of a clipping.
struct ClipResult {
    ClipHead head;
    std::vector<ClipPiece> pieces; ///< in the order of the polylines, and along each
    ClipFigures figures;
};

} // namespace velm::inspect
