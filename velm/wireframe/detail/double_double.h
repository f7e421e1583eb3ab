// velm::detail::DoubleDouble: an unevaluated sum of two doubles, about 106 bits, for residuals that
// cancel.
#pragma once

namespace velm::detail {

/// high + low with |low| at most half a unit in the last place of high. The products are exact
/// while nothing overflows or underflows: operands between 1e-140 and 1e140.
struct DoubleDouble {
    double high = 0.0;
    double low = 0.0;

    constexpr operator double() const { return high + low; }
};

/// The exact sum (Knuth, The Art of Computer Programming 2, 4.2.2).
constexpr DoubleDouble exact_sum(double a, double b) {
    const double sum = a + b;
    const double part = sum - a;
    return {sum, (a - (sum - part)) + (b - part)};
}

/// The exact product (Veltkamp's splitting, Dekker 1971).
constexpr DoubleDouble exact_product(double a, double b) {
    constexpr double splitter = 134217729.0; // 2^27 + 1
    const double ca = splitter * a, cb = splitter * b;
    const double a1 = ca - (ca - a), b1 = cb - (cb - b);
    const double a2 = a - a1, b2 = b - b1;
    const double product = a * b;
    return {product, ((a1 * b1 - product) + a1 * b2 + a2 * b1) + a2 * b2};
}

constexpr DoubleDouble operator+(const DoubleDouble& a, const DoubleDouble& b) {
    const DoubleDouble high = exact_sum(a.high, b.high);
    const DoubleDouble low = exact_sum(a.low, b.low);
    const DoubleDouble sum = exact_sum(high.high, high.low + low.high);
    return exact_sum(sum.high, sum.low + low.low);
}

constexpr DoubleDouble operator-(const DoubleDouble& a) { return {-a.high, -a.low}; }
constexpr DoubleDouble operator-(const DoubleDouble& a, const DoubleDouble& b) { return a + -b; }

constexpr DoubleDouble operator*(const DoubleDouble& a, const DoubleDouble& b) {
    const DoubleDouble product = exact_product(a.high, b.high);
    return exact_sum(product.high, product.low + (a.high * b.low + a.low * b.high));
}

} // namespace velm::detail
