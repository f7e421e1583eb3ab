// velm::detail::LocalPolynomial: a polynomial scaled for the interval at hand, its values with
// bounds of their errors, and its Bernstein form over a part of the interval.
#pragma once

#include "velm/frame/vec_rep.h"
#include "velm/numerics/detail/double_double.h"

#include <cstddef>

namespace velm::detail {

inline constexpr double unit_rounding =
    0x1.01p-53; ///< unit of rounding in doubles, with a margin of 1/256

/// Room for arrays of doubles, released all at once.
class Workspace {
public:
    explicit Workspace(std::size_t doubles)
        : body_(ERVecRep::getRep(doubles * sizeof(double), 1)),
          next_(static_cast<double*>(body_->data())), end_(next_ + doubles) {}
    Workspace(const Workspace&) = delete;
    Workspace& operator=(const Workspace&) = delete;
    ~Workspace() { body_->free(); }

    double* take(int n);

private:
    ERVecRep* body_;
    double* next_;
    double* end_;
};

/// Coefficients as pairs, the lowest power first, of a polynomial evaluated for x >= 0, and their
/// sizes, which are the coefficients of the polynomial S. No array is owned.
struct LocalPolynomial {
    int degree = 0;
    double* hi = nullptr;
    double* lo = nullptr;
    double* size = nullptr;
    double* polar_hi = nullptr; ///< the coefficients divided by binomials, computed on first use
    double* polar_lo = nullptr;
    bool has_polar = false;

    static LocalPolynomial in(Workspace& workspace, int degree);
    static constexpr int arrays = 5;
    void set(int i, DoubleDouble c);
    /// Turns this into its derivative.
    void derive();
    void need_polar();
};

/// p(x) and p'(x) in doubles, with S(x): p is good to 2 (degree + 1) units of S.
struct QuickValue {
    double p;
    double dp;
    double size;
    double error;
};
QuickValue quick_value(const LocalPolynomial& p, double x);

/// p(x) as if evaluated in pairs of doubles and then rounded, with p'(x) in doubles and S(x). The
/// sign of p is certain if |p| exceeds the error.
struct SureValue {
    double p;
    double dp;
    double size;
    double error;
};
SureValue sure_value(const LocalPolynomial& p, double x);
/// p'(x) evaluated in pairs, for where the slope above is nothing but rounding.
double sure_slope(const LocalPolynomial& p, double x);

/// The Bernstein form over [lower, upper]: each pole has p's coefficient, that of S and, with three
/// components, that of the error's measure. A coefficient of p is good to `error` times the last
/// component, plus `base` times that of S; the rounding of the bounds is included.
struct BernsteinPiece {
    double lower;
    double upper;
    double error;
    double base;
    double* poles;
    int components; ///< 2 or 3
    bool fresh;     ///< converted in pairs, and not cut since

    double p(int i) const { return poles[components * i]; }
    double size(int i) const { return poles[components * i + 1]; }
    /// A bound of the difference between p(i) and that of any polynomial within the relative
    /// uncertainty.
    double noise(int i, double uncertainty) const {
        const double* const pole = poles + components * i;
        return (uncertainty + base) * pole[1] + error * pole[components - 1];
    }
};

/// Sets the poles from the bounds, in doubles, with two components per pole.
void to_bernstein(const LocalPolynomial& p, BernsteinPiece& piece);
/// Sets the poles again for a piece that has them: in pairs, rounded to doubles, with p itself as
/// the error's measure, three components per pole. `scratch` has room for twice p's coefficients.
void to_bernstein_in_pairs(LocalPolynomial& p, BernsteinPiece& piece, double* scratch);

/// Cuts the piece at `at`: it becomes the right part, and `left` is set to the left one.
void cut(BernsteinPiece& piece, BernsteinPiece& left, double at, int degree);

} // namespace velm::detail
