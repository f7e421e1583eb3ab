// LaguerreControl, LaguerreZeros, LaguerreEvaluate, ScaledHypot, Zeros1, ZerosMethode1, Zeros: the
// real roots of a polynomial in an interval by Laguerre's iteration in the complex plane.
#pragma once

#include "velm/export.h"
#include "velm/frame/interval.h"
#include "velm/frame/vec.h"
#include "velm/numerics/polynomial.h"

/// The settings of LaguerreZeros and its report.
struct VELM_API LaguerreControl {
    double tolerance = 1e-09;    ///< in
    double maxIterations = 80.0; ///< in: evaluations allowed for one root
    double status = 0.0;         ///< out: a LaguerreStatus
    double restarts = 0.0;       ///< out: of the root that was given up; 0.0 otherwise
    double evaluations = 0.0;    ///< out: for the roots found by iteration
};

enum LaguerreStatus : int {
    LaguerreStatus_found = 0,
    LaguerreStatus_no_degree = 1,    ///< n is not positive
    LaguerreStatus_leading_zero = 2, ///< the leading coefficient is exactly 0.0
    LaguerreStatus_limit = 3         ///< a root took more than maxIterations evaluations
};

/// The roots of a real polynomial of degree n, real and complex, by Laguerre's method with an
/// estimate of the multiplicity, deflating after each root or pair. The deflated polynomial is
/// spliced from the forward and the backward quotient where they agree best (Peters and Wilkinson,
/// Practical problems arising in the solution of polynomial equations, 1971). A root is accepted
/// by a running bound on the rounding of p's value (Adams, A stopping criterion for polynomial root
/// finding, CACM 10, 1967), with `tolerance` for the unit of rounding.
///
/// A step is -n / (G + S), divided by Smith's method (CACM 5, 1962), S being the principal complex
/// square root of the standard library, with the sign that makes its product with G positive. The
/// digits of a root depend on these roundings: x^9 - 1 gives 0.99999999950839.
///
/// `coefficients` has n + 1 values, the lowest power first; real, imag and work have room for n +
/// 1. Roots are stored at the indices 1 to n of real and imag, the first one found at n. Returns k,
/// the number of roots not found: those found are at k + 1 to n. Roots at the origin come first.
VELM_API int LaguerreZeros(int n, const double* coefficients, LaguerreControl& control,
                           double* real, double* imag, double* work);

/// p and its first two derivatives at a complex point, and the size of p.
struct VELM_API LaguerreValues {
    double p[2]; ///< real and imaginary part
    double dp[2];
    double ddp[2];
    double size; ///< |p|
};

/// Evaluates the polynomial a[0] x^n + ... + a[n], n >= 3, at x = re + i im, in real arithmetic by
/// dividing by the quadratic factor of x. Returns whether |p| is below the bound of its rounding
/// error, with eps as the unit of rounding.
VELM_API bool LaguerreEvaluate(int n, const double* a, double re, double im, double eps,
                               LaguerreValues& values);

/// The length of (a, b) without avoidable overflow; NaN if either is NaN.
VELM_API double ScaledHypot(double a, double b);

/// The real roots in the closed interval that LaguerreZeros finds with a tolerance of 1e-9 and 80
/// evaluations per root: those whose imaginary part is exactly 0.0. Leading coefficients up to
/// 1e-10 in absolute value are left out.
///
/// The roots are neither sorted nor free of repeats, and a root that is not found is not reported.
/// A root on an end of the interval may be dropped, because the iteration gives it to about 1e-9
/// only. velm::real_roots has none of these limits.
VELM_API ERVec<double> Zeros1(const ERPolynome& p, const ERLimites& limits);

/// Zeros1 into `out`. Returns the number of roots, or -1 with `out` empty when p is zero, so that
/// every x is a root.
VELM_API int ZerosMethode1(const ERPolynome& p, const ERLimites& limits, ERVec<double>& out);
/// The same as ZerosMethode1.
VELM_API int Zeros(const ERPolynome& p, const ERLimites& limits, ERVec<double>& out);
