// Knots as a bare array: spans, runs of equal knots, the places of insertion.
//
// A KnotView is `count` knots in order with a degree p, for count - p - 1 poles. Nothing is
// checked beyond what each function says; out of order, results are wrong but stay in range.
#pragma once

#include "velm/curves/knot_vector.h"
#include "velm/export.h"

#include <algorithm>
#include <cstddef>

namespace velm::detail {

struct KnotView {
    const double* knots;
    int count;
    int degree;

    double operator[](int i) const { return knots[i]; }
    int poles() const { return count - degree - 1; }
    /// The ends of the domain.
    double low() const { return knots[degree]; }
    double high() const { return knots[count - degree - 1]; }
    /// Whether there are as many knots as one span needs.
    bool has_span() const { return degree >= 0 && degree < count / 2; }
    /// Whether t lies in the domain; false for a NaN.
    bool covers(double t) const { return t >= low() && t <= high(); }
};

inline KnotView view_of(const ERKnotVector& knots) {
    return {knots.data(), knots.length(), knots.degree()};
}

/// The index s with knot s <= u < knot s + 1, p <= s < count - p - 1; ERKnotVector::FindSpan says
/// which at the ends. REQUIRES has_span().
inline int find_span(const KnotView& knots, double u) {
    const int p = knots.degree, end = knots.count - p - 1;
    if (knots[p] >= u) {
        int i = p;
        while (i < end - 1 && knots[i + 1] == knots[p])
            ++i;
        return i;
    }
    if (!(u < knots[end])) {
        int i = end - 1;
        while (i > p && knots[i] == knots[end])
            --i;
        return i;
    }
    // Bisection without a branch on u (at random parameters every second one would be guessed
    // wrong) down to a few knots, which are counted: none of these comparisons waits for another.
    constexpr int counted = 8;
    const double* base = knots.knots + p;
    int length = end - p;
    while (length > counted) {
        const int half = length / 2;
        const std::ptrdiff_t step = base[half] <= u ? half : 0;
        base += step;
        length -= half;
    }
    std::ptrdiff_t below = 0;
    for (int i = 1; i < length; ++i)
        below += base[i] <= u ? 1 : 0;
    base += below;
    return static_cast<int>(base - knots.knots);
}

/// One past the last of the knots equal to the one at i, from there on.
inline int run_end(const KnotView& knots, int i) {
    int end = i + 1;
    while (end < knots.count && knots[end] == knots[i])
        ++end;
    return end;
}

/// A run of equal knots.
struct KnotRun {
    int index; // of the first
    int multiplicity;
};

/// The run of the last distinct knot at or below x, the first one if there is none. REQUIRES a
/// knot.
inline KnotRun run_at_or_below(const KnotView& knots, double x) {
    const double *begin = knots.knots, *end = begin + knots.count;
    if (!(*begin < x)) return {0, run_end(knots, 0)};
    const double last = *(std::upper_bound(begin, end, x) - 1);
    const int first = static_cast<int>(std::lower_bound(begin, end, last) - begin);
    return {first, run_end(knots, first) - first};
}

/// Where a knot goes in; see PrepareBoehm.
struct InsertionPlace {
    KnotRun low;  // low.multiplicity is 0 where the knot lies between two
    KnotRun high; // the next distinct knot, or the low one again
    int last;     // the last copy of the low knot
};

/// REQUIRES a knot.
VELM_API InsertionPlace insertion_place(const KnotView& knots, double t);

} // namespace velm::detail
