#include "velm/numerics/detail/root_polish.h"

#include <algorithm>
#include <cfloat>
#include <cmath>
#include <limits>

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

/// The steps of Newton's method, and how they shrink: one is about `curvature` times the square of
/// the one before, which shows in two that follow each other and shrink fast.
struct Steps {
    static constexpr double unknown = std::numeric_limits<double>::infinity();
    double last = 0.0;
    double last_newton = 0.0; // 0 after a bisection
    double curvature = unknown;

    void take(double step, bool newton) {
        constexpr double fast = 0.0625;
        curvature = newton && step <= fast * last_newton ? step / (last * last) : unknown;
        last = step;
        last_newton = newton ? step : 0.0;
    }
    double next() const { return curvature * last * last; }
};

/// Newton's method in doubles, kept in the bracket, until its next step will be short or p is all
/// rounding.
double approach(const LocalPolynomial& p, Bracket& bracket, double x, Steps& steps) {
    constexpr int most = 50;
    constexpr double short_step = 0x1p-26;
    for (int i = 0; i < most; ++i) {
        const QuickValue v = quick_value(p, x);
        if (std::fabs(v.p) <= v.error) break;
        bracket.narrow(x, v.p);
        const double step = v.p / v.dp;
        if (x - step == x) break;
        // Steps that don't halve show that Newton's method is not yet at home: bisect.
        const bool slow = i > 2 && std::fabs(step) > 0.5 * steps.last;
        const double next = bracket.inside(slow ? bracket.lower : x - step);
        steps.take(std::fabs(next - x), next == x - step);
        x = next;
        if (steps.next() <= short_step * x) break;
    }
    return x;
}

/// The same with compensated values, to the last place; x gets there. Returns p's last value.
SureValue refine(const LocalPolynomial& p, Bracket& bracket, double& x, Steps& steps) {
    constexpr int most = 120;
    constexpr double last_place = 0x1p-58;
    const int n = p.degree;
    SureValue v{};
    for (int i = 0; i < most; ++i) {
        v = sure_value(p, x);
        const double newton = x - v.p / v.dp;
        const double step = std::fabs(newton - x);
        // What the step leaves: by p's curvature, and by the rounding of the slope.
        const double slope_noise = 2 * (n + 1) * (n + 1) * kUnit * v.size;
        const bool precise = steps.curvature * step * step <= last_place * x &&
                             slope_noise * step <= 4 * last_place * x * x * std::fabs(v.dp);
        if (precise || step == 0.0 || std::fabs(v.p) <= v.error) {
            if (newton >= bracket.lower && newton <= bracket.upper) x = newton;
            return v;
        }
        bracket.narrow(x, v.p);
        const double next = bracket.inside(i % 8 == 7 ? bracket.lower : newton);
        if (next == bracket.lower || next == bracket.upper) return v;
        steps.take(std::fabs(next - x), next == newton);
        x = next;
    }
    return v;
}

/// The root in a bracket, from x on, with p's slope and S about it.
SureValue root_in(const LocalPolynomial& p, Bracket bracket, double& x) {
    Steps steps;
    x = approach(p, bracket, bracket.inside(x), steps);
    return refine(p, bracket, x, steps);
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

void polish_lone_root(const LocalPolynomial& p, const RootInterval& interval, double uncertainty,
                      RealRoot& root) {
    const bool rising = interval.rising;
    double x = interval.guess;
    const SureValue v = root_in(p, {interval.lower, interval.upper, rising}, x);
    root.value = x;
    root.multiplicity = 1;
    root.crosses = true;

    const double slope = std::fabs(v.dp);
    const double noise = uncertainty * v.size + v.error;
    double reach = 1.5 * noise / slope + 2 * DBL_EPSILON * x;
    // As x^2 |p''| <= degree^2 S, the slope keeps its size in reach of a root that is well
    // conditioned, and p is clear of zero at its ends. Elsewhere p itself tells.
    const double condition = (p.degree + 1) * v.size / (slope * x);
    const bool sure = 64 * condition * condition * (uncertainty + kUnit) <= 1.0;
    if (!(reach >= 0.0)) reach = interval.upper;
    for (root.lower = x - reach; !sure && root.lower > interval.lower; root.lower = x - reach) {
        if (clear_on_side(p, root.lower, uncertainty, !rising)) break;
        reach *= 4;
    }
    root.lower = std::max(root.lower, interval.lower);
    for (root.upper = x + reach; !sure && root.upper < interval.upper; root.upper = x + reach) {
        if (clear_on_side(p, root.upper, uncertainty, rising)) break;
        reach *= 4;
    }
    root.upper = std::min(root.upper, interval.upper);
}

namespace {

/// Whether all coefficients of the piece have one sign beyond the noise.
bool keeps_sign(const BernsteinPiece& piece, int degree, double uncertainty) {
    const bool positive = piece.p(0) > 0.0;
    for (int i = 0; i <= degree; ++i)
        if (!((positive ? piece.p(i) : -piece.p(i)) > piece.noise(i, uncertainty))) return false;
    return true;
}

void copy(const LocalPolynomial& from, LocalPolynomial& to) {
    to.degree = from.degree;
    std::copy_n(from.hi, from.degree + 1, to.hi);
    std::copy_n(from.lo, from.degree + 1, to.lo);
    std::copy_n(from.size, from.degree + 1, to.size);
    to.has_polar = false;
}

int sign(double x) { return x > 0.0 ? 1 : x < 0.0 ? -1 : 0; }

} // namespace

/// Sets x to a zero of p's derivative of that order, if its signs at the ends of the interval tell
/// of one; if not, to the end where it is smaller.
bool zero_of_derivative(const LocalPolynomial& p, int order, const RootInterval& interval,
                        LocalPolynomial& derivative, double& x) {
    copy(p, derivative);
    for (int k = 0; k < order; ++k)
        derivative.derive();
    const double below = sure_value(derivative, interval.lower).p;
    const double above = sure_value(derivative, interval.upper).p;
    x = std::fabs(below) <= std::fabs(above) ? interval.lower : interval.upper;
    if (below == 0.0 || above == 0.0) return true;
    if (sign(below) == sign(above)) return false;
    x = interval.lower + below / (below - above) * (interval.upper - interval.lower);
    root_in(derivative, {interval.lower, interval.upper, above > 0.0}, x);
    return true;
}

void resolve_cluster(const LocalPolynomial& p, const RootInterval& interval, double uncertainty,
                     LocalPolynomial& derivative, double* room, RealRoot& root) {
    BernsteinPiece piece{};
    piece.lower = interval.lower;
    piece.upper = interval.upper;
    piece.poles = room;
    // By Rolle's theorem a derivative of order k without a zero leaves p at most k roots.
    copy(p, derivative);
    int order = 0;
    do {
        derivative.derive();
        ++order;
        to_bernstein(derivative, piece);
        to_bernstein_in_pairs(derivative, piece, room + 3 * (p.degree + 1));
    } while (order < p.degree && !keeps_sign(piece, derivative.degree, uncertainty));

    const SureValue below = sure_value(p, interval.lower);
    const SureValue above = sure_value(p, interval.upper);
    const bool odd = sign(below.p) != sign(above.p);
    if (clear_of_zero(p, interval.lower, uncertainty) &&
        clear_of_zero(p, interval.upper, uncertainty) && (order % 2 != 0) != odd && order > 1)
        --order;

    root.lower = interval.lower;
    root.upper = interval.upper;
    root.multiplicity = order;
    for (int k = order - 1; k >= 0; --k)
        if (zero_of_derivative(p, k, interval, derivative, root.value)) break;
    root.crosses = below.p == 0.0 || odd || sign(sure_value(p, root.value).p) != sign(below.p);
}

} // namespace velm::detail
