#include "velm/numerics/detail/root_polish.h"

#include <algorithm>
#include <cfloat>
#include <cmath>
#include <limits>

namespace velm::detail {

namespace {

// Bounds of a root between which p changes sign once.
struct Bracket {
    double lower;
    double upper;
    bool rising;

    void narrow(double x, double p) { ((p > 0.0) == rising ? upper : lower) = x; }
    // x if it is inside, else the middle: the geometric mean if the sizes of the bounds differ
    // much.
    double inside(double x) const {
        if (x > lower && x < upper) return x;
        if (lower > 0.0 && upper > 8 * lower) return std::sqrt(lower) * std::sqrt(upper);
        return 0.5 * (lower + upper);
    }
};

// The steps of Newton's method, and how they shrink: a step is about `curvature` times the square
// of the one before, as seen from two consecutive steps that shrink fast.
struct Steps {
    static constexpr double unknown = std::numeric_limits<double>::infinity();
    double last = 0.0;
    double last_newton = 0.0; // 0 after a bisection
    double curvature = unknown;

    void take(double step, bool newton) {
        constexpr double fast = 0.0625; // a step that shrinks to a 16th converges quadratically
        curvature = newton && step <= fast * last_newton ? step / (last * last) : unknown;
        last = step;
        last_newton = newton ? step : 0.0;
    }
    double next() const { return curvature * last * last; }
};

// Newton's method in doubles, kept in the bracket, until its next step will be short or p is
// nothing but rounding.
double approach(const LocalPolynomial& p, Bracket& bracket, double x, Steps& steps) {
    constexpr int most = 50;
    constexpr double short_step = 0x1p-26;
    for (int i = 0; i < most; ++i) {
        const QuickValue v = quick_value(p, x);
        if (std::fabs(v.p) <= v.error) break;
        bracket.narrow(x, v.p);
        const double step = v.p / v.dp;
        if (x - step == x) break;
        // Steps that don't halve show that Newton's method doesn't converge yet: bisect.
        const bool slow = i > 2 && std::fabs(step) > 0.5 * steps.last;
        const double next = bracket.inside(slow ? bracket.lower : x - step);
        steps.take(std::fabs(next - x), next == x - step);
        x = next;
        if (steps.next() <= short_step * x) break;
    }
    return x;
}

// Newton's method with compensated values, to the last place; x is the result. Returns p's last
// value.
SureValue refine(const LocalPolynomial& p, Bracket& bracket, double& x, Steps& steps) {
    constexpr int most = 120;
    constexpr double last_place = 0x1p-58;
    const int n = p.degree;
    SureValue v{};
    for (int i = 0; i < most; ++i) {
        v = sure_value(p, x);
        double slope_noise = 2 * (n + 1) * (n + 1) * unit_rounding * v.size;
        if (2 * slope_noise > x * std::fabs(v.dp)) {
            v.dp = sure_slope(p, x);
            slope_noise *= unit_rounding;
        }
        const double newton = x - v.p / v.dp;
        const double step = std::fabs(newton - x);
        // The error that the step leaves, from p's curvature and from the rounding of the slope.
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

// The root in a bracket, from x on, with p's slope and S about it.
SureValue root_in(const LocalPolynomial& p, Bracket bracket, double& x) {
    Steps steps;
    x = approach(p, bracket, bracket.inside(x), steps);
    return refine(p, bracket, x, steps);
}

// Whether p at x is surely beyond the noise, with the sign given by `positive`.
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
    // As x^2 |p''| <= degree^2 S, the slope keeps its size near a well-conditioned root, and p is
    // clear of zero at the ends of the enclosure. Elsewhere p itself is evaluated.
    const double condition = (p.degree + 1) * v.size / (slope * x);
    const bool sure = 64 * condition * condition * (uncertainty + unit_rounding) <= 1.0;
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

// Whether all coefficients of the piece have one sign beyond the noise.
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

// The order of the first derivative that surely keeps its sign in the interval: by Rolle's theorem
// no polynomial within the uncertainty has more roots there. `derivative` and `room` as for
// resolve_cluster.
int most_roots(const LocalPolynomial& p, const RootInterval& interval, double uncertainty,
               LocalPolynomial& derivative, double* room) {
    BernsteinPiece piece{};
    piece.lower = interval.lower;
    piece.upper = interval.upper;
    piece.poles = room;
    copy(p, derivative);
    int order = 0;
    do {
        derivative.derive();
        ++order;
        to_bernstein(derivative, piece);
        to_bernstein_in_pairs(derivative, piece, room + 3 * (p.degree + 1));
    } while (order < p.degree && !keeps_sign(piece, derivative.degree, uncertainty));
    return order;
}

// Writes the zeros of p in the interval, ascending, given those of its derivative: between two of
// them, and between one and an end, p has at most one. Returns their number, at most two more.
int zeros_between(const LocalPolynomial& p, const RootInterval& interval, const double* extremes,
                  int count, double* zeros) {
    int found = 0;
    double left = interval.lower;
    double p_left = sure_value(p, left).p;
    if (p_left == 0.0) zeros[found++] = left;
    for (int i = 0; i <= count; ++i) {
        const double right = i < count ? extremes[i] : interval.upper;
        const double p_right = sure_value(p, right).p;
        if (p_right == 0.0) {
            if (found == 0 || zeros[found - 1] != right) zeros[found++] = right;
        } else if (sign(p_left) * sign(p_right) < 0) {
            double x = left + p_left / (p_left - p_right) * (right - left);
            root_in(p, {left, right, p_right > 0.0}, x);
            zeros[found++] = x;
        }
        left = right;
        p_left = p_right;
    }
    return found;
}

// Where p is nearest to zero, measured by S, among the zeros that its derivative of order
// multiplicity - 1 has in the interval; if none, among those of the highest lower order that has
// any; if none, the end where p is smaller. The derivative of order `most` has no zero there.
double value_of_cluster(const LocalPolynomial& p, const RootInterval& interval, int most,
                        int multiplicity, LocalPolynomial& derivative, double* room) {
    double* zeros = room;
    double* extremes = room + 5 * (p.degree + 1) / 2;
    int count = 0;
    for (int order = most - 1; order >= 0; --order) {
        copy(p, derivative);
        for (int k = 0; k < order; ++k)
            derivative.derive();
        std::swap(zeros, extremes);
        count = zeros_between(derivative, interval, extremes, count, zeros);
        if (order < multiplicity && count > 0) break;
    }
    const auto nearness = [&p](double x) {
        const SureValue v = sure_value(p, x);
        return std::fabs(v.p) / v.size;
    };
    if (count == 0) {
        const double below = std::fabs(sure_value(p, interval.lower).p);
        const double above = std::fabs(sure_value(p, interval.upper).p);
        return below <= above ? interval.lower : interval.upper;
    }
    return *std::min_element(zeros, zeros + count,
                             [&](double a, double b) { return nearness(a) < nearness(b); });
}

} // namespace

Cluster resolve_cluster(const LocalPolynomial& p, const RootInterval& interval, double uncertainty,
                        int spare, LocalPolynomial& derivative, double* room, RealRoot& root) {
    const int most = most_roots(p, interval, uncertainty, derivative, room);
    const SureValue below = sure_value(p, interval.lower);
    const SureValue above = sure_value(p, interval.upper);
    const bool clear = clear_of_zero(p, interval.lower, uncertainty) &&
                       clear_of_zero(p, interval.upper, uncertainty);
    const bool odd = sign(below.p) != sign(above.p);
    const bool surely_one = clear && odd;

    root.lower = interval.lower;
    root.upper = interval.upper;
    root.multiplicity = std::min(most, surely_one ? spare + 1 : spare);
    if (clear && (root.multiplicity % 2 != 0) != odd) --root.multiplicity;
    if (root.multiplicity <= 0) return Cluster::empty;
    root.value = value_of_cluster(p, interval, most, root.multiplicity, derivative, room);
    root.crosses = below.p == 0.0 || odd || sign(sure_value(p, root.value).p) != sign(below.p);
    return surely_one ? Cluster::surely_one : Cluster::perhaps;
}

} // namespace velm::detail
