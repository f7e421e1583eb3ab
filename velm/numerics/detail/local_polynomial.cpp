#include "velm/numerics/detail/local_polynomial.h"

#include <algorithm>
#include <cassert>
#include <cmath>
#include <utility>

namespace velm::detail {

double* Workspace::take(int n) {
    double* const taken = next_;
    next_ += n;
    assert(next_ <= end_);
    return taken;
}

LocalPolynomial LocalPolynomial::in(Workspace& workspace, int degree) {
    LocalPolynomial p;
    p.degree = degree;
    p.hi = workspace.take(degree + 1);
    p.lo = workspace.take(degree + 1);
    p.size = workspace.take(degree + 1);
    p.polar_hi = workspace.take(degree + 1);
    p.polar_lo = workspace.take(degree + 1);
    return p;
}

void LocalPolynomial::set(int i, DoubleDouble c) {
    hi[i] = c.hi;
    lo[i] = c.lo;
    size[i] = std::fabs(c.hi);
    has_polar = false;
}

void LocalPolynomial::derive() {
    for (int i = 1; i <= degree; ++i) {
        const DoubleDouble c = DoubleDouble(hi[i], lo[i]) * DoubleDouble(i);
        set(i - 1, c);
    }
    --degree;
}

void LocalPolynomial::need_polar() {
    if (has_polar) return;
    DoubleDouble binomial = 1.0;
    for (int i = 0; i <= degree; ++i) {
        const DoubleDouble c = DoubleDouble(hi[i], lo[i]) / binomial;
        polar_hi[i] = c.hi;
        polar_lo[i] = c.lo;
        binomial = binomial * double(degree - i) / DoubleDouble(i + 1);
    }
    has_polar = true;
}

QuickValue quick_value(const LocalPolynomial& p, double x) {
    double value = p.hi[p.degree];
    double slope = 0.0;
    double size = p.size[p.degree];
    for (int i = p.degree - 1; i >= 0; --i) {
        slope = slope * x + value;
        value = value * x + p.hi[i];
        size = size * x + p.size[i];
    }
    return {value, slope, size, 2 * (p.degree + 1) * unit_rounding * size};
}

SureValue sure_value(const LocalPolynomial& p, double x) {
    double value = p.hi[p.degree];
    double rest = p.lo[p.degree];
    double slope = 0.0;
    double size = p.size[p.degree];
    for (int i = p.degree - 1; i >= 0; --i) {
        slope = slope * x + value;
        const DoubleDouble product = two_product(value, x);
        const DoubleDouble sum = two_sum(product.hi, p.hi[i]);
        rest = rest * x + (product.lo + (sum.lo + p.lo[i]));
        value = sum.hi;
        size = size * x + p.size[i];
    }
    const double error = 4 * (p.degree + 1) * (p.degree + 1) * unit_rounding * unit_rounding * size;
    return {value + rest, slope, size, error};
}

double sure_slope(const LocalPolynomial& p, double x) {
    DoubleDouble value;
    DoubleDouble slope;
    for (int i = p.degree; i >= 0; --i) {
        slope = slope * x + value;
        value = value * x + DoubleDouble(p.hi[i], p.lo[i]);
    }
    return slope.hi;
}

namespace {

// Poles as plain doubles.
template <int Components>
struct Poles {
    using Number = double;
    double* values;

    void add(int i, int j) const {
        for (int c = 0; c < Components; ++c)
            at(i)[c] += at(j)[c];
    }
    void add_multiple(int i, int j, double factor) const {
        for (int c = 0; c < Components; ++c)
            at(i)[c] += at(j)[c] * factor;
    }
    void multiply(int i, double factor) const {
        for (int c = 0; c < Components; ++c)
            at(i)[c] *= factor;
    }
    void exchange(int i, int j) const { std::swap_ranges(at(i), at(i + 1), at(j)); }
    double* at(int i) const { return values + Components * i; }
};

// Numbers as sums of a high and a low part, the low one gathering the rounding of the high one's
// sums: it is small, but not always a rounding of the high part.
struct Pairs {
    using Number = DoubleDouble;
    double* hi;
    double* lo;

    void add(int i, int j) const {
        const DoubleDouble sum = two_sum(hi[i], hi[j]);
        hi[i] = sum.hi;
        lo[i] = (lo[i] + lo[j]) + sum.lo;
    }
    void add_multiple(int i, int j, double factor) const {
        const DoubleDouble product = two_product(hi[j], factor);
        const DoubleDouble sum = two_sum(hi[i], product.hi);
        hi[i] = sum.hi;
        lo[i] = (lo[i] + lo[j] * factor) + (sum.lo + product.lo);
    }
    void multiply(int i, Number factor) const {
        const Number product = quick_two_sum(hi[i], lo[i]) * factor;
        hi[i] = product.hi;
        lo[i] = product.lo;
    }
    void exchange(int i, int j) const {
        std::swap(hi[i], hi[j]);
        std::swap(lo[i], lo[j]);
    }
};

// p(lower + width t) in the Bernstein basis of t, in place, from p's coefficients divided by
// binomials: p's polar form at as many arguments lower and upper as it takes (Ramshaw, Blossoming,
// 1987). The loops are ordered so that no step waits for a sum just begun.
template <class Row>
void convert(Row b, int n, double lower, typename Row::Number width) {
    if (lower != 0.0)
        for (int k = 1; k <= n; ++k)
            for (int i = 0; i <= n - k; ++i)
                b.add_multiple(i, i + 1, lower);
    typename Row::Number power = 1.0;
    for (int i = 1; i <= n; ++i)
        b.multiply(i, power = power * width);
    // Coefficient j is the sum of binomial(j, i) b[i].
    for (int i = 0, j = n; i < j; ++i, --j)
        b.exchange(i, j);
    for (int k = 1; k <= n; ++k)
        for (int i = 0; i <= n - k; ++i)
            b.add(i, i + 1);
    for (int i = 0, j = n; i < j; ++i, --j)
        b.exchange(i, j);
}

// De Casteljau's scheme at 1/2: b becomes the right part.
template <int Components>
void halve(double* b, double* left, int n) {
    std::copy_n(b, Components, left);
    for (int k = 1; k <= n; ++k) {
        for (int i = 0; i < Components * (n - k + 1); ++i)
            b[i] = 0.5 * (b[i] + b[i + Components]);
        std::copy_n(b, Components, left + Components * k);
    }
}

// De Casteljau's scheme at t, s being 1 - t.
template <int Components>
void divide(double* b, double* left, int n, double t, double s) {
    std::copy_n(b, Components, left);
    for (int k = 1; k <= n; ++k) {
        for (int i = 0; i < Components * (n - k + 1); ++i)
            b[i] = s * b[i] + t * b[i + Components];
        std::copy_n(b, Components, left + Components * k);
    }
}

} // namespace

void to_bernstein(const LocalPolynomial& p, BernsteinPiece& piece) {
    const int n = p.degree;
    double binomial = 1.0;
    for (int i = 0; i <= n; ++i) {
        piece.poles[2 * i] = p.hi[i] / binomial;
        piece.poles[2 * i + 1] = p.size[i] / binomial;
        binomial = binomial * (n - i) / (i + 1);
    }
    convert(Poles<2>{piece.poles}, n, piece.lower, piece.upper - piece.lower);
    piece.components = 2;
    piece.error = (10 * n + 4) * unit_rounding;
    piece.base = 0.0;
    piece.fresh = false;
}

void to_bernstein_in_pairs(LocalPolynomial& p, BernsteinPiece& piece, double* scratch) {
    const int n = p.degree;
    const Pairs pairs{scratch, scratch + n + 1};
    p.need_polar();
    std::copy_n(p.polar_hi, n + 1, pairs.hi);
    std::copy_n(p.polar_lo, n + 1, pairs.lo);
    convert(pairs, n, piece.lower, two_sum(piece.upper, -piece.lower));
    for (int i = n; i >= 0; --i) { // downwards, because a pole may become longer
        const double size = piece.size(i);
        double* const pole = piece.poles + 3 * i;
        pole[0] = pairs.hi[i] + pairs.lo[i];
        pole[1] = size;
        pole[2] = std::fabs(pole[0]);
    }
    // Each of 2 n sums rounds a low part of up to 2 n units; the products in pairs add their own
    // rounding.
    piece.base = (6.0 * n * n + 64.0 * n + 64.0) * unit_rounding * unit_rounding;
    piece.components = 3;
    piece.error = unit_rounding;
    piece.fresh = true;
}

void cut(BernsteinPiece& piece, BernsteinPiece& left, double at, int degree) {
    const double width = piece.upper - piece.lower;
    const DoubleDouble sum = two_sum(piece.lower, piece.upper);
    const bool half = sum.hi * 0.5 == at;
    const double t = (at - piece.lower) / width;
    const double s = (piece.upper - at) / width;
    if (piece.components == 2)
        half ? halve<2>(piece.poles, left.poles, degree)
             : divide<2>(piece.poles, left.poles, degree, t, s);
    else
        half ? halve<3>(piece.poles, left.poles, degree)
             : divide<3>(piece.poles, left.poles, degree, t, s);
    piece.error += (half ? 1 : 4) * degree * unit_rounding;
    // The true cut is within a rounding of `at`. Its effect on p is bounded by the derivative of S
    // and, if p itself is the measure, by the differences of the poles.
    if (!half || sum.lo != 0.0)
        piece.error +=
            degree * unit_rounding * (piece.components == 2 ? 2.0 : 4.0 * piece.upper / width);
    piece.fresh = false;
    left = {piece.lower, at, piece.error, piece.base, left.poles, piece.components, false};
    piece.lower = at;
}

} // namespace velm::detail
