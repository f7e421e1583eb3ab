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
// quite the least one; `velm::fit_line` and `velm::fit_plane` (orthogonal_fit.h) give that. The
// means run over squares of the coordinates as they are, so points far from the origin lose digits.

/// The line through the points' mean, in the sense from the first point to the second. Returns 1,
/// or 0 with the line left alone when the normal is not a finite vector (fewer than two points, or
/// all of them equal).
///
/// A tolerance above 0 is a check of the result, no part of the fit: when a point lies farther than
/// that from the line the result is 0, and the line is set all the same.
VELM_API int GetMediumLine(const ERVec<ERPoint2D>& points, ERInfLine2D& line, double tolerance);

/// The plane through the points' mean. The normal is reversed when its dot product with
/// (p1 - p0) ^ (p2 - p0) of the first three points is below 1.0: intended, so that with points
/// closer than about a unit it is reversed whatever its side. Where there are fewer than three, the
/// last stands for those that lack.
///
/// Returns 1, or 0 with the plane set all the same when the tolerance is above 0 and a point lies
/// farther than that from the plane. Points that fix no plane give any of those through them, or
/// NaN coefficients, and 1.
VELM_API int GetMediumPlane(const ERVec<ERPoint3D>& points, ERPlane& plane, double tolerance);
