#include "velm/curves/bezier_curve.h"

#include "velm/curves/conversions.h"
#include "velm/curves/detail/pole_arrays.h"
#include "velm/curves/knot_vector.h"
#include "velm/curves/nurbs_curve.h"
#include "velm/numerics/laguerre_roots.h"
#include "velm/numerics/projection_on_polynomial.h"
#include "velm/transforms/transformation_handle.h"

#include <algorithm>
#include <limits>
#include <memory>
#include <utility>

VELM_DEFINE_CLASS(ERCpoleBezier2D, ERCpoleRep2D)
VELM_DEFINE_CLASS(ERCpoleBezier2DR, ERCpoleRep2D)
VELM_DEFINE_CLASS(ERCpoleBezier3D, ERCpoleRep3D)
VELM_DEFINE_CLASS(ERCpoleBezier3DR, ERCpoleRep3D)

namespace velm::detail {

namespace {

template <class Value>
Value all_nan() {
    return Value::each([](int) { return std::numeric_limits<double>::quiet_NaN(); });
}

// CasteljauAll of a curve's poles.
template <class D, class Pole>
typename D::InfoPoint info_over(const ERVec<Pole>& poles, double t, const ERLimites& domain) {
    constexpr int width = Pole::components;
    double derivatives[std::size_t(3) * Pole::components];
    if (poles.empty()) {
        std::fill_n(derivatives, 3 * width, std::numeric_limits<double>::quiet_NaN());
    } else {
        row_derivatives(row_of(poles), domain.ratio(t), 2, derivatives);
    }
    return info_point<D>(t, derivatives, width, domain.amplitude());
}

} // namespace

template <class Self>
template <class Curve, class Form>
void BezierCurve<Self>::stored_fields(Curve& self, Form& form) {
    form(stored_poles(self.poles, highest_stored_bezier_degree + 1));
}

VELM_DEFINE_STORED_FORM_AFTER(template <class Self>, BezierCurve<Self>, Rep::saveGuts(file),
                              Rep::restoreGuts(file), Rep::binaryStoreSize())

template <class Self>
typename BezierCurve<Self>::Rep::PoleArray BezierCurve<Self>::pole_array() {
    if constexpr (is_weighted<StoredPole>) {
        return {nullptr, &poles};
    } else {
        return {&poles, nullptr};
    }
}

template <class Self>
typename BezierCurve<Self>::Point BezierCurve<Self>::point_at(double t) const {
    if (poles.empty()) return all_nan<Point>();
    double value[StoredPole::components];
    row_value(row_of(poles), this->domain.ratio(t), value);
    return point_of<Point>(value, StoredPole::components);
}

template <class Self>
typename BezierCurve<Self>::Point BezierCurve<Self>::operator()(double t) {
    return point_at(t);
}

template <class Self>
typename BezierCurve<Self>::InfoPoint BezierCurve<Self>::PtCur(double t) {
    return CasteljauAll(poles, t, this->domain);
}

template <class Self>
int BezierCurve<Self>::degree() const {
    return std::max(poles.size() - 1, 0);
}

template <class Self>
int BezierCurve<Self>::isBezier() const {
    return 1;
}

template <class Self>
ERKnotVector BezierCurve<Self>::knotVector() const {
    return poles.empty() ? ERKnotVector() : ERKnotVector(degree(), this->domain);
}

template <class Self>
typename BezierCurve<Self>::D::NurbsCurve BezierCurve<Self>::ConvertToNurbs() {
    using Weighted = typename D::Pole;
    if (poles.empty()) return {};
    ERVec<Weighted> weighted(poles.size());
    std::transform(poles.view().begin(), poles.view().end(), weighted.begin(),
                   [](const StoredPole& pole) {
                       if constexpr (is_weighted<StoredPole>) {
                           return pole;
                       } else {
                           return Weighted(pole, 1.0);
                       }
                   });
    return {weighted, knotVector(), this->bound};
}

template <class Self>
void BezierCurve<Self>::adjust() {
    const ERLimites part = this->domain.ratio(this->bound);
    if (this->isTrimmed() != 0) {
        this->ResetCachedInfo();
        if (!poles.empty()) restrict_row(row_of(poles), part.start(), part.end());
    }
    this->domain = this->bound;
}

template <class Self>
void BezierCurve<Self>::incrDegree(int k) {
    this->ResetCachedInfo();
    if (poles.empty() || k <= 0) return;
    const std::size_t before = poles.view().size();
    poles.append(poles.back(), k);
    elevate_row(row_of(poles.writable().first(before)), k);
}

template <class Self>
int BezierCurve<Self>::decrDegree() {
    this->ResetCachedInfo();
    if (degree() < 2) return 0;
    ERVec<StoredPole> lower(degree());
    const bool exact = lower_row(row_of(std::as_const(poles)), row_of(lower));
    poles = lower;
    return exact;
}

template <class Self>
int BezierCurve<Self>::splitAt(Self& first, Self& second, double t) const {
    const ERLimites limits = this->bound;
    if (!(t > limits.start() && t < limits.end())) return 0;
    Self before(static_cast<const Self&>(*this));
    Self after(before);
    before.redefineDomain(ERLimites(limits.start(), t));
    after.redefineDomain(ERLimites(t, limits.end()));
    first = before; // may be this curve
    second = after;
    return 1;
}

template <class Self>
int BezierCurve<Self>::split(Self& first, Self& second) const {
    return splitAt(first, second, (this->bound.start() + this->bound.end()) * 0.5);
}

template <class Self>
const typename BezierCurve<Self>::PowerForm& BezierCurve<Self>::power_form() const {
    if (const PowerForm* const kept = this->getCachedSpan(0)) return *kept;
    this->insertSpanInCache(0, new PowerForm(power_form_of(row_of(poles))));
    return *this->getCachedSpan(0);
}

template <class Self>
typename BezierCurve<Self>::PowerForm BezierCurve<Self>::getSpanPower(int) const {
    return poles.empty() ? PowerForm() : power_form();
}

template <class Self>
int BezierCurve<Self>::ProjectPoint(const Point& p, ERVec<double>& params, double tol) const {
    if (poles.empty()) return 0;
    typename D::Box around;
    around.Update(p);
    around.Inflate(tol);
    if (degree() > 1 && RelativePosition(around, this->kept_box()) == BOXES_DISJOINT) return 0;
    ERVec<double> feet;
    if (ProjectionPointOnCpoly(with_weight<D>(power_form()), ERLimites(0.0, 1.0), p, feet) == -1) {
        params.append(this->domain(0.5));
        return -1;
    }
    for (const double foot : feet.view())
        params.append(this->domain(foot));
    return params.size();
}

template <class Self>
int BezierCurve<Self>::level_crossings(double level, ERVec<double>& params) const {
    constexpr int axis = D::size - 1;
    const PowerForm& form = power_form();
    const ERPolynome shift =
        is_weighted<StoredPole> ? level * form[D::size] : ERPolynome(polyValue, level);
    ERVec<double> roots;
    if (Zeros(form[axis] - shift, ERLimites(0.0, 1.0), roots) == -1) return -1;
    for (const double root : roots.view()) {
        const double t = this->domain(root);
        const auto known = params.view();
        if (this->bound.inBound(t) && std::find(known.begin(), known.end(), t) == known.end())
            params.append(t);
    }
    return params.size();
}

template <class Self>
typename BezierCurve<Self>::Twin BezierCurve<Self>::twin(const ERPmIsometrie3D& frame) const {
    return Twin(Convert(poles, frame), this->domain, this->bound);
}

template <class Self>
ERObject* BezierCurve<Self>::getCopy() const {
    return new Self(static_cast<const Self&>(*this));
}

template class BezierCurve<ERCpoleBezier2D>;
template class BezierCurve<ERCpoleBezier2DR>;
template class BezierCurve<ERCpoleBezier3D>;
template class BezierCurve<ERCpoleBezier3DR>;

} // namespace velm::detail

ERInfoPoint2D CasteljauAll(const ERVec<ERPoint2D>& poles, double t, const ERLimites& domain) {
    return velm::detail::info_over<velm::Plane>(poles, t, domain);
}

ERInfoPoint2D CasteljauAll(const ERVec<ERPole2DH>& poles, double t, const ERLimites& domain) {
    return velm::detail::info_over<velm::Plane>(poles, t, domain);
}

ERInfoPoint3DWF CasteljauAll(const ERVec<ERPoint3D>& poles, double t, const ERLimites& domain) {
    return velm::detail::info_over<velm::Space>(poles, t, domain);
}

ERInfoPoint3DWF CasteljauAll(const ERVec<ERPole3DH>& poles, double t, const ERLimites& domain) {
    return velm::detail::info_over<velm::Space>(poles, t, domain);
}

t_SmartPtr<EREntity3DWF> ERCpoleBezier2D::get3DEquiv(const ERPmIsometrie3D& frame) {
    return new ERCpoleBezier3D(twin(frame));
}

t_SmartPtr<EREntity3DWF> ERCpoleBezier2DR::get3DEquiv(const ERPmIsometrie3D& frame) {
    return new ERCpoleBezier3DR(twin(frame));
}

t_SmartPtr<EREntity2DWF> ERCpoleBezier3D::get2DEntProjectedOn(const ERPmIsometrie3D& frame) {
    return new ERCpoleBezier2D(twin(frame));
}

t_SmartPtr<EREntity2DWF> ERCpoleBezier3DR::get2DEntProjectedOn(const ERPmIsometrie3D& frame) {
    return new ERCpoleBezier2DR(twin(frame));
}
