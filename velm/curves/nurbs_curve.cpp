#include "velm/curves/nurbs_curve.h"

#include "velm/curves/detail/basis_functions.h"
#include "velm/curves/detail/knot_search.h"
#include "velm/curves/detail/pole_arrays.h"
#include "velm/curves/detail/spline_rows.h"
#include "velm/curves/knot.h"
#include "velm/frame/box.h"
#include "velm/frame/stored_form.h"
#include "velm/numerics/bernstein.h"
#include "velm/transforms/plane_transformation.h"
#include "velm/transforms/transformation_handle.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <ostream>

VELM_DEFINE_CLASS(ERCpoleNURBS2D, ERCpoleRep2D)
VELM_DEFINE_CLASS(ERCpoleNURBS3D, ERCpoleRep3D)

namespace velm::detail {

namespace {

constexpr double not_a_number = std::numeric_limits<double>::quiet_NaN();

template <class Value>
Value constant(double x) {
    return Value::each([x](int) { return x; });
}

} // namespace

template <class D>
NurbsCurve<D>::NurbsCurve(const ERVec<Pole>& control)
    : NurbsCurve(control, std::max(control.size() - 1, 0)) {}

template <class D>
NurbsCurve<D>::NurbsCurve(const ERVec<Pole>& control, int degree)
    : Rep(ERLimites(0.0, 1.0)), poles(control) {
    if (!poles.empty()) knots = ERKnotVector(degree, poles.size(), ERLimites(0.0, 1.0));
}

template <class D>
NurbsCurve<D>::NurbsCurve(const ERVec<Pole>& control, const ERKnotVector& vector)
    : Rep(vector.limites()), poles(control), knots(vector) {}

template <class D>
NurbsCurve<D>::NurbsCurve(const ERVec<Pole>& control, const ERKnotVector& vector,
                          const ERLimites& trimmed)
    : Rep(vector.limites(), trimmed), poles(control), knots(vector) {}

template <class D>
bool NurbsCurve<D>::drawable() const {
    const KnotView k = view_of(knots);
    return k.has_span() && poles.size() == k.poles();
}

template <class D>
bool NurbsCurve<D>::has_extent() const {
    return drawable() && view_of(knots).low() < view_of(knots).high();
}

template <class D>
int NurbsCurve<D>::degree() const {
    return poles.empty() ? 0 : knots.degree();
}

template <class D>
ERKnotVector NurbsCurve<D>::knotVector() const {
    return knots;
}

template <class D>
int NurbsCurve<D>::isBezier() const {
    return !poles.empty() && poles.size() == degree() + 1 && !knots.isUnclamped();
}

template <class D>
int NurbsCurve<D>::isValid() const {
    if (poles.empty() && knots.length() == 0) return 1;
    return poles.size() + static_cast<long long>(knots.degree()) + 1 == knots.length();
}

template <class D>
int NurbsCurve<D>::IsContinuous(int order) const {
    return knots.IsContinuous(order);
}

template <class D>
int NurbsCurve<D>::GetDiscontinuities(int order, ERVec<double>& params) const {
    return knots.GetDiscontinuities(order, params);
}

template <class D>
typename NurbsCurve<D>::Self NurbsCurve<D>::ConvertToNurbs() {
    return static_cast<const Self&>(*this);
}

template <class D>
typename D::Pole NurbsCurve<D>::CalOnNurbs_H(double t) const {
    if (!drawable()) return constant<Pole>(not_a_number);
    const KnotView k = view_of(knots);
    const int span = find_span(k, t);
    Pole result;
    with_degree(k.degree, [&](auto p) {
        DegreeWork<decltype(p), 18, 3 * (stack_degree + 1)> work(3 * (std::size_t(p) + 1));
        double* const basis = work.data();
        basis_values(k.knots + span, p, t, basis, basis + p + 1);
        weighted_sum<Pole::components>(row_of(poles)[span - p], p, basis).store(&result.x_);
    });
    return result;
}

template <class D>
typename D::Point NurbsCurve<D>::CalOnNurbs(double t) const {
    return CalOnNurbs_H(t).castToPoint();
}

template <class D>
typename D::Point NurbsCurve<D>::operator()(double t) {
    if (!isBezier()) return CalOnNurbs(t);
    Pole result;
    Horner(row_of(std::as_const(poles)).poles, poles.size(), this->domain.ratio(t),
           Pole::components, &result.x_);
    return result.castToPoint();
}

template <class D>
typename D::InfoPoint NurbsCurve<D>::PtCur(double t) {
    constexpr int width = Pole::components, weight = D::size;
    if (!drawable()) {
        const auto nowhere = constant<typename D::Vector>(not_a_number);
        return {t, 1, constant<Point>(not_a_number), nowhere, nowhere};
    }
    const KnotView k = view_of(knots);
    const int span = find_span(k, t);
    const double* const own = row_of(std::as_const(poles))[span - k.degree];
    const auto at = with_degree(k.degree, [&](auto p) {
        DegreeWork<decltype(p), spline_derivative_work(5), spline_derivative_work(stack_degree)>
            work(spline_derivative_work(p));
        return spline_derivatives<width>(k.knots + span, own, p, t, work.data());
    });
    // With A the weighted point and w the weight, C = A / w, C' = (A' - w' C) / w and
    // C'' = (A'' - 2 w' C' - w'' C) / w.
    const double w = at.point[weight], inverse = 1.0 / w;
    const auto point = at.point / w;
    const auto first = (at.first - point * at.first[weight]) * inverse;
    const auto second =
        (at.second - first * (2.0 * at.first[weight]) - point * at.second[weight]) * inverse;
    return {t, 1, Point::each([&](int c) { return point[c]; }),
            D::Vector::each([&](int c) { return first[c]; }),
            D::Vector::each([&](int c) { return second[c]; })};
}

template <class D>
void NurbsCurve<D>::take_limits_of_knots() {
    this->domain = this->bound = knots.limites();
}

template <class D>
void NurbsCurve<D>::insertKnot(double t, int r) {
    this->ResetCachedInfo();
    if (insert_knot(poles, knots, knots.degree(), t, r)) take_limits_of_knots();
}

template <class D>
int NurbsCurve<D>::reduceKnotMultiplicity(double t, int r) {
    this->ResetCachedInfo();
    bool changed = false;
    for (; r > 0 && remove_knot(t); --r)
        changed = true;
    if (changed) take_limits_of_knots();
    return 1;
}

template <class D>
bool NurbsCurve<D>::remove_knot(double t) {
    const int first = drawable() ? knots.quicklyFind(t) : -1;
    if (first < 0) return false;
    const KnotView k = view_of(knots);
    const int last = run_end(k, first) - 1;
    if (!is_removable(k, last)) return false;
    remove_from_row(k, last, row_of(poles));
    poles.resize(poles.size() - 1);
    knots.removeAt(last);
    return true;
}

template <class D>
void NurbsCurve<D>::incrDegree(int k) {
    this->ResetCachedInfo();
    if (k <= 0 || !has_extent()) return;
    clamp();
    for (; k > 0; --k) {
        const KnotView old = view_of(knots);
        ERVec<double> raised(elevated_knots(old, nullptr));
        elevated_knots(old, raised.data());
        ERVec<Pole> elevated(raised.size() - old.degree - 2);
        elevate_spline(old, row_of(std::as_const(poles)), row_of(elevated));
        poles = std::move(elevated);
        knots = ERKnotVector(old.degree + 1, raised);
    }
    take_limits_of_knots();
}

template <class D>
int NurbsCurve<D>::decrDegree() {
    this->ResetCachedInfo();
    return 1;
}

template <class D>
void NurbsCurve<D>::reparametrize(const ERLimites& natural) {
    Rep::reparametrize(natural);
    knots.reparametrize(natural);
    if (drawable()) this->domain = ERLimites(view_of(knots).low(), view_of(knots).high());
}

template <class D>
void NurbsCurve<D>::reverse() {
    const ERLimites old = this->bound;
    const bool trimmed = this->isTrimmed();
    knots.reverse();
    Rep::reverse();
    if (!drawable() || this->domain == knots.limites()) return;
    // On an unclamped curve the domain moves; the limits stay on the same points.
    const double sum = knots.first() + knots.last();
    this->domain = knots.limites();
    this->bound = trimmed ? ERLimites(sum - old.end(), sum - old.start()) : this->domain;
}

template <class D>
int NurbsCurve<D>::splitAt(Self& first, Self& second, double t) const {
    const double low = this->udeb(), high = this->ufin();
    if (!(t > low && t < high)) return 0;
    const Self whole(static_cast<const Self&>(*this)); // either output may be this curve
    first = second = whole;
    first.redefineDomain(ERLimites(low, t));
    second.redefineDomain(ERLimites(t, high));
    return 1;
}

template <class D>
int NurbsCurve<D>::split(Self& first, Self& second) const {
    return splitAt(first, second, 0.5 * (this->udeb() + this->ufin()));
}

template <class D>
typename NurbsCurve<D>::Rep::PoleArray NurbsCurve<D>::pole_array() {
    return {nullptr, &poles};
}

template <class D>
void NurbsCurve<D>::printOn(std::ostream& out) const {
    Rep::printOn(out);
    knots.printOn(out);
}

template <class D>
ERObject* NurbsCurve<D>::getCopy() const {
    return new Self(static_cast<const Self&>(*this));
}

template <class D>
template <class Curve, class Form>
void NurbsCurve<D>::stored_fields(Curve& self, Form& form) {
    form(stored_poles(self.poles), self.knots);
    if constexpr (!std::is_const_v<Curve>) self.refuse_damaged();
}

template <class D>
void NurbsCurve<D>::refuse_damaged() {
    if (poles.empty() ? knots.length() == 0 : drawable()) return;
    poles.clear();
    knots = ERKnotVector();
}

VELM_DEFINE_STORED_TEMPLATE(NurbsCurve, D::PoleCurve)

template class NurbsCurve<Plane>;
template class NurbsCurve<Space>;

} // namespace velm::detail

t_SmartPtr<EREntity3DWF> ERCpoleNURBS2D::get3DEquiv(const ERPmIsometrie3D& frame) {
    ERVec<ERPole3DH> lifted(poles.size());
    std::transform(poles.view().begin(), poles.view().end(), lifted.begin(),
                   [](const ERPole2DH& pole) { return pole.castToPole3D(Coord3D_Z, 0.0); });
    frame.TransFrom(lifted);
    t_SmartPtr<ERCpoleNURBS3D> curve(new ERCpoleNURBS3D(lifted, knots, bound));
    return curve.get();
}

t_SmartPtr<EREntity2DWF> ERCpoleNURBS3D::get2DEntProjectedOn(const ERPmIsometrie3D& frame) {
    ERVec<ERPole2DH> flat(poles.size());
    std::transform(poles.view().begin(), poles.view().end(), flat.begin(),
                   [&frame](const ERPole3DH& pole) { return frame.Project(pole); });
    return new ERCpoleNURBS2D(flat, knots, bound);
}
