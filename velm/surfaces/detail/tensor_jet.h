// Points and derivatives of a tensor-product surface of homogeneous poles, from the basis functions
// of both directions. A derivative is the sum of differences of neighbouring poles, weighted by
// basis functions of a lower degree: it keeps its digits far from the origin.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <type_traits>

namespace velm::detail {

/// Four doubles of a pole in two registers.
struct HomogeneousPole {
    using Pair = double __attribute__((vector_size(16)));

    Pair xy, zw;

    [[gnu::always_inline]] static HomogeneousPole load(const double* from) {
        HomogeneousPole pole;
        std::memcpy(&pole, from, sizeof pole);
        return pole;
    }
    [[gnu::always_inline]] void store(double* to) const { std::memcpy(to, this, sizeof *this); }
    [[gnu::always_inline]] friend HomogeneousPole operator-(const HomogeneousPole& a,
                                                            const HomogeneousPole& b) {
        return {a.xy - b.xy, a.zw - b.zw};
    }
    [[gnu::always_inline]] friend HomogeneousPole operator*(const HomogeneousPole& a, double f) {
        return {a.xy * f, a.zw * f};
    }
    [[gnu::always_inline]] HomogeneousPole& operator+=(const HomogeneousPole& b) {
        xy += b.xy;
        zw += b.zw;
        return *this;
    }
};

/// The basis functions of one direction at a parameter, of degree p.
struct DirectionBasis {
    const double* value;         ///< p + 1
    const double* once_less;     ///< p, of degree p - 1
    const double* twice_less;    ///< p - 1, of degree p - 2
    const double* first_factor;  ///< p: of the differences of neighbouring poles
    const double* second_factor; ///< p - 1: of the differences of those
};

/// Doubles of memory that the arrays of a DirectionBasis need.
constexpr std::size_t basis_memory(int p) { return 5 * (static_cast<std::size_t>(p) + 1); }

/// What a value of one degree adds to two values of the next.
struct BasisShares {
    double here, next;
};

/// The basis functions of degree p in `memory`: shares(j, r, value) divides value r of degree j - 1
/// between values r and r + 1 of degree j; factor(j, r) is that of difference r of degree j.
template <class Degree, class Order, class Shares, class Factor>
[[gnu::always_inline]] inline DirectionBasis basis_from(Degree p, Order order, double* memory,
                                                        Shares shares, Factor factor) {
    double* const value = memory;
    double *const once_less = value + p + 1, *const twice_less = once_less + p + 1;
    double *const first_factor = twice_less + p + 1, *const second_factor = first_factor + p + 1;
    value[0] = 1.0;
    for (int j = 1; j <= p; ++j) {
        if (order > 1 && j == p - 1) std::copy_n(value, j, twice_less);
        if (order > 0 && j == p) std::copy_n(value, j, once_less);
        double saved = 0.0;
        for (int r = 0; r < j; ++r) {
            const BasisShares parts = shares(j, r, value[r]);
            value[r] = saved + parts.here;
            saved = parts.next;
        }
        value[j] = saved;
    }
    for (int r = 0; order > 0 && r < p; ++r)
        first_factor[r] = factor(p, r);
    for (int r = 0; order > 1 && r < p - 1; ++r)
        second_factor[r] = factor(p - 1, r);
    return {value, once_less, twice_less, first_factor, second_factor};
}

/// Calls f with the order, 0 to 2, as a constant.
template <class F>
[[gnu::always_inline]] inline void with_order(int order, F f) {
    if (order <= 0) return f(std::integral_constant<int, 0>{});
    if (order == 1) return f(std::integral_constant<int, 1>{});
    f(std::integral_constant<int, 2>{});
}

/// The sum, and its first and second derivative up to `order`, of p + 1 poles that `pole` gives.
template <class Degree, class Order, class Pole>
[[gnu::always_inline]] inline void sum_of_poles(const DirectionBasis& basis, Degree p, Order order,
                                                Pole pole, HomogeneousPole* out) {
    HomogeneousPole before = pole(0), sum = before * basis.value[0], slope{}, bend{},
                    difference_before{};
    for (int i = 1; i <= p; ++i) {
        const HomogeneousPole now = pole(i);
        sum += now * basis.value[i];
        if (order > 0) {
            const HomogeneousPole difference = (now - before) * basis.first_factor[i - 1];
            slope += difference * basis.once_less[i - 1];
            if (order > 1) {
                if (i > 1)
                    bend += (difference - difference_before) *
                            (basis.second_factor[i - 2] * basis.twice_less[i - 2]);
                difference_before = difference;
            }
            before = now;
        }
    }
    out[0] = sum;
    if (order > 0) out[1] = slope;
    if (order > 1) out[2] = bend;
}

/// The sums along V of each of `count` columns with its derivatives: order + 1 groups of `count`
/// poles into `sums`. `poles` is the first row that counts, `row_step` the doubles from row to row.
template <class DegreeV, class Order>
[[gnu::always_inline]] inline void sum_columns(const double* poles, std::ptrdiff_t row_step,
                                               int count, const DirectionBasis& v, DegreeV pv,
                                               Order order, double* sums) {
    for (int i = 0; i < count; ++i) {
        const double* const first = poles + 4 * i;
        HomogeneousPole column[3];
        sum_of_poles(
            v, pv, order, [=](int j) { return HomogeneousPole::load(first + j * row_step); },
            column);
        for (int k = 0; k <= order; ++k)
            column[k].store(sums + 4 * (k * count + i));
    }
}

/// The homogeneous point and derivatives up to `order`, S, Su, Sv, Suu, Suv, Svv, from the sums of
/// pu + 1 columns.
template <class DegreeU, class Order>
[[gnu::always_inline]] inline void jet_of_columns(const double* sums, const DirectionBasis& u,
                                                  DegreeU pu, Order order, double (*out)[4]) {
    const auto column = [=](int k, int i) {
        return HomogeneousPole::load(sums + 4 * (k * (pu + 1) + i));
    };
    HomogeneousPole found[3];
    sum_of_poles(
        u, pu, order, [&](int i) { return column(0, i); }, found);
    found[0].store(out[0]);
    if (order == 0) return;
    found[1].store(out[1]);
    if (order > 1) found[2].store(out[3]);
    if (order > 1) {
        sum_of_poles(
            u, pu, 1, [&](int i) { return column(1, i); }, found);
        found[0].store(out[2]);
        found[1].store(out[4]);
        sum_of_poles(
            u, pu, 0, [&](int i) { return column(2, i); }, found);
        found[0].store(out[5]);
    } else {
        sum_of_poles(
            u, pu, 0, [&](int i) { return column(1, i); }, found);
        found[0].store(out[2]);
    }
}

} // namespace velm::detail
