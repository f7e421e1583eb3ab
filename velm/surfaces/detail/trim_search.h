// velm::detail: the nearest point of a piece of a trim curve in space.
#pragma once

#include "velm/surfaces/detail/face_region.h"
#include "velm/surfaces/detail/leaf_search.h"
#include "velm/surfaces/detail/trim_pieces.h"

namespace velm::detail {

/// Looks at one piece; `number` is what `best().leaf` becomes, and s the place along the piece.
/// The squared distance is a polynomial of tau. Its quadratic part and the size of the others bound
/// it from below; where the second derivative shows it to be convex Newton's method finds its least
/// value; else the piece is halved. Where other loops cross it only places inside them count, for
/// the same reasons as on a leaf.
void search_piece(const LiftedPiece& piece, int number, const PreparedFace& face,
                  const FaceRegion& region, LeafSearch& search);

} // namespace velm::detail
