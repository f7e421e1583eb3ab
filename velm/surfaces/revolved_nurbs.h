// CreateSurfOfRevolution: NURBS curves turned about an axis, as NURBS surfaces.
#pragma once

#include "velm/curves/nurbs_curve.h"
#include "velm/surfaces/nurbs_surface.h"
#include "velm/wireframe/line.h"

/// The curve turned about the z axis: U is the curve's parameter, V runs from a to b over the arc
/// from a to b as ERArc3D converts it, whose parameter is the angle at the ends of its pieces only.
/// An angle b below a counts a turn more.
///
/// Each pole is turned from the half plane of x >= 0, at its distance from the axis: only distances
/// count, which is part of the contract. So the surface is the curve's only for poles in one half
/// plane; velm::revolve has no such limits.
VELM_API ERSpoleNURBS3D CreateSurfOfRevolutionAxeZ1(const ERCpoleNURBS3D& curve, double a,
                                                    double b);
/// The same about a line, from the half plane of the first point of the curve found that is more
/// than 1e-11 from the axis: its start, its end, then points between.
VELM_API ERSpoleNURBS3D CreateSurfOfRevolution(const ERCpoleNURBS3D& curve, const ERInfLine3D& axis,
                                               double a, double b);
