#include "velm/curves/prepare.h"

#include "velm/curves/detail/pole_arrays.h"
#include "velm/curves/detail/spline_rows.h"
#include "velm/curves/nurbs_curve.h"
#include "velm/wireframe/arc_in_space.h"
#include "velm/wireframe/detail/angles.h"
#include "velm/wireframe/ellipse_in_space.h"
#include "velm/wireframe/segment.h"

#include <algorithm>
#include <cmath>
#include <vector>

namespace velm {
namespace {

// More quarter turns than any arc that is meant has.
constexpr double most_arc_pieces = 1e6;

template <int N>
std::optional<PreparedCurve<N>> prepare_segment(const typename DimensionOf<N>::Segment& segment) {
    constexpr std::size_t doubles = 2 * (N + 1);
    double poles[doubles];
    for (int axis = 0; axis < N; ++axis) {
        poles[axis] = segment.getP1()[axis];
        poles[N + 1 + axis] = segment.getP2()[axis];
    }
    poles[N] = poles[2 * N + 1] = 1.0;
    const BezierPiece piece{poles, 0.0, 1.0};
    return PreparedCurve<N>::from_pieces({&piece, 1});
}

// One piece, about its middle: however short the arc is, its poles are right to their last digits
// there. For the angle m + x, cos(m + x) - cos m = -2 sin(m + x / 2) sin(x / 2), and so on.
template <int N>
std::optional<PreparedCurve<N>> prepare_short_turn(const typename DimensionOf<N>::Point& center,
                                                   const typename DimensionOf<N>::Vector& u,
                                                   const typename DimensionOf<N>::Vector& v,
                                                   const ERLimites& bound) {
    const double middle = 0.5 * bound.start() + 0.5 * bound.end();
    const double half = 0.5 * bound.amplitude();
    const double s = 2.0 * std::sin(0.5 * half);
    const double rise = std::sin(0.5 * half) * s; // 1 - cos(half)
    const auto at = [&](double angle, int axis) {
        return u[axis] * std::cos(angle) + v[axis] * std::sin(angle);
    };
    const auto slope = [&](double angle, int axis) {
        return v[axis] * std::cos(angle) - u[axis] * std::sin(angle);
    };
    constexpr std::size_t doubles = 3 * (N + 1);
    double poles[doubles];
    for (int axis = 0; axis < N; ++axis) {
        poles[axis] = -s * slope(middle - 0.5 * half, axis);
        poles[N + 1 + axis] = rise * at(middle, axis);
        poles[2 * (N + 1) + axis] = s * slope(middle + 0.5 * half, axis);
    }
    poles[N] = poles[3 * N + 2] = 1.0;
    poles[2 * N + 1] = std::cos(half);
    const BezierPiece piece{poles, bound.start(), bound.end()};
    const auto origin =
        DimensionOf<N>::Point::each([&](int axis) { return center[axis] + at(middle, axis); });
    return PreparedCurve<N>::from_pieces({&piece, 1}, origin, PieceParameter::angular);
}

// center + u cos t + v sin t for t in `bound`. A piece of sweep 2 h about the angle m has its
// middle pole at (u cos m + v sin m) / cos h with the weight cos h.
template <int N>
std::optional<PreparedCurve<N>>
prepare_turn(const typename DimensionOf<N>::Point& center, const typename DimensionOf<N>::Vector& u,
             const typename DimensionOf<N>::Vector& v, const ERLimites& bound) {
    const double quarters = std::ceil(bound.amplitude() / (0.25 * detail::turn) - 1e-12);
    if (!(quarters <= most_arc_pieces) || !(bound.amplitude() > 0.0)) return std::nullopt;
    const int count = std::max(1, static_cast<int>(quarters));
    if (count == 1) return prepare_short_turn<N>(center, u, v, bound);
    constexpr int doubles = 3 * (N + 1);
    std::vector<double> poles;
    std::vector<BezierPiece> pieces;
    poles.reserve(static_cast<std::size_t>(count * doubles));
    const auto add_pole = [&](double angle, double weight) {
        for (int axis = 0; axis < N; ++axis)
            poles.push_back(u[axis] * std::cos(angle) + v[axis] * std::sin(angle));
        poles.push_back(weight);
    };
    double start = bound.start();
    for (int i = 1; i <= count; ++i) {
        const double end =
            i == count ? bound.end() : bound.start() + bound.amplitude() * (double(i) / count);
        const std::size_t first = poles.size();
        add_pole(start, 1.0);
        add_pole(0.5 * start + 0.5 * end, std::cos(0.5 * (end - start)));
        add_pole(end, 1.0);
        pieces.push_back({{poles.data() + first, doubles}, start, end});
        start = end;
    }
    return PreparedCurve<N>::from_pieces(pieces, center, PieceParameter::angular);
}

std::optional<PreparedCurve<2>> prepare_turn(const ERCircle2D& circle, const ERLimites& bound) {
    const double r = circle.radius();
    return prepare_turn<2>(circle.center(), {r, 0.0}, {0.0, r}, bound);
}
std::optional<PreparedCurve<2>> prepare_turn(const EREllipse2D& ellipse, const ERLimites& bound) {
    const detail::EllipseFrame frame = ellipse.frame();
    return prepare_turn<2>(frame.centre, frame.big(), frame.small(), bound);
}
std::optional<PreparedCurve<3>> prepare_turn(const ERCircle3D& circle, const ERLimites& bound) {
    const ERPmIsometrie3D& frame = circle.getRepere();
    const double r = circle.radius();
    return prepare_turn<3>(detail::lifted(frame, circle.flat().center()),
                           detail::lifted(frame, ERVector2D(r, 0.0)),
                           detail::lifted(frame, ERVector2D(0.0, r)), bound);
}
std::optional<PreparedCurve<3>> prepare_turn(const EREllipse3D& ellipse, const ERLimites& bound) {
    const ERPmIsometrie3D& frame = ellipse.getRepere();
    const detail::EllipseFrame flat = ellipse.flat().frame();
    return prepare_turn<3>(detail::lifted(frame, flat.centre), detail::lifted(frame, flat.big()),
                           detail::lifted(frame, flat.small()), bound);
}

// The interval of getBound, which isn't const.
template <class Arc>
ERLimites bound_of(const Arc& arc) {
    const double a = arc.udeb(), b = arc.ufin();
    return {std::min(a, b), std::max(a, b)};
}

const ERLimites whole_turn(0.0, detail::turn);

// The Bezier pieces of a NURBS curve's spans, cut to its limits. Limits beyond the knots continue
// the first or the last span.
template <int N, class Nurbs>
std::optional<PreparedCurve<N>> prepare_nurbs(const Nurbs& curve) {
    const ERKnotVector& vector = curve.getKnots();
    const int p = vector.degree();
    const ERLimites bound = bound_of(curve);
    if (!vector.isUsable() || curve.isValid() == 0 || p < 1 || p > PreparedCurve<N>::max_degree)
        return std::nullopt;
    const detail::KnotView knots = detail::view_of(vector);
    constexpr int width = N + 1;
    const detail::ConstPoleRow control = detail::row_of(curve.getPoles());
    const int row_size = (p + 1) * width;
    std::vector<int> spans;
    for (int s = p; s < knots.poles(); ++s) {
        if (knots[s] < knots[s + 1]) spans.push_back(s);
    }
    std::vector<double> rows(spans.size() * static_cast<std::size_t>(row_size));
    std::vector<BezierPiece> pieces;
    for (std::size_t i = 0; i < spans.size(); ++i) {
        const int s = spans[i];
        const bool first = i == 0, last = i + 1 == spans.size();
        const double from = first ? bound.start() : std::max(knots[s], bound.start());
        const double to = last ? bound.end() : std::min(knots[s + 1], bound.end());
        if (!(from < to)) continue;
        double* row = rows.data() + i * static_cast<std::size_t>(row_size);
        detail::span_to_bezier(knots.knots + s, {control[s - p], p + 1, width},
                               {row, p + 1, width});
        const double length = knots[s + 1] - knots[s];
        if (from != knots[s] || to != knots[s + 1])
            detail::restrict_row({row, p + 1, width}, (from - knots[s]) / length,
                                 (to - knots[s]) / length);
        pieces.push_back({{row, static_cast<std::size_t>(row_size)}, from, to});
    }
    return PreparedCurve<N>::from_pieces(pieces);
}

template <int N, class Arc, class EllipseArc>
std::optional<PreparedCurve<N>> prepare_entity(const typename DimensionOf<N>::FiniteEntity& curve) {
    using D = DimensionOf<N>;
    if (const auto* segment = D::Segment::castdown(&curve)) return prepare_segment<N>(*segment);
    if (const auto* arc = Arc::castdown(&curve)) return prepare(*arc);
    if (const auto* arc = EllipseArc::castdown(&curve)) return prepare(*arc);
    if (const auto* nurbs = D::NurbsCurve::castdown(&curve)) return prepare_nurbs<N>(*nurbs);
    // Conversion isn't const.
    const t_SmartPtr<typename D::FiniteEntity> copy(D::FiniteEntity::castdown(curve.getCopy()));
    return prepare_nurbs<N>(copy->ConvertToNurbs());
}

} // namespace

std::optional<PreparedCurve<2>> prepare(const ERFiniteEntity2DWF& curve) {
    return prepare_entity<2, ERArc2D, ERArcEllipse2D>(curve);
}
std::optional<PreparedCurve<3>> prepare(const ERFiniteEntity3DWF& curve) {
    return prepare_entity<3, ERArc3D, ERArcEllipse3D>(curve);
}

std::optional<PreparedCurve<2>> prepare(const ERArc2D& arc) {
    return prepare_turn(arc, bound_of(arc));
}
std::optional<PreparedCurve<3>> prepare(const ERArc3D& arc) {
    return prepare_turn(arc, bound_of(arc));
}
std::optional<PreparedCurve<2>> prepare(const ERArcEllipse2D& arc) {
    return prepare_turn(arc, bound_of(arc));
}
std::optional<PreparedCurve<3>> prepare(const ERArcEllipse3D& arc) {
    return prepare_turn(arc, bound_of(arc));
}

std::optional<PreparedCurve<2>> prepare(const ERCircle2D& circle) {
    return prepare_turn(circle, whole_turn);
}
std::optional<PreparedCurve<3>> prepare(const ERCircle3D& circle) {
    return prepare_turn(circle, whole_turn);
}
std::optional<PreparedCurve<2>> prepare(const EREllipse2D& ellipse) {
    return prepare_turn(ellipse, whole_turn);
}
std::optional<PreparedCurve<3>> prepare(const EREllipse3D& ellipse) {
    return prepare_turn(ellipse, whole_turn);
}

} // namespace velm
