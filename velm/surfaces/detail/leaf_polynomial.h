// velm::detail: polynomials of two variables s, t in [-1, 1] in the power form, as the leaves of a
// surface have them: values with derivatives, parts, products, and what the terms show of bounds.
//
// A grid of coefficients has a row for each power of t, with those of s in ascending order; four
// doubles a coefficient (weighted coordinates and weight), or one.
#pragma once

#include "velm/curves/detail/basis_functions.h"
#include "velm/surfaces/detail/tensor_jet.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <type_traits>
#include <utility>

namespace velm::detail {

/// A point of four doubles with its derivatives X, Xs, Xt, Xss, Xst, Xtt.
struct LeafJet {
    alignas(16) double x[6][4];
};

/// Calls f with count - 1 down to 0: of a small count that the compiler knows as constants, laid
/// out one after the other, which compilers don't do with loops in loops.
template <class Count, class F>
[[gnu::always_inline]] inline void count_down(Count count, F f) {
    if constexpr (std::is_same_v<Count, int>) {
        for (int i = count - 1; i >= 0; --i)
            f(i);
    } else if constexpr (constexpr int most = 6; Count::value > most) {
        for (int i = Count::value - 1; i >= 0; --i)
            f(i);
    } else {
        [&]<int... k>(std::integer_sequence<int, k...>) __attribute__((always_inline)) {
            (f(std::integral_constant<int, Count::value - 1 - k>{}), ...);
        }
        (std::make_integer_sequence<int, Count::value>{});
    }
}
template <class Degree>
constexpr auto one_more(Degree p) {
    if constexpr (std::is_same_v<Degree, int>) {
        return p + 1;
    } else {
        return std::integral_constant<int, Degree::value + 1>{};
    }
}

/// By Horner's scheme. Terms of a leaf fall off with the degree, so that nothing cancels.
template <class DegreeU, class DegreeV>
[[gnu::always_inline]] inline void power_jet(const double* coefs, DegreeU p, DegreeV q, double s,
                                             double t, LeafJet& jet) {
    using Pole = HomogeneousPole;
    Pole value{}, by_s{}, by_ss{}, by_t{}, by_st{}, by_tt{};
    // One step of Horner's scheme; the first `zeros` steps find a sum of 0.
    const auto add = [](Pole & sum, double x, const Pole& next, int step, int zeros)
        __attribute__((always_inline)) {
        if (step < zeros) return;
        if (step > zeros) sum = sum * x;
        sum = step > zeros ? (sum += next) : next;
    };
    count_down(
        one_more(q), [&](int j) __attribute__((always_inline)) {
            const double* const row = coefs + 4 * j * (p + 1);
            Pole f = Pole::load(row + 4 * p), fs{}, fss{};
            count_down(
                p, [&](int i) __attribute__((always_inline)) {
                    const int step = p - 1 - i;
                    add(fss, s, fs, step, 1);
                    add(fs, s, f, step, 0);
                    f = f * s;
                    f += Pole::load(row + 4 * i);
                });
            const int step = q - j;
            add(by_tt, t, by_t, step, 2);
            add(by_t, t, value, step, 1);
            add(value, t, f, step, 0);
            add(by_st, t, by_s, step, 1);
            add(by_s, t, fs, step, 0);
            add(by_ss, t, fss, step, 0);
        });
    value.store(jet.x[0]);
    by_s.store(jet.x[1]);
    by_t.store(jet.x[2]);
    (by_ss * 2.0).store(jet.x[3]);
    by_st.store(jet.x[4]);
    (by_tt * 2.0).store(jet.x[5]);
}

/// Calls f(p, q) with constants in the usual cases.
template <class F>
[[gnu::always_inline]] inline void with_leaf_degrees(int p, int q, F f) {
    if (p != q) return f(p, q);
    using Moved = std::integral_constant<int, 9>; // the degree of OffsetFit
    if (p == Moved::value) return f(Moved{}, Moved{});
    with_degree(p, [&](auto degree) { f(degree, degree); });
}

/// The jet of a grid of any degrees.
void power_jet_at(const double* coefs, int p, int q, double s, double t, LeafJet& jet);

/// The coefficients over the part with the middle (s, t) and these half widths, into `out`.
void power_part(const double* coefs, int p, int q, const double* middle, const double* half,
                double* out);

/// The sum over the components of `sign` times the product of two grids of the same degrees: (2 p +
/// 1)(2 q + 1) coefficients of one double.
void power_product(const double* a, const double* b, int p, int q, const double* sign, double* out);

/// The quadratic part of a polynomial about the middle: c + g . x + x . H x / 2, and bounds over
/// [-1, 1]^2: `rest` of the size of the other terms, `turn` of how much their second derivatives
/// ss, st, tt differ between two places.
struct QuadraticPart {
    double c, g[2], h[3];
    double rest;
    double turn[3];
    double fold[2]; ///< the other terms are within fold[0] s^2 + fold[1] t^2 as well

    QuadraticPart() = default;
    QuadraticPart(const double* coefs, int p, int q);
};

/// The least value of g . x + x . H x / 2 for low <= x <= high, and its place. H is positive
/// definite.
double least_of_convex(const double* g, const double* h, const double* low, const double* high,
                       double* x);
/// The same for any H.
double least_of_quadratic(const double* g, const double* h, const double* low, const double* high,
                          double* x);

/// A lower bound of a polynomial for low <= x <= high within [-1, 1]^2, and the place where its
/// quadratic part is least.
double lower_bound_of(const QuadraticPart& part, const double* low, const double* high, double* x);

} // namespace velm::detail
