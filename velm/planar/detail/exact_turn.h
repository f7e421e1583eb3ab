// velm::detail::exact_turn: the side of a line on which a point is, exactly.
#pragma once

#include "velm/frame/point.h"

#include <cmath>

namespace velm::detail {

/// The sign of a x b + b x c + c x a by exact arithmetic.
int turn_by_expansion(const ERPoint2D& a, const ERPoint2D& b, const ERPoint2D& c);

/// 1 if a, b, c turn to the left, -1 if to the right, 0 if they are on a line. Exact for products
/// that neither overflow nor underflow (Shewchuk, Adaptive precision floating-point arithmetic and
/// fast robust geometric predicates, 1997).
inline int exact_turn(const ERPoint2D& a, const ERPoint2D& b, const ERPoint2D& c) {
    // The rounded cross product of the differences is off by less than this fraction of the sum of
    // its products' sizes (ccwerrboundA there; epsilon is 2^-53).
    constexpr double epsilon = 0x1p-53;
    constexpr double error = (3.0 + 16.0 * epsilon) * epsilon;
    const double left = (a.x() - c.x()) * (b.y() - c.y());
    const double right = (a.y() - c.y()) * (b.x() - c.x());
    const double cross = left - right;
    if (std::fabs(cross) > error * (std::fabs(left) + std::fabs(right)))
        return cross > 0.0 ? 1 : -1;
    return turn_by_expansion(a, b, c);
}

} // namespace velm::detail
