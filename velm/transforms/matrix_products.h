// 3 x 3 matrices with points and vectors: operator*, mulInverseIsoMat, velm::matrix_of_columns.
#pragma once

#include "velm/export.h"
#include "velm/frame/point.h"
#include "velm/frame/vector.h"
#include "velm/numerics/matrix.h"

/// M p. A matrix that is not 3 x 3 gives NaN, here and below.
VELM_API ERPoint3D operator*(const ERMatrix<double>& m, const ERPoint3D& p);
VELM_API ERVector3D operator*(const ERMatrix<double>& m, const ERVector3D& v);

/// The transposed matrix times p: for the matrix of an isometry this is its inverse times p.
VELM_API ERPoint3D mulInverseIsoMat(const ERMatrix<double>& m, const ERPoint3D& p);
VELM_API ERVector3D mulInverseIsoMat(const ERMatrix<double>& m, const ERVector3D& v);

namespace velm {

/// The 3 x 3 matrix with these columns.
VELM_API ERMatrix<double> matrix_of_columns(const ERVector3D& x, const ERVector3D& y,
                                            const ERVector3D& z);

} // namespace velm
