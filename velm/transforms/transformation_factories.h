// ERIdentity3D, ERTranslation3D, ERRotation3D, ERRotationAtFixPoint, ERScaling3D, ERSymetrie3D,
// ERSimilitude3D, ERChgRepere3D, gm_scale_origin: the functions that make transformations of space.
#pragma once

#include "velm/frame/radian.h"
#include "velm/transforms/transformation_handle.h"

class ERQuaternion;

/// The calling thread's identity.
VELM_API ERPmIsometrie3D ERIdentity3D();

VELM_API ERPmIsometrie3D ERTranslation3D(const ERPoint3D& t);
VELM_API ERPmIsometrie3D ERTranslation3D(const ERVector3D& t);

/// About a coordinate axis through the origin; a zero matrix for an axis out of range.
VELM_API ERPmIsometrie3D ERRotation3D(Coord3D axis, ERRadian angle);
/// About an axis through the origin, of any length; exactly the identity for whole turns.
VELM_API ERPmIsometrie3D ERRotation3D(const ERVector3D& axis, ERRadian angle);
/// About an axis through c.
VELM_API ERPmIsometrie3D ERRotation3D(const ERVector3D& axis, const ERPoint3D& c, ERRadian angle);
/// By a unit quaternion.
VELM_API ERPmIsometrie3D ERRotation3D(const ERQuaternion& q);
/// The least rotation about the origin that turns `from` towards `to` (see find_lock_quaternion).
VELM_API ERPmIsometrie3D ERRotation3D(const ERVector3D& from, const ERVector3D& to);
/// The same about c.
VELM_API ERPmIsometrie3D ERRotationAtFixPoint(const ERVector3D& from, const ERVector3D& to,
                                              const ERPoint3D& c);

/// By the factor k about the origin. A k of 0 can't be inverted: TransTo divides by it.
VELM_API ERPmSimilitude3D ERScaling3D(double k);

/// The reflection that reverses a coordinate axis.
VELM_API ERPmSimilitude3D ERSymetrie3D(Coord3D axis);
/// The reflection in the plane through the origin that is perpendicular to n.
VELM_API ERPmSimilitude3D ERSymetrie3D(const ERVector3D& n);

/// p to M (k p) + t. M is taken as it is: ask isValid for one that may not be orthogonal.
VELM_API ERPmSimilitude3D ERSimilitude3D(const ERMatrix<double>& m);
VELM_API ERPmSimilitude3D ERSimilitude3D(const ERMatrix<double>& m, const ERPoint3D& t, double k);

/// The frame with its origin at o, its first axis along x and its second in the plane of x and y on
/// y's side. Parallel x and y give a singular matrix.
VELM_API ERPmIsometrie3D ERChgRepere3D(const ERVector3D& x, const ERVector3D& y,
                                       const ERPoint3D& o);
/// The frame with its origin at o and its third axis along z; the others are those of
/// GetOrthogonalDirections.
VELM_API ERPmIsometrie3D ERChgRepere3D(const ERVector3D& z, const ERPoint3D& o);

/// Multiplies the coordinates of the frame's origin by the factor; the axes are unchanged.
VELM_API void gm_scale_origin(ERPmIsometrie3D& frame, double factor);
