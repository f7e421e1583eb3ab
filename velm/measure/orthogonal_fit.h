// velm::fit_line, velm::fit_plane, velm::fit_circle: least squares of the true distances.
#pragma once

#include "velm/measure/fitted_entities.h"

namespace velm {

// Every fit works on the points relative to their centroid, so that their distance from the origin
// costs no more accuracy than the coordinates themselves have. All points have the same weight, and
// their order does not matter. A fit is valid if its outcome is FitOutcome::fitted; the other
// outcomes give the reason of a refusal.

/// The line with the least sum of squared distances: along the greatest axis of spread (Pearson,
/// Philosophical Magazine 2, 1901; principal_axes.h describes the numerics). Needs 2 points. The
/// direction's dot product with `towards` is not negative (default: from the first point to the
/// last, then towards the positive end of the main axis).
VELM_API LineFit2D fit_line(std::span<const ERPoint2D> points, const ERVector2D& towards = {});
VELM_API LineFit3D fit_line(std::span<const ERPoint3D> points, const ERVector3D& towards = {});

/// The plane with the least sum of squared distances: its normal is the least axis of spread. Needs
/// 3 points that are not collinear. The normal points to the side of `side`; by default, and if
/// `side` is in the plane, its largest component is positive.
VELM_API PlaneFit fit_plane(std::span<const ERPoint3D> points, const ERVector3D& side = {});

/// The circle with the least sum of squared distances (circle_fit.h describes the method). Needs 3
/// points that are not collinear.
VELM_API CircleFit2D fit_circle(std::span<const ERPoint2D> points);
/// In space: first the plane, then the circle in it, to the points' projections. The normal has the
/// side of fit_plane's.
VELM_API CircleFit3D fit_circle(std::span<const ERPoint3D> points, const ERVector3D& side = {});

} // namespace velm
