// Bernstein polynomials of high degree, where neither their binomials nor their values are doubles.
#pragma once

#include <algorithm>
#include <cmath>
#include <limits>

namespace velm::detail {

/// The highest degree whose binomials leave a factor of 2^23 for the poles before their sum could
/// overflow: above it, weights are taken relative to the largest.
inline constexpr int highest_binomial_degree = 1000;

/// Calls visit(k, w) with weights that are proportional to the Bernstein polynomials of degree n at
/// t, from the largest, w = 1, outward at both sides, until they underflow: for t in [0, 1] that is
/// about 37 times the square root of n polynomials, of all n + 1. Returns the sum of the weights,
/// by which what they add up to is to be divided.
///
/// In [0, 1] each weight has a relative error of at most 4 u times its distance from the largest,
/// where u is the unit roundoff, as each step multiplies by a ratio of four roundings; the weights
/// that count lie within a few square roots of n. Outside [0, 1] they alternate in sign, and the
/// sums lose as many digits as the polynomial's own condition, (|t| + |1 - t|)^n, takes.
template <class Visit>
double visit_bernstein_weights(int n, double t, Visit visit) {
    constexpr double underflow = std::numeric_limits<double>::min();
    if (!std::isfinite(t)) return std::numeric_limits<double>::quiet_NaN();
    const double rest = 1.0 - t;
    const double place = std::fabs(t) / (std::fabs(t) + std::fabs(rest)) * (double(n) + 1.0);
    const int largest = std::min(static_cast<int>(place), n);
    double total = 1.0;
    visit(largest, 1.0);
    double weight = 1.0;
    for (int k = largest; k < n && std::fabs(weight) >= underflow; ++k) {
        weight *= t / rest * (double(n - k) / (k + 1));
        total += weight;
        visit(k + 1, weight);
    }
    weight = 1.0;
    for (int k = largest; k > 0 && std::fabs(weight) >= underflow; --k) {
        weight *= rest / t * (double(k) / (n - k + 1));
        total += weight;
        visit(k - 1, weight);
    }
    return total;
}

} // namespace velm::detail
