#include "velm/curves/polynomial_patch.h"

#include "velm/curves/bezier_curve.h"
#include "velm/curves/conversions.h"
#include "velm/curves/detail/pole_arrays.h"
#include "velm/curves/knot_vector.h"
#include "velm/curves/nurbs_curve.h"
#include "velm/frame/point_list.h"
#include "velm/numerics/projection_on_polynomial.h"
#include "velm/transforms/plane_transformation.h"
#include "velm/transforms/transformation_handle.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <ostream>
#include <type_traits>

VELM_DEFINE_CLASS(ERPatchCPoly2D, ERLimitedEntity2DWF)
VELM_DEFINE_CLASS(ERPatchCPoly3D, ERLimitedEntity3DWF)

namespace velm::detail {

// Polynomials as a stored field: their number, then each one's form. More than four, one of a
// degree that no curve is read with, or a number that is not finite, leave none.
template <class Array>
struct StoredPolynomials {
    Array& polys;
};

template <class Array>
struct FieldForm<StoredPolynomials<Array>> {
    static constexpr bool fixed = false;

    static void save(ERFile& file, const StoredPolynomials<Array>& field) {
        StoreWriter form(file);
        form(field.polys.length());
        for (const ERPolynome& p : field.polys)
            form(p);
        form.flush();
    }
    static void restore(ERFile& file, StoredPolynomials<Array>& field) {
        constexpr int most = 4;
        StoreReader form(file);
        int count = 0;
        form(count);
        field.polys = Array(count <= most ? count : 0);
        bool sound = true;
        for (ERPolynome& p : field.polys) {
            form(p);
            sound = sound && is_sound(p);
        }
        if (!sound) field.polys = Array();
    }
    static unsigned int size(const StoredPolynomials<Array>& field) {
        StoreSize form;
        form(field.polys.length());
        for (const ERPolynome& p : field.polys)
            form(p);
        return form.bytes();
    }

private:
    static bool is_sound(const ERPolynome& p) {
        const auto coefficients = p.view();
        return p.size() <= highest_stored_bezier_degree + 1 &&
               std::all_of(coefficients.begin(), coefficients.end(),
                           [](double c) { return std::isfinite(c); });
    }
};

} // namespace velm::detail

template <class Self, class Form>
void ERPatchCPoly::stored_fields(Self& self, Form& form) {
    using Array = std::remove_reference_t<decltype((self.polys))>;
    form(velm::detail::StoredPolynomials<Array>{self.polys});
}

VELM_DEFINE_STORED_FIELDS(ERPatchCPoly)

ERVec<double> ERPatchCPoly::calculate(double t) const {
    ERVec<double> values(polys.length());
    for (int i = 0; i < polys.length(); ++i)
        values[i] = polys[i].evaluate(t);
    return values;
}

void ERPatchCPoly::calculate(double t, ERVec<double>& value, ERVec<double>& first,
                             ERVec<double>& second) const {
    value = calculate(t);
    for (ERVec<double>* const derivative : {&first, &second}) {
        derivative->resize(polys.length());
        const int order = derivative == &first ? 1 : 2;
        for (int i = 0; i < polys.length(); ++i)
            (*derivative)[i] = polys[i].getDerived(order).evaluate(t);
    }
}

void ERPatchCPoly::apply(const ERPolynome& q) {
    for (ERPolynome& p : polys)
        p = p(q);
}

void ERPatchCPoly::printOn(std::ostream& out) const {
    out << "Patch Polynomial\n";
    for (const ERPolynome& p : polys)
        p.printOn(out); // ends its line
}

namespace velm::detail {

VELM_DEFINE_STORED_FORM_AFTER(template <class D>, PolynomialPatch<D>,
                              D::LimitedEntity::saveGuts(file), D::LimitedEntity::restoreGuts(file),
                              D::LimitedEntity::binaryStoreSize())

namespace {

// t -> start + t (end - start), the parameter of [0, 1] onto an interval.
ERPolynome line_onto(const ERLimites& interval) {
    const double coefficients[] = {interval.start(), interval.amplitude()};
    return {coefficients, 2};
}
// The way back.
ERPolynome line_from(const ERLimites& interval) {
    const double coefficients[] = {-interval.start() / interval.amplitude(),
                                   1.0 / interval.amplitude()};
    return {coefficients, 2};
}

bool is_unit(const ERLimites& interval) { return interval == ERLimites(0.0, 1.0); }

} // namespace

template <class D>
PolynomialPatch<D>::PolynomialPatch(const FormOver& given, const ERLimites& bound)
    : PolynomialPatch(given.form, bound) {
    if (!is_unit(given.domain)) apply(line_from(given.domain));
}

template <class D>
PolynomialPatch<D>::PolynomialPatch(const ERVec<Point>& poles)
    : PolynomialPatch(FormOver{power_form_of(row_of(poles)), {0.0, 1.0}}, {0.0, 1.0}) {}

template <class D>
PolynomialPatch<D>::PolynomialPatch(const ERVec<typename D::Pole>& poles)
    : PolynomialPatch(FormOver{power_form_of(row_of(poles)), {0.0, 1.0}}, {0.0, 1.0}) {}

template <class D>
int PolynomialPatch<D>::greatest_degree() const {
    int degree = 1;
    for (const ERPolynome& p : polys)
        degree = std::max(degree, p.degree());
    return degree;
}

template <class D>
typename D::Point PolynomialPatch<D>::point_at(double t) const {
    double values[D::size + 1];
    std::fill(std::begin(values), std::end(values), std::numeric_limits<double>::quiet_NaN());
    const int width = std::min(polys.length(), D::size + 1);
    for (int i = 0; i < width; ++i)
        values[i] = polys[i].evaluate(t);
    return point_of<Point>(values, isRational() ? D::size + 1 : D::size);
}

template <class D>
typename D::Point PolynomialPatch<D>::operator()(double t) {
    return point_at(t);
}

template <class D>
typename D::InfoPoint PolynomialPatch<D>::PtCur(double t) {
    const int width = isRational() ? D::size + 1 : D::size;
    double derivatives[3 * (D::size + 1)];
    std::fill(std::begin(derivatives), std::end(derivatives),
              std::numeric_limits<double>::quiet_NaN());
    ERVec<double> rows[3];
    calculate(t, rows[0], rows[1], rows[2]);
    for (int k = 0; k < 3; ++k)
        std::copy_n(rows[k].view().data(), std::min(rows[k].size(), width),
                    derivatives + k * width);
    return info_point<D>(t, derivatives, width, 1.0);
}

template <class D>
ERTValVector<ERPolynome> PolynomialPatch<D>::normalised_polynomials() const {
    if (is_unit(this->domain)) return polys;
    ERPatchCPoly copy(polys);
    copy.apply(line_onto(this->domain));
    return copy.getPolys();
}

template <class D>
ERVec<typename D::Pole> PolynomialPatch<D>::bezier_poles() const {
    using Pole = typename D::Pole;
    if (polys.length() < D::size) return {};
    const ERTValVector<ERPolynome> form = normalised_polynomials();
    ERVec<Pole> poles(greatest_degree() + 1, Pole::each([](int) { return 1.0; }));
    for (int i = 0; i < std::min(form.length(), D::size + 1); ++i)
        set_from_power(form[i].view(), i, row_of(poles));
    return poles;
}

template <class D>
typename D::Box PolynomialPatch<D>::getBox() {
    typename D::Box box;
    box.Update(bezier_poles());
    return box;
}

template <class D>
typename D::NurbsCurve PolynomialPatch<D>::ConvertToNurbs() {
    const ERVec<typename D::Pole> poles = bezier_poles();
    if (poles.empty()) return {};
    return {poles, ERKnotVector(poles.size() - 1, this->domain)};
}

template <class D>
t_SmartPtr<typename D::PoleCurve> PolynomialPatch<D>::castToCpole() {
    const t_SmartPtr<typename D::NurbsCurve> curve(new typename D::NurbsCurve(ConvertToNurbs()));
    return D::PoleCurve::castdown(curve.get());
}

template <class D>
double PolynomialPatch<D>::arcLength(ERLimites interval, double tol) const {
    return const_cast<PolynomialPatch&>(*this).ConvertToNurbs().arcLength(interval, tol);
}

template <class D>
double PolynomialPatch<D>::arcLength(double tol) const {
    return arcLength(this->domain, tol);
}

template <class D>
int PolynomialPatch<D>::splitAt(t_SmartPtr<Curve>& first, t_SmartPtr<Curve>& second,
                                double t) const {
    if (!(t > this->domain.start() && t < this->domain.end())) return 0;
    t_SmartPtr<Curve> before(Curve::castdown(this->getCopy()));
    t_SmartPtr<Curve> after(Curve::castdown(this->getCopy()));
    static_cast<PolynomialPatch&>(*before).domain = ERLimites(this->domain.start(), t);
    static_cast<PolynomialPatch&>(*after).domain = ERLimites(t, this->domain.end());
    first = std::move(before); // may let go of this patch
    second = std::move(after);
    return 1;
}

template <class D>
int PolynomialPatch<D>::ProjectPoint(const Point& p, ERVec<double>& params, double) const {
    if (polys.length() < D::size) {
        params.clear();
        return 0;
    }
    return ProjectionPointOnCpoly(with_weight<D>(polys), this->domain, p, params);
}

template <class D>
void PolynomialPatch<D>::reparametrize(const ERLimites& natural) {
    if (!(natural == this->domain)) {
        apply(line_onto(this->domain)(line_from(natural)));
        this->domain = natural;
    }
}

template <class D>
void PolynomialPatch<D>::reverse() {
    const double mirror[] = {this->domain.start() + this->domain.end(), -1.0};
    apply(ERPolynome(mirror, 2));
}

template <class D>
void PolynomialPatch<D>::scale(double s) {
    for (int i = 0; i < std::min(polys.length(), D::size); ++i)
        polys[i] *= s;
}

template <class D>
void PolynomialPatch<D>::translate(const Point& v) {
    for (int i = 0; i < std::min(polys.length(), D::size); ++i)
        polys[i] += isRational() ? polys[D::size] * v[i] : ERPolynome(polyValue, v[i]);
}

template <class D>
void PolynomialPatch<D>::prepareApprox(typename D::PointList& list, const ERLimites& interval,
                                       double tol) const {
    const int steps = greatest_degree();
    for (int i = 0; i <= steps; ++i) {
        const double t = interval(static_cast<double>(i) / steps);
        list.append(point_at(t), t);
    }
    list.Smash(*this, tol);
}

template <class D>
void PolynomialPatch<D>::printOn(std::ostream& out) const {
    ERPatchCPoly::printOn(out);
}

template class PolynomialPatch<Plane>;
template class PolynomialPatch<Space>;

} // namespace velm::detail

ERPatchCPoly2D::ERPatchCPoly2D(const ERCpoleBezier2D& curve)
    : PolynomialPatch({curve.getSpanPower(0), {curve.Ndeb(), curve.Nfin()}},
                      {curve.udeb(), curve.ufin()}) {}

ERPatchCPoly2D::ERPatchCPoly2D(const ERCpoleBezier2DR& curve)
    : PolynomialPatch({curve.getSpanPower(0), {curve.Ndeb(), curve.Nfin()}},
                      {curve.udeb(), curve.ufin()}) {}

ERPatchCPoly3D::ERPatchCPoly3D(const ERCpoleBezier3D& curve)
    : PolynomialPatch({curve.getSpanPower(0), {curve.Ndeb(), curve.Nfin()}},
                      {curve.udeb(), curve.ufin()}) {}

ERPatchCPoly3D::ERPatchCPoly3D(const ERCpoleBezier3DR& curve)
    : PolynomialPatch({curve.getSpanPower(0), {curve.Ndeb(), curve.Nfin()}},
                      {curve.udeb(), curve.ufin()}) {}

ERObject* ERPatchCPoly2D::getCopy() const { return new ERPatchCPoly2D(*this); }

ERObject* ERPatchCPoly3D::getCopy() const { return new ERPatchCPoly3D(*this); }

void ERPatchCPoly2D::transformFrom(const ERTransfo2D& t) { polys = Convert(polys, t); }

void ERPatchCPoly2D::transformTo(const ERTransfo2D& t) {
    polys = velm::detail::mapped_polynomials<velm::Plane>(
        polys, [&t](const ERVector2D& v) { return t.TransTo(v); }, t.TransTo(ERPoint2D()));
}

void ERPatchCPoly3D::transformFrom(const ERPmSimilitude3D& t) {
    ERPoint3D origin;
    t.TransFrom(origin);
    polys = velm::detail::mapped_polynomials<velm::Space>(
        polys, [&t](ERVector3D v) { return t.TransFrom(v); }, origin);
}

void ERPatchCPoly3D::transformFrom(const ERPmIsometrie3D& t) {
    transformFrom(static_cast<const ERPmSimilitude3D&>(t));
}

void ERPatchCPoly3D::transformTo(const ERPmSimilitude3D& t) { polys = Convert(polys, t); }

void ERPatchCPoly3D::transformTo(const ERPmIsometrie3D& t) {
    transformTo(static_cast<const ERPmSimilitude3D&>(t));
}

t_SmartPtr<EREntity3DWF> ERPatchCPoly2D::get3DEquiv(const ERPmIsometrie3D& frame) {
    constexpr int z = 2;
    ERTValVector<ERPolynome> form(polys.length() < z ? 0 : polys.length() + 1);
    for (int i = 0; i < form.length(); ++i)
        if (i != z) form[i] = polys[i < z ? i : i - 1];
    const t_SmartPtr<ERPatchCPoly3D> lifted(new ERPatchCPoly3D(form, domain));
    lifted->transformFrom(frame);
    return lifted.get();
}

t_SmartPtr<EREntity2DWF> ERPatchCPoly3D::get2DEntProjectedOn(const ERPmIsometrie3D& frame) {
    constexpr int z = 2;
    const ERTValVector<ERPolynome> local = Convert(polys, frame);
    ERTValVector<ERPolynome> form(local.length() > z ? local.length() - 1 : 0);
    for (int i = 0; i < form.length(); ++i)
        form[i] = local[i < z ? i : i + 1];
    return new ERPatchCPoly2D(form, domain);
}
