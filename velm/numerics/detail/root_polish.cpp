#include "velm/numerics/detail/root_polish.h"

#include <algorithm>
#include <cfloat>
#include <cmath>

namespace velm::detail {

namespace {

/// Bounds of a root between which p changes sign once.
struct Bracket {
    double lower;
    double upper;
    bool rising;

    void narrow(double x, double p) { ((p > 0.0) == rising ? upper : lower) = x; }
    /// x if it lies inside, else the middle, of the sizes where they differ much.
    double inside(double x) const {
        if (x > lower && x < upper) return x;
        if (lower > 0.0 && upper > 8 * lower) return std::sqrt(lower) * std::sqrt(upper);
        return 0.5 * (lower + upper);
    }
};

/// Newton's method in doubles, kept in the bracket, until its steps are short or p is all rounding.
double approach(const LocalPolynomial& p, Bracket& bracket, double x) {
    constexpr int steps = 50;
    constexpr double short_step = 0x1p-24;
    double before = bracket.upper - bracket.lower;
    for (int i = 0; i < steps; ++i) {
        const QuickValue v = quick_value(p, x);
        if (std::fabs(v.p) <= v.error) break;
        bracket.narrow(x, v.p);
        const double step = v.p / v.dp;
        // Steps that don't halve show that Newton's method is not yet at home: bisect.
        const bool slow = i > 2 && std::fabs(step) > 0.5 * before;
        const double next = bracket.inside(slow ? bracket.lower : x - step);
        before = std::fabs(next - x);
        x = next;
        if (before <= short_step * x) break;
    }
    return x;
}

/// The same with compensated values, to the last place.
double refine(const LocalPolynomial& p, Bracket& bracket, double x) {
    constexpr int steps = 120;
    constexpr double last_step = 0x1p-42;
    for (int i = 0; i < steps; ++i) {
        const SureValue v = sure_value(p, x);
        if (std::fabs(v.p) <= v.error) break;
        bracket.narrow(x, v.p);
        const double step = v.p / quick_value(p, x).dp;
        const double newton = x - step;
        const double next = i % 8 == 7 ? bracket.inside(bracket.lower) : bracket.inside(newton);
        if (next == x || next == bracket.lower || next == bracket.upper) break;
        x = next;
        if (next == newton && std::fabs(step) <= last_step * x) break;
    }
    return x;
}

double root_in(const LocalPolynomial& p, double lower, double upper, bool rising, double guess) {
    Bracket bracket{lower, upper, rising};
    return refine(p, bracket, approach(p, bracket, bracket.inside(guess)));
}

/// Whether p is surely beyond the noise at x, on the side that `positive` tells.
bool clear_on_side(const LocalPolynomial& p, double x, double uncertainty, bool positive) {
    const SureValue v = sure_value(p, x);
    const double size = positive ? v.p : -v.p;
    return size > uncertainty * v.size + v.error;
}

} // namespace

bool clear_of_zero(const LocalPolynomial& p, double x, double uncertainty) {
    const SureValue v = sure_value(p, x);
    return std::fabs(v.p) > uncertainty * v.size + v.error;
}

RealRoot polish_lone_root(const LocalPolynomial& p, const RootInterval& interval,
                          double uncertainty) {
    RealRoot root;
    root.multiplicity = 1;
    root.crosses = true;
    const bool rising = interval.rising;
    const double x = root_in(p, interval.lower, interval.upper, rising, interval.guess);
    root.value = x;
    // The first guess at the enclosure comes from p's slope; certain signs at its ends settle it.
    const QuickValue v = quick_value(p, x);
    const double noise = uncertainty * v.size + v.error * kUnit * (p.degree + 1);
    double reach = 1.5 * noise / std::fabs(v.dp) + 2 * DBL_EPSILON * x;
    if (!(reach >= 0.0)) reach = interval.upper;
    for (root.lower = x - reach; root.lower > interval.lower; root.lower = x - reach) {
        if (clear_on_side(p, root.lower, uncertainty, !rising)) break;
        reach *= 4;
    }
    root.lower = std::max(root.lower, interval.lower);
    for (root.upper = x + reach; root.upper < interval.upper; root.upper = x + reach) {
        if (clear_on_side(p, root.upper, uncertainty, rising)) break;
        reach *= 4;
    }
    root.upper = std::min(root.upper, interval.upper);
    return root;
}

namespace {

/// Whether all coefficients of the piece have one sign beyond the noise.
bool keeps_sign(const BernsteinPiece& piece, int degree, double uncertainty) {
    const bool positive = piece.p[0] > 0.0;
    for (int i = 0; i <= degree; ++i) {
        const double size = positive ? piece.p[i] : -piece.p[i];
        if (!(size > (uncertainty + piece.error) * piece.size[i])) return false;
    }
    return true;
}

void copy(const LocalPolynomial& from, LocalPolynomial& to) {
    to.degree = from.degree;
    std::copy_n(from.hi, from.degree + 1, to.hi);
    std::copy_n(from.lo, from.degree + 1, to.lo);
    std::copy_n(from.size, from.degree + 1, to.size);
}

/// The place where p, which is monotone between the bounds, is zero or nearest to it.
double nearest_zero(const LocalPolynomial& p, double lower, double upper) {
    const double at_lower = sure_value(p, lower).p;
    const double at_upper = sure_value(p, upper).p;
    if (at_lower == 0.0) return lower;
    if (at_upper == 0.0) return upper;
    const bool rising = at_upper > 0.0;
    if ((at_lower > 0.0) == rising)
        return std::fabs(at_lower) < std::fabs(at_upper) ? lower : upper;
    const double share = at_lower / (at_lower - at_upper);
    return root_in(p, lower, upper, rising, lower + share * (upper - lower));
}

int sign(double x) { return x > 0.0 ? 1 : x < 0.0 ? -1 : 0; }

} // namespace

RealRoot resolve_cluster(const LocalPolynomial& p, const RootInterval& interval, double uncertainty,
                         LocalPolynomial& derivative, BernsteinPiece& piece) {
    piece.lower = interval.lower;
    piece.upper = interval.upper;
    piece.doubled = true;
    // By Rolle's theorem a derivative of order k without a zero leaves p at most k roots.
    copy(p, derivative);
    int order = 0;
    do {
        derivative.derive();
        ++order;
        to_bernstein(derivative, piece);
    } while (order < p.degree && !keeps_sign(piece, derivative.degree, uncertainty));

    const SureValue below = sure_value(p, interval.lower);
    const SureValue above = sure_value(p, interval.upper);
    const bool odd = sign(below.p) != sign(above.p);
    if (clear_of_zero(p, interval.lower, uncertainty) &&
        clear_of_zero(p, interval.upper, uncertainty) && (order % 2 != 0) != odd && order > 1)
        --order;

    RealRoot root;
    root.lower = interval.lower;
    root.upper = interval.upper;
    root.multiplicity = order;
    copy(p, derivative);
    for (int k = 1; k < order; ++k)
        derivative.derive();
    root.value = nearest_zero(derivative, interval.lower, interval.upper);
    root.crosses = below.p == 0.0 || odd || sign(sure_value(p, root.value).p) != sign(below.p);
    return root;
}

} // namespace velm::detail
