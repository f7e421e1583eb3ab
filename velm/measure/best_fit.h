// GetMediumLine, GetMediumPlane: a line and a plane through measured points, by running means and
// one elimination.
#pragma once

#include "velm/export.h"
#include "velm/frame/point.h"
#include "velm/frame/vec.h"

class ERInfLine2D;
class ERPlane;

// The normal is the vector that `ResolveHyperPlan` finds for the covariance of the points: the
// exact null direction where the points lie on a line or plane, and near it the direction of least
// variance, but not its eigenvector. On noisy points the sum of squared distances is therefore not
// quite the least one, unlike that of `velm::fit_line` and `velm::fit_plane` (orthogonal_fit.h).
// The means are taken of squares of the coordinates themselves, so points far from the origin lose
// digits.

/// The line through the points' mean, in the direction from the first point to the second. Returns
/// 1, or 0 with the line unchanged if the normal is not a finite vector (fewer than two points, or
/// all of them equal).
///
/// A tolerance above 0 checks the result and does not change the fit: if a point is farther than
/// that from the line, the function returns 0, and the line is still set.
VELM_API int GetMediumLine(const ERVec<ERPoint2D>& points, ERInfLine2D& line, double tolerance);

/// The plane through the points' mean. The normal is reversed when its dot product with (p1 - p0) ^
/// (p2 - p0) of the first three points is below 1.0. The 1.0 is part of the contract: with points
/// closer than about a unit the normal is reversed on either side. With fewer than three points the
/// last one replaces the missing ones.
///
/// Returns 1, or 0 with the plane still set if the tolerance is above 0 and a point is farther than
/// that from the plane. Points that fix no plane give one of the planes through them, or NaN
/// coefficients, and 1.
VELM_API int GetMediumPlane(const ERVec<ERPoint3D>& points, ERPlane& plane, double tolerance);
