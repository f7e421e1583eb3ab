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
/// A value up to 1e-11 counts as zero, and a product of two values below 1e-9 as a change of sign,
/// regardless of the scale of p. These bounds are part of the contract: a polynomial with small
/// values loses roots and gets false ones. velm::real_roots takes the scale of p into account.
VELM_API ERVec<double> Zeros(const ERPolynome& p, const ERLimites& limits);
