// Zeros by derivatives: the real roots of a polynomial in an interval, between those of its
// derivative.
#pragma once

#include "velm/export.h"
#include "velm/frame/interval.h"
#include "velm/frame/vec.h"
#include "velm/numerics/polynomial.h"

/// The roots in the closed interval, ascending: the ends and the roots of each derivative bound the
/// pieces in which Newton's method looks for the roots of the derivative before it. Empty for a
/// constant.
///
/// What is no larger than 1e-11 counts as zero, and a product of two values below 1e-9 as a change
/// of sign, whatever the scale of p: intended. On polynomials with small values roots are lost and
/// others invented. velm::real_roots goes by the scale of p.
VELM_API ERVec<double> Zeros(const ERPolynome& p, const ERLimites& limits);
