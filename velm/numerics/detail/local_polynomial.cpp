#include "velm/numerics/detail/local_polynomial.h"

#include <algorithm>
#include <cassert>
#include <cmath>

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
    return p;
}

void LocalPolynomial::set(int i, DoubleDouble c) {
    hi[i] = c.hi;
    lo[i] = c.lo;
    size[i] = std::fabs(c.hi);
}

void LocalPolynomial::derive() {
    for (int i = 1; i <= degree; ++i) {
        const DoubleDouble c = DoubleDouble(hi[i], lo[i]) * DoubleDouble(i);
        set(i - 1, c);
    }
    --degree;
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
    return {value, slope, size, 2 * (p.degree + 1) * kUnit * size};
}

SureValue sure_value(const LocalPolynomial& p, double x) {
    double value = p.hi[p.degree];
    double rest = p.lo[p.degree];
    double size = p.size[p.degree];
    for (int i = p.degree - 1; i >= 0; --i) {
        const DoubleDouble product = two_product(value, x);
        const DoubleDouble sum = two_sum(product.hi, p.hi[i]);
        rest = rest * x + (product.lo + (sum.lo + p.lo[i]));
        value = sum.hi;
        size = size * x + p.size[i];
    }
    return {value + rest, size, 4 * (p.degree + 1) * (p.degree + 1) * kUnit * kUnit * size};
}

namespace {

/// Coefficients of plain doubles.
struct Doubles {
    using Number = double;
    double* values;
    Number operator[](int i) const { return values[i]; }
    void put(int i, Number x) const { values[i] = x; }
};

/// Coefficients of pairs, high and low halves apart.
struct Pairs {
    using Number = DoubleDouble;
    double* hi;
    double* lo;
    Number operator[](int i) const { return {hi[i], lo[i]}; }
    void put(int i, Number x) const {
        hi[i] = x.hi;
        lo[i] = x.lo;
    }
};

/// From the power basis, in place: p(lower + width t) in the Bernstein basis of t.
template <class Row>
void convert(Row b, int n, double lower, typename Row::Number width) {
    using Number = typename Row::Number;
    if (lower != 0.0)
        for (int k = 0; k < n; ++k)
            for (int i = n - 1; i >= k; --i)
                b.put(i, b[i] + b[i + 1] * Number(lower));
    Number factor = 1.0; // width^i / binomial(n, i)
    for (int i = 1; i <= n; ++i) {
        factor = factor * width * (Number(i) / Number(n + 1 - i));
        b.put(i, b[i] * factor);
    }
    // Coefficient j is the sum of binomial(j, i) b[i]. Backwards, so that no sum waits for another.
    for (int i = 0, j = n; i < j; ++i, --j) {
        const Number other = b[i];
        b.put(i, b[j]);
        b.put(j, other);
    }
    for (int k = 1; k <= n; ++k)
        for (int i = 0; i <= n - k; ++i)
            b.put(i, b[i] + b[i + 1]);
    for (int i = 0, j = n; i < j; ++i, --j) {
        const Number other = b[i];
        b.put(i, b[j]);
        b.put(j, other);
    }
}

/// De Casteljau's scheme at 1/2: b becomes the right part.
template <class Row>
void halve(Row b, Row left, int n) {
    left.put(0, b[0]);
    for (int k = 1; k <= n; ++k) {
        for (int i = 0; i <= n - k; ++i)
            b.put(i, scaled(b[i] + b[i + 1], 0.5));
        left.put(k, b[0]);
    }
}

/// De Casteljau's scheme at t, s being 1 - t.
template <class Row>
void divide(Row b, Row left, int n, typename Row::Number t, typename Row::Number s) {
    left.put(0, b[0]);
    for (int k = 1; k <= n; ++k) {
        for (int i = 0; i <= n - k; ++i)
            b.put(i, s * b[i] + t * b[i + 1]);
        left.put(k, b[0]);
    }
}

} // namespace

void to_bernstein(const LocalPolynomial& p, BernsteinPiece& piece) {
    const int n = p.degree;
    const double width = piece.upper - piece.lower;
    std::copy_n(p.hi, n + 1, piece.p);
    std::copy_n(p.size, n + 1, piece.size);
    convert(Doubles{piece.size}, n, piece.lower, width);
    if (piece.doubled) {
        std::copy_n(p.lo, n + 1, piece.rest);
        convert(Pairs{piece.p, piece.rest}, n, piece.lower, two_sum(piece.upper, -piece.lower));
    } else {
        convert(Doubles{piece.p}, n, piece.lower, width);
    }
    piece.error = (10 * n + 4) * (piece.doubled ? kDoubledUnit : kUnit);
}

void cut(BernsteinPiece& piece, BernsteinPiece& left, double at, int degree) {
    left = {piece.lower, at, 0.0, left.p, left.rest, left.size, piece.doubled};
    const DoubleDouble sum = two_sum(piece.lower, piece.upper);
    const bool half = sum.lo == 0.0 && sum.hi * 0.5 == at;
    const DoubleDouble width = two_sum(piece.upper, -piece.lower);
    const DoubleDouble t = two_sum(at, -piece.lower) / width;
    const DoubleDouble s = two_sum(piece.upper, -at) / width;
    if (half) {
        halve(Doubles{piece.size}, Doubles{left.size}, degree);
        if (piece.doubled)
            halve(Pairs{piece.p, piece.rest}, Pairs{left.p, left.rest}, degree);
        else
            halve(Doubles{piece.p}, Doubles{left.p}, degree);
    } else {
        divide(Doubles{piece.size}, Doubles{left.size}, degree, t.hi, s.hi);
        if (piece.doubled)
            divide(Pairs{piece.p, piece.rest}, Pairs{left.p, left.rest}, degree, t, s);
        else
            divide(Doubles{piece.p}, Doubles{left.p}, degree, t.hi, s.hi);
    }
    piece.error += (half ? 2 : 5) * degree * (piece.doubled ? kDoubledUnit : kUnit);
    left.error = piece.error;
    piece.lower = at;
}

} // namespace velm::detail
