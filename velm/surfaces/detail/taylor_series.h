// velm::detail: Taylor coefficients of functions of one variable tau in [-1, 1], and bounds of
// them: arithmetic to a fixed order.
//
// Series has the coefficients about tau = 0. SeriesBound has in c[k] a bound of |f^(k)(tau)| / k!
// at every tau in [-1, 1]; a sum, product or quotient of functions has the one that the same
// formula gives with all signs positive, since Leibniz's rule holds at each place. So the remainder
// of a Taylor polynomial of order n is bounded by c[n + 1] of the bounds.
#pragma once

#include <algorithm>
#include <cmath>
#include <cstddef>

namespace velm::detail {

/// The degree of the polynomials that lifted curves become.
inline constexpr int series_degree = 9;

template <int Order, bool IsBound>
struct TaylorSeries {
    static constexpr int order = Order;
    int last = 0; ///< coefficients after this one are 0
    double c[static_cast<std::size_t>(Order + 1)] = {};

    TaylorSeries() = default;
    explicit TaylorSeries(double constant) { c[0] = IsBound ? std::fabs(constant) : constant; }

    TaylorSeries& operator+=(const TaylorSeries& other) {
        last = std::max(last, other.last);
        for (int k = 0; k <= other.last; ++k)
            c[k] += other.c[k];
        return *this;
    }
    TaylorSeries operator*(double factor) const {
        TaylorSeries result(*this);
        for (int k = 0; k <= last; ++k)
            result.c[k] *= IsBound ? std::fabs(factor) : factor;
        return result;
    }
    TaylorSeries operator*(const TaylorSeries& other) const {
        TaylorSeries result;
        result.last = std::min(Order, last + other.last);
        for (int i = 0; i <= last; ++i)
            for (int j = 0; j <= other.last && i + j <= Order; ++j)
                result.c[i + j] += c[i] * other.c[j];
        return result;
    }
    /// `least` is a lower bound of the size of the divisor everywhere; its c[0] of a series.
    TaylorSeries divided_by(const TaylorSeries& divisor, double least) const {
        if (divisor.last == 0) return *this * (1.0 / least);
        TaylorSeries result;
        result.last = Order;
        for (int k = 0; k <= Order; ++k) {
            double sum = 0.0;
            for (int i = 1; i <= std::min(k, divisor.last); ++i)
                sum += divisor.c[i] * result.c[k - i];
            result.c[k] = (IsBound ? c[k] + sum : c[k] - sum) / least;
        }
        return result;
    }
    /// The tangent of this angle; `start` is that of c[0], or a bound of its size. By T' = (1 +
    /// T^2) angle'.
    TaylorSeries tangent(double start) const {
        TaylorSeries result(start);
        if (last == 0) return result;
        result.last = Order;
        double squares[static_cast<std::size_t>(Order + 1)] = {1.0 + start * start}; // of 1 + T^2
        for (int k = 1; k <= Order; ++k) {
            double sum = 0.0;
            for (int i = 1; i <= std::min(k, last); ++i)
                sum += i * c[i] * squares[k - i];
            result.c[k] = sum / k;
            for (int i = 0; i <= k; ++i)
                squares[k] += result.c[i] * result.c[k - i];
        }
        return result;
    }
};

using Series = TaylorSeries<series_degree, false>;
using SeriesBound = TaylorSeries<series_degree + 1, true>;

} // namespace velm::detail
