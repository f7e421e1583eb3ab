// velm::real_roots, velm::real_roots_bernstein: every real root of a polynomial in a closed
// interval, with its enclosure and multiplicity.
//
// The coefficients are known to a relative `uncertainty` (default: one rounding, 2^-53): the search
// is for the roots of all polynomials whose coefficients differ from the given ones by no more. A
// coefficient of 0 is exact. On the real line these are the closed intervals where |p(x)| <=
// uncertainty S(x), with S(x) the sum of the sizes of p's terms (the pseudozero set: Mosier, Root
// neighborhoods of a polynomial, 1986). Each of them that meets the interval is reported once, and
// nothing else is:
//
//   no root is lost    a root in the interval of any of these polynomials lies in an enclosure
//   none is invented   each enclosure holds a root of one of these polynomials
//
// Roots that rounding can't distinguish share an enclosure: its multiplicity bounds the number of
// roots, counted with their multiplicities, that any of these polynomials has in it, and has the
// parity of that number if p is clear of zero at the ends of the enclosure. So a double root comes
// back as one of multiplicity 2 whether rounding has split it or has lifted p off the axis. An
// uncertainty of 0 takes the coefficients as exact: only values below the resolution of arithmetic
// in pairs of doubles, about degree^2 * 2^-103 S, are then unclear.
//
// Accuracy. The condition of a simple root r is S(r) / |r p'(r)|. Its value is a root of p as
// given, to two units in the last place (three in the Bernstein basis) and a relative error of at
// most condition * (degree + 1)^2 * 2^-104, the bound of the noise in pairs of doubles. (That much
// noise is rare: of 280,000 roots of degree 2 to 9, with conditions up to 10^16, none came out
// wrong by more than 1.4 * 2^-52.) Its enclosure reaches some 2 * uncertainty * condition * |r| to
// either side.
//
// The value of an entry of multiplicity m is a zero, in the enclosure, of p's derivative of order m
// - 1, as accurate as the condition of that zero allows: the one where p is nearest to zero if
// there are several; if there is none, a zero of the highest lower derivative that has one; if none
// has, the end of the enclosure where p is smaller. In the Bernstein basis it is the derivative in
// y = t / (1 - t) of p / (1 - t)^degree, or toward the other end in (1 - t) / t of p / t^degree:
// the same for m = 1. Everything scales with p and with x; there are no absolute bounds.
//
// Method. Scaled by a power of two, p is taken to the Bernstein basis over an interval and bisected
// by de Casteljau's scheme; Descartes' rule on the coefficients counts the roots of each part (Lane
// and Riesenfeld, Bounds on a polynomial, 1981; Eigenwillig, Kettner, Krandick, Mehlhorn, Schmitt
// and Wolpert, A Descartes algorithm for polynomials with bit-stream coefficients, 2005). S goes
// through the same steps and bounds the error of each coefficient. Where a sign isn't certain in
// doubles the part is computed again in pairs of doubles (Dekker, 1971). A lone root is polished by
// Newton's method kept between its bounds, first in doubles, then with compensated values
// (Graillat, Langlois and Louvet, Algorithms for accurate, validated and fast polynomial
// evaluation, 2009). The multiplicity is the order of the first derivative that keeps its sign in
// the enclosure.
#pragma once

#include "velm/export.h"
#include "velm/frame/interval.h"
#include "velm/numerics/polynomial.h"

#include <span>
#include <vector>

namespace velm {

struct VELM_API RealRoot {
    double value = 0.0; ///< in the interval asked for, and between lower and upper
    double lower = 0.0; ///< the enclosure, cut to the interval
    double upper = 0.0;
    /// Bounds the number of roots in the enclosure; 0 when p is zero, so that every x is a root.
    int multiplicity = 0;
    /// Whether p as given, evaluated in pairs of doubles, reaches zero: its signs at the ends of
    /// the enclosure and at the value differ, or it is zero there. If false, p comes as near to
    /// zero as the uncertainty, and may touch it if an even number of roots share the enclosure.
    bool crosses = false;
};

/// One rounding of each coefficient.
inline constexpr double rounded_once = 0x1p-53;

/// The real roots in the closed interval, ascending. The coefficients have the lowest power first;
/// zeros at the end are ignored. The ends may be infinite. Empty if start is above end, or if an
/// end is a NaN or a coefficient isn't finite. uncertainty is below 0.01.
///
/// There are never more entries than the degree, or 1 when p is zero. The degree may be up to 500.
VELM_API std::vector<RealRoot> real_roots(std::span<const double> coefficients,
                                          const ERLimites& limits,
                                          double uncertainty = rounded_once);
VELM_API std::vector<RealRoot> real_roots(const ERPolynome& p, const ERLimites& limits,
                                          double uncertainty = rounded_once);

/// The roots into the caller's array: returns their number, and writes as many of them as there is
/// room for. Makes no call to the global allocator after a thread's first calls.
VELM_API int real_roots(std::span<const double> coefficients, const ERLimites& limits,
                        std::span<RealRoot> roots, double uncertainty = rounded_once);

/// The real roots of the sum of poles[i] times the i-th Bernstein polynomial of degree poles.size()
/// - 1. Only roots in [0, 1] are looked for, regardless of the limits; one beyond an end of the
/// limits by no more than a relative 2e-15 counts as on it. S is the sum of |poles[i]| times the
/// Bernstein polynomial.
VELM_API std::vector<RealRoot> real_roots_bernstein(std::span<const double> poles,
                                                    const ERLimites& limits = ERLimites(0.0, 1.0),
                                                    double uncertainty = rounded_once);
VELM_API int real_roots_bernstein(std::span<const double> poles, const ERLimites& limits,
                                  std::span<RealRoot> roots, double uncertainty = rounded_once);

} // namespace velm
