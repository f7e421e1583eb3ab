// velm::detail: loops of a trim that cross the seams of a closed surface, as loops within its
// limits.
#pragma once

#include "velm/surfaces/detail/trim_rings.h"

#include <optional>
#include <vector>

namespace velm::detail {

/// A closed loop; the face is inside of it, or outside of a hole.
struct SeamLoop {
    std::vector<TrimPiece> pieces;
    bool hole = false;
};

/// What a loop that crosses a seam, or is whole rounds beyond the limits, bounds within them: it is
/// cut at the seams and closed along them. More than one part of an outer loop becomes the holes
/// that it leaves of the limits. Nothing for other loops.
std::optional<std::vector<SeamLoop>> loops_across_seams(std::vector<TrimPiece> pieces, bool hole,
                                                        const SurfaceSeams& seams);

/// The same of rings: two bound what is between them; one what is to its left, up to the limits. On
/// a surface that is closed in both directions two bound what is to the left of the first. Empty
/// for more rings, for rings in different directions, and for one ring of a surface that is closed
/// in both directions.
std::vector<SeamLoop> loops_of_rings(std::vector<TrimRing> rings, const SurfaceSeams& seams);

} // namespace velm::detail
