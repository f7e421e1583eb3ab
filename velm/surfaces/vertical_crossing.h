// VerticalNewton, VerticalSolution: where the line through a point along the z axis meets a surface
// near a start. ProjectPoint of the surfaces uses them.
#pragma once

#include "velm/export.h"
#include "velm/frame/point.h"
#include "velm/fwd.h"

class ERAnyBoundedSurface;
class ERRaySurfaceResult;

/// Newton's method for P(u, v) above p, from `parameter`, or with fromStart 0 from the one of 5 x 5
/// inner points at sixths of the limits that is nearest to p in x and y, the first one along U
/// first. The Jacobian is by forward differences of a millionth of the mean width of the limits;
/// both unknowns are clamped to them.
///
/// Returns 1, with the parameter and p moved in z onto the surface, once P is within 5e-8 of the
/// line and nearer than before. Returns 0, with both unchanged, where the distance stays within
/// 1e-10, rises for the eleventh time, or is no number, where the determinant of the Jacobian is at
/// most 1e-9 (absolute, so that surfaces over long knots have no crossings), and after 1000 steps.
VELM_API int VerticalNewton(const ERAnyBoundedSurface& surface, ERPoint3D& p, ERPoint2D& parameter,
                            int fromStart);

/// Appends the point that VerticalNewton finds without a start, with its derivatives, if it is
/// within the limits.
VELM_API void VerticalSolution(const ERAnyBoundedSurface& surface, const ERPoint3D& p,
                               ERRaySurfaceResult& result);
