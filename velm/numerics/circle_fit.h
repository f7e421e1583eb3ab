// velm::fit_flat_circle: the numeric core of the fit of a circle.
#pragma once

#include "velm/numerics/principal_axes.h"

namespace velm {

/// How the iteration of a circle ended.
struct CircleIteration {
    int steps = 0;
    /// The last step, as the distance by which it moved the circle near the points, in model units.
    double last_step = 0.0;
};

struct FlatCircle {
    /// fitted; too_few_points below 3; not_finite; coincident; collinear, also if no finite radius
    /// is the best; or not_converged, with the last circle reached. In all cases except fitted and
    /// not_converged the circle means nothing.
    FitOutcome outcome = FitOutcome::too_few_points;
    ERPoint2D centre;
    double radius = 0.0;
    /// The root mean square of the distances.
    double rms = 0.0;
    CircleIteration iteration;
};

/// The circle with the least sum of squared distances to the points (a local minimum near the
/// algebraic fit; the points of an arc have one).
///
/// Start: Taubin's algebraic fit (IEEE Trans. PAMI 13, 1991) by Newton's method, in Chernov's form
/// (Circular and Linear Regression, 2010, section 5.10), or the line of the principal axis if that
/// is closer. Then Newton's method on the true distances, damped as Levenberg and Marquardt do
/// (Marquardt, SIAM Journal 11, 1963), in parameters that remain finite as the circle flattens: A
/// (x^2 + y^2) + B x + C y + D = 0 with B^2 + C^2 - 4 A D = 1 (Chernov and Lesort, Computer Vision
/// and Image Understanding 95, 2004), after Pratt's normalisation. Departures: second derivatives
/// are included, so that the last steps converge quadratically to a true minimum on noisy points
/// too; the origin is put on the rim of the start, where the parameters A, D and the direction of
/// (B, C) are never singular, not even for a full circle.
VELM_API FlatCircle fit_flat_circle(std::span<const ERPoint2D> points);

} // namespace velm
