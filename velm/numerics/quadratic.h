// EquationBiCarre: the quadratic equation.
#pragma once

#include "velm/export.h"

/// Solves a x^2 + b x + c = 0: x1 is the root with the positive square root of the discriminant. It
/// is used with the square of an unknown for x.
///
/// Returns 1, or 0 with x1 and x2 left alone when there is no real solution. With a exactly 0 both
/// get -(b / c), the inverse of the linear equation's root, and 0.0 when c is exactly 0, too:
/// intended.
VELM_API int EquationBiCarre(double a, double b, double c, double& x1, double& x2);
