// outline_pieces.h: outlines told as loose pieces: `is_piece`, `PieceReader`.
#pragma once

#include <cstddef>
#include <vector>

#include "inspect/contour.h"
#include "inspect/outline_lines.h"

namespace velm::inspect {

/// Whether the line is four numbers in form: x1 y1 x2 y2.
bool is_piece(const OutlineLine& line);

/// Links straight pieces, in any order and direction, to contours: two ends are joined where they
/// are nearer than the tolerance, and the contour takes one of them for its vertex. The contour of
/// the largest area is the outer one, the others are its holes.
class PieceReader {
public:
    PieceReader(const TextSource& source, double tolerance)
        : source_(source), tolerance_(tolerance) {}
    /// Throws `Failure` (input) with the line and what was expected.
    void take(const OutlineLine& line);
    /// The contours, of which there may be none. Throws `Failure` (input), with the line and the
    /// place, about an end that meets no other one or several, a piece shorter than the tolerance,
    /// and a contour that is no hole of the outer one.
    std::vector<Contour> finish();

private:
    struct Piece {
        ERPoint2D a, b;
        std::size_t line;
    };
    struct Ring {
        Contour contour;
        std::size_t line; // the first of its pieces
    };

    void require_pairs() const;
    [[noreturn]] void refuse_gap(const ERPoint2D& end, const Piece& piece) const;
    std::vector<Ring> link() const;
    void require_holes(const std::vector<Ring>& rings) const;

    const TextSource& source_;
    double tolerance_;
    std::vector<Piece> pieces_;
};

} // namespace velm::inspect
