// What random tests of curves and surfaces are made of: knots, and curves prepared from rows of
// poles.
#pragma once

#include "support/test.h"
#include "velm/curves/prepared_curve.h"

namespace velm_test {

/// Knots for n poles between 0 and 1, of every multiplicity; clamped or with knots beyond the ends.
inline std::vector<double> random_knots(Random& random, int p, int n, bool clamped) {
    std::vector<double> inner, knots(std::size_t(p) + 1, 0.0), high(knots.size(), 1.0);
    while (static_cast<int>(inner.size()) < n - p - 1)
        inner.insert(inner.end(), std::size_t(1 + random.below(std::max(p, 1))),
                     random.uniform(0.01, 0.99));
    inner.resize(std::size_t(n - p - 1));
    std::sort(inner.begin(), inner.end());
    for (std::size_t i = 1; i < high.size() && !clamped; ++i) {
        knots[i] = knots[i - 1] - random.uniform(0, 0.3);
        high[i] = high[i - 1] + random.below(2) * random.uniform(0, 0.3);
    }
    std::reverse(knots.begin(), knots.end());
    knots.insert(knots.end(), inner.begin(), inner.end());
    knots.insert(knots.end(), high.begin(), high.end());
    return knots;
}

/// A curve whose i-th piece has the weighted poles of the i-th row, from i to i + 1.
template <int N>
std::optional<velm::PreparedCurve<N>> prepared_rows(const std::vector<std::vector<double>>& rows) {
    std::vector<velm::BezierPiece> pieces;
    for (const std::vector<double>& row : rows)
        pieces.push_back({row, double(pieces.size()), double(pieces.size() + 1)});
    return velm::PreparedCurve<N>::from_pieces(pieces);
}

} // namespace velm_test
