// computeEulerAngles, find_flip_matrix, find_lock_quaternion, find_lock_matrix: angles of a
// rotation, and rotations between directions. dump: a transformation as text.
#pragma once

#include "velm/export.h"
#include "velm/frame/vector.h"
#include "velm/fwd.h"
#include "velm/numerics/matrix.h"
#include "velm/numerics/quaternion.h"

#include <string>

/// The angles of a rotation matrix m = Rz(c) Ry(b) Rx(a), in radians, b in [-pi/2, pi/2]. If |m(2,
/// 0)| is 1 or more, the other two are not unique: then b is -pi/2 with a = 0, or pi/2 with c = 0.
/// Returns 1.
VELM_API int computeEulerAngles(const ERMatrix<double>& m, double& a, double& b, double& c);
VELM_API int computeEulerAngles(const ERPmIsometrie3D& t, double& a, double& b, double& c);

/// A half turn about an axis perpendicular to v: it flips v to its opposite.
VELM_API void find_flip_matrix(ERVector3D v, ERMatrix<double>& m);

/// A unit quaternion that turns `from` towards `to`, by the least angle unless the two are so
/// nearly parallel or opposite that the sine of their angle is below 0.001: then by way of a
/// quarter turn about a perpendicular of `to`. NaN for zero vectors.
VELM_API void find_lock_quaternion(ERVector3D from, ERVector3D to, ERQuaternion& q);
/// The matrix of that quaternion.
VELM_API void find_lock_matrix(ERVector3D from, ERVector3D to, ERMatrix<double>& m);

/// One line per row of the matrix, followed by its coordinate of the translation; every number as
/// "%- 8.3f ".
VELM_API std::string dump(const ERPmIsometrie3D& t);
