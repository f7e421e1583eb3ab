#include "velm/curves/composite_curve.h"

#include "velm/curves/nurbs_curve.h"
#include "velm/frame/point_functions.h"
#include "velm/frame/stored_reference.h"
#include "velm/transforms/plane_transformation.h"
#include "velm/transforms/transformation_handle.h"

#include <algorithm>
#include <cmath>
#include <ostream>

VELM_DEFINE_CLASS(ERCompCurve2D, ERTrimmedEntity2DWF)
VELM_DEFINE_CLASS(ERCompCurve3D, ERTrimmedEntity3DWF)
VELM_DEFINE_CLASS(ERCrvCompPoly2D, ERTrimmedEntity2DWF)
VELM_DEFINE_CLASS(ERCrvCompPoly3D, ERTrimmedEntity3DWF)

namespace velm::detail {

namespace {

constexpr double element_length_tolerance = 1e-07;

// A parameter of an element by the fraction of the way from its start to its end, which is below
// the start on a clockwise arc.
template <class Element>
double parameter_at(const Element& element, double fraction) {
    return (1.0 - fraction) * element.udeb() + fraction * element.ufin();
}

// The parameter t of a curve that counts edges, on its first part from `start` to `end`: the parts
// count from 0, and an edge that was cut has one unit again.
double within_first_part(double t, double start, double end) {
    const double first = std::floor(start); // the edge at the start
    const double joint = std::ceil(end) - 1.0;
    const auto along = [&](double edge) { // where on its part of the edge t is
        const double low = std::max(edge, start), high = std::min(edge + 1.0, end);
        return (t - low) / (high - low);
    };
    const double edge = std::min(std::floor(t), joint);
    return edge - first + along(edge);
}

} // namespace

template <class Self>
void CompositeCurve<Self>::saveGuts(ERFile& file) const {
    D::TrimmedEntity::saveGuts(file);
    StoreWriter form(file);
    stored_fields(*this, form);
    form.flush();
}

template <class Self>
void CompositeCurve<Self>::restoreGuts(ERFile& file) {
    D::TrimmedEntity::restoreGuts(file);
    StoreReader form(file);
    stored_fields(*this, form);
    const int stored = nbElements();
    elements.removeAll(Link());
    number_elements();
    const bool limited = std::isfinite(this->domain.start()) && std::isfinite(this->domain.end()) &&
                         std::isfinite(this->bound.start()) && std::isfinite(this->bound.end());
    if (nbElements() != stored || !limited) take_natural_limits();
}

template <class Self>
unsigned int CompositeCurve<Self>::binaryStoreSize() const {
    StoreSize form;
    stored_fields(*this, form);
    return D::TrimmedEntity::binaryStoreSize() + form.bytes();
}

template <class Self>
typename CompositeCurve<Self>::Link CompositeCurve<Self>::copy_of(const Element& element) {
    return Link(Element::castdown(element.getCopy()));
}

template <class Self>
void CompositeCurve<Self>::take_natural_limits() {
    this->domain = this->bound = ERLimites(0.0, nbElements());
}

template <class Self>
void CompositeCurve<Self>::put(const Link& element, bool at_end) {
    if (at_end) {
        elements.append(element);
    } else {
        elements.prepend(element);
    }
    numbered_.insert(at_end ? numbered_.end() : numbered_.begin(), element.get());
    take_natural_limits();
}

template <class Self>
void CompositeCurve<Self>::take_copies(const CompositeCurve& other) {
    Elements copies;
    for (const Link& link : other.elements)
        copies.append(copy_of(*link));
    elements = std::move(copies);
    number_elements();
}

template <class Self>
CompositeCurve<Self>::CompositeCurve(const Element& element) : CompositeCurve() {
    put(copy_of(element), true);
}

template <class Self>
CompositeCurve<Self>::CompositeCurve(const CompositeCurve& other)
    : D::TrimmedEntity(other.domain, other.bound) {
    take_copies(other);
}

template <class Self>
CompositeCurve<Self>& CompositeCurve<Self>::operator=(const CompositeCurve& other) {
    D::TrimmedEntity::operator=(other);
    take_copies(other);
    return *this;
}

template <class Self>
void CompositeCurve<Self>::number_elements() {
    numbered_.clear();
    for (const Link& link : elements)
        numbered_.push_back(link.get());
}

template <class Self>
const typename CompositeCurve<Self>::Element& CompositeCurve<Self>::element(int i) const {
    return *numbered_[static_cast<std::size_t>(i)];
}

template <class Self>
int CompositeCurve<Self>::join(const Element& element, double tol, bool at_end) {
    Link added = copy_of(element);
    if (nbElements() > 0 && !(tol < 0.0)) {
        const Point meeting = (*this)(at_end ? nbElements() : 0.0);
        const double to_first = distance(meeting, added->firstPt());
        const double to_last = distance(meeting, added->lastPt());
        // The end that needs no turn has priority.
        if (!((at_end ? to_first : to_last) <= tol)) {
            if (!((at_end ? to_last : to_first) <= tol)) return 0;
            added->reverse();
        }
    }
    put(added, at_end);
    return 1;
}

template <class Self>
int CompositeCurve<Self>::append(const Element& element, double tol) {
    return join(element, tol, true);
}

template <class Self>
int CompositeCurve<Self>::append(const t_SmartPtr<Element>& element, double tol) {
    return element ? join(*element, tol, true) : 0;
}

template <class Self>
int CompositeCurve<Self>::prepend(const Element& element, double tol) {
    return join(element, tol, false);
}

template <class Self>
int CompositeCurve<Self>::prepend(const t_SmartPtr<Element>& element, double tol) {
    return element ? join(*element, tol, false) : 0;
}

template <class Self>
typename CompositeCurve<Self>::Element& CompositeCurve<Self>::findPatch(double t) const {
    if (!(t > 0.0)) return *numbered_.front(); // NaN too
    if (t >= nbElements()) return *numbered_.back();
    return *numbered_[static_cast<std::size_t>(t)];
}

template <class Self>
double CompositeCurve<Self>::matchParamToPatch(double t) const {
    if (!(t > 0.0)) return t;
    if (t >= nbElements()) return t - nbElements() + 1.0;
    return t - std::floor(t);
}

template <class Self>
typename CompositeCurve<Self>::Point CompositeCurve<Self>::operator()(double t) {
    if (elements.isEmpty()) return Point();
    Element& element = findPatch(t);
    return element(parameter_at(element, matchParamToPatch(t)));
}

template <class Self>
typename CompositeCurve<Self>::InfoPoint CompositeCurve<Self>::PtCur(double t) {
    if (elements.isEmpty()) return {t, 1, Point(), typename D::Vector(), typename D::Vector()};
    Element& element = findPatch(t);
    InfoPoint info = element.PtCur(parameter_at(element, matchParamToPatch(t)));
    info.Parametre = t;
    return info;
}

template <class Self>
typename CompositeCurve<Self>::D::Box CompositeCurve<Self>::getBox() {
    typename D::Box box;
    for (const Link& link : elements)
        box.Update(link->getBox());
    return box;
}

template <class Self>
double CompositeCurve<Self>::arcLength(double) const {
    double length = 0.0;
    for (const Link& link : elements)
        length += link->arcLength(element_length_tolerance);
    return length;
}

template <class Self>
template <class F>
void CompositeCurve<Self>::for_parts(const ERLimites& interval, F f) const {
    const double a = std::min(interval.start(), interval.end());
    const double b = std::max(interval.start(), interval.end());
    const bool backwards = interval.start() > interval.end();
    const int all = nbElements();
    const auto inner = [all](double t) {
        return t > 0.0 ? static_cast<int>(std::min(t, all - 1.0)) : 0;
    };
    const int first = inner(a), last = inner(b);
    for (int k = first; k <= last && all > 0; ++k) {
        const int i = backwards ? first + last - k : k;
        const double from = i == first ? a - i : 0.0, to = i == last ? b - i : 1.0;
        if (!(to > from) && first != last) continue; // an interval that ends at a joint
        f(i, *numbered_[static_cast<std::size_t>(i)],
          backwards ? ERLimites(to, from) : ERLimites(from, to));
    }
}

template <class Self>
double CompositeCurve<Self>::arcLength(ERLimites interval, double) const {
    const ERLimites rising(std::min(interval.start(), interval.end()),
                           std::max(interval.start(), interval.end()));
    double length = 0.0;
    for_parts(rising, [&](int, const Element& element, const ERLimites& part) {
        const ERLimites own(parameter_at(element, part.start()), parameter_at(element, part.end()));
        const bool whole = own == ERLimites(element.udeb(), element.ufin());
        length += std::fabs(whole ? element.arcLength(element_length_tolerance)
                                  : element.arcLength(own, element_length_tolerance));
    });
    return length;
}

template <class Self>
ERVec<typename CompositeCurve<Self>::Point>
CompositeCurve<Self>::approxime(const ERLimites& interval, double tol) {
    ERVec<Point> points;
    for_parts(interval, [&](int, Element& element, const ERLimites& part) {
        const ERVec<Point> own = element.approxime(
            ERLimites(parameter_at(element, part.start()), parameter_at(element, part.end())), tol);
        std::span<const Point> added = own.view();
        if (!points.empty() && !added.empty() && std::as_const(points).back() == added.front())
            added = added.subspan(1);
        points.insert(points.size(), added);
    });
    return points;
}

template <class Self>
typename CompositeCurve<Self>::D::NurbsCurve CompositeCurve<Self>::ConvertToNurbs() {
    constexpr double any_gap = -1.0;
    typename D::NurbsCurve curve;
    for (const Link& link : elements)
        curve.append(link->ConvertToNurbs(), any_gap, 0);
    return curve;
}

template <class Self>
int CompositeCurve<Self>::ProjectPoint(const Point& p, ERVec<double>& params, double tol) const {
    typename D::Box around(p, p);
    around.Inflate(tol);
    typename D::Box box = const_cast<CompositeCurve&>(*this).getBox();
    if (RelativePosition(around, box) == BOXES_DISJOINT) return 0;
    bool everywhere = !elements.isEmpty();
    int i = 0;
    ERVec<double> feet;
    const auto keep = [&params](double t) {
        if (params.empty() || std::as_const(params).back() != t) params.push_back(t);
    };
    for (const Link& link : elements) {
        feet.clear();
        if (link->ProjectPoint(p, feet, tol) == -1) {
            keep(i + 0.5);
        } else {
            everywhere = false;
            const ERLimites own(link->udeb(), link->ufin());
            for (const double foot : feet.view()) {
                const double fraction = own.ratio(foot);
                if (fraction >= 0.0 && fraction <= 1.0) keep(i + fraction);
            }
        }
        ++i;
    }
    return everywhere ? -1 : params.size();
}

template <class Self>
bool CompositeCurve<Self>::cut_out(const ERLimites& interval, CompositeCurve& part) const {
    bool cut = true;
    for_parts(interval, [&](int, const Element& element, const ERLimites& fractions) {
        Link piece = copy_of(element);
        const auto keep = [&piece](double t, bool before) {
            t_SmartPtr<Curve> first, second;
            if (!piece->splitAt(first, second, t)) return false;
            piece = Link(Element::castdown((before ? first : second).get()));
            return static_cast<bool>(piece);
        };
        double start = parameter_at(element, fractions.start());
        const double end = parameter_at(element, fractions.end());
        if (fractions.end() < 1.0) {
            cut = cut && keep(end, true);
            if (cut && piece->ufin() != end) start = within_first_part(start, element.udeb(), end);
        }
        if (fractions.start() > 0.0) cut = cut && keep(start, false);
        if (cut) part.put(piece, true);
    });
    return cut;
}

template <class Self>
int CompositeCurve<Self>::splitAt(t_SmartPtr<Curve>& first, t_SmartPtr<Curve>& second,
                                  double t) const {
    const ERLimites limits = this->bound;
    if (!(t > limits.start() && t < limits.end()) || elements.isEmpty()) return 0;
    t_SmartPtr<Self> before(new Self()), after(new Self());
    if (!cut_out(ERLimites(limits.start(), t), *before) ||
        !cut_out(ERLimites(t, limits.end()), *after))
        return 0;
    first = before.get(); // may let go of this curve
    second = after.get();
    return 1;
}

template <class Self>
template <class F>
void CompositeCurve<Self>::change_elements(F f) {
    for (const Link& link : elements) {
        f(*link);
        link->ERObject::operator=(*link); // out of its store: what is there is another element now
    }
}

template <class Self>
void CompositeCurve<Self>::reverse() {
    change_elements([](Element& element) { element.reverse(); });
    Elements reversed;
    for (const Link& link : elements)
        reversed.prepend(link);
    elements = std::move(reversed);
    number_elements();
    take_natural_limits();
}

template <class Self>
void CompositeCurve<Self>::scale(double s) {
    change_elements([s](Element& element) { element.scale(s); });
}

template <class Self>
void CompositeCurve<Self>::translate(const Point& v) {
    change_elements([by = v](Element& element) { element.translate(by); });
}

template <class Self>
void CompositeCurve<Self>::printOn(std::ostream& out) const {
    out << std::string(53, '=') << '\n'
        << this->className() << " with " << nbElements() << " elements\n";
    for (std::size_t i = 0; i < numbered_.size(); ++i) {
        out << "Start Point : " << numbered_[i]->firstPt() << '\n'
            << "End Point   : " << numbered_[i]->lastPt();
        if (i + 1 < numbered_.size())
            out << " Dist = " << distance(numbered_[i]->lastPt(), numbered_[i + 1]->firstPt());
        out << "\nCurve     : ---------------- \n";
        numbered_[i]->printOn(out);
        out << "End Curve : ---------------- \n";
    }
}

template <class Self>
template <class F>
t_SmartPtr<typename CompositeCurve<Self>::Twin> CompositeCurve<Self>::twin(F image) const {
    t_SmartPtr<Twin> result(new Twin());
    for (const Link& link : elements) {
        const auto made = image(*link);
        if (auto* const found = Twin::Element::castdown(made.get()))
            result->put(t_SmartPtr<typename Twin::Element>(found), true);
    }
    if (result->nbElements() == nbElements()) {
        result->domain = this->domain;
        result->bound = this->bound;
    }
    return result;
}

template <class Self>
ERObject* CompositeCurve<Self>::getCopy() const {
    return new Self(static_cast<const Self&>(*this));
}

template <class Self>
void FlatComposite<Self>::transformFrom(const ERTransfo2D& t) {
    this->change_elements([&t](Element& element) { element.transformFrom(t); });
}

template <class Self>
void FlatComposite<Self>::transformTo(const ERTransfo2D& t) {
    this->change_elements([&t](Element& element) { element.transformTo(t); });
}

template <class Self>
t_SmartPtr<EREntity3DWF> FlatComposite<Self>::get3DEquiv(const ERPmIsometrie3D& frame) {
    return this->twin([&frame](Element& element) { return element.get3DEquiv(frame); }).get();
}

template <class Self>
void SpaceComposite<Self>::transformFrom(const ERPmSimilitude3D& t) {
    this->change_elements([&t](Element& element) { element.transformFrom(t); });
}

template <class Self>
void SpaceComposite<Self>::transformFrom(const ERPmIsometrie3D& t) {
    this->change_elements([&t](Element& element) { element.transformFrom(t); });
}

template <class Self>
void SpaceComposite<Self>::transformTo(const ERPmSimilitude3D& t) {
    this->change_elements([&t](Element& element) { element.transformTo(t); });
}

template <class Self>
void SpaceComposite<Self>::transformTo(const ERPmIsometrie3D& t) {
    this->change_elements([&t](Element& element) { element.transformTo(t); });
}

template <class Self>
t_SmartPtr<EREntity2DWF> SpaceComposite<Self>::get2DEntProjectedOn(const ERPmIsometrie3D& frame) {
    return this->twin([&frame](Element& element) { return element.get2DEntProjectedOn(frame); })
        .get();
}

template class CompositeCurve<ERCompCurve2D>;
template class CompositeCurve<ERCompCurve3D>;
template class CompositeCurve<ERCrvCompPoly2D>;
template class CompositeCurve<ERCrvCompPoly3D>;
template class FlatComposite<ERCompCurve2D>;
template class FlatComposite<ERCrvCompPoly2D>;
template class SpaceComposite<ERCompCurve3D>;
template class SpaceComposite<ERCrvCompPoly3D>;

} // namespace velm::detail
