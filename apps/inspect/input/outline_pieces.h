// outline_pieces.h: outlines given as loose pieces: `is_piece`, `PieceReader`.
#pragma once

#include "inspect/input/outline_checks.h"
#include "inspect/input/outline_lines.h"
#include "inspect/input/piece_links.h"

#include <cstddef>
#include <vector>

namespace velm::inspect {

/// Whether the line is four numbers in form: x1 y1 x2 y2.
bool is_piece(const OutlineLine& line);

/// Links straight pieces, in any order and direction, to contours: two ends are joined if they are
/// closer than the tolerance, and one of them becomes the contour's vertex. The contour of the
/// largest area comes first.
class PieceReader {
public:
    PieceReader(const TextSource& source, double tolerance)
        : source_(source), tolerance_(tolerance), links_(source, tolerance) {}
    /// Throws `Failure` (input) with the line and what was expected.
    void take(const OutlineLine& line);
    /// The contours, if any, each with the first line of its pieces. Throws `Failure` (input), with
    /// the line and the place, about an end that meets no other one or several, or a piece shorter
    /// than the tolerance.
    std::vector<LocatedContour> finish();

private:
    const TextSource& source_;
    double tolerance_;
    PieceLinks links_;
};

/// Puts the contour of the largest area first; the others keep their order.
void put_largest_first(std::vector<LocatedContour>& contours);

} // namespace velm::inspect
