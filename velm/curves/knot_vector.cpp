#include "velm/curves/knot_vector.h"

#include "velm/curves/detail/basis_functions.h"
#include "velm/curves/detail/knot_search.h"
#include "velm/frame/pole.h"
#include "velm/frame/stored_form.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <ostream>

VELM_DEFINE_STORED_FIELDS(ERKnotVector)

using velm::detail::basis_derivatives;
using velm::detail::basis_values;
using velm::detail::derivative_work;
using velm::detail::find_span;
using velm::detail::KnotView;
using velm::detail::run_end;
using velm::detail::stack_degree;
using velm::detail::view_of;
using velm::detail::WorkArray;

namespace {

constexpr double not_a_number = std::numeric_limits<double>::quiet_NaN();

ERVec<double> array_of(const double* knots, int count) {
    return ERVec<double>(std::span<const double>(knots, static_cast<std::size_t>(count)));
}

// A value between the ends at a ratio that is clamped to them where the ratio is in [0, 1].
double blend(double first, double last, double s) { return ERLimites(first, last)(s); }

// Calls f with the value, the multiplicity in a and the one in b of each distinct knot of either,
// in order.
template <class F>
void for_knots_of_both(const ERKnotVector& a, const ERKnotVector& b, F f) {
    const KnotView x = view_of(a), y = view_of(b);
    int i = 0, j = 0;
    while (i < x.count || j < y.count) {
        const bool from_a = j >= y.count || (i < x.count && !(y[j] < x[i]));
        const double value = from_a ? x[i] : y[j];
        const int in_a = from_a ? run_end(x, i) - i : 0;
        const int in_b = j < y.count && (!from_a || y[j] == value) ? run_end(y, j) - j : 0;
        f(value, in_a, in_b);
        i += in_a;
        j += in_b;
    }
}

} // namespace

ERKnotVector::ERKnotVector(const ERVec<double>& k) : knots(k), degree_(_ComputeDegree(k)) {}

ERKnotVector::ERKnotVector(const double* k, int count) : ERKnotVector(array_of(k, count)) {}

ERKnotVector::ERKnotVector(int degree, const ERVec<double>& k) : knots(k), degree_(degree) {
    isUnclamped(degree);
}

ERKnotVector::ERKnotVector(int degree, const double* k, int count)
    : ERKnotVector(degree, array_of(k, count)) {}

ERKnotVector::ERKnotVector(int degree, const ERLimites& interval)
    : knots(2 * std::max(degree, -1) + 2, interval.end()), degree_(degree) {
    std::fill_n(knots.begin(), knots.size() / 2, interval.start());
}

ERKnotVector::ERKnotVector(int degree, int n, const ERLimites& interval) : degree_(degree) {
    const int count = std::max(n + degree + 1, 0);
    knots = ERVec<double>(count, interval.end());
    double* const k = knots.begin();
    std::fill_n(k, std::min(std::max(degree + 1, 0), count), interval.start());
    const int spans = n - degree;
    for (int i = 1; i < spans; ++i)
        k[degree + i] = interval(double(i) / spans);
}

int ERKnotVector::_ComputeDegree(const ERVec<double>& k) {
    return k.empty() ? 0 : run_end({k.view().data(), k.size(), 0}, 0) - 1;
}

int ERKnotVector::isUnclamped(int degree) {
    const auto k = knots.view();
    const auto copies_from = [](auto begin, auto end) {
        return begin == end
                   ? 0
                   : std::find_if(begin, end, [begin](double x) { return x != *begin; }) - begin;
    };
    return unclamped = copies_from(k.begin(), k.end()) != degree + 1 ||
                       copies_from(k.rbegin(), k.rend()) != degree + 1;
}

double ERKnotVector::first() const { return knots.empty() ? 0.0 : knots.view().front(); }

double ERKnotVector::last() const { return knots.empty() ? 0.0 : knots.view().back(); }

bool ERKnotVector::isUsable() const {
    const auto k = knots.view();
    return view_of(*this).has_span() && std::is_sorted(k.begin(), k.end()) &&
           std::all_of(k.begin(), k.end(), [](double x) { return std::isfinite(x); });
}

ERLimites ERKnotVector::limites() const {
    const KnotView k = view_of(*this);
    if (!k.has_span()) return ERLimites();
    // One further on than the end of the domain; degree 0 has no knot there.
    return ERLimites(k.low(), k[std::min(k.count - k.degree, k.count - 1)]);
}

int ERKnotVector::nbSpans() const { return length() - 2 * degree_ - 1; }

ERLimites ERKnotVector::getSpanLimites(int i) const {
    const KnotView k = view_of(*this);
    if (!k.has_span() || i < 0 || i >= nbSpans()) return ERLimites(not_a_number, not_a_number);
    return ERLimites(k[k.degree + i], k[k.degree + i + 1]);
}

int ERKnotVector::FindSpan(double u) const {
    const KnotView k = view_of(*this);
    return k.has_span() ? find_span(k, u) : 0;
}

int ERKnotVector::quicklyFind(double u) const {
    const auto k = knots.view();
    const auto found = std::lower_bound(k.begin(), k.end(), u);
    return found != k.end() && *found == u ? static_cast<int>(found - k.begin()) : -1;
}

namespace {

// Whether the knots that the basis functions of a span read are there.
bool surrounded(const KnotView& k, int span) {
    return k.has_span() && span + 1 >= k.degree && span >= 0 && span < k.count - k.degree;
}

} // namespace

ERVec<double> ERKnotVector::BasisFuns(int span, double u) const {
    if (!view_of(*this).has_span()) return {};
    ERVec<double> values(degree_ + 1);
    BasisFunsBuffer(span, u, values.data());
    return values;
}

void ERKnotVector::BasisFunsBuffer(int span, double u, double* out) const {
    const KnotView k = view_of(*this);
    if (!surrounded(k, span)) {
        std::fill_n(out, std::max(degree_, -1) + 1, not_a_number);
        return;
    }
    WorkArray<double, 2 * (stack_degree + 1)> work(2 * std::size_t(degree_) + 2);
    basis_values(k.knots + span, degree_, u, out, work.data());
}

ERMatrix<double> ERKnotVector::DersBasisFuns(int span, double u, int n) const {
    const KnotView k = view_of(*this);
    ERMatrix<double> rows(std::max(n, 0) + 1, k.has_span() ? degree_ + 1 : 0);
    if (!surrounded(k, span)) {
        std::fill(rows.begin(), rows.end(), not_a_number);
        return rows;
    }
    const int order = rows.rows() - 1;
    WorkArray<double, 128> work(derivative_work(degree_, order));
    basis_derivatives(k.knots + span, degree_, u, order, rows.data(), work.data());
    return rows;
}

ERPole2DH ERKnotVector::CalOnNurbs(double u, int p, const ERVec<ERPole2DH>& poles) const {
    const KnotView k = view_of(*this);
    const auto pole = poles.view();
    if (!k.has_span() || p < 0 || p > k.degree)
        return ERPole2DH(not_a_number, not_a_number, not_a_number);
    const int span = find_span(k, u), first = span - p;
    if (first < 0 || span >= poles.size())
        return ERPole2DH(not_a_number, not_a_number, not_a_number);
    WorkArray<double, stack_degree + 1> basis(std::size_t(k.degree) + 1);
    BasisFunsBuffer(span, u, basis.data());
    ERPole2DH sum;
    for (int i = 0; i <= p; ++i)
        sum += pole[std::size_t(first + i)] * basis.data()[i];
    return sum;
}

int ERKnotVector::IsContinuous(int c) const {
    const KnotView k = view_of(*this);
    for (int i = 0, end; i < k.count; i = end) {
        end = run_end(k, i);
        if (degree_ - (end - i) < c) return 0;
    }
    return 1;
}

int ERKnotVector::GetDiscontinuities(int c, ERVec<double>& out) const {
    const KnotView k = view_of(*this);
    for (int i = 0, end; i < k.count; i = end) {
        end = run_end(k, i);
        if (degree_ - (end - i) < c) out.push_back(k[i]);
    }
    return 1;
}

void ERKnotVector::insertAt(int i, const double& v, int count) {
    if (count <= 0) return;
    if (count == 1) return knots.insert(i, v);
    knots.insert(i, ERVec<double>(count, v).view());
}

void ERKnotVector::removeAt(int i) { knots.remove(i); }

ERKnotVector ERKnotVector::subVector(int start, int count) const {
    const int from = std::clamp(start, 0, length());
    return {degree_, data() + from, std::clamp(count, 0, length() - from)};
}

void ERKnotVector::concat(const ERKnotVector& other) {
    const ERVec<double> added = other.knots; // other may be this vector
    const int end = std::clamp(length() - degree_ - 1, 0, length());
    knots.replace(end, length() - end, added.view());
}

void ERKnotVector::incDegree(int k) {
    if (k <= 0) return;
    const KnotView old = view_of(*this);
    ERVec<double> raised;
    raised.reserve(2 * old.count);
    for (int i = 0, end; i < old.count; i = end) {
        end = run_end(old, i);
        for (int copies = end - i + k; copies > 0; --copies)
            raised.push_back(old[i]);
    }
    knots = std::move(raised);
    degree_ += k;
}

ERKnotVector ERKnotVector::GetPrautzsch(int start) const {
    const KnotView old = view_of(*this);
    ERVec<double> doubled;
    doubled.reserve(2 * old.count);
    int next = start;
    for (int i = 0; i < old.count; ++i) {
        doubled.push_back(old[i]);
        if (i != next) continue;
        doubled.push_back(old[i]);
        next += degree_ + 1;
    }
    return ERKnotVector(doubled);
}

void ERKnotVector::reparametrize(const ERLimites& interval) {
    if (knots.empty()) return;
    const auto k = knots.writable();
    const double first = k.front(), last = k.back();
    const double factor = interval.amplitude() / (last - first);
    const double shift = interval.start() - first * factor;
    for (double& knot : k) {
        if (knot == first) {
            knot = interval.start();
        } else if (knot == last) {
            knot = interval.end();
        } else {
            // Rounding may carry a knot past the exact ends.
            knot = knot * factor + shift;
            if (interval.start() <= interval.end())
                knot = std::min(std::max(knot, interval.start()), interval.end());
        }
    }
}

void ERKnotVector::reverse() {
    if (knots.empty()) return;
    const auto k = knots.writable();
    const double first = k.front(), last = k.back();
    std::reverse(k.begin(), k.end());
    for (double& knot : k)
        knot = blend(first, last, 1.0 - (knot - first) / (last - first));
}

void ERKnotVector::AssertValid() const {}

void ERKnotVector::printOn(std::ostream& out) const {
    out << "KnotVector degree " << degree_ << (unclamped ? "  (**UNCLAMPLED**)" : "  ( Regular )")
        << "\n(" << length() << ")[";
    const char* separator = "";
    for (const double knot : knots.view()) {
        out << separator << knot;
        separator = ",";
    }
    out << "]\n";
}

std::ostream& operator<<(std::ostream& out, const ERKnotVector& knots) {
    knots.printOn(out);
    return out;
}

ERKnotVector BezierKnotVector(int degree, const ERLimites& interval) {
    return ERKnotVector(degree, interval);
}

ERKnotVector UniformeKnotVector(int degree, int n, const ERLimites& interval) {
    return ERKnotVector(degree, n, interval);
}

namespace {

// The knots of both as often as `copies` says, with the degree of a.
template <class Copies>
ERVec<double> combined(const ERKnotVector& a, const ERKnotVector& b, Copies copies) {
    ERVec<double> result;
    result.reserve(a.length() + b.length());
    for_knots_of_both(a, b, [&](double value, int in_a, int in_b) {
        for (int n = copies(in_a, in_b); n > 0; --n)
            result.push_back(value);
    });
    return result;
}

} // namespace

ERKnotVector Union(const ERKnotVector& a, const ERKnotVector& b) {
    ERKnotVector result;
    result.knots = combined(a, b, [](int in_a, int in_b) { return std::max(in_a, in_b); });
    result.degree_ = a.degree_;
    return result;
}

ERKnotVector Diff(const ERKnotVector& a, const ERKnotVector& b) {
    ERKnotVector result;
    result.knots = combined(a, b, [](int in_a, int in_b) { return in_a - in_b; });
    result.degree_ = a.degree_;
    result.unclamped = 1;
    return result;
}

int CheckAndRepairKnotVector(ERVec<double>& k, double, double relTol) {
    if (k.empty()) return 1;
    const auto view = std::as_const(k).view();
    const double range = view.back() - view.front();
    if (0.0 >= range) return 0;
    double previous = view.front();
    for (int i = 1; i < k.size(); ++i) {
        const double knot = std::as_const(k)[i];
        if (previous > knot) {
            if (std::fabs(previous - knot) > range * relTol) return 0;
            k[i] = previous;
        } else {
            previous = knot;
        }
    }
    return 1;
}

void ERKnotVector::refuse_damaged() {
    const auto k = knots.view();
    const bool good = degree_ >= 0 && degree_ <= highest_stored_degree &&
                      std::is_sorted(k.begin(), k.end()) &&
                      std::all_of(k.begin(), k.end(), [](double x) { return std::isfinite(x); });
    if (!good) *this = ERKnotVector();
}
