// velm::detail::Interval: arithmetic of closed intervals, for bounds of functions over boxes.
//
// Results hold every value that the operation takes on the operands, except for rounding: nothing
// is rounded outward, so that a caller adds some roundings of the terms' sizes where they count.
#pragma once

#include <algorithm>
#include <cmath>
#include <limits>

namespace velm::detail {

struct Interval {
    double lower = 0.0, upper = 0.0;

    constexpr Interval() = default;
    constexpr Interval(double value) : lower(value), upper(value) {}
    constexpr Interval(double low, double high) : lower(low), upper(high) {}

    /// The largest absolute value.
    double size() const { return std::max(-lower, upper); }
    void include(const Interval& other) {
        lower = std::min(lower, other.lower);
        upper = std::max(upper, other.upper);
    }

    friend Interval operator+(const Interval& a, const Interval& b) {
        return {a.lower + b.lower, a.upper + b.upper};
    }
    friend Interval operator-(const Interval& a, const Interval& b) {
        return {a.lower - b.upper, a.upper - b.lower};
    }
    friend Interval operator*(const Interval& a, const Interval& b) {
        const double p = a.lower * b.lower, q = a.lower * b.upper, r = a.upper * b.lower,
                     s = a.upper * b.upper;
        return {std::min({p, q, r, s}), std::max({p, q, r, s})};
    }
};

/// Not the product of two independent values: never below 0.
inline Interval square(const Interval& a) {
    const double p = a.lower * a.lower, q = a.upper * a.upper;
    return {a.lower <= 0.0 && a.upper >= 0.0 ? 0.0 : std::min(p, q), std::max(p, q)};
}
inline double square(double a) { return a * a; }

/// Infinite on both sides unless all of it is positive.
inline Interval inverse_of_positive(const Interval& a) {
    constexpr double infinite = std::numeric_limits<double>::infinity();
    if (!(a.lower > 0.0)) return {-infinite, infinite};
    return {1.0 / a.upper, 1.0 / a.lower};
}
inline double inverse_of_positive(double a) { return 1.0 / a; }

inline Interval root(const Interval& a) {
    return {std::sqrt(std::max(0.0, a.lower)), std::sqrt(std::max(0.0, a.upper))};
}
inline double root(double a) { return std::sqrt(a); }

} // namespace velm::detail
