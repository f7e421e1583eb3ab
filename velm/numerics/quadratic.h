// EquationBiCarre: the quadratic equation.
#pragma once

#include "velm/export.h"

/// Solves a x^2 + b x + c = 0: x1 is the root with the positive square root of the discriminant.
/// Callers use it with the square of an unknown as x.
///
/// Returns 1, or 0 with x1 and x2 unchanged if there is no real solution. If a is exactly 0, both
/// are set to -(b / c), the inverse of the linear equation's root, or to 0.0 if c is exactly 0 too;
/// this is part of the contract.
VELM_API int EquationBiCarre(double a, double b, double c, double& x1, double& x2);
