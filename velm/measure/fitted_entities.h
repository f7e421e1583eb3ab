// velm::LineFit2D, LineFit3D, PlaneFit, CircleFit2D, CircleFit3D: the results of the fits of
// orthogonal_fit.h, and the residuals of points.
#pragma once

#include "velm/numerics/circle_fit.h"
#include "velm/surfaces/plane.h"
#include "velm/wireframe/circle_in_space.h"
#include "velm/wireframe/line.h"

namespace velm {

// Lengths are in model units; rms is the root mean square of the residuals of the points that were
// fitted. The entities of the library are made from the fit: they store the foot from the origin of
// coordinates as their place, so far from the origin a residual to the fit itself has a few digits
// more.

struct VELM_API LineFit2D {
    FitOutcome outcome = FitOutcome::too_few_points;
    ERPoint2D centroid;
    ERVector2D direction;
    double rms = 0.0;

    ERInfLine2D line() const { return ERInfLine2D(direction, centroid); }
    /// The signed distance, positive to the right of the direction.
    double residual(const ERPoint2D& p) const;
};

struct VELM_API LineFit3D {
    FitOutcome outcome = FitOutcome::too_few_points;
    ERPoint3D centroid;
    ERVector3D direction;
    double rms = 0.0;

    ERInfLine3D line() const { return ERInfLine3D(direction, centroid); }
    /// The distance, without a sign.
    double residual(const ERPoint3D& p) const;
};

struct VELM_API PlaneFit {
    FitOutcome outcome = FitOutcome::too_few_points;
    ERPoint3D centroid;
    ERVector3D normal;
    double rms = 0.0;

    ERPlane plane() const { return ERPlane(centroid, normal); }
    /// The signed distance, positive on the side of the normal.
    double residual(const ERPoint3D& p) const;
};

struct VELM_API CircleFit2D {
    FitOutcome outcome = FitOutcome::too_few_points;
    ERPoint2D centre;
    double radius = 0.0;
    double rms = 0.0;
    CircleIteration iteration;

    ERCircle2D circle() const { return ERCircle2D(centre, radius); }
    /// The signed distance, positive outside.
    double residual(const ERPoint2D& p) const;
};

struct VELM_API CircleFit3D {
    FitOutcome outcome = FitOutcome::too_few_points;
    ERPoint3D centre;
    ERVector3D normal;
    double radius = 0.0;
    double rms = 0.0;
    /// The root mean square of the heights above the plane.
    double plane_rms = 0.0;
    CircleIteration iteration;

    ERCircle3D circle() const { return ERCircle3D(centre, normal, radius); }
    /// The signed distance from the circle in its plane, positive outside, without the height.
    double residual(const ERPoint3D& p) const;
    /// The height above the circle's plane, positive on the side of the normal.
    double height(const ERPoint3D& p) const;
};

} // namespace velm
