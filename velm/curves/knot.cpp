#include "velm/curves/knot.h"

#include "velm/curves/detail/knot_search.h"
#include "velm/curves/detail/pole_arrays.h"
#include "velm/curves/detail/spline_rows.h"

#include <limits>
#include <ostream>

using velm::detail::KnotRun;
using velm::detail::KnotView;

namespace {

KnotView view_of(const ERVec<double>& knots) { return {knots.view().data(), knots.size(), 0}; }

} // namespace

ERKnot::ERKnot(const ERKnotVector& vector) : owner(&vector.getVec()) { reset(); }

ERKnot::ERKnot(const ERKnotVector& vector, double x) : owner(&vector.getVec()) { *this = x; }

ERKnot& ERKnot::operator=(double x) {
    // A value below the first knot is taken for it.
    flags = reach(x) ? 0 : error_flag;
    return *this;
}

void ERKnot::stand_on_run_from(int first) {
    index_ = first;
    multiplicity_ = velm::detail::run_end(view_of(*owner), first) - first;
    valid = 1;
}

int ERKnot::operator++() {
    if (!valid || isLast()) {
        flags |= overflow_flag;
        return 0;
    }
    stand_on_run_from(index_ + multiplicity_);
    flags &= error_flag;
    return 1;
}

int ERKnot::operator--() {
    if (!valid || isFirst()) {
        flags |= underflow_flag;
        return 0;
    }
    const KnotView knots = view_of(*owner);
    int first = index_ - 1;
    while (first > 0 && knots[first - 1] == knots[index_ - 1])
        --first;
    stand_on_run_from(first);
    flags &= error_flag;
    return 1;
}

int ERKnot::reach(double x) {
    if (owner->empty()) return 0;
    const KnotView knots = view_of(*owner);
    stand_on_run_from(velm::detail::run_at_or_below(knots, x).index);
    return knots[0] >= x || value() == x;
}

void ERKnot::reset() {
    flags = owner->empty() ? error_flag : 0;
    if (!owner->empty()) stand_on_run_from(0);
}

double ERKnot::value() const {
    return valid ? std::as_const(*owner)[index_] : std::numeric_limits<double>::quiet_NaN();
}

int ERKnot::isLast() const { return index_ + multiplicity_ >= owner->size(); }

std::ostream& operator<<(std::ostream& out, const ERKnot& knot) {
    return out << " Valeur = " << knot.value() << " Mult   = " << knot.multiplicity()
               << " index  = " << knot.index() << '\n';
}

void PrepareBoehm(const ERKnotVector& K, double t, int r, double& a, int& lowIndex, int& lowMult,
                  double& b, int& highIndex, int& highMult, int& last, int& rOut) {
    const KnotView knots = velm::detail::view_of(K);
    if (knots.count == 0) return;
    const velm::detail::InsertionPlace place = insertion_place(knots, t);
    a = knots[place.low.index];
    lowIndex = place.low.index;
    lowMult = place.low.multiplicity;
    b = knots[place.high.index];
    highIndex = place.high.index;
    highMult = place.high.multiplicity;
    last = place.last;
    rOut = r;
}

namespace velm {

namespace {

template <class Pole>
bool insert_into(ERVec<Pole>& poles, ERKnotVector& K, int p, double t, int r) {
    const detail::KnotView knots{K.data(), K.length(), p};
    if (r < 1 || !knots.has_span() || poles.size() != knots.poles() || !knots.covers(t))
        return false;
    const detail::InsertionPlace place = insertion_place(knots, t);
    const int first = place.last - p;
    if (first < 0 || place.last >= poles.size()) return false; // a domain without extent
    const int room = place.last + 1;
    if (r == 1) {
        poles.insert(room, Pole());
    } else {
        poles.insert(room, ERVec<Pole>(r).view());
    }
    insert_in_window(knots, place, t, r,
                     row_of(poles.writable().subspan(std::size_t(first), std::size_t(p) + 1)));
    K.insertAt(place.high.index, t, r);
    K.AssertValid();
    return true;
}

} // namespace

bool insert_knot(ERVec<ERPole2DH>& poles, ERKnotVector& K, int p, double t, int r) {
    return insert_into(poles, K, p, t, r);
}

bool insert_knot(ERVec<ERPole3DH>& poles, ERKnotVector& K, int p, double t, int r) {
    return insert_into(poles, K, p, t, r);
}

} // namespace velm
