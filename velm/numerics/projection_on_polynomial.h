// ProjectionPointOnCpoly: the parameters of the feet of a point on a polynomial or rational curve.
#pragma once

#include "velm/export.h"
#include "velm/frame/interval.h"
#include "velm/frame/val_vector.h"
#include "velm/frame/vec.h"
#include "velm/fwd.h"
#include "velm/numerics/polynomial.h"

/// The parameters in the limits where the vector from p to the curve is perpendicular to the
/// tangent: every stationary point of the distance, in the order and with the accuracy of the Zeros
/// that fills an array. The caller chooses the nearest.
///
/// Of n polynomials the first n - 1 are the coordinates, multiplied by the weight. The weight is
/// the last of three in the plane and the last of four in space; with any other number the last one
/// only counts for the degree, and the weight is 1.
///
/// Returns the number of parameters, or -1 if every parameter is a solution.
VELM_API int ProjectionPointOnCpoly(const ERTValVector<ERPolynome>& polys, ERLimites limits,
                                    const ERPoint2D& p, ERVec<double>& roots);
VELM_API int ProjectionPointOnCpoly(const ERTValVector<ERPolynome>& polys, ERLimites limits,
                                    const ERPoint3D& p, ERVec<double>& roots);
