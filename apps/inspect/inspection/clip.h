// clip.h: polylines cut down to a region: `ClipOptions`, `clip`, `clip_polylines`.
#pragma once

#include "inspect/base/failure.h"
#include "inspect/base/output_paths.h"
#include "inspect/input/outline_reader.h"
#include "inspect/result/clip_result.h"

#include <optional>
#include <string>
#include <vector>

namespace velm::inspect {

struct ClipOptions {
    std::string region;
    std::string polyline;
    OutputPaths paths;
    OutlineForm form = OutlineForm::automatic;
    double chain_tolerance = default_chain_tolerance; ///< of loose pieces
    /// Of the chords of arcs and curves; without one `default_chord_part` of the region's diagonal.
    std::optional<double> chord_error;
};

inline constexpr double default_chord_part = 1e-6;

/// The pieces of the polylines in an area of the region; a polyline that passes from one area to
/// another is cut there. Arcs and curves are taken as chords within `chord_error` of them.
/// Coordinates are scaled by a power of two, which is exact, if the tolerances of a region would
/// not suit them. Nothing if a contour needs more than 2^24 chords.
std::optional<ClipResult> clip(const Outline& region, const std::vector<Polygon>& polylines,
                               double chord_error);

/// Reads both files, clips, and writes the pieces and the reports wanted; all outputs appear
/// together at the end or not at all. Throws `Failure`.
void clip_polylines(const ClipOptions& options);

} // namespace velm::inspect
