#include "velm/curves/pole_curve.h"

#include "velm/curves/detail/pole_arrays.h"
#include "velm/frame/point_functions.h"
#include "velm/frame/point_list.h"
#include "velm/transforms/plane_transformation.h"
#include "velm/transforms/transformation_handle.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <ostream>
#include <utility>

VELM_DEFINE_CLASS_NOT_CREATABLE(ERCpoleRep2D, ERTrimmedEntity2DWF)
VELM_DEFINE_CLASS_NOT_CREATABLE(ERCpoleRep3D, ERTrimmedEntity3DWF)

namespace velm::detail {

namespace {

template <class Point>
Point scaled(const Point& p, double s) {
    return p * s;
}
ERPole2DH scaled(const ERPole2DH& p, double s) { return {p.x_ * s, p.y_ * s, p.weight}; }
ERPole3DH scaled(const ERPole3DH& p, double s) { return {p.x_ * s, p.y_ * s, p.z_ * s, p.weight}; }

template <class Point>
Point moved(const Point& p, const Point& v) {
    return p + v;
}
ERPole2DH moved(ERPole2DH p, const ERPoint2D& v) { return p.translate(v); }
ERPole3DH moved(ERPole3DH p, const ERPoint3D& v) { return p.translate(v); }

// A new object of the curve's class, which the caller owns.
template <class Rep>
std::unique_ptr<Rep> copy_of(const Rep& curve) {
    return std::unique_ptr<Rep>(Rep::castdown(curve.getCopy()));
}

// The length of a whole curve: polygon and chord averaged once they differ by no more than tol,
// else the sum of both halves. `rounding` is the least difference that is more than rounding of
// the coordinates: without it a tol far below the size would halve without end.
template <class Rep>
double halved_length(Rep& curve, double tol, double rounding) {
    constexpr double least_tolerance = 1e-8;
    const double polygon = curve.upperEstimate();
    const double chord = distance(curve.firstPt(), curve.lastPt());
    const double average = (polygon + chord) * 0.5;
    if (!(tol >= least_tolerance) || !std::isfinite(average)) return average;
    if (polygon - chord <= std::max(tol, rounding)) return average;
    Rep* halves[2];
    if (curve.split(halves[0], halves[1]) == 0) return average;
    const std::unique_ptr<Rep> before(halves[0]);
    const std::unique_ptr<Rep> after(halves[1]);
    return halved_length(*before, tol * 0.5, rounding) + halved_length(*after, tol * 0.5, rounding);
}

// How far rounding may move the points, of some poles within these coordinates.
template <class Box>
double rounding_of(const Box& box, int poles) {
    double reach = 0.0;
    for (const double border : {box.MinPoint()[0], box.MaxPoint()[0], box.MinPoint()[1],
                                box.MaxPoint()[1], box.MinPoint()[2], box.MaxPoint()[2]})
        reach = std::max(reach, std::fabs(border));
    return reach * std::numeric_limits<double>::epsilon() * poles;
}

} // namespace

template <class D>
typename PoleCurve<D>::PoleArray PoleCurve<D>::pole_array() {
    return {};
}

template <class D>
template <class F>
auto PoleCurve<D>::with_poles(F f) {
    const PoleArray array = pole_array();
    if (array.weighted != nullptr) return f(*array.weighted);
    ERVec<Point> none;
    return f(array.points != nullptr ? *array.points : none);
}

template <class D>
template <class F>
auto PoleCurve<D>::with_poles(F f) const {
    return const_cast<PoleCurve*>(this)->with_poles(
        [&f](auto& poles) { return f(std::as_const(poles)); });
}

template <class D>
typename D::Point PoleCurve<D>::operator[](int i) const {
    return with_poles([i](const auto& poles) { return pole_point(poles[i]); });
}

template <class D>
int PoleCurve<D>::nbPoles() const {
    return with_poles([](const auto& poles) { return poles.size(); });
}

template <class D>
int PoleCurve<D>::isRational() const {
    return const_cast<PoleCurve*>(this)->pole_array().weighted != nullptr;
}

template <class D>
ERVec<typename D::Point> PoleCurve<D>::pole_points() const {
    return with_poles([](const auto& poles) {
        ERVec<Point> points(poles.size());
        std::transform(poles.view().begin(), poles.view().end(), points.begin(),
                       [](const auto& pole) { return pole_point(pole); });
        return points;
    });
}

template <class D>
const typename PoleCurve<D>::PowerForm* PoleCurve<D>::getCachedSpan(int i) const {
    const auto place = static_cast<std::size_t>(i);
    return i >= 0 && place < kept_.cachedSpans.size() ? kept_.cachedSpans[place].get() : nullptr;
}

template <class D>
void PoleCurve<D>::insertSpanInCache(int i, PowerForm* form) const {
    std::unique_ptr<PowerForm> owned(form);
    if (i < 0 || i >= nbSpans()) return;
    kept_.cachedSpans.resize(static_cast<std::size_t>(nbSpans()));
    kept_.cachedSpans[static_cast<std::size_t>(i)] = std::move(owned);
}

template <class D>
void PoleCurve<D>::ResetCachedInfo() const {
    kept_ = Kept();
}

template <class D>
double PoleCurve<D>::cordalHeight() const {
    return cordalHeight(pole_points());
}

template <class D>
double PoleCurve<D>::cordalHeight(const ERVec<Point>& poles) {
    if (poles.size() <= 2) return 0.0;
    const Point first = poles.front();
    const auto chord = typename D::Vector(first, poles.back());
    const double length = chord.norme();
    double height = 0.0;
    for (const Point& pole : poles.view().subspan(1, poles.view().size() - 2)) {
        const typename D::Vector leg(first, pole);
        // Along the chord, not across it: kept for the hosts whose tolerances are set to it.
        height = std::max(height, length == 0.0 ? leg.norme() : std::fabs(leg * chord) / length);
    }
    return height;
}

template <class D>
double PoleCurve<D>::upperEstimate() const {
    return with_poles([](const auto& poles) {
        double length = 0.0;
        for (int i = 1; i < poles.size(); ++i)
            length += distance(pole_point(poles[i - 1]), pole_point(poles[i]));
        return length;
    });
}

template <class D>
double PoleCurve<D>::arcLength(ERLimites interval, double tol) const {
    if (nbPoles() == 0) return 0.0;
    const std::unique_ptr<Rep> part = copy_of(static_cast<const Rep&>(*this));
    part->redefineDomain(interval);
    return halved_length(*part, tol, rounding_of(part->getBox(), part->nbPoles()));
}

template <class D>
double PoleCurve<D>::arcLength(double tol) const {
    return arcLength(this->bound, tol);
}

template <class D>
const typename D::Box& PoleCurve<D>::kept_box() const {
    if (!kept_.cachedBox) {
        auto box = std::make_unique<Box>();
        const auto take_in = [&box](const auto& poles) { box->Update(poles); };
        if (this->isTrimmed() != 0 && nbPoles() > 0) {
            const std::unique_ptr<Rep> part = copy_of(static_cast<const Rep&>(*this));
            part->adjust();
            static_cast<const PoleCurve&>(*part).with_poles(take_in);
        } else {
            with_poles(take_in);
        }
        kept_.cachedBox = std::move(box);
    }
    return *kept_.cachedBox;
}

template <class D>
typename D::Box PoleCurve<D>::getBox() {
    return kept_box();
}

template <class D>
ERVec<typename D::Point> PoleCurve<D>::approxime(int n) {
    if (this->degree() == 1 && nbPoles() == 2) return {this->firstPt(), this->lastPt()};
    return Curve::approxime(n);
}

template <class D>
ERVec<double> PoleCurve<D>::first_parameters(const ERLimites& interval) const {
    const int steps = this->degree();
    ERVec<double> parameters(nbPoles() > 0 ? steps + 1 : 0);
    for (int i = 0; i < parameters.size(); ++i)
        parameters[i] = interval(steps > 0 ? static_cast<double>(i) / steps : 0.0);
    return parameters;
}

template <class D>
void PoleCurve<D>::prepareApprox(typename D::PointList& list, const ERLimites& interval,
                                 double tol) const {
    for (const double t : first_parameters(interval))
        list.append(const_cast<PoleCurve&>(*this)(t), t);
    list.Smash(*this, tol);
}

template <class D>
int PoleCurve<D>::level_crossings(double, ERVec<double>&) const {
    return 0;
}

template <class D>
int PoleCurve<D>::crossings(double level, ERVec<double>& params) const {
    constexpr double flatness = 1e-11; // model units
    constexpr int axis = D::size - 1;
    const Box& box = kept_box();
    const double lower = box.lower(axis);
    const double upper = box.upper(axis);
    if (!(level >= lower && level <= upper)) return 0;
    if (std::fabs(upper - lower) <= flatness && std::fabs(lower - level) <= flatness) return -1;
    return level_crossings(level, params);
}

template <class D>
int PoleCurve<D>::splitAt(Rep*& first, Rep*& second, double t) const {
    const ERLimites limits = this->bound;
    if (!(t > limits.start() && t < limits.end())) return 0;
    std::unique_ptr<Rep> before = copy_of(static_cast<const Rep&>(*this));
    std::unique_ptr<Rep> after = copy_of(static_cast<const Rep&>(*this));
    before->redefineDomain(ERLimites(limits.start(), t));
    after->redefineDomain(ERLimites(t, limits.end()));
    first = before.release();
    second = after.release();
    return 1;
}

template <class D>
int PoleCurve<D>::split(Rep*& first, Rep*& second) const {
    return splitAt(first, second, (this->bound.start() + this->bound.end()) * 0.5);
}

template <class D>
int PoleCurve<D>::splitAt(t_SmartPtr<Curve>& first, t_SmartPtr<Curve>& second, double t) const {
    Rep* halves[2];
    if (splitAt(halves[0], halves[1], t) == 0) return 0;
    t_SmartPtr<Curve> before(halves[0]);
    t_SmartPtr<Curve> after(halves[1]);
    first = std::move(before); // may let go of this curve
    second = std::move(after);
    return 1;
}

template <class D>
int PoleCurve<D>::splitAt(t_SmartPtr<Curve>& first, t_SmartPtr<Curve>& second) const {
    return splitAt(first, second, (this->bound.start() + this->bound.end()) * 0.5);
}

template <class D>
ERLimites PoleCurve<D>::setBound(const ERLimites& trimmed) {
    if (!(trimmed == this->bound)) kept_.cachedBox.reset();
    return D::TrimmedEntity::setBound(trimmed);
}

template <class D>
void PoleCurve<D>::reparametrize(const ERLimites& natural) {
    ResetCachedInfo();
    D::TrimmedEntity::reparametrize(natural);
}

template <class D>
void PoleCurve<D>::scale(double s) {
    ResetCachedInfo();
    with_poles([s](auto& poles) {
        for (auto& pole : poles)
            pole = scaled(pole, s);
    });
}

template <class D>
void PoleCurve<D>::translate(const Point& v) {
    ResetCachedInfo();
    with_poles([by = v](auto& poles) {
        for (auto& pole : poles)
            pole = moved(pole, by);
    });
}

template <class D>
void PoleCurve<D>::reverse() {
    ResetCachedInfo();
    with_poles([](auto& poles) { std::reverse(poles.begin(), poles.end()); });
    D::TrimmedEntity::reverse();
}

template <class D>
void PoleCurve<D>::printOn(std::ostream& out) const {
    out << this->className() << "\nPoles :\n";
    with_poles([&out](const auto& poles) {
        out << '(' << poles.size() << ")[";
        for (int i = 0; i < poles.size(); ++i)
            out << (i > 0 ? "," : "") << poles[i];
        out << "]\n";
    });
}

template <class D>
void PoleCurve<D>::restoreGuts(ERFile& file) {
    ResetCachedInfo();
    D::TrimmedEntity::restoreGuts(file);
}

template <class D>
typename D::InfoPoint info_point(double t, const double* derivatives, int width, double length) {
    using Vector = typename D::Vector;
    const double* const value = derivatives;
    const double* const first = derivatives + width;
    const double* const second = first + width;
    const auto point = point_of<typename D::Point>(value, width);
    Vector slope;
    Vector bend;
    if (width == D::size) {
        slope = Vector::each([first](int c) { return first[c]; });
        bend = Vector::each([second](int c) { return second[c]; });
    } else {
        // (A / w)' = (A' - w' C) / w, (A / w)'' = (A'' - 2 w' C' - w'' C) / w
        constexpr int w = D::size;
        slope = Vector::each([&](int c) { return (first[c] - first[w] * point[c]) / value[w]; });
        bend = Vector::each([&](int c) {
            return (second[c] - 2.0 * first[w] * slope[c] - second[w] * point[c]) / value[w];
        });
    }
    return {t, 1, point, Vector::each([&](int c) { return slope[c] / length; }),
            Vector::each([&](int c) { return bend[c] / (length * length); })};
}

ERTValVector<ERPolynome> power_form_of(ConstPoleRow row) {
    ERTValVector<ERPolynome> form(row.count > 0 ? row.width : 0);
    for (int c = 0; c < form.length(); ++c) {
        form[c] = ERPolynome(polyConstruct, row.degree());
        power_coefficients(row, c, {&form[c][0], static_cast<std::size_t>(row.count)});
        form[c].adjustDegree(-1);
    }
    return form;
}

template class PoleCurve<Plane>;
template class PoleCurve<Space>;
template VELM_API ERInfoPoint2D info_point<Plane>(double, const double*, int, double);
template VELM_API ERInfoPoint3DWF info_point<Space>(double, const double*, int, double);

} // namespace velm::detail

int ERCpoleRep2D::intersectWithAxeY(double y, ERVec<double>& params) const {
    return crossings(y, params);
}

int ERCpoleRep3D::intersectWithPlanZ(double z, ERVec<double>& params) const {
    return crossings(z, params);
}

void ERCpoleRep2D::transformFrom(const ERTransfo2D& t) {
    ResetCachedInfo();
    with_poles([&t](auto& poles) { t.TransFrom(poles); });
}

void ERCpoleRep2D::transformTo(const ERTransfo2D& t) {
    ResetCachedInfo();
    with_poles([&t](auto& poles) { t.TransTo(poles); });
}

void ERCpoleRep3D::transformFrom(const ERPmSimilitude3D& t) {
    ResetCachedInfo();
    with_poles([&t](auto& poles) { t.TransFrom(poles); });
}

void ERCpoleRep3D::transformFrom(const ERPmIsometrie3D& t) {
    transformFrom(static_cast<const ERPmSimilitude3D&>(t));
}

void ERCpoleRep3D::transformTo(const ERPmSimilitude3D& t) {
    ResetCachedInfo();
    with_poles([&t](auto& poles) { t.TransTo(poles); });
}

void ERCpoleRep3D::transformTo(const ERPmIsometrie3D& t) {
    transformTo(static_cast<const ERPmSimilitude3D&>(t));
}
