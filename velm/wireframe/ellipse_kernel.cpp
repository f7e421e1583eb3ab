#include "velm/platform/ellipse_kernel.h"

#include "velm/numerics/detail/double_double.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace {

using velm::detail::DoubleDouble;
using velm::detail::two_product;
using velm::detail::two_sum;

// Cosine and sine of the eccentric angle.
struct Direction {
    double cosine;
    double sine;
};

// The problem in the first quadrant, with e0 >= e1 and all lengths scaled to at most 1. The
// nearest point is (e0 A / (w + C), e1 B / w), where w > 0 solves
//     F(w) = (A / (w + C))^2 + (B / w)^2 - 1 = 0,   A = e0 x, B = e1 y, C = e0^2 - e1^2.
// F falls and is convex, so there is one root. With k = C - A it is the difference of two terms,
//     F(w) = (B / w)^2 - (w + k) (w + C + A) / (w + C)^2,
// of which the first falls at least as 1 / w^2 and the second rises: relative errors of rounding
// in either term, and of k against w or k itself, move the root by no more than their own size.
class Secular {
public:
    Secular(double e0, double e1, double x, double y)
        : A_(e0 * x), B_(e1 * y), C_((e0 - e1) * (e0 + e1)), k_(gap(e0, e1, x)) {}

    // Whether p is on the longer axis or the ellipse is a segment.
    bool is_flat() const { return B_ == 0.0; }
    Direction flat_solution() const {
        if (!(k_ > 0.0)) return {1.0, 0.0};
        return {A_ / C_, std::sqrt(k_ * (C_ + A_)) / C_};
    }

    // Newton's iteration on 1 / |(A / (w + C), B / w)| = 1, which is concave: from below it rises
    // to the root and does not pass it, except by rounding.
    Direction solution() const {
        double w = lower_bound();
        for (int step = 0; step < step_limit; ++step) {
            const double shifted = w + C_;
            const double cosine = A_ / shifted, sine = B_ / w;
            const double excess = sine * sine - (w + k_) / shifted * ((shifted + A_) / shifted);
            const double slope = cosine * cosine / shifted + sine * sine / w;
            const double rise = excess * (1.0 + excess) / ((1.0 + std::sqrt(1.0 + excess)) * slope);
            w += rise;
            if (!(std::fabs(rise) > 1e-9 * w)) break;
        }
        return {A_ / (w + C_), B_ / w};
    }

private:
    // k in pairs of doubles, in the order that cancels last.
    static double gap(double e0, double e1, double x) {
        const DoubleDouble small = two_product(e1, e1);
        if (e1 < 0.5 * e0) return accurate_sum(two_sum(e0, -x) * e0, -small).value();
        return accurate_sum(accurate_sum(two_product(e0, e0), -small), -two_product(e0, x)).value();
    }

    // At least root / (2 sqrt(2)): each term of F + 1 is at most 1, and 2 w^2 (w + k) >= B^2 C.
    double lower_bound() const {
        const double root = std::cbrt(B_);
        const double across = root * root * std::cbrt(C_ * (k_ > 0.0 ? 0.25 : 0.5));
        const double along = k_ > 0.0 ? 0.5 * B_ * std::sqrt(C_ / k_) : across;
        return std::max({B_, -k_, std::min(along, across)});
    }

    // Far above the few steps that are needed, as convergence is quadratic.
    static constexpr int step_limit = 40;

    double A_, B_, C_, k_;
};

// The power of two that brings the largest of the lengths to between 1/2 and 1; 1 for zeros.
double unit_scale(double a, double b, double c, double d) {
    const double largest = std::max({a, b, c, d});
    if (largest == 0.0) return 1.0;
    return std::ldexp(1.0, std::clamp(-std::ilogb(largest) - 1, -1022, 1022));
}

// In the first quadrant, with e0 >= e1.
Direction nearest(double e0, double e1, double x, double y) {
    const double scale = unit_scale(e0, e1, x, y);
    const Secular equation(e0 * scale, e1 * scale, x * scale, y * scale);
    return equation.is_flat() ? equation.flat_solution() : equation.solution();
}

} // namespace

tqkEllipse2::status tqkEllipse2::global_closest_point(double x, double y,
                                                      tqkCurvePointList2& points) const {
    points.clear();
    if (!std::isfinite(x) || !std::isfinite(y) || !std::isfinite(half_x_) ||
        !std::isfinite(half_y_))
        return closest_invalid;
    const double a = std::fabs(half_x_), b = std::fabs(half_y_);
    const bool upright = b > a;
    Direction d;
    if (a == b && x == 0.0 && y == 0.0) {
        d = {1.0, 0.0};
    } else if (upright) {
        d = nearest(b, a, std::fabs(y), std::fabs(x));
        std::swap(d.cosine, d.sine);
    } else {
        d = nearest(a, b, std::fabs(x), std::fabs(y));
    }
    const auto append = [&](double cosine, double sine) {
        points.append({a * cosine, b * sine, std::atan2(sine, cosine)});
    };
    const double right = x < 0.0 ? -1.0 : 1.0, up = y < 0.0 ? -1.0 : 1.0;
    append(right * d.cosine, up * d.sine);
    if (a == b && x == 0.0 && y == 0.0) return a == 0.0 ? closest_unique : closest_everywhere;

    // On the longer axis, between the centres of curvature of its ends, two points across the axis
    // are equally near.
    const bool tie = upright ? x == 0.0 && a * d.cosine != 0.0 : y == 0.0 && b * d.sine != 0.0;
    if (!tie) return closest_unique;
    append(upright ? -d.cosine : right * d.cosine, upright ? up * d.sine : -d.sine);
    return closest_two;
}
