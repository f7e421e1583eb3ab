// intersect of two Bezier or NURBS curves of the plane, and FonctionnelleIntersectionDeBezier, the
// equations that it solves.
//
//     ERVec<double> ta, tb;
//     intersect(a, b, ta, tb);              // ERCpoleBezier2DR or ERCpoleNURBS2D
//     for (int i = 0; i < ta.size(); ++i)
//         report(a(ta[i]), b(tb[i]));
//
// The curves are halved, the longer one first, as long as the convex hulls of their poles touch,
// until both are flat: the chord more than 0.99 of the control polygon. The lines through their
// ends then give the start of a Newton iteration. The method is kept as it is for the hosts that
// have it; it finds transversal crossings of ordinary curves:
//   - flat pieces that cross twice give one pair, and none if their chords are parallel;
//   - a crossing on a place of division may come twice, or lie between the hulls' roundings;
//   - where curves touch, the Jacobian is singular: no pair, or several close together;
//   - overlaps give no pairs, or scattered ones; the same curve twice, also reversed, gives none;
//   - parameters outside the curves are possible, for a root found beyond their ends; beyond the
//     end of a span of a NURBS curve they go with that span's polynomial, not with the curve;
//   - hulls and residuals have absolute tolerances: curves below 1e-6 units lose their crossings.
// docs/behaviour.md has figures.
#pragma once

#include "velm/curves/bezier_curve.h"
#include "velm/curves/nurbs_curve.h"
#include "velm/numerics/newton_problems.h"

/// For the fractions (s, t) of two curves of one span, f = A(s) - B(t).
class VELM_API FonctionnelleIntersectionDeBezier : public ERCNewtonM {
public:
    /// A curve without poles gives NaN.
    FonctionnelleIntersectionDeBezier(const ERCpoleBezier2DR& a, const ERCpoleBezier2DR& b);

    ERVec<double> f(const ERVec<double>& x) override;
    ERMatrix<double> fprime(const ERVec<double>& x) override;

    /// The limits of the curves.
    const ERLimites& limits_of_a() const { return limitsA; }
    const ERLimites& limits_of_b() const { return limitsB; }

private:
    // Polynomials for x, y and the weight by the fraction, and their derivatives.
    ERTValVector<ERPolynome> powerA;
    ERTValVector<ERPolynome> powerB;
    ERTValVector<ERPolynome> derivedA;
    ERTValVector<ERPolynome> derivedB;
    ERLimites limitsA;
    ERLimites limitsB;
    ERVec<double> work; // what f returns
};

/// Appends the parameters of common points, `ta` on a and `tb` on b, and returns the length of
/// `ta`. Trims count. Curves without poles, or with points that aren't finite or are 1e150 away,
/// have no common points.
VELM_API int intersect(ERCpoleBezier2DR a, ERCpoleBezier2DR b, ERVec<double>& ta,
                       ERVec<double>& tb);
/// The same, span by span. The same curve over another interval, or turned round, gives none.
VELM_API int intersect(ERCpoleNURBS2D a, ERCpoleNURBS2D b, ERVec<double>& ta, ERVec<double>& tb);
