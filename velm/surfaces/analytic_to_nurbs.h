// Convert2Nurbs: analytic surfaces as NURBS surfaces.
//
// The same points between the working limits, with parameters of their own: a plane's run over
// [0, 1], those of the others along the generator as its conversion has it and over the angle from
// the start of the limits, which is the angle only at the ends of its pieces of at most a quarter
// turn. velm::to_nurbs states more.
#pragma once

#include "velm/surfaces/nurbs_surface.h"

#include <optional>

class ERBoundedCone;
class ERBoundedCylinder;
class ERBoundedPlane;
class ERBoundedSphere;
class ERBoundedTorus;
class ERSphere;

/// The corners, with U of the plane along V of the result: part of the contract.
VELM_API ERSpoleNURBS3D Convert2Nurbs(const ERBoundedPlane& plane);
/// The generator at the start of V, turned: U is along the generator. A cone on both sides of its
/// apex is folded to one side, as CreateSurfOfRevolution does it.
VELM_API ERSpoleNURBS3D Convert2Nurbs(const ERBoundedCylinder& cylinder);
VELM_API ERSpoleNURBS3D Convert2Nurbs(const ERBoundedCone& cone);
/// U is the longitude, V the latitude; for latitudes between -pi/2 and pi/2.
VELM_API ERSpoleNURBS3D Convert2Nurbs(const ERBoundedSphere& sphere);
/// U is the angle about the axis, V that around the tube. Poles of the tube circle that reach
/// beyond the axis are folded back.
VELM_API ERSpoleNURBS3D Convert2Nurbs(const ERBoundedTorus& torus);
/// The whole sphere: U is the latitude, V the longitude.
VELM_API ERSpoleNURBS3D Convert2Nurbs(const ERSphere& sphere);

namespace velm {

/// The surface over its own working limits in both parameters, exactly its points: U and V are
/// those of the analytic surface where they are lengths; where they are angles they agree with them
/// at the ends and in the middles of equal pieces of at most a quarter turn about the axis, and at
/// the ends of the pieces of a meridian or tube circle. By velm::revolve: also for a cone on both
/// sides of its apex and for a torus that crosses its axis. Nothing for limits that are empty,
/// reversed or wider than a turn.
VELM_API std::optional<ERSpoleNURBS3D> to_nurbs(const ERBoundedPlane& plane);
VELM_API std::optional<ERSpoleNURBS3D> to_nurbs(const ERBoundedCylinder& cylinder);
VELM_API std::optional<ERSpoleNURBS3D> to_nurbs(const ERBoundedCone& cone);
VELM_API std::optional<ERSpoleNURBS3D> to_nurbs(const ERBoundedSphere& sphere);
VELM_API std::optional<ERSpoleNURBS3D> to_nurbs(const ERBoundedTorus& torus);

} // namespace velm
