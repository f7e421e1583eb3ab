// velm::detail::counted_knots: distinct knots with the numbers of their copies.
#pragma once

#include "velm/curves/knot_vector.h"

#include <vector>

namespace velm::detail {

struct CountedKnot {
    double knot;
    int copies;
};

/// In order.
inline std::vector<CountedKnot> counted_knots(const ERKnotVector& knots) {
    std::vector<CountedKnot> counted;
    for (const double knot : knots.getVec().view()) {
        if (counted.empty() || counted.back().knot != knot) counted.push_back({knot, 0});
        ++counted.back().copies;
    }
    return counted;
}

} // namespace velm::detail
