// velm::detail::SplineTrim: splines cut or continued to other ends, for all poles that share a knot
// vector: those of a curve, or the rows or the columns of a grid.
#pragma once

#include "velm/curves/detail/knot_search.h"
#include "velm/curves/detail/spline_rows.h"
#include "velm/curves/knot_vector.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <span>
#include <utility>

namespace velm::detail {

/// How often t is a knot. REQUIRES a knot.
inline int copies_of(const ERKnotVector& knots, double t) {
    const KnotRun run = run_at_or_below(view_of(knots), t);
    return knots[run.index] == t ? run.multiplicity : 0;
}

/// Points a and b lie in the domain where they are cut, outside it where they are continued to.
/// `Poles` gives
///     bool insert(ERKnotVector& knots, double t, int r): inserts t into poles and knots;
///     void keep(int first, int count): drops the other poles;
///     void for_windows(int first, int count, f): f(PoleRow) for those poles of each row.
template <class Poles>
class SplineTrim {
public:
    SplineTrim(Poles poles, ERKnotVector& knots)
        : poles_(poles), knots_(knots), degree_(knots.degree()) {}

    void cut_before(double a) {
        poles_.insert(knots_, a, degree_ + 1 - copies_of(knots_, a));
        const KnotRun run = run_at_or_below(view_of(knots_), a);
        const int first = std::max(run.index + run.multiplicity - degree_ - 1, 0);
        poles_.keep(first, view_of(knots_).poles() - first);
        knots_ = knots_.subVector(first, knots_.length() - first);
    }
    void cut_after(double b) {
        poles_.insert(knots_, b, degree_ + 1 - copies_of(knots_, b));
        const int count = run_at_or_below(view_of(knots_), b).index;
        poles_.keep(0, count);
        knots_ = knots_.subVector(0, count + degree_ + 1);
    }

    void move_start(double a) {
        const KnotView k = view_of(knots_);
        if (is_end(a, k.low())) {
            shift_end(k.low(), a);
        } else if (a > k.low()) {
            cut_before(a);
        } else {
            const int idle = find_span(k, k.low()) - degree_; // poles without a part in the span
            poles_.keep(idle, k.poles() - idle);
            ERVec<double> moved = knots_.getVec();
            moved.remove(0, idle);
            continue_rows(0, moved.data(),
                          [a](double* own, PoleRow row) { continue_start(own, a, row); });
            knots_ = ERKnotVector(degree_, moved);
        }
    }
    void move_end(double b) {
        const KnotView k = view_of(knots_);
        if (is_end(b, k.high())) {
            shift_end(k.high(), b);
        } else if (b < k.high()) {
            cut_after(b);
        } else {
            const int n = find_span(k, k.high()) + 1;
            poles_.keep(0, n);
            ERVec<double> moved = knots_.getVec();
            moved.resize(n + degree_ + 1);
            continue_rows(n - degree_ - 1, moved.data() + n,
                          [b](double* own, PoleRow row) { continue_end(own, b, row); });
            knots_ = ERKnotVector(degree_, moved);
        }
    }

    /// Moves the ends of `trim` that are not those of `natural`, the domain so far. REQUIRES an
    /// extent of both.
    void move_ends(const ERLimites& natural, const ERLimites& trim) {
        // What is to be cut must be there.
        const bool end_first = trim.start() >= view_of(knots_).high();
        if (end_first) move_end(trim.end());
        if (trim.start() != natural.start()) move_start(trim.start());
        if (trim.end() != natural.end() && !end_first) move_end(trim.end());
    }

    /// Makes the ends of the domain, knot p and knot n, those of the knots.
    void clamp() {
        const KnotView k = view_of(knots_);
        const double low = k.low(), high = k.high();
        if (knots_.first() != low) cut_before(low);
        if (knots_.last() != high) cut_after(high);
    }

private:
    /// Whether t is an end of the domain except for rounding: cutting there would leave a sliver,
    /// and continuing multiplies rounding by powers of the distance in spans.
    bool is_end(double t, double end) const {
        constexpr double roundings = 4.0 * std::numeric_limits<double>::epsilon();
        const KnotView k = view_of(knots_);
        return std::fabs(t - end) <= roundings * std::max(std::fabs(k.low()), std::fabs(k.high()));
    }
    /// The copies of the knot `end` become t; knots that this passes go along.
    void shift_end(double end, double t) {
        double* const k = &knots_[0];
        for (int i = 0; i < knots_.length(); ++i) {
            const bool passed = (end < k[i] && k[i] < t) || (t < k[i] && k[i] < end);
            if (k[i] == end || passed) k[i] = t;
        }
    }
    /// Continues the poles from `first` on in each row. `next(knots, row)` replaces degree + 1
    /// knots from `knots` on; each row needs them as they were.
    template <class F>
    void continue_rows(int first, double* knots, F next) {
        const ERVec<double> own(std::span<const double>(knots, std::size_t(degree_) + 1));
        poles_.for_windows(first, degree_ + 1, [&](PoleRow row) {
            std::copy_n(std::as_const(own).data(), own.size(), knots);
            next(knots, row);
        });
    }

    Poles poles_;
    ERKnotVector& knots_;
    int degree_;
};

} // namespace velm::detail
