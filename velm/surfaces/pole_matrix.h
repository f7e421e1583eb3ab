// Operations on the matrix of poles and the knots of a NURBS surface, without the surface:
// insertion of knots, points, clamped ends, poles from polynomials.
//
// Element (j, i) of a matrix is the pole with index i along U and j along V: rows run along U.
#pragma once

#include "velm/curves/knot_vector.h"
#include "velm/frame/pole.h"
#include "velm/frame/val_vector.h"
#include "velm/numerics/matrix.h"
#include "velm/numerics/polynomial_2var.h"

/// Insert t k times into the knots along U (V) of a surface with these poles (W. Boehm, Inserting
/// new knots into B-spline curves, Computer-Aided Design 12, 1980). The surface stays the same. A
/// copy beyond multiplicity p repeats poles. Nothing changes for k below 1, for a NaN, for a t
/// outside the domain, and for poles and knots whose numbers don't agree.
VELM_API void BoehmInU(ERMatrix<ERPole3DH>& poles, ERKnotVector& knots, double t, int k);
VELM_API void BoehmInV(ERMatrix<ERPole3DH>& poles, ERKnotVector& knots, double t, int k);

/// The homogeneous point at (u, v), by the basis functions of its spans. NaN for poles and knots
/// whose numbers don't agree.
VELM_API ERPole3DH CalOnNurbs_H(const ERMatrix<ERPole3DH>& poles, const ERKnotVector& knotsU,
                                const ERKnotVector& knotsV, double u, double v);

/// Clamps the surface: both domains, knot p to knot n of n poles, stay, and their ends then occur
/// degree + 1 times. Vectors that are not flagged as unclamped stay as they are. Returns 1, or 0 if
/// a domain has no extent, with nothing changed.
VELM_API int CreateCompatibleSurfaceData(ERMatrix<ERPole3DH>& poles, ERKnotVector& knotsU,
                                         ERKnotVector& knotsV);

/// The Bezier poles over [0, 1] x [0, 1] of the surface whose weighted coordinates x, y, z and
/// weight are these polynomials; with three of them the weight is 1. The degrees are the highest
/// among them. Other numbers of polynomials give no poles.
VELM_API void SpolyPatch2Pole(const ERTValOrderedVector<ERPolynome2Var>& polynomials,
                              ERMatrix<ERPole3DH>& poles);
