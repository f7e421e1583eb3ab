// velm::detail::LocalPolynomial: a polynomial scaled for the interval at hand, its values with
// bounds of their errors, and its Bernstein form over a part of the interval.
#pragma once

#include "velm/frame/vec_rep.h"
#include "velm/numerics/detail/double_double.h"

#include <cstddef>

namespace velm::detail {

inline constexpr double kUnit = 0x1.01p-53;         ///< an operation in doubles, with a margin
inline constexpr double kDoubledUnit = 0x1.01p-102; ///< an operation in pairs, with a margin

/// Room for arrays of doubles, given back all at once.
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

/// Coefficients as pairs, the lowest power first, of a polynomial to be looked at for x >= 0, and
/// their sizes. Those sizes make the polynomial S. No array is owned.
struct LocalPolynomial {
    int degree = 0;
    double* hi = nullptr;
    double* lo = nullptr;
    double* size = nullptr;

    static LocalPolynomial in(Workspace& workspace, int degree);
    void set(int i, DoubleDouble c);
    /// Turns this into its derivative.
    void derive();
};

/// p(x) and p'(x) in doubles, with S(x): p is good to 2 (degree + 1) units of S.
struct QuickValue {
    double p;
    double dp;
    double size;
    double error;
};
QuickValue quick_value(const LocalPolynomial& p, double x);

/// p(x) as if evaluated in pairs of doubles and then rounded, and S(x). The sign of p is sure where
/// |p| exceeds the error.
struct SureValue {
    double p;
    double size;
    double error;
};
SureValue sure_value(const LocalPolynomial& p, double x);

/// Bernstein coefficients over [lower, upper]: p's as doubles, or, with `rest`, as pairs, and those
/// of S. Coefficient j of p is good to `error` times that of S, the rounding of the bounds included
/// with doubles only.
struct BernsteinPiece {
    double lower;
    double upper;
    double error;
    double* p;
    double* rest; ///< the low halves
    double* size;
    bool doubled;

    int change_unit() const;
};

/// Sets the coefficients of `piece` from its bounds, in pairs if it is doubled.
void to_bernstein(const LocalPolynomial& p, BernsteinPiece& piece);

/// Cuts the piece at `at`: it becomes the right part, `left` gets the left one. In a doubled piece
/// the cut is exact.
void cut(BernsteinPiece& piece, BernsteinPiece& left, double at, int degree);

} // namespace velm::detail
