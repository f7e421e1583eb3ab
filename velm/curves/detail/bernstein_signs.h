// velm::detail: the signs of a polynomial in the Bernstein basis whose coefficients are known to
// within a bound of their error, its simple zeros, and its halves.
#pragma once

#include <algorithm>
#include <cmath>

namespace velm::detail {

/// Which coefficients have a certain sign, and how the coefficients rise. `count` and -1 mean
/// none.
struct CoefficientSigns {
    int first_positive, last_positive = -1;
    int first_negative, last_negative = -1;
    int certain = 0;
    double least_step, greatest_step; ///< of coefficients that follow each other

    CoefficientSigns(const double* c, int count, double error)
        : first_positive(count), first_negative(count), least_step(HUGE_VAL),
          greatest_step(-HUGE_VAL) {
        for (int i = count - 1; i >= 0; --i) {
            if (c[i] > error) {
                first_positive = i;
                last_positive = std::max(last_positive, i);
                ++certain;
            } else if (c[i] < -error) {
                first_negative = i;
                last_negative = std::max(last_negative, i);
                ++certain;
            }
            if (i > 0) {
                const double step = c[i] - c[i - 1];
                least_step = std::min(least_step, step);
                greatest_step = std::max(greatest_step, step);
            }
        }
    }

    bool none_negative() const { return last_negative < 0; }
    bool none_positive() const { return last_positive < 0; }
    /// The sign of the first or last coefficient, 0 if it is uncertain.
    int first_sign() const { return first_positive == 0 ? 1 : first_negative == 0 ? -1 : 0; }
    int last_sign(int count) const {
        return last_positive == count - 1 ? 1 : last_negative == count - 1 ? -1 : 0;
    }
    /// A bound from below of the size of the derivative where it certainly has one sign, else 0.
    double least_slope(int count, double error) const {
        const double step = std::max(least_step, -greatest_step) - 2.0 * error;
        return step > 0.0 ? (count - 1) * step : 0.0;
    }
};

/// A zero, and a bound of the polynomial's size there.
struct PolishedZero {
    double x;
    double residual;
};

/// The zero of a polynomial whose first and last coefficient have opposite signs, one of them if
/// there are several: Newton's method from the crossing of the control polygon, kept between
/// places where the signs differ.
PolishedZero polished_zero(const double* c, int count);

/// Replaces the coefficients by those of the second half; `left` becomes the first half.
inline void halve_coefficients(double* c, int count, double* left) {
    left[0] = c[0];
    for (int k = 1; k < count; ++k) {
        for (int i = 0; i < count - k; ++i)
            c[i] = 0.5 * (c[i] + c[i + 1]);
        left[k] = c[0];
    }
    // c[i] now holds the last coefficient of level count - 1 - i: those of the second half.
}

} // namespace velm::detail
