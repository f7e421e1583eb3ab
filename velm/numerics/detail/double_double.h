// velm::detail::DoubleDouble: numbers of about 106 bits as unevaluated sums of two doubles.
//
// Dekker, A floating-point technique for extending the available precision, 1971; Knuth, The Art of
// Computer Programming, volume 2, 4.2.2, for two_sum. Relative to the sum of the sizes of its
// operands a sum here is good to 2^-104, relative to its value a product or quotient to 2^-102.
// Products need sizes between 2^-900 and 2^960.
#pragma once

namespace velm::detail {

struct DoubleDouble {
    double hi = 0.0;
    double lo = 0.0;

    constexpr DoubleDouble() = default;
    constexpr DoubleDouble(double high, double low = 0.0) : hi(high), lo(low) {}
    constexpr double value() const { return hi + lo; }
};

/// a + b exactly.
inline DoubleDouble two_sum(double a, double b) {
    const double sum = a + b;
    const double of_b = sum - a;
    return {sum, (a - (sum - of_b)) + (b - of_b)};
}

/// a + b exactly, for |a| >= |b|.
inline DoubleDouble quick_two_sum(double a, double b) {
    const double sum = a + b;
    return {sum, b - (sum - a)};
}

/// a * b exactly, by Veltkamp's splitting, since a fused multiply-add can't be relied on.
inline DoubleDouble two_product(double a, double b) {
    constexpr double splitter = 0x1p27 + 1.0;
    const double product = a * b;
    const double a_scaled = splitter * a;
    const double a_hi = a_scaled - (a_scaled - a);
    const double a_lo = a - a_hi;
    const double b_scaled = splitter * b;
    const double b_hi = b_scaled - (b_scaled - b);
    const double b_lo = b - b_hi;
    return {product, ((a_hi * b_hi - product) + a_hi * b_lo + a_lo * b_hi) + a_lo * b_lo};
}

inline DoubleDouble operator+(DoubleDouble a, DoubleDouble b) {
    const DoubleDouble sum = two_sum(a.hi, b.hi);
    return quick_two_sum(sum.hi, sum.lo + (a.lo + b.lo));
}

/// a + b with an error relative to the sum itself, as differences that cancel need it.
inline DoubleDouble accurate_sum(DoubleDouble a, DoubleDouble b) {
    const DoubleDouble high = two_sum(a.hi, b.hi);
    const DoubleDouble low = two_sum(a.lo, b.lo);
    const DoubleDouble sum = two_sum(high.hi, high.lo + low.hi);
    return two_sum(sum.hi, sum.lo + low.lo);
}

inline DoubleDouble operator-(DoubleDouble a) { return {-a.hi, -a.lo}; }
inline DoubleDouble operator-(DoubleDouble a, DoubleDouble b) { return a + -b; }

inline DoubleDouble operator*(DoubleDouble a, DoubleDouble b) {
    const DoubleDouble product = two_product(a.hi, b.hi);
    return quick_two_sum(product.hi, product.lo + (a.hi * b.lo + a.lo * b.hi));
}

inline DoubleDouble operator*(DoubleDouble a, double b) {
    const DoubleDouble product = two_product(a.hi, b);
    return quick_two_sum(product.hi, product.lo + a.lo * b);
}

inline DoubleDouble operator/(DoubleDouble a, DoubleDouble b) {
    const double first = a.hi / b.hi;
    const DoubleDouble rest = a - b * first;
    return quick_two_sum(first, rest.hi / b.hi);
}

} // namespace velm::detail
