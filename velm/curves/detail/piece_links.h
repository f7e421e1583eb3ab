// velm::detail::PiecePart: parts of a curve's pieces: which of them share a place, and places
// counted in pieces along the curve.
#pragma once

#include "velm/curves/detail/prepared_pieces.h"

#include <algorithm>
#include <cmath>

namespace velm::detail {

/// A part of a piece.
struct PiecePart {
    int piece = 0;
    double from = 0.0, to = 1.0;
};

/// Whether two parts share a place, or come as near as `slack`, and by how many turns the second
/// one's curve is further: `turn` is added to its count of pieces.
template <int N>
bool touches(const PreparedPieces<N>& curve, const PiecePart& i, const PiecePart& k, double slack,
             int& turn) {
    turn = 0;
    if (i.piece == k.piece && k.from <= i.to + slack && i.from <= k.to + slack) return true;
    const int count = curve.count();
    const auto follows = [&](const PiecePart& first, const PiecePart& second) {
        const bool seam = first.piece == count - 1 && second.piece == 0 && curve.closed;
        if (second.piece != first.piece + 1 && !seam) return false;
        if (curve[second.piece].joint == Joint::gap) return false;
        return first.to >= 1.0 - slack && second.from <= slack;
    };
    if (follows(i, k)) {
        turn = k.piece < i.piece || (k.piece == i.piece && count == 1) ? 1 : 0;
        return true;
    }
    if (follows(k, i)) {
        turn = i.piece < k.piece || (k.piece == i.piece && count == 1) ? -1 : 0;
        return true;
    }
    return false;
}

/// The place `along` pieces from the start of the curve; a closed one goes on at its seam, others
/// stay at their end.
template <int N>
CurvePlace place_along(const PreparedPieces<N>& curve, double along) {
    const int count = curve.count();
    if (curve.closed) along -= count * std::floor(along / count);
    const int piece = std::clamp(static_cast<int>(std::floor(along)), 0, count - 1);
    return curve.place(piece, std::clamp(along - piece, 0.0, 1.0));
}

/// The parameters from `low` to `high`, which count pieces; of a closed curve the end lies below
/// the start where its seam is between.
template <int N>
ERLimites parameters_along(const PreparedPieces<N>& curve, double low, double high) {
    if (curve.closed && high - low >= curve.count()) return {curve.ends.front(), curve.ends.back()};
    const double start = place_along(curve, low).t;
    double end = place_along(curve, high).t;
    // The seam is the start of what follows and the end of what comes before.
    if (curve.closed && end == curve.ends.front()) end = curve.ends.back();
    return {start, end};
}

} // namespace velm::detail
