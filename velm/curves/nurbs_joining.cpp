// NURBS curves joined end to end.
#include "velm/curves/detail/bernstein_rows.h"
#include "velm/curves/detail/knot_search.h"
#include "velm/curves/detail/pole_arrays.h"
#include "velm/curves/detail/spline_rows.h"
#include "velm/curves/nurbs_curve.h"
#include "velm/frame/point_functions.h"

#include <algorithm>
#include <cmath>
#include <vector>

namespace velm::detail {

namespace {

// Positions that differ by more are not one.
constexpr double meeting_tolerance = 1e-11;

// The derivatives of a Bezier row at its first pole, order 0 to the degree, by its parameter of
// [0, 1]: those of the homogeneous coordinates are differences of poles, those of the point follow
// by the quotient rule (Piegl and Tiller, The NURBS Book, A4.2).
template <class D>
std::vector<typename D::Vector> end_derivatives(ConstPoleRow bezier) {
    const int p = bezier.degree();
    std::vector<typename D::Pole> rows(static_cast<std::size_t>(p) + 1);
    for (int i = 0; i <= p; ++i)
        for (int c = 0; c < bezier.width; ++c)
            rows[static_cast<std::size_t>(i)][c] = bezier[i][c];
    for (std::size_t k = 1; k < rows.size(); ++k)
        for (std::size_t i = rows.size() - 1; i >= k; --i)
            rows[i] -= rows[i - 1];
    double factor = 1.0;
    for (int k = 1; k <= p; ++k)
        rows[static_cast<std::size_t>(k)] *= factor *= p + 1 - k;
    std::vector<typename D::Vector> derivatives;
    std::vector<double> binomials; // k over 0 to k, by Pascal's rule
    for (int k = 0; k <= p; ++k) {
        binomials.push_back(1.0);
        for (std::size_t i = binomials.size() - 1; i-- > 1;)
            binomials[i] += binomials[i - 1];
        const auto row = rows[static_cast<std::size_t>(k)];
        auto sum = D::Vector::each([&](int c) { return row[c]; });
        for (int i = 1; i <= k; ++i)
            sum -= derivatives[static_cast<std::size_t>(k - i)] *
                   (binomials[static_cast<std::size_t>(i)] *
                    rows[static_cast<std::size_t>(i)].weigth());
        derivatives.push_back(sum * (1.0 / rows[0].weigth()));
    }
    return derivatives;
}

// Whether each pair of coordinates has a cross product of at most tol.
template <class Vector>
bool parallel(const Vector& a, const Vector& b, double tol) {
    for (int i = 0; i < Vector::components; ++i)
        for (int j = i + 1; j < Vector::components; ++j)
            if (!(std::fabs(a[i] * b[j] - b[i] * a[j]) <= tol)) return false;
    return true;
}

} // namespace

// How two curves meet: the order of continuity, -1 for none, and what the parameter of the second
// is stretched by.
template <class D>
struct NurbsCurve<D>::Joint {
    int order = -1;
    double scale = 1.0;
};

template <class D>
typename NurbsCurve<D>::Joint NurbsCurve<D>::joint_with(const Self& other, double tol) const {
    constexpr int width = Pole::components;
    const int p = degree();
    const KnotView mine = view_of(knots), theirs = view_of(other.knots);
    const int last = find_span(mine, mine.high()), first = find_span(theirs, theirs.low());
    const std::size_t size = std::size_t(p) + 1;
    std::vector<double> before(size * width), after(before.size());
    span_to_bezier(mine.knots + last, row_of(poles.view().subspan(std::size_t(last - p), size)),
                   {before.data(), p + 1, width});
    span_to_bezier(theirs.knots + first,
                   row_of(other.poles.view().subspan(std::size_t(first - p), size)),
                   {after.data(), p + 1, width});
    // From the end backwards: derivatives of odd order change their sign, parallels stay.
    const auto left = end_derivatives<D>({before.data() + p * width, p + 1, width, -width});
    const auto right = end_derivatives<D>({after.data(), p + 1, width});

    Joint joint;
    if (!isEqual(left[0], right[0], meeting_tolerance)) return joint;
    joint.order = 0;
    for (int k = 1; k <= p; ++k) {
        if (!parallel(left[std::size_t(k)], right[std::size_t(k)], tol)) break;
        joint.order = k;
        if (k > 1) continue;
        const double leg = distance(other[0], other[1]);
        const double own_leg = distance((*this)[poles.size() - 2], (*this)[poles.size() - 1]);
        const double scale = leg / own_leg * (mine[last + 1] - mine[last]);
        if (std::isfinite(scale) && scale > 0.0) joint.scale = scale; // own_leg may be 0
    }
    return joint;
}

template <class D>
int NurbsCurve<D>::append(const Self& other, double tol, int continuity) {
    this->ResetCachedInfo();
    if (poles.empty()) {
        static_cast<Self&>(*this) = other;
        return 1;
    }
    if (!has_extent() || !other.has_extent()) return 0;
    Self added(other);
    if (tol >= 0.0) {
        const Point end = this->lastPt();
        if (!isEqual(end, added(added.udeb()), tol)) {
            if (!isEqual(end, added(added.ufin()), tol)) return 0;
            added.reverse();
        }
    }
    Self own(static_cast<const Self&>(*this));
    const int p = std::max(degree(), added.degree());
    for (Self* const curve : {&own, &added}) {
        curve->adjust();
        static_cast<NurbsCurve*>(curve)->clamp();
        curve->incrDegree(p - curve->degree());
        // Knots beyond all bounds can't be mapped.
        if (curve->degree() != p || !static_cast<NurbsCurve*>(curve)->has_extent()) return 0;
    }
    static_cast<NurbsCurve&>(own).attach(added, tol, continuity);
    static_cast<Self&>(*this) = own;
    return 1;
}

template <class D>
void NurbsCurve<D>::attach(Self& added, double tol, int continuity) {
    const Joint joint = continuity != 0 ? joint_with(added, tol) : Joint();
    const double start = this->ufin(), length = added.ufin() - added.udeb();
    double end = start + length * joint.scale;
    if (!(end > start)) end = start + length; // a scale that is lost in rounding
    added.reparametrize(ERLimites(start, end));

    const int place = knots.length() - degree() - 1;
    poles.insert(poles.size(), added.poles.view());
    knots.concat(added.knots);
    const double meeting = std::as_const(knots)[place];
    for (int k = 0; k < joint.order; ++k)
        remove_knot(meeting);
    knots.AssertValid();
    take_limits_of_knots();
}

template <class D>
int NurbsCurve<D>::prepend(const Self& other, double tol, int continuity) {
    this->ResetCachedInfo();
    Self& self = static_cast<Self&>(*this);
    if (poles.empty()) {
        self = other;
        return 1;
    }
    Self joined(other);
    if (!joined.append(self, tol, continuity)) return 0;
    self = joined;
    return 1;
}

template <class D>
int NurbsCurve<D>::merge(const Self& other, double tol, int continuity) {
    return append(other, tol, continuity) || prepend(other, tol, continuity);
}

#define VELM_INSTANTIATE(D)                                                                        \
    template NurbsCurve<D>::Joint NurbsCurve<D>::joint_with(const Self&, double) const;            \
    template void NurbsCurve<D>::attach(Self&, double, int);                                       \
    template int NurbsCurve<D>::append(const Self&, double, int);                                  \
    template int NurbsCurve<D>::prepend(const Self&, double, int);                                 \
    template int NurbsCurve<D>::merge(const Self&, double, int);
VELM_INSTANTIATE(Plane)
VELM_INSTANTIATE(Space)
#undef VELM_INSTANTIATE

} // namespace velm::detail
