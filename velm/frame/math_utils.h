// gmMathUtils: tests of a double; equalityTolerance: the distance up to which two places count as
// equal.
#pragma once

#include "velm/export.h"

#include <limits>

/// The distance up to which the library takes two coordinates as equal, in model units.
VELM_API extern const double equalityTolerance; // 1e-11

/// Tests of a double by comparison alone, so that they hold for signalling values too.
class VELM_API gmMathUtils {
public:
    static constexpr int is_nan(double x) { return x != x ? 1 : 0; }
    /// 1 for both infinities and for a NaN too: part of the contract.
    static constexpr int is_inf(double x) { return is_valid(x) == 0 ? 1 : 0; }
    /// 1 for a finite number.
    static constexpr int is_valid(double x) { return x >= -largest && x <= largest ? 1 : 0; }

private:
    gmMathUtils() = default;

    static constexpr double largest = std::numeric_limits<double>::max();
};
