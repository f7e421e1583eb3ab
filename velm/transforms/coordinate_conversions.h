// Conversions of a Coordinate between Cartesian, cylindrical and spherical coordinates and between
// the forms of a direction, and ConvertToNeutral, ConvertFromNeutral: an isometry as a 4 x 4 array.
#pragma once

#include "velm/export.h"
#include "velm/frame/coordinate.h"
#include "velm/fwd.h"

// Angles are in degrees, because hosts display them.

/// (angle about z from x, distance from the z axis, z).
VELM_API Coordinate Cartesian2Cylindrical(const Coordinate& c);
VELM_API Coordinate Cylindrical2Cartesian(const Coordinate& c);
/// (azimuth, elevation, distance from the origin); elevation 0 for the origin.
VELM_API Coordinate Cartesian2Spherical(const Coordinate& c);
VELM_API Coordinate Spherical2Cartesian(const Coordinate& c);

/// The angles of the direction (i, j, k) in the planes yz, zx and xy.
VELM_API Coordinate IJK2ABC(const Coordinate& c);
/// The unit direction of three such angles. The one in the plane of the direction's two largest
/// components decides between the two senses; if an angle is a right angle, the next angle alone
/// gives the direction.
VELM_API Coordinate ABC2IJK(const Coordinate& c);
/// (azimuth, elevation, 1.0). The third component is divided by the length twice before the arc
/// sine is taken, which is part of the contract and right for unit directions; a short direction
/// may give NaN.
VELM_API Coordinate IJK2AZ_EL(const Coordinate& c);
/// The unit direction; the third number is not read.
VELM_API Coordinate AZ_EL2IJK(const Coordinate& c);
/// The direction normalised.
VELM_API Coordinate IJK2IJK(const Coordinate& c);

/// The rows 0 to 2 of m take the axes in columns 0 to 2 and the translation in column 3, row 3
/// takes (0, 0, 0, 1).
VELM_API void ConvertToNeutral(const ERPmIsometrie3D& t, double (*m)[4]);
/// The frame of columns 0, 1 and 3, as ERChgRepere3D makes it. The third column is not read: a
/// left-handed array comes back right-handed, which is part of the contract.
VELM_API void ConvertFromNeutral(const double (*m)[4], ERPmIsometrie3D& t);
