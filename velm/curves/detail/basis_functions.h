// B-spline basis functions on bare knots, by Cox and de Boor, laid out for small degrees.
//
// `at` points at knot s of a span knot s < knot s + 1 and is read from at[1 - p] to at[p]. An empty
// span divides 0 by 0.
#pragma once

#include "velm/curves/detail/knot_search.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <type_traits>
#include <vector>

namespace velm::detail {

/// Room for n plain values: on the stack up to `Inline`, else allocated. Not cleared.
template <class T, std::size_t Inline>
class WorkArray {
public:
    explicit WorkArray(std::size_t n) {
        if (n > Inline) beyond_.resize(n);
    }
    WorkArray(const WorkArray&) = delete;
    WorkArray& operator=(const WorkArray&) = delete;
    T* data() { return beyond_.empty() ? inline_ : beyond_.data(); }

private:
    T inline_[Inline];
    std::vector<T> beyond_;
};

/// A WorkArray of doubles for a degree that with_degree gives: where the compiler knows the degree
/// there is nothing but the array, so that it can be kept in registers. Sizes grow with the degree.
template <std::size_t N>
class FixedWork {
public:
    explicit FixedWork(std::size_t) {}
    double* data() { return values_; }

private:
    double values_[N];
};
template <class Degree, std::size_t Fixed, std::size_t Inline>
using DegreeWork =
    std::conditional_t<std::is_same_v<Degree, int>, WorkArray<double, Inline>, FixedWork<Fixed>>;

/// Calls f with the degree: as a std::integral_constant from 1 to 5, so that loops are laid out for
/// it, else as the int it is.
template <class F>
[[gnu::always_inline]] inline void with_degree(int p, F f) {
    switch (p) {
    case 1:
        return f(std::integral_constant<int, 1>{});
    case 2:
        return f(std::integral_constant<int, 2>{});
    case 3:
        return f(std::integral_constant<int, 3>{});
    case 4:
        return f(std::integral_constant<int, 4>{});
    case 5:
        return f(std::integral_constant<int, 5>{});
    default:
        return f(p);
    }
}

/// The p + 1 values at u into `out`; `work` has room for 2 p + 2 (The NURBS Book, A2.2).
template <class Degree>
[[gnu::always_inline]] inline void basis_values(const double* at, Degree p, double u, double* out,
                                                double* work) {
    double *left = work, *right = work + p + 1;
    out[0] = 1.0;
    for (int j = 1; j <= p; ++j) {
        left[j] = u - at[1 - j];
        right[j] = at[j] - u;
        double saved = 0.0;
        for (int r = 0; r < j; ++r) {
            const double temp = out[r] / (right[r + 1] + left[j - r]);
            out[r] = saved + right[r + 1] * temp;
            saved = left[j - r] * temp;
        }
        out[j] = saved;
    }
}

/// Doubles of work that basis_derivatives needs.
constexpr std::size_t derivative_work(int p, int order) {
    const auto size = static_cast<std::size_t>(p) + 1;
    const auto rows = static_cast<std::size_t>(std::min(order, p)) + 1;
    return size * (rows + 2) + 2 * rows;
}

/// The values and derivatives up to `order` into `out`, order + 1 rows of p + 1; rows beyond the
/// degree are 0 (The NURBS Book, A2.3, of whose table only what is read again is kept). `work` has
/// derivative_work(p, order) doubles.
template <class Degree, class Order>
[[gnu::always_inline]] inline void basis_derivatives(const double* at, Degree p, double u,
                                                     Order order, double* out, double* work) {
    const int size = p + 1, highest = std::min<int>(order, p);
    double *const left = work, *const right = left + size;
    // Row k holds the values of degree p - k.
    double* const lower = right + size;
    double* const factors = lower + size * (highest + 1);
    const auto difference = [left, right](int row, int column) {
        return right[column + 1] + left[row - column];
    };
    double* const value = lower;
    value[0] = 1.0;
    for (int j = 1; j <= p; ++j) {
        left[j] = u - at[1 - j];
        right[j] = at[j] - u;
        if (p - j < highest) std::copy_n(value, j, lower + (p - j + 1) * size);
        double saved = 0.0;
        for (int r = 0; r < j; ++r) {
            const double temp = value[r] / difference(j, r);
            value[r] = saved + right[r + 1] * temp;
            saved = left[j - r] * temp;
        }
        value[j] = saved;
    }
    std::copy_n(value, size, out);
    std::fill(out + size, out + (order + 1) * size, 0.0);
    for (int r = 0; r <= p; ++r) {
        double *before = factors, *now = factors + highest + 1;
        before[0] = 1.0;
        for (int k = 1; k <= highest; ++k) {
            const int rk = r - k, pk = p - k;
            const double* const n = lower + k * size;
            double sum = 0.0;
            if (rk >= 0) {
                now[0] = before[0] / difference(pk + 1, rk);
                sum = now[0] * n[rk];
            }
            const int first = rk >= -1 ? 1 : -rk, last = r - 1 <= pk ? k - 1 : p - r;
            for (int j = first; j <= last; ++j) {
                now[j] = (before[j] - before[j - 1]) / difference(pk + 1, rk + j);
                sum += now[j] * n[rk + j];
            }
            if (r <= pk) {
                now[k] = -before[k - 1] / difference(pk + 1, r);
                sum += now[k] * n[r];
            }
            out[k * size + r] = sum;
            std::swap(before, now);
        }
    }
    double factor = p;
    for (int k = 1; k <= highest; ++k) {
        for (int j = 0; j <= p; ++j)
            out[k * size + j] *= factor;
        factor *= p - k;
    }
}

/// The doubles of the poles `first`, ..., p + 1 of Width each, weighted by the basis values.
template <int Width, class Degree>
[[gnu::always_inline]] inline void weighted_sum(const double* first, Degree p, const double* basis,
                                                double* out) {
    std::array<double, std::size_t(Width)> sum{};
    for (int i = 0; i <= p; ++i)
        for (int c = 0; c < Width; ++c)
            sum[std::size_t(c)] += basis[i] * first[i * Width + c];
    std::copy(sum.begin(), sum.end(), out);
}

/// Doubles of work that spline_derivatives needs.
constexpr std::size_t spline_derivative_work(int p, int width) {
    const auto size = static_cast<std::size_t>(p) + 1;
    return size * (5 + static_cast<std::size_t>(width));
}

/// The sum of the poles weighted by the basis functions at u, and its first two derivatives: three
/// groups of Width. A derivative is the sum of differences of neighbouring poles over their knots,
/// weighted by the basis functions of a lower degree: what the derivatives of the basis functions
/// give, with fewer divisions. `first` is the p + 1 poles of the span.
template <int Width, class Degree>
[[gnu::always_inline]] inline void spline_derivatives(const double* at, const double* first,
                                                      Degree p, double u, double* out,
                                                      double* work) {
    const int size = p + 1;
    double *const left = work, *const right = left + size, *const value = right + size;
    double *const once_less = value + size, *const twice_less = once_less + size;
    double* const poles = twice_less + size;
    value[0] = 1.0;
    for (int j = 1; j <= p; ++j) {
        if (j == p - 1) std::copy_n(value, j, twice_less);
        if (j == p) std::copy_n(value, j, once_less);
        left[j] = u - at[1 - j];
        right[j] = at[j] - u;
        double saved = 0.0;
        for (int r = 0; r < j; ++r) {
            const double temp = value[r] / (right[r + 1] + left[j - r]);
            value[r] = saved + right[r + 1] * temp;
            saved = left[j - r] * temp;
        }
        value[j] = saved;
    }
    weighted_sum<Width>(first, p, value, out);
    std::fill_n(out + Width, 2 * Width, 0.0);
    const double* from = first;
    for (int k = 1; k <= 2 && k <= p; ++k) {
        const int lower = p - k;
        double sum[std::size_t(Width)] = {};
        const double* const basis = k == 1 ? once_less : twice_less;
        for (int r = 0; r <= lower; ++r) {
            const double factor = (lower + 1) / (at[r + 1] - at[r - lower]);
            for (int c = 0; c < Width; ++c) {
                const double d = (from[(r + 1) * Width + c] - from[r * Width + c]) * factor;
                poles[r * Width + c] = d;
                sum[c] += basis[r] * d;
            }
        }
        std::copy_n(sum, Width, out + k * Width);
        from = poles;
    }
}

/// Degrees whose work arrays are on the stack.
inline constexpr int stack_degree = 49;

} // namespace velm::detail
