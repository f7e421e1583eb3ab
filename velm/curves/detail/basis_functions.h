// B-spline basis functions on bare knots, by Cox and de Boor, laid out for small degrees.
//
// `at` points at knot s of a span knot s < knot s + 1 and is read from at[1 - p] to at[p]. An empty
// span divides 0 by 0.
#pragma once

#include "velm/curves/detail/knot_search.h"
#include "velm/curves/detail/pole_lanes.h"
#include "velm/numerics/detail/small_size.h"

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

/// Calls f with the degree: as a std::integral_constant from 1 to 5, else as the int it is.
template <class F>
[[gnu::always_inline]] inline auto with_degree(int p, F f) {
    return with_constant<1, 5>(p, f);
}

/// The p + 1 values at u into `value` (The NURBS Book, A2.2), divided two at a time; keep(j) is
/// called when the first j hold the functions of degree j - 1, j from 1 to p. `work` has room for 2
/// p + 2: u - at[1 - j] at j, at[j] - u at p + 1 + j.
template <class Degree, class Keep>
[[gnu::always_inline]] inline void basis_triangle(const double* at, Degree p, double u,
                                                  double* value, double* work, Keep keep) {
    double *const left = work, *const right = work + p + 1;
    value[0] = 1.0;
    for (int j = 1; j <= p; ++j) {
        keep(j);
        left[j] = u - at[1 - j];
        right[j] = at[j] - u;
        double saved = 0.0;
        const auto divisor = [&](int r) { return right[r + 1] + left[j - r]; };
        const auto spread = [&](int r, double part) {
            value[r] = saved + right[r + 1] * part;
            saved = left[j - r] * part;
        };
        int r = 0;
        for (; r + 1 < j; r += 2) {
            const DoublePair parts =
                DoublePair{value[r], value[r + 1]} / DoublePair{divisor(r), divisor(r + 1)};
            spread(r, parts[0]);
            spread(r + 1, parts[1]);
        }
        if (r < j) spread(r, value[r] / divisor(r));
        value[j] = saved;
    }
}

/// The values alone.
template <class Degree>
[[gnu::always_inline]] inline void basis_values(const double* at, Degree p, double u, double* out,
                                                double* work) {
    basis_triangle(at, p, u, out, work, [](int) {});
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
    basis_triangle(at, p, u, value, left, [&](int j) {
        if (p - j < highest) std::copy_n(value, j, lower + (p - j + 1) * size);
    });
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

/// The poles from `first` on, p + 1 of Width doubles each, weighted by the basis values.
template <int Width, class Degree>
[[gnu::always_inline]] inline PoleLanes<Width> weighted_sum(const double* first, Degree p,
                                                            const double* basis) {
    PoleLanes<Width> sum;
    for (int i = 0; i <= p; ++i)
        sum = sum + PoleLanes<Width>::load(first + i * Width) * basis[i];
    return sum;
}

/// q over the q knot differences that belong to poles of degree q.
template <class Degree>
[[gnu::always_inline]] inline void difference_factors(const double* at, Degree q, double* out) {
    const auto difference = [&](int r) { return at[r + 1] - at[r + 1 - q]; };
    int r = 0;
    for (; r + 1 < q; r += 2) {
        const DoublePair factors = double(q) / DoublePair{difference(r), difference(r + 1)};
        out[r] = factors[0];
        out[r + 1] = factors[1];
    }
    if (r < q) out[r] = q / difference(r);
}

/// Doubles of work that spline_derivatives needs.
constexpr std::size_t spline_derivative_work(int p) {
    return 7 * (static_cast<std::size_t>(p) + 1);
}

/// A point of a spline with its first two derivatives, homogeneous.
template <int Width>
struct SplineDerivatives {
    PoleLanes<Width> point, first, second;
};

/// At u. A derivative is the sum of differences of neighbouring poles over their knots, weighted by
/// the basis functions of a lower degree: what the derivatives of the basis functions give, with
/// fewer divisions. `poles` is the p + 1 poles of the span.
template <int Width, class Degree>
[[gnu::always_inline]] inline SplineDerivatives<Width>
spline_derivatives(const double* at, const double* poles, Degree p, double u, double* work) {
    using Row = PoleLanes<Width>;
    const int size = p + 1;
    double *const value = work, *const once_less = value + size;
    double *const twice_less = once_less + size, *const factor = twice_less + size;
    double* const next_factor = factor + size;
    basis_triangle(at, p, u, value, next_factor + size, [&](int j) {
        if (j == p - 1) std::copy_n(value, j, twice_less);
        if (j == p) std::copy_n(value, j, once_less);
    });
    difference_factors(at, p, factor);
    difference_factors(at, p - 1, next_factor);

    SplineDerivatives<Width> result;
    Row pole = Row::load(poles), before;
    result.point = result.point + pole * value[0];
    for (int r = 0; r < p; ++r) {
        const Row next = Row::load(poles + (r + 1) * Width);
        const Row difference = (next - pole) * factor[r];
        result.point = result.point + next * value[r + 1];
        result.first = result.first + difference * once_less[r];
        if (r > 0)
            result.second =
                result.second + (difference - before) * next_factor[r - 1] * twice_less[r - 1];
        pole = next;
        before = difference;
    }
    return result;
}

/// Degrees whose work arrays are on the stack.
inline constexpr int stack_degree = 49;

} // namespace velm::detail
