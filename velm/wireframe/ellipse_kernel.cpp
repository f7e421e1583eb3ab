#include "velm/platform/ellipse_kernel.h"

#include "velm/wireframe/detail/double_double.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace {

using velm::detail::DoubleDouble;
using velm::detail::exact_product;

/// Cosine and sine of the eccentric angle.
struct Direction {
    double cosine;
    double sine;
};

/// The problem in the first quadrant, with e0 >= e1 and all lengths scaled to at most 1. The
/// nearest point is (e0 A / (w + C), e1 B / w), where w > 0 solves
///     F(w) = (A / (w + C))^2 + (B / w)^2 - 1 = 0,   A = e0 x, B = e1 y, C = e0^2 - e1^2.
/// The left side falls and is convex, so there is one root.
class Secular {
public:
    Secular(double e0, double e1, double x, double y)
        : A_(exact_product(e0, x)), B_(exact_product(e1, y)),
          C_(exact_product(e0, e0) - exact_product(e1, e1)), gap_(C_ - A_) {}

    /// On the longer axis, and for an ellipse that is a segment.
    bool is_flat() const { return B_ == 0.0; }
    Direction flat_solution() const {
        if (!(gap_ > 0.0)) return {1.0, 0.0};
        const double A = A_, C = C_, gap = gap_;
        return {A / C, std::sqrt(gap * (C + A)) / C};
    }

    Direction solution() const {
        const double w = refined(rough_root());
        const DoubleDouble shifted = DoubleDouble{w, 0.0} + C_;
        return {A_ / shifted, B_ / w};
    }

private:
    /// A lower bound of the root, at least root / (2 sqrt(2)): each term of F is at most 1, and
    /// with k = C - A the root satisfies 2 w^2 (w + k) >= B^2 C.
    double lower_bound() const {
        const double B = B_, C = C_, k = gap_;
        const double across = std::cbrt(B * B * C * (k > 0.0 ? 0.25 : 0.5));
        const double along = k > 0.0 ? 0.5 * B * std::sqrt(C / k) : across;
        return std::max({B, -k, std::min(along, across)});
    }

    /// Newton on 1 / |(A / (w + C), B / w)| = 1, which is concave: from below it rises to the root
    /// and does not pass it, but for rounding.
    double rough_root() const {
        const double A = A_, B = B_, C = C_;
        double w = lower_bound();
        for (int step = 0; step < step_limit; ++step) {
            const double shifted = w + C;
            const double cosine = A / shifted, sine = B / w;
            const double norm2 = cosine * cosine + sine * sine;
            const double slope = cosine * cosine / shifted + sine * sine / w;
            const double rise = (std::sqrt(norm2) - 1.0) * norm2 / slope;
            w += std::max(rise, 0.0);
            if (!(rise > 1e-10 * w)) break;
        }
        return w;
    }

    /// The same root from a residual in doubled precision: where A and C nearly cancel, plain
    /// doubles know w only to a few units of the last place of C.
    double refined(double w) const {
        for (int step = 0; step < step_limit; ++step) {
            const DoubleDouble root{w, 0.0};
            const DoubleDouble shifted = root + C_;
            const DoubleDouble cosine = A_ / shifted, sine = B_ / root;
            const double residual = cosine * cosine + sine * sine - DoubleDouble{1.0, 0.0};
            const double slope =
                cosine.high * cosine.high / shifted.high + sine.high * sine.high / w;
            const double rise = 0.5 * residual / slope;
            // F is convex: a step from above the root may fall far below it.
            w = std::max(w + rise, 0.5 * w);
            if (!(std::fabs(rise) > 1e-9 * w)) break;
        }
        return w;
    }

    /// Far above the dozen steps that are ever taken.
    static constexpr int step_limit = 40;

    DoubleDouble A_, B_, C_, gap_;
};

/// The power of two that brings the largest of the lengths to between 1/2 and 1; 1 for zeros.
double unit_scale(double a, double b, double c, double d) {
    const double largest = std::max({a, b, c, d});
    if (largest == 0.0) return 1.0;
    return std::ldexp(1.0, std::clamp(-std::ilogb(largest) - 1, -1022, 1022));
}

/// In the first quadrant, with e0 >= e1.
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

    // On the longer axis, between the centres of curvature of its ends: a pair across the axis.
    const bool tie = upright ? x == 0.0 && a * d.cosine != 0.0 : y == 0.0 && b * d.sine != 0.0;
    if (!tie) return closest_unique;
    append(upright ? -d.cosine : right * d.cosine, upright ? up * d.sine : -d.sine);
    return closest_two;
}
