#include "inspect/input/piece_links.h"

#include "inspect/base/number_text.h"
#include "velm/frame/point_functions.h"
#include "velm/planar/chainer_processor.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <map>
#include <string>
#include <utility>

namespace velm::inspect {
namespace {

std::string place_text(const ERPoint2D& p) { return shortest(p.x()) + " " + shortest(p.y()); }

class LoosePiece : public ERChainerSeg2D {
public:
    LoosePiece(const ERPoint2D& from, const ERPoint2D& to, std::size_t of_piece)
        : piece(of_piece), a(from), b(to) {}
    ERPoint2D getExt1() const override { return a; }
    ERPoint2D getExt2() const override { return b; }
    ERVector2D getTan1() const override { return ERVector2D(a, b); }
    ERVector2D getTan2() const override { return ERVector2D(a, b); }
    ERObject* getCopy() const override { return new LoosePiece(*this); }
    bool is_reversed() const { return reversed != 0; }

    const std::size_t piece;

private:
    ERPoint2D a, b;
};

} // namespace

void PieceLinks::refuse_gap(const ERPoint2D& end, const Piece& piece) const {
    double nearest = std::numeric_limits<double>::infinity();
    std::string where;
    for (const Piece& other : pieces_) {
        for (const ERPoint2D& p : {other.a, other.b}) {
            const double gap = distance(p, end);
            if (&other == &piece || gap >= nearest) continue;
            nearest = gap;
            where = "; the nearest one, " + place_text(p) + " of line " +
                    std::to_string(other.line) + ", is " + shortest(gap) + " away";
        }
    }
    source_.refuse_at(piece.line, "the contour is open: no other end meets that at " +
                                      place_text(end) + " within " + shortest(tolerance_) + where);
}

// Every end must meet exactly one other: only then are the contours the same in every order.
void PieceLinks::require_pairs() const {
    const double size = 4.0 * tolerance_; // of a cell: near points span two per axis at most
    using Cell = std::pair<double, double>;
    std::map<Cell, std::vector<std::pair<ERPoint2D, const Piece*>>> cells;
    const auto cell_of = [size](double x, double y) {
        return Cell(std::floor(x / size), std::floor(y / size));
    };
    for (const Piece& piece : pieces_)
        for (const ERPoint2D& end : {piece.a, piece.b})
            cells[cell_of(end.x(), end.y())].emplace_back(end, &piece);

    const auto others_at = [&](const ERPoint2D& end, const Piece& piece) {
        std::vector<const Piece*> met;
        std::vector<Cell> seen;
        for (const double x : {end.x() - tolerance_, end.x() + tolerance_}) {
            for (const double y : {end.y() - tolerance_, end.y() + tolerance_}) {
                const Cell cell = cell_of(x, y);
                if (std::find(seen.begin(), seen.end(), cell) != seen.end()) continue;
                seen.push_back(cell);
                const auto found = cells.find(cell);
                if (found == cells.end()) continue;
                for (const auto& [other, of] : found->second)
                    if (of != &piece && distance2(other, end) < tolerance_ * tolerance_)
                        met.push_back(of);
            }
        }
        return met;
    };
    for (const Piece& piece : pieces_) {
        for (const ERPoint2D& end : {piece.a, piece.b}) {
            const std::vector<const Piece*> met = others_at(end, piece);
            if (met.empty()) refuse_gap(end, piece);
            if (met.size() > 1)
                source_.refuse_at(piece.line,
                                  "the contours are ambiguous: " + std::to_string(met.size() + 1) +
                                      " ends meet at " + place_text(end) +
                                      ", among them that of line " + std::to_string(met[0]->line));
        }
    }
}

// Pieces are linked at their first ends only if a squared distance exceeds a length; scaling by a
// power of two, which is exact, ensures that for all ends farther apart than the tolerance.
std::vector<PieceLinks::Ring> PieceLinks::rings() const {
    require_pairs();
    double whole = 0.0;
    for (const Piece& piece : pieces_)
        whole += distance(piece.a, piece.b);
    const double wanted = 4.0 * whole / (tolerance_ * tolerance_);
    const double scale = std::ldexp(1.0, std::clamp(std::ilogb(wanted), -1, 299) + 1);

    ERChainerProcessor processor(tolerance_ * scale);
    for (std::size_t i = 0; i < pieces_.size(); ++i)
        processor.insert(t_SmartPtr<ERChainerSeg2D>(
            new LoosePiece(pieces_[i].a * scale, pieces_[i].b * scale, i)));
    struct Gathered {
        Ring ring;
        double gap = 0.0;
    };
    std::vector<Gathered> gathered;
    processor.applyOnMChain(
        [](ERChainedMetaSeg2D* chain, void* to) {
            auto& all = *static_cast<std::vector<Gathered>*>(to);
            all.emplace_back();
            all.back().gap = distance(chain->first(), chain->last());
            chain->applyOnSegment(
                [](ERChainerSeg2D* segment, void* into) {
                    const auto& piece = *static_cast<LoosePiece*>(segment);
                    static_cast<Ring*>(into)->push_back(
                        {piece.piece, piece.is_reversed(), segment->first()});
                },
                &all.back().ring);
        },
        &gathered);
    std::vector<Ring> rings;
    for (Gathered& found : gathered) {
        if (!(found.gap < tolerance_ * scale))
            source_.refuse_at(first_line(found.ring),
                              "the piece can't be linked to a closed contour");
        for (Link& link : found.ring)
            link.from /= scale;
        rings.push_back(std::move(found.ring));
    }
    return rings;
}

std::size_t PieceLinks::first_line(const Ring& ring) const {
    std::size_t line = std::numeric_limits<std::size_t>::max();
    for (const Link& link : ring)
        line = std::min(line, pieces_[link.piece].line);
    return line;
}

} // namespace velm::inspect
