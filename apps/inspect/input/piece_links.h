// piece_links.h: loose pieces in any order and direction, linked by their ends: `PieceLinks`.
#pragma once

#include "inspect/input/text_source.h"
#include "velm/frame/point.h"

#include <cstddef>
#include <vector>

namespace velm::inspect {

/// Links pieces to closed rings: two ends are joined if they are closer than the tolerance.
///
///     PieceLinks links(source, 0.001);
///     links.add({0, 0}, {40, 0}, 12);              // from line 12 of the file
///     for (const PieceLinks::Ring& ring : links.rings())
///         for (const PieceLinks::Link& link : ring) draw(link.piece, link.reversed);
class PieceLinks {
public:
    PieceLinks(const TextSource& source, double tolerance)
        : source_(source), tolerance_(tolerance) {}

    /// The distance of its ends is at least the tolerance. Pieces are numbered from 0.
    void add(const ERPoint2D& a, const ERPoint2D& b, std::size_t line) {
        pieces_.push_back({a, b, line});
    }
    std::size_t size() const { return pieces_.size(); }

    /// A piece of a ring; reversed: from its b to its a.
    struct Link {
        std::size_t piece;
        bool reversed;
        ERPoint2D from; ///< its start in the ring
    };
    using Ring = std::vector<Link>;
    /// Throws `Failure` (input), with the line and the place, about an end that meets no other one
    /// or several.
    std::vector<Ring> rings() const;
    std::size_t first_line(const Ring& ring) const;

private:
    struct Piece {
        ERPoint2D a, b;
        std::size_t line;
    };
    void require_pairs() const;
    [[noreturn]] void refuse_gap(const ERPoint2D& end, const Piece& piece) const;

    const TextSource& source_;
    double tolerance_;
    std::vector<Piece> pieces_;
};

} // namespace velm::inspect
