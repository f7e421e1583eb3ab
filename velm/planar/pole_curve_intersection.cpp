#include "velm/planar/pole_curve_intersection.h"

#include "velm/curves/detail/bernstein_rows.h"
#include "velm/curves/detail/knot_search.h"
#include "velm/curves/detail/pole_arrays.h"
#include "velm/curves/detail/spline_rows.h"
#include "velm/frame/point_functions.h"
#include "velm/numerics/newton_solvers.h"
#include "velm/planar/convex_hull.h"
#include "velm/planar/polygon_intersection.h"
#include "velm/transforms/plane_transformation.h"
#include "velm/wireframe/intersections.h"
#include "velm/wireframe/segment.h"

#include <algorithm>
#include <cmath>
#include <optional>
#include <utility>
#include <vector>

namespace {

constexpr int coordinates = 3; // x, y and the weight

// Of no poles three empty polynomials, whose quotients are NaN.
ERTValVector<ERPolynome> power_of(const ERCpoleBezier2DR& curve) {
    return curve.getPoles().empty() ? ERTValVector<ERPolynome>(coordinates) : curve.getSpanPower(0);
}

ERTValVector<ERPolynome> derived_of(const ERTValVector<ERPolynome>& power) {
    ERTValVector<ERPolynome> derived(coordinates);
    for (int i = 0; i < coordinates; ++i)
        derived[i] = power[i].getDerived(1);
    return derived;
}

} // namespace

FonctionnelleIntersectionDeBezier::FonctionnelleIntersectionDeBezier(const ERCpoleBezier2DR& a,
                                                                     const ERCpoleBezier2DR& b)
    : powerA(power_of(a)), powerB(power_of(b)), derivedA(derived_of(powerA)),
      derivedB(derived_of(powerB)), limitsA(a.udeb(), a.ufin()), limitsB(b.udeb(), b.ufin()),
      work(2) {}

ERVec<double> FonctionnelleIntersectionDeBezier::f(const ERVec<double>& x) {
    constexpr int weight = 2;
    const double wa = powerA[weight].evaluate(x[0]), wb = powerB[weight].evaluate(x[1]);
    for (int i = 0; i < weight; ++i)
        work[i] = powerA[i].evaluate(x[0]) / wa - powerB[i].evaluate(x[1]) / wb;
    return work;
}

ERMatrix<double> FonctionnelleIntersectionDeBezier::fprime(const ERVec<double>& x) {
    constexpr int weight = 2;
    ERMatrix<double> jacobian(2, 2);
    const auto column = [&](int j, double sign, const auto& power, const auto& derived, double t) {
        const double w = power[weight].evaluate(t), dw = derived[weight].evaluate(t);
        for (int i = 0; i < weight; ++i)
            jacobian(i, j) = sign * (derived[i].evaluate(t) - power[i].evaluate(t) * dw / w) / w;
    };
    column(0, 1.0, powerA, derivedA, x[0]);
    column(1, -1.0, powerB, derivedB, x[1]);
    return jacobian;
}

namespace {

using velm::detail::row_of;

// Each level halves the limits of one curve: deeper, they are a rounding wide.
constexpr int deepest_level = 100;
constexpr double length_tolerance = 1e-07; // not read: the lengths of segments are exact

// The convex hull of points as a closed polygon, with the ordinates it reaches.
struct Hull {
    explicit Hull(const ERVec<ERPoint2D>& points) : outline(CalculateConvexeHull(points)) {
        for (const ERPoint2D& p : outline.view()) {
            lowest = std::min(lowest, p.y());
            highest = std::max(highest, p.y());
        }
        outline.push_back(ERPoint2D(std::as_const(outline).front()));
    }
    // intersect of both outlines. No ordinate in common is a sure no: `Inside` takes up no edge
    // then, and no edges meet.
    bool touches(const Hull& other) const {
        return lowest <= other.highest && other.lowest <= highest &&
               intersect(outline, other.outline) != 0;
    }

    ERVec<ERPoint2D> outline;
    double lowest = HUGE_VAL;
    double highest = -HUGE_VAL;
};

// A part of a curve over its own limits; its ends are those of the poles, exactly. What needs its
// points REQUIRES that they are finite.
class Part {
public:
    Part(const ERVec<ERPole2DH>& poles_of_part, const ERLimites& limits_of_part)
        : poles(poles_of_part), limits(limits_of_part), points(poles.size()) {
        ERPoint2D* next = points.writable().data();
        for (const ERPole2DH& pole : poles_of_part.view()) {
            const ERPoint2D p = pole.castToPoint();
            finite = finite && std::fabs(p.x()) < greatest && std::fabs(p.y()) < greatest;
            lowest_ = std::min(lowest_, p.y());
            highest_ = std::max(highest_, p.y());
            if (next != points.data()) length += distance(next[-1], p);
            *next++ = p;
        }
        if (finite) flat = !(1.0 - distance(first(), last()) / length >= flatness);
    }

    const ERPoint2D& first() const { return points.view().front(); }
    const ERPoint2D& last() const { return points.view().back(); }
    // Whether the hulls touch, which are made when they are needed. The ordinates of the poles hold
    // those of the hull.
    bool touches(const Part& other) const {
        if (!(lowest_ <= other.highest_ && other.lowest_ <= highest_)) return false;
        return hull().touches(other.hull());
    }
    Part part(double start, double end) const {
        const ERLimites whole = limits, wanted(start, end), ratios = whole.ratio(wanted);
        ERVec<ERPole2DH> own(poles);
        velm::detail::restrict_row(row_of(own), ratios.start(), ratios.end());
        return {own, wanted};
    }
    ERCpoleBezier2DR curve() const { return {poles, limits}; }

    ERVec<ERPole2DH> poles;
    ERLimites limits;
    ERVec<ERPoint2D> points;
    bool finite = true; // and so are the squares of lengths between the points
    double length = 0.0;
    bool flat = true; // also for a ratio of NaN, that of a part without length

private:
    const Hull& hull() const {
        if (!hull_) hull_.emplace(points);
        return *hull_;
    }

    static constexpr double greatest = 1e150, flatness = 0.01;
    double lowest_ = HUGE_VAL, highest_ = -HUGE_VAL;
    mutable std::optional<Hull> hull_;
};

// The pairs of parameters of two curves, in the order in which they are found.
class PairFinder {
public:
    PairFinder(ERVec<double>& ta, ERVec<double>& tb) : ta_(ta), tb_(tb) {}

    // `swapped`: the second curve is first here.
    void find(const Part& first, const Part& second, bool swapped, int level = 0) {
        const bool flat = first.flat && second.flat;
        if (!flat && level < deepest_level && divide(first, second, swapped, level)) return;
        solve(first, second, swapped);
    }

private:
    // Goes on with the halves of the longer part, each before the other part; false if it can't be
    // halved.
    bool divide(const Part& first, const Part& second, bool swapped, int level) {
        const bool longer_first = first.length >= second.length;
        const Part &longer = longer_first ? first : second, &other = longer_first ? second : first;
        const double start = longer.limits.start(), end = longer.limits.end();
        const double middle = (start + end) * 0.5;
        if (!(middle > start && middle < end)) return false;
        const Part halves[2] = {longer.part(start, middle), longer.part(middle, end)};
        if (!halves[0].finite || !halves[1].finite) return false;
        for (const Part& half : halves)
            if (half.touches(other)) find(half, other, swapped == longer_first, level + 1);
        return true;
    }

    void solve(const Part& first, const Part& second, bool swapped) {
        ERVec<double> fractions(2);
        if (!start_of(first, second, fractions)) return;
        ERCpoleBezier2DR a = first.curve(), b = second.curve();
        if (!scale_up(a, b)) return;
        FonctionnelleIntersectionDeBezier problem(a, b);
        constexpr double flatness_ratio = 1e-12, residual = 1e-09;
        constexpr int unknowns = 2, iterations = 400;
        ERNewtonMSolver solver(&problem, unknowns, flatness_ratio, iterations);
        if (solver.Resoudre(fractions, residual) > NewtonStatus_residual) return;
        // The maps clamp what is in [0, 1] and extrapolate the rest.
        const double on_first = problem.limits_of_a()(std::as_const(fractions)[0]);
        const double on_second = problem.limits_of_b()(std::as_const(fractions)[1]);
        ta_.push_back(swapped ? on_second : on_first);
        tb_.push_back(swapped ? on_first : on_second);
    }

    // The fractions at which the lines through the ends meet, by distance: never negative.
    static bool start_of(const Part& first, const Part& second, ERVec<double>& fractions) {
        const ERSegment2D s1(first.first(), first.last()), s2(second.first(), second.last());
        const double sine =
            velm::cross(s1.dirVector().getnormalized(), s2.dirVector().getnormalized());
        ERPoint2D p;
        if (sine == 0.0 || !intersect(ERInfLine2D(s1), ERInfLine2D(s2), p)) return false;
        fractions[0] = distance(p, s1.getP1()) / s1.arcLength(length_tolerance);
        fractions[1] = distance(p, s2.getP1()) / s2.arcLength(length_tolerance);
        return true;
    }

    // Makes the box of both 100 units across, about its centre, so that the absolute residual is
    // relative to it.
    static bool scale_up(ERCpoleBezier2DR& a, ERCpoleBezier2DR& b) {
        constexpr double across = 100.0;
        ERMinimax2D box = a.getBox();
        box.Update(b.getBox());
        const ERPoint2D low = box.MinPoint(), high = box.MaxPoint();
        const double ratio = across / distance(low, high);
        if (!std::isfinite(ratio)) return false;
        const ERTransfo2D larger(ratio, (low + high) * 0.5);
        a.transformFrom(larger);
        b.transformFrom(larger);
        return true;
    }

    ERVec<double>& ta_;
    ERVec<double>& tb_;
};

bool are_equal(const ERVec<ERPole2DH>& a, const ERVec<ERPole2DH>& b) {
    return std::equal(a.cbegin(), a.cend(), b.cbegin(), b.cend());
}
// Whether two pole arrays are the same exactly, or one is the other turned round.
bool are_same_poles(const ERVec<ERPole2DH>& a, const ERVec<ERPole2DH>& b) {
    const auto u = a.view(), v = b.view();
    return are_equal(a, b) || (u.size() == v.size() && std::equal(u.begin(), u.end(), v.rbegin()));
}
// With knots that divide the two intervals alike, up to the roundings of a map between them.
bool are_equal(const ERCpoleNURBS2D& a, const ERCpoleNURBS2D& b) {
    const auto u = a.getKnots().getVec().view(), v = b.getKnots().getVec().view();
    if (u.size() != v.size() || !are_equal(a.getPoles(), b.getPoles())) return false;
    constexpr double roundings = 0x1p-50; // eight units in the last place
    const auto error = [](const auto& knots) {
        return roundings * std::max(std::fabs(knots.front()), std::fabs(knots.back()));
    };
    const double length_u = u.back() - u.front(), length_v = v.back() - v.front();
    const double allowed = error(u) * length_v + error(v) * length_u;
    for (std::size_t i = 0; i < u.size(); ++i)
        if (std::fabs((u[i] - u.front()) * length_v - (v[i] - v.front()) * length_u) > allowed)
            return false;
    return true;
}

bool is_reverse_of(ERCpoleNURBS2D a, const ERCpoleNURBS2D& b) {
    a.reverse();
    return are_equal(a, b);
}

// Whether two curves are the same, or one is the other turned round. Where the pieces of such
// curves have common points is decided by roundings.
bool are_same_curve(const ERCpoleNURBS2D& a, const ERCpoleNURBS2D& b) {
    return are_equal(a, b) || is_reverse_of(a, b) || is_reverse_of(b, a);
}

// The spans of a curve that have a length, as Bezier curves over them.
std::vector<Part> bezier_parts(const ERCpoleNURBS2D& curve) {
    std::vector<Part> parts;
    const velm::detail::KnotView knots = velm::detail::view_of(curve.getKnots());
    const int p = knots.degree;
    for (int s = p; s < knots.poles(); ++s) {
        if (!(knots[s] < knots[s + 1])) continue;
        ERVec<ERPole2DH> poles(p + 1);
        velm::detail::span_to_bezier(
            knots.knots + s,
            row_of(curve.getPoles().view().subspan(std::size_t(s - p), std::size_t(p) + 1)),
            row_of(poles));
        Part span(poles, ERLimites(knots[s], knots[s + 1]));
        if (span.finite) parts.push_back(std::move(span));
    }
    return parts;
}

} // namespace

int intersect(ERCpoleBezier2DR a, ERCpoleBezier2DR b, ERVec<double>& ta, ERVec<double>& tb) {
    for (ERCpoleBezier2DR* const curve : {&a, &b}) {
        curve->adjust();
        if (curve->getPoles().empty()) return ta.size();
    }
    const Part part(a.getPoles(), a.getBound()), other(b.getPoles(), b.getBound());
    if (part.finite && other.finite && !are_same_poles(part.poles, other.poles))
        PairFinder(ta, tb).find(part, other, false);
    return ta.size();
}

int intersect(ERCpoleNURBS2D a, ERCpoleNURBS2D b, ERVec<double>& ta, ERVec<double>& tb) {
    for (ERCpoleNURBS2D* const curve : {&a, &b}) {
        curve->adjust();
        if (!curve->isValid() || curve->getPoles().empty()) return ta.size();
    }
    const Part whole_a(a.getPoles(), a.getBound()), whole_b(b.getPoles(), b.getBound());
    if (!whole_a.finite || !whole_b.finite || are_same_curve(a, b) || !whole_a.touches(whole_b))
        return ta.size();
    const std::vector<Part> parts = bezier_parts(a), others = bezier_parts(b);
    for (const Part& part : parts) {
        for (const Part& other : others) {
            if (part.touches(other) && !are_same_poles(part.poles, other.poles))
                PairFinder(ta, tb).find(part, other, false);
        }
    }
    return ta.size();
}
