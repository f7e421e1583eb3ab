// NURBS curves span by span: power forms, feet of perpendiculars, sections, seeds of polylines.
#include "velm/curves/detail/knot_search.h"
#include "velm/curves/detail/pole_arrays.h"
#include "velm/curves/detail/spline_rows.h"
#include "velm/curves/nurbs_curve.h"
#include "velm/frame/box.h"
#include "velm/frame/box_operations.h"
#include "velm/numerics/laguerre_roots.h"
#include "velm/numerics/projection_on_polynomial.h"

#include <memory>
#include <vector>

namespace velm::detail {

namespace {

// Spans up to this length, in the parameter, are passed over by feet and sections.
constexpr double least_span = 1e-11;

template <class Box>
bool apart(const Box& a, const Box& b) {
    return RelativePosition(a, b) == BOXES_DISJOINT && RelativePosition(b, a) == BOXES_DISJOINT;
}

} // namespace

template <class D>
const typename NurbsCurve<D>::PowerForm& NurbsCurve<D>::span_power(int i) const {
    if (const PowerForm* const kept = this->getCachedSpan(i)) return *kept;
    constexpr int width = Pole::components;
    const KnotView k = view_of(knots);
    const int p = k.degree, s = p + i;
    std::vector<double> bezier;
    if (k[s] < k[s + 1]) {
        bezier.resize((std::size_t(p) + 1) * width);
        span_to_bezier(k.knots + s,
                       row_of(poles.view().subspan(std::size_t(i), std::size_t(p) + 1)),
                       {bezier.data(), p + 1, width});
    } else {
        const Pole there = CalOnNurbs_H(k[s]);
        bezier.assign(&there.x_, &there.x_ + width);
    }
    const int coefficients = static_cast<int>(bezier.size()) / width;
    this->insertSpanInCache(i, new PowerForm(power_form_of({bezier.data(), coefficients, width})));
    return *this->getCachedSpan(i);
}

template <class D>
typename NurbsCurve<D>::PowerForm NurbsCurve<D>::getSpanPower(int i) const {
    if (!drawable() || i < 0 || i >= this->nbSpans()) return {};
    return span_power(i);
}

template <class D>
template <class F>
void NurbsCurve<D>::for_spans(F f) const {
    if (!drawable()) return;
    const ERVec<Point> points = this->pole_points();
    const KnotView k = view_of(knots);
    for (int i = 0; i < this->nbSpans(); ++i) {
        const ERLimites span(k[k.degree + i], k[k.degree + i + 1]);
        if (!(span.amplitude() > least_span)) continue;
        typename D::Box box;
        for (int j = 0; j <= k.degree; ++j)
            box.Update(points[i + j]);
        f(i, span, box);
    }
}

template <class D>
int NurbsCurve<D>::ProjectPoint(const Point& p, ERVec<double>& params, double tol) const {
    const Point from = p;
    params.clear();
    typename D::Box reach(from, from);
    reach.Inflate(tol);
    if (apart(reach, this->kept_box())) return 0;
    bool everywhere = false, definite = false;
    ERVec<double> roots;
    for_spans([&](int i, const ERLimites& span, const typename D::Box& box) {
        if (apart(reach, box)) return;
        if (ProjectionPointOnCpoly(span_power(i), ERLimites(0.0, 1.0), from, roots) == -1) {
            everywhere = true;
            params.append(span(0.5));
            return;
        }
        definite = true;
        for (const double root : roots.view())
            params.append(span(root));
    });
    return everywhere && !definite ? -1 : params.size();
}

template <class D>
int NurbsCurve<D>::level_crossings(double level, ERVec<double>& params) const {
    constexpr int axis = D::size - 1;
    ERVec<double> roots;
    for_spans([&](int i, const ERLimites& span, const typename D::Box& box) {
        if (level < box.MinPoint()[axis] || level > box.MaxPoint()[axis]) return;
        const PowerForm& power = span_power(i);
        if (Zeros(power[axis] - power[D::size] * level, ERLimites(0.0, 1.0), roots) == -1) return;
        for (const double root : roots.view()) {
            const double t = span(root);
            const auto found = params.view();
            if (std::find(found.begin(), found.end(), t) == found.end()) params.append(t);
        }
    });
    return params.size();
}

template <class D>
ERVec<double> NurbsCurve<D>::first_parameters(const ERLimites& interval) const {
    ERVec<double> parameters{interval.start()};
    const int steps = std::max(degree(), 1);
    const auto add_to = [&](double end) {
        const ERLimites span(std::as_const(parameters).back(), end);
        for (int i = 1; i <= steps; ++i)
            parameters.push_back(span(double(i) / steps));
    };
    for (const double knot : knots.getVec().view()) {
        if (interval.strictlyInBound(knot) && knot > std::as_const(parameters).back()) add_to(knot);
    }
    add_to(interval.end());
    return parameters;
}

#define VELM_INSTANTIATE(D)                                                                        \
    template const NurbsCurve<D>::PowerForm& NurbsCurve<D>::span_power(int) const;                 \
    template NurbsCurve<D>::PowerForm NurbsCurve<D>::getSpanPower(int) const;                      \
    template int NurbsCurve<D>::ProjectPoint(const Point&, ERVec<double>&, double) const;          \
    template int NurbsCurve<D>::level_crossings(double, ERVec<double>&) const;                     \
    template ERVec<double> NurbsCurve<D>::first_parameters(const ERLimites&) const;
VELM_INSTANTIATE(Plane)
VELM_INSTANTIATE(Space)
#undef VELM_INSTANTIATE

} // namespace velm::detail
