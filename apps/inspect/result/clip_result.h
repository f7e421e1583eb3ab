// clip_result.h: the pieces of clipped polylines: `ClipPiece`, `ClipResult`.
#pragma once

#include <string>
#include <vector>

#include "velm/planar/contour.h"

namespace velm::inspect {

/// A part of a polyline that lies in the region, borders included.
struct ClipPiece {
    int polyline; ///< from 0, in the order of the file
    Polygon points;
    double length;
};

/// What was clipped, and the pieces.
struct ClipResult {
    std::string region, polyline;  ///< names of the files
    int polylines = 0;             ///< in the file
    std::vector<ClipPiece> pieces; ///< polyline by polyline, each along its way
    double length_inside = 0.0;
    double length = 0.0; ///< of all polylines
};

} // namespace velm::inspect
