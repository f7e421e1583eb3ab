// drawn_curves.h: curves of the plane as files describe them: `DrawnSegment`, `DrawnArc`,
// `DrawnSpline`, and the entities that they become.
#pragma once

#include "velm/curves/nurbs_curve.h"
#include "velm/frame/point.h"
#include "velm/frame/vector.h"
#include "velm/planar/outline_checks.h"
#include "velm/wireframe/arc.h"

#include <vector>

namespace velm::inspect {

struct DrawnSegment {
    ERPoint2D start, end;
};

/// An arc of a circle or an ellipse: centre + cos(t) u + sin(t) v, from t = `from` to t = `to`, 0 <
/// to - from <= 2 pi. u and v are conjugate half axes; on a circle they are orthogonal and of one
/// length, and the arc runs clockwise if u ^ v is negative.
struct DrawnArc {
    ERPoint2D centre;
    ERVector2D u, v;
    double from = 0.0, to = 0.0;
    ERPoint2D start, end; ///< from the file, otherwise evaluated

    bool is_circular() const;
    bool is_closed() const;
};

/// A NURBS curve: as many knots as poles plus degree + 1, ascending, clamped or not.
struct DrawnSpline {
    int degree = 0;
    std::vector<double> knots;
    std::vector<ERPoint2D> poles;
    std::vector<double> weights; ///< positive; one per pole
};

/// The fault of a spline, as a sentence; null if it has none.
const char* fault_of(const DrawnSpline& spline);

/// The arc of a circle, clockwise if its end angle is below its start.
ERArc2D circular_arc(const DrawnArc& arc);
/// An exact NURBS curve of the arc of an ellipse, its ends being the arc's.
ERCpoleNURBS2D elliptical_curve(const DrawnArc& arc);
/// The curve of a spline without a fault, cut to the knots p to n.
ERCpoleNURBS2D spline_curve(const DrawnSpline& spline);

} // namespace velm::inspect
