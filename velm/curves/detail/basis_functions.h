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
constexpr std::size_t derivative_work(int p) {
    const auto n = static_cast<std::size_t>(p) + 1;
    return n * n + 4 * n;
}

/// The values and derivatives up to `order` into `out`, order + 1 rows of p + 1; rows beyond the
/// degree are 0 (The NURBS Book, A2.3). `work` has derivative_work(p) doubles.
template <class Degree>
[[gnu::always_inline]] inline void basis_derivatives(const double* at, Degree p, double u,
                                                     int order, double* out, double* work) {
    const int size = p + 1;
    // Above the diagonal and on it basis values by degree, below it knot differences.
    double* const table = work;
    const auto entry = [table, size](int row, int column) -> double& {
        return table[row * size + column];
    };
    double *const left = work + size * size, *const right = left + size;
    entry(0, 0) = 1.0;
    for (int j = 1; j <= p; ++j) {
        left[j] = u - at[1 - j];
        right[j] = at[j] - u;
        double saved = 0.0;
        for (int r = 0; r < j; ++r) {
            entry(j, r) = right[r + 1] + left[j - r];
            const double temp = entry(r, j - 1) / entry(j, r);
            entry(r, j) = saved + right[r + 1] * temp;
            saved = left[j - r] * temp;
        }
        entry(j, j) = saved;
    }
    for (int j = 0; j <= p; ++j)
        out[j] = entry(j, p);
    std::fill(out + size, out + (order + 1) * size, 0.0);
    const int highest = std::min<int>(order, p);
    for (int r = 0; r <= p; ++r) {
        double *before = right + size, *now = before + size;
        before[0] = 1.0;
        for (int k = 1; k <= highest; ++k) {
            const int rk = r - k, pk = p - k;
            double sum = 0.0;
            if (rk >= 0) {
                now[0] = before[0] / entry(pk + 1, rk);
                sum = now[0] * entry(rk, pk);
            }
            const int first = rk >= -1 ? 1 : -rk, last = r - 1 <= pk ? k - 1 : p - r;
            for (int j = first; j <= last; ++j) {
                now[j] = (before[j] - before[j - 1]) / entry(pk + 1, rk + j);
                sum += now[j] * entry(rk + j, pk);
            }
            if (r <= pk) {
                now[k] = -before[k - 1] / entry(pk + 1, r);
                sum += now[k] * entry(r, pk);
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

/// Degrees whose work arrays are on the stack.
inline constexpr int stack_degree = 49;

} // namespace velm::detail
