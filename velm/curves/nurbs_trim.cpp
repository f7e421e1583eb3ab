// NURBS curves cut or continued to other ends.
#include "velm/curves/detail/knot_search.h"
#include "velm/curves/detail/pole_arrays.h"
#include "velm/curves/detail/spline_rows.h"
#include "velm/curves/knot.h"
#include "velm/curves/nurbs_curve.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace velm::detail {

namespace {

/// How often t is a knot. REQUIRES a knot.
int copies_of(const ERKnotVector& knots, double t) {
    const KnotRun run = run_at_or_below(view_of(knots), t);
    return knots[run.index] == t ? run.multiplicity : 0;
}

/// The poles and knots of a curve, to be cut and continued. Points a and b lie in the domain where
/// they are cut, outside it where they are continued to.
template <class Pole>
class Spline {
public:
    Spline(ERVec<Pole>& poles, ERKnotVector& knots)
        : poles_(poles), knots_(knots), degree_(knots.degree()) {}

    void cut_before(double a) {
        insert_knot(poles_, knots_, degree_, a, degree_ + 1 - copies_of(knots_, a));
        const KnotRun run = run_at_or_below(view_of(knots_), a);
        const int first = std::max(run.index + run.multiplicity - degree_ - 1, 0);
        poles_.remove(0, first);
        knots_ = knots_.subVector(first, knots_.length() - first);
    }
    void cut_after(double b) {
        insert_knot(poles_, knots_, degree_, b, degree_ + 1 - copies_of(knots_, b));
        poles_.resize(run_at_or_below(view_of(knots_), b).index);
        knots_ = knots_.subVector(0, poles_.size() + degree_ + 1);
    }

    void move_start(double a) {
        const KnotView k = view_of(knots_);
        if (is_end(a, k.low())) {
            shift_end(k.low(), a);
        } else if (a > k.low()) {
            cut_before(a);
        } else {
            const int idle = find_span(k, k.low()) - degree_; // poles without a part in the span
            poles_.remove(0, idle);
            ERVec<double> moved = knots_.getVec();
            moved.remove(0, idle);
            continue_start(moved.data(), a, window(0));
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
            poles_.resize(n);
            ERVec<double> moved = knots_.getVec();
            moved.resize(n + degree_ + 1);
            continue_end(moved.data() + n, b, window(n - degree_ - 1));
            knots_ = ERKnotVector(degree_, moved);
        }
    }

private:
    /// Whether t is an end of the domain but for rounding: cutting there would leave a sliver, and
    /// continuing multiplies rounding by powers of the distance in spans.
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
    PoleRow window(int first) {
        return row_of(poles_.writable().subspan(std::size_t(first), std::size_t(degree_) + 1));
    }

    ERVec<Pole>& poles_;
    ERKnotVector& knots_;
    int degree_;
};

} // namespace

template <class D>
void NurbsCurve<D>::adjust() {
    const ERLimites natural = this->domain, trim = this->bound;
    if (trim == natural || !has_extent() || !(trim.start() < trim.end())) return;
    this->ResetCachedInfo();
    Spline spline(poles, knots);
    // What is to be cut must be there.
    const bool end_first = trim.start() >= view_of(knots).high();
    if (end_first) spline.move_end(trim.end());
    if (trim.start() != natural.start()) spline.move_start(trim.start());
    if (trim.end() != natural.end() && !end_first) spline.move_end(trim.end());
    this->domain = trim;
}

template <class D>
void NurbsCurve<D>::clamp() {
    const KnotView k = view_of(knots);
    const double low = k.low(), high = k.high();
    Spline spline(poles, knots);
    if (knots.first() != low) spline.cut_before(low);
    if (knots.last() != high) spline.cut_after(high);
    take_limits_of_knots();
}

template void NurbsCurve<Plane>::adjust();
template void NurbsCurve<Space>::adjust();
template void NurbsCurve<Plane>::clamp();
template void NurbsCurve<Space>::clamp();

} // namespace velm::detail
