// CreateCylinderFrom2Arcs, CreateConeFrom2Arcs, CreateTorusFrom2Arcs, CreateSphereFrom2Arcs: the
// surface that two measured arcs are on.
//
//     ERBoundedCylinder hole;
//     if (CreateCylinderFrom2Arcs(top, bottom, hole)) report(hole.diameter());
//
// Each returns 1, or 0 with the surface unchanged if the arcs are not on such a surface. The
// tolerances are absolute: 0.0001 for the cosine of two normals, 0.001 model units for centers and
// radii.
#pragma once

#include "velm/export.h"
#include "velm/fwd.h"

class ERBoundedCone;
class ERBoundedCylinder;
class ERBoundedSphere;
class ERBoundedTorus;

/// Between the centers of two parallel arcs, with the mean of their radii. The arc with the wider
/// limits, b for a tie, gives the frame's axes and the limits of v. The frame's origin is half way.
VELM_API int CreateCylinderFrom2Arcs(const ERArc3D& a, const ERArc3D& b, ERBoundedCylinder& cyl);

/// By CreateBoundedCone with the centers and radii of both, whose axes are not compared. The arc
/// with the wider limits, b for a tie, gives the limits of v.
VELM_API int CreateConeFrom2Arcs(const ERArc3D& a, const ERArc3D& b, ERBoundedCone& cone);

/// a is the spine and b an arc of the tube, perpendicular to it and with a radius no greater.
VELM_API int CreateTorusFrom2Arcs(const ERArc3D& a, const ERArc3D& b, ERBoundedTorus& torus);

/// Two arcs about one center with one radius: the one with the wider limits, a for a tie, gives the
/// frame and the longitudes, the other the latitudes that it sweeps, up to a pole.
VELM_API int CreateSphereFrom2Arcs(const ERArc3D& a, const ERArc3D& b, ERBoundedSphere& sphere);
