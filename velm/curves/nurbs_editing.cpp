#include "velm/curves/nurbs_editing.h"

#include "velm/curves/detail/pole_arrays.h"
#include "velm/curves/detail/pole_deviation.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <vector>

namespace velm {
namespace {

template <class Point>
double length_of(const Point& p) {
    double sum = 0.0;
    for (int axis = 0; axis < Point::components; ++axis)
        sum += p[axis] * p[axis];
    return std::sqrt(sum);
}

template <class Nurbs>
bool has_positive_weights(const Nurbs& curve) {
    for (const auto& pole : curve.getPoles()) {
        if (!(pole.weigth() > 0.0)) return false;
    }
    return curve.getPoles().size() > 1 && curve.getKnots().isUsable() && curve.isValid() != 0;
}

// A bound of the distance of two curves with the same knots, at each parameter.
template <class Nurbs>
double knotwise_deviation(const Nurbs& before, const Nurbs& after) {
    const auto &a = before.getPoles(), &b = after.getPoles();
    if (a.size() != b.size()) return std::numeric_limits<double>::infinity();
    return detail::pole_deviation(detail::row_of(a), detail::row_of(b), Nurbs::Point::components,
                                  after.degree() + 1);
}

template <class Nurbs>
KnotRemoval remove_copies(Nurbs& curve, double t, double tolerance) {
    KnotRemoval removal;
    if (!has_positive_weights(curve)) return removal;
    const ERLimites bound(curve.udeb(), curve.ufin());
    Nurbs candidate = curve, best = curve;
    for (int copies = 1;; ++copies) {
        const int before = candidate.getPoles().size();
        candidate.reduceKnotMultiplicity(t, 1);
        if (candidate.getPoles().size() == before) break;
        Nurbs refined = candidate;
        refined.insertKnot(t, copies);
        const double deviation = knotwise_deviation(curve, refined);
        if (!(deviation <= tolerance)) break;
        removal = {copies, deviation};
        best = candidate;
    }
    if (removal.removed > 0) {
        curve = best;
        curve.setBound(bound);
    }
    return removal;
}

// The speed at an end of a clamped curve: the legs of the polygon next to it and the span.
template <class Nurbs>
double end_speed(const Nurbs& curve, bool at_end) {
    const auto& poles = curve.getPoles();
    const ERKnotVector& knots = curve.getKnots();
    const int n = poles.size(), p = knots.degree();
    const auto& end = poles[at_end ? n - 1 : 0];
    const auto& next = poles[at_end ? n - 2 : 1];
    const double span = at_end ? knots[n] - knots[n - 1] : knots[p + 1] - knots[p];
    return p * next.weigth() / end.weigth() * length_of(end.castToPoint() - next.castToPoint()) /
           span;
}

template <class Nurbs>
std::optional<JoinedCurve<Nurbs>> joined(const Nurbs& a, const Nurbs& b, double tolerance) {
    using Point = typename Nurbs::Point;
    using Pole = typename Nurbs::Pole;
    if (!has_positive_weights(a) || !has_positive_weights(b)) return std::nullopt;
    Nurbs first = a, second = b;
    first.adjust();
    second.adjust();
    const auto end_of = [](const Nurbs& curve) {
        return curve.getPoles()[curve.getPoles().size() - 1].castToPoint();
    };
    const Point end = end_of(first);
    if (!(length_of(second.getPoles()[0].castToPoint() - end) <= tolerance)) second.reverse();
    const double gap = length_of(second.getPoles()[0].castToPoint() - end);
    if (!(gap <= tolerance)) return std::nullopt;
    first.incrDegree(second.degree() - first.degree());
    second.incrDegree(first.degree() - second.degree());

    const double u = end_speed(first, true), v = end_speed(second, false);
    const ERKnotVector &knots_a = first.getKnots(), &knots_b = second.getKnots();
    const double ratio = v / u;
    const double scale = u > 0.0 && v > 0.0 && std::isfinite(ratio) ? ratio : 1.0;
    const double factor =
        first.getPoles()[first.getPoles().size() - 1].weigth() / second.getPoles()[0].weigth();
    const Point meeting = (end + second.getPoles()[0].castToPoint()) * 0.5;

    const int p = first.degree();
    const double joint = knots_a.last();
    ERVec<double> knots;
    for (int i = 0; i < knots_a.length() - 1; ++i)
        knots.append(knots_a[i]);
    for (int i = p + 1; i < knots_b.length(); ++i)
        knots.append(joint + (knots_b[i] - knots_b.first()) * scale);
    ERVec<Pole> poles = first.getPoles();
    const double weight = poles[poles.size() - 1].weigth();
    poles[poles.size() - 1] = Pole(meeting * weight, weight);
    for (int i = 1; i < second.getPoles().size(); ++i)
        poles.append(second.getPoles()[i] * factor);

    JoinedCurve<Nurbs> result{Nurbs(poles, ERKnotVector(p, knots)), 0.5 * gap, 0};
    const KnotRemoval removal = remove_copies(result.curve, joint, tolerance - 0.5 * gap);
    result.removed = removal.removed;
    result.deviation += removal.deviation;
    return result;
}

} // namespace

KnotRemoval remove_knot(ERCpoleNURBS2D& curve, double t, double tolerance) {
    return remove_copies(curve, t, tolerance);
}
KnotRemoval remove_knot(ERCpoleNURBS3D& curve, double t, double tolerance) {
    return remove_copies(curve, t, tolerance);
}

std::optional<JoinedCurve<ERCpoleNURBS2D>> join(const ERCpoleNURBS2D& a, const ERCpoleNURBS2D& b,
                                                double tolerance) {
    return joined(a, b, tolerance);
}
std::optional<JoinedCurve<ERCpoleNURBS3D>> join(const ERCpoleNURBS3D& a, const ERCpoleNURBS3D& b,
                                                double tolerance) {
    return joined(a, b, tolerance);
}

} // namespace velm
