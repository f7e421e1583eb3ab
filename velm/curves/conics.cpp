#include "velm/curves/conics.h"

#include "velm/curves/knot_vector.h"
#include "velm/frame/point_functions.h"
#include "velm/wireframe/arc.h"
#include "velm/wireframe/arc_in_space.h"
#include "velm/wireframe/ellipse_in_space.h"
#include "velm/wireframe/elliptical_arc.h"

#include <algorithm>
#include <cmath>
#include <numbers>
#include <optional>

namespace {

using std::numbers::pi;
constexpr double quarter_turn = 1.5707963267948966;
constexpr double three_quarters = 4.71238898038469;
constexpr double degrees_per_radian = 57.29577951308232;

// Quadratic pieces end to end: 2 n + 1 poles, and knots doubled where they meet.
template <class D>
typename D::NurbsCurve of_pieces(const ERVec<typename D::Pole>& poles) {
    const int pieces = poles.size() / 2;
    ERVec<double> knots(2 * pieces + 4);
    for (int i = 0; i < knots.size(); ++i) {
        const int joint = std::clamp((i - 1) / 2, 0, pieces);
        knots[i] = static_cast<double>(joint) / pieces;
    }
    return {poles, ERKnotVector(2, knots)};
}

// Where two lines meet, in units of their directions.
struct Crossing {
    double first;
    double second;
};

// None for lines whose directions are parallel within a sine of 3.2e-6, the root of 1e-11.
template <class Point, class Vector>
std::optional<Crossing> crossing(const Point& p0, const Vector& d0, const Point& p2,
                                 const Vector& d2) {
    const Vector u0 = d0.getnormalized();
    const Vector u2 = d2.getnormalized();
    const double c = u0 * u2;
    const double e = c * c - 1.0;
    if (!(std::fabs(e) > 1e-11)) return std::nullopt;
    const Vector v(p0, p2);
    const double a = v * u2;
    const double b = v * u0;
    return Crossing{(a * c - b) / e / d0.norme(), (a - b * c) / e / d2.norme()};
}

// A circle or an ellipse in its plane: center + across cos t + up sin t.
template <class D>
struct Round {
    using Point = typename D::Point;
    using Vector = typename D::Vector;
    using Pole = typename D::Pole;

    Point center;
    Vector across;
    Vector up;

    Round of_radius(double r) const { return {center, across * r, up * r}; }
    Point at(double t) const { return center + across * std::cos(t) + up * std::sin(t); }
    Vector tangent(double t) const { return up * std::cos(t) - across * std::sin(t); }
    // The pole of this weight in the direction t: the point there for a weight of 1. Rounded once
    // where long double is longer than double.
    Pole pole(long double t, double weight) const {
        const long double c = std::cos(t);
        const long double s = std::sin(t);
        return {Point::each([&](int axis) {
                    return static_cast<double>(static_cast<long double>(center[axis]) * weight +
                                               across[axis] * c + up[axis] * s);
                }),
                weight};
    }
};

// The arc of The NURBS Book's A7.1. `axes` is the circle of radius 1: its tangents have a length
// where the circle is a point.
template <class D>
typename D::NurbsCurve by_crossings(const Round<D>& axes, double radius, double start, double end) {
    using Pole = typename D::Pole;
    using Point = typename D::Point;
    if (start > end) end += 2.0 * pi;
    const double sweep = end - start;
    const int pieces = !(sweep > quarter_turn)   ? 1
                       : sweep <= pi             ? 2
                       : sweep <= three_quarters ? 3
                                                 : 4;
    const double step = sweep / pieces;
    const double weight = std::cos(step / 2.0);
    ERVec<Pole> poles(2 * pieces + 1);
    double angle = start;
    const Round<D> circle = axes.of_radius(radius);
    Point p0 = circle.at(angle);
    auto t0 = axes.tangent(angle);
    poles[0] = Pole(p0, 1.0);
    for (int i = 1; i <= pieces; ++i) {
        angle += step;
        const Point p2 = circle.at(angle);
        const auto t2 = axes.tangent(angle);
        const auto meeting = crossing(p0, t0, p2, t2);
        const Point middle = meeting ? p0 + t0 * meeting->first : Point();
        poles[2 * i - 1] = Pole(middle * weight, weight);
        poles[2 * i] = Pole(p2, 1.0);
        p0 = p2;
        t0 = t2;
    }
    return of_pieces<D>(poles);
}

// The poles of the arc by its angles; none for angles that are not finite.
template <class D>
ERVec<typename D::Pole> poles_by_angles(const Round<D>& round, double start, double end) {
    double sweep = end - start;
    if (!std::isfinite(sweep)) return {};
    if (std::fabs(sweep) > 4.0 * pi)
        sweep = std::copysign(2.0 * pi, sweep) + std::fmod(sweep, 2.0 * pi);
    const int pieces = std::max(1, static_cast<int>(std::ceil(std::fabs(sweep) / quarter_turn)));
    const long double half = static_cast<long double>(sweep) / (2 * pieces);
    const auto weight = static_cast<double>(std::cos(half));
    ERVec<typename D::Pole> poles(2 * pieces + 1);
    for (int i = 0; i < poles.size(); ++i)
        poles[i] = round.pole(start + i * half, i % 2 == 0 ? 1.0 : weight);
    poles.back() = round.pole(end, 1.0);
    return poles;
}

template <class D>
typename D::NurbsCurve by_angles(const Round<D>& round, double start, double end) {
    const auto poles = poles_by_angles(round, start, end);
    if (poles.empty()) return {};
    return of_pieces<D>(poles);
}

Round<velm::Plane> axes_of(const ERCircle2D& circle) {
    return {circle.center(), {1.0, 0.0}, {0.0, 1.0}};
}
Round<velm::Space> axes_of(const ERCircle3D& circle) {
    const ERPmIsometrie3D& frame = circle.getRepere();
    return {circle.center(), frame.getVector(Coord3D_X), frame.getVector(Coord3D_Y)};
}
template <class Circle>
auto round_of(const Circle& circle) -> decltype(axes_of(circle)) {
    return axes_of(circle).of_radius(circle.radius());
}
Round<velm::Plane> round_of(const EREllipse2D& ellipse) {
    const velm::detail::EllipseFrame frame = ellipse.frame();
    return {frame.centre, frame.big(), frame.small()};
}
Round<velm::Space> round_of(const EREllipse3D& ellipse) {
    const velm::detail::EllipseFrame flat = ellipse.flat().frame();
    const ERPmIsometrie3D& frame = ellipse.getRepere();
    return {velm::detail::lifted(frame, flat.centre), velm::detail::lifted(frame, flat.big()),
            velm::detail::lifted(frame, flat.small())};
}

// One conic piece: its end points, and the pole between them as a point, or, of weight 0, as the
// direction of a point at infinity.
struct ConicPiece {
    ERPoint2D p0;
    ERPoint2D p1;
    ERPoint2D p2;
    double weight;

    ERPole2DH pole() const { return {p1 * weight, weight}; }
};

// Cuts at the shoulder point, the one of parameter 1/2; both halves get the same weight.
void split_at_shoulder(const ConicPiece& whole, ConicPiece& before, ConicPiece& after) {
    const double w = whole.weight;
    const bool infinite = w == 0.0;
    const ERPoint2D q = infinite ? whole.p0 + whole.p1 : (whole.p0 + whole.p1 * w) / (1.0 + w);
    const ERPoint2D r = infinite ? whole.p2 + whole.p1 : (whole.p1 * w + whole.p2) / (1.0 + w);
    const ERPoint2D shoulder = (q + r) * 0.5;
    const double weight = std::sqrt((1.0 + w) / 2.0);
    before = {whole.p0, q, shoulder, weight};
    after = {shoulder, r, whole.p2, weight};
}

// The conic as one piece; none if there is no conic.
std::optional<ConicPiece> whole_conic(const ERPoint2D& p0, const ERVector2D& t0,
                                      const ERPoint2D& p2, const ERVector2D& t2,
                                      const ERPoint2D& p) {
    const ERVector2D chord(p0, p2);
    if (const auto tangents = crossing(p0, t0, p2, t2)) {
        const ERPoint2D p1 = p0 + t0 * tangents->first;
        const ERVector2D to_middle(p, p1);
        const auto on_chord = crossing(p1, ERVector2D(p1, p), p0, chord);
        if (!on_chord) return std::nullopt;
        const double k = on_chord->second;
        const double a = std::sqrt(k / (1.0 - k));
        const double u = a / (1.0 + a);
        const double rest = 1.0 - u;
        const double weight = ((ERVector2D(p0, p) * to_middle) * rest * rest +
                               (ERVector2D(p2, p) * to_middle) * u * u) /
                              (2.0 * u * rest * (to_middle * to_middle));
        if (!(weight > -1.0) || !std::isfinite(weight)) return std::nullopt;
        return ConicPiece{p0, p1, p2, weight};
    }
    const auto on_chord = crossing(p, t0, p0, chord);
    if (!on_chord) return std::nullopt;
    const double a = std::sqrt(on_chord->second / (1.0 - on_chord->second));
    const double u = a / (1.0 + a);
    const double b = 2.0 * u * (1.0 - u);
    const double factor = (b - 1.0) * on_chord->first / b;
    if (!std::isfinite(factor)) return std::nullopt;
    return ConicPiece{p0, ERPoint2D(t0 * factor), p2, 0.0};
}

// How many pieces keep the polygon close to the conic (The NURBS Book, A7.3).
int piece_count(const ConicPiece& conic) {
    if (conic.weight >= 1.0) return 1;
    const double degrees = degrees_per_radian *
                           anglePI(ERVector2D(conic.p1, conic.p0), ERVector2D(conic.p1, conic.p2));
    if (conic.weight > 0.0 && degrees > 60.0) return 1;
    if (conic.weight < 0.0 && degrees > 90.0) return 4;
    return 2;
}

} // namespace

ERCpoleNURBS2D Convert(const ERArc2D& arc) {
    return by_crossings(axes_of(arc), arc.radius(), arc.startAngle(), arc.endAngle());
}

ERCpoleNURBS3D Convert(const ERArc3D& arc) {
    return by_crossings(axes_of(arc), arc.radius(), arc.startAngle(), arc.endAngle());
}

ERCpoleNURBS2D Convert(const ERCircle2D& circle) {
    return by_crossings(axes_of(circle), circle.radius(), 0.0, 2.0 * pi);
}

ERCpoleNURBS3D Convert(const ERCircle3D& circle) {
    return by_crossings(axes_of(circle), circle.radius(), 0.0, 2.0 * pi);
}

ERCpoleNURBS2D MakeOpenConic(const ERPoint2D& p0, const ERVector2D& t0, const ERPoint2D& p2,
                             const ERVector2D& t2, const ERPoint2D& p) {
    const auto conic = whole_conic(p0, t0, p2, t2, p);
    if (!conic) return {};
    ConicPiece pieces[4] = {*conic};
    const int count = piece_count(*conic);
    if (count >= 2) split_at_shoulder(*conic, pieces[0], pieces[count / 2]);
    if (count == 4) {
        split_at_shoulder(ConicPiece(pieces[2]), pieces[2], pieces[3]);
        split_at_shoulder(ConicPiece(pieces[0]), pieces[0], pieces[1]);
    }
    ERVec<ERPole2DH> poles(2 * count + 1);
    poles[0] = ERPole2DH(p0, 1.0);
    for (int i = 0; i < count; ++i) {
        poles[2 * i + 1] = pieces[i].pole();
        poles[2 * i + 2] = ERPole2DH(pieces[i].p2, 1.0);
    }
    return of_pieces<velm::Plane>(poles);
}

ERCpoleNURBS2D Convert(const ERArcEllipse2D& arc) {
    const Round<velm::Plane> round = round_of(arc);
    const double start = arc.udeb();
    const double sweep = arc.ufin() - start;
    const int halves = std::fabs(sweep) > pi ? 2 : 1;
    ERVec<ERPole2DH> poles;
    for (int i = 0; i < halves; ++i) {
        const double from = start + sweep * i / halves;
        const double to = start + sweep * (i + 1) / halves;
        const ERCpoleNURBS2D conic =
            MakeOpenConic(round.at(from), round.tangent(from), round.at(to), round.tangent(to),
                          round.at((from + to) / 2.0));
        const ERVec<ERPole2DH> piece =
            conic.nbPoles() > 0 ? conic.getPoles() : poles_by_angles(round, from, to);
        if (!poles.empty()) poles.remove(poles.size() - 1);
        poles.insert(poles.size(), piece.view());
    }
    if (poles.empty()) return {};
    return of_pieces<velm::Plane>(poles);
}

namespace velm {

ERCpoleNURBS2D to_nurbs(const ERArc2D& arc) {
    return by_angles(round_of(arc), arc.startAngle(), arc.endAngle());
}

ERCpoleNURBS3D to_nurbs(const ERArc3D& arc) {
    return by_angles(round_of(arc), arc.startAngle(), arc.endAngle());
}

ERCpoleNURBS2D to_nurbs(const ERArcEllipse2D& arc) {
    return by_angles(round_of(arc), arc.udeb(), arc.ufin());
}

ERCpoleNURBS3D to_nurbs(const ERArcEllipse3D& arc) {
    return by_angles(round_of(arc), arc.udeb(), arc.ufin());
}

} // namespace velm
