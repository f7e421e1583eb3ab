// getAllDerivate: a polynomial with all its derivatives.
#pragma once

#include "velm/export.h"
#include "velm/frame/val_vector.h"
#include "velm/numerics/polynomial.h"

/// degree + 1 entries: entry k is the k-th derivative, the last one constant.
VELM_API ERTValVector<ERPolynome> getAllDerivate(const ERPolynome& p);
