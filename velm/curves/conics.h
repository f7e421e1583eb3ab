// Convert, MakeOpenConic: arcs, circles, elliptical arcs and conics as rational quadratic NURBS
// curves, by the constructions of Piegl and Tiller (The NURBS Book, A7.1 to A7.3).
// velm::to_nurbs: the same for arcs, exact at every sweep.
//
//     ERCpoleNURBS2D quarter = Convert(ERArc2D(ERPoint2D(0, 0), 5.0, 0.0, 1.5707963267948966));
//     ERCpoleNURBS2D sliver = velm::to_nurbs(ERArc2D(center, 1000.0, 0.0, 1e-7));
//
// The parameter runs over (0, 1), evenly over the pieces of a curve; it is not the angle.
#pragma once

#include "velm/curves/nurbs_curve.h"
#include "velm/frame/radian.h"
#include "velm/frame/vector.h"

/// An arc by the crossings of its end tangents: 1 piece up to a quarter turn, 2 up to a half, 3 up
/// to three quarters, else 4. Kept as it has always been, for files that were written so:
///   - an arc whose start is above its end is wrapped through 2 pi and comes out as its
///     complement;
///   - tangents closer to parallel than a sine of 3.2e-6 don't cross: the middle pole of such a
///     short arc is the origin times its weight, and the curve leaves the circle.
/// velm::to_nurbs has neither trait.
VELM_API ERCpoleNURBS2D Convert(const ERArc2D& arc);
VELM_API ERCpoleNURBS3D Convert(const ERArc3D& arc);
/// The arc from 0 to 2 pi: 4 pieces, 9 poles, 12 knots.
VELM_API ERCpoleNURBS2D Convert(const ERCircle2D& circle);
VELM_API ERCpoleNURBS3D Convert(const ERCircle3D& circle);
/// An elliptical arc in the sense of its travel: up to a half turn through MakeOpenConic, a longer
/// one as two such halves. A half that is no conic, as on an ellipse without a small axis, has the
/// form of velm::to_nurbs.
VELM_API ERCpoleNURBS2D Convert(const ERArcEllipse2D& arc);

/// The conic from p0 with tangent t0 to p2 with tangent t2 through p, in 1, 2 or 4 pieces. Parallel
/// tangents have it pass through a half turn. A curve without poles if there is no conic: the
/// weight of the middle pole comes out at -1 or below, or p does not lie inside the angle of the
/// tangents and the chord.
VELM_API ERCpoleNURBS2D MakeOpenConic(const ERPoint2D& p0, const ERVector2D& t0,
                                      const ERPoint2D& p2, const ERVector2D& t2,
                                      const ERPoint2D& p);

namespace velm {

/// The arc from its start to its end, clockwise if the end is below the start, in equal pieces of
/// at most a quarter turn. The middle poles come from the angles, not from crossings: the weighted
/// pole of a piece of 2 h about the direction m is (w center + r m, w), w = cos h, so that nothing
/// is divided or cancels, and every sweep is exact up to rounding. About the origin the curve is
/// within 2 units in the last place of the radius of the circle, and its points as operator()
/// computes them within 4; a center adds the rounding of its coordinates. Of more than two turns
/// whole ones are dropped. Angles that are not finite give a curve without poles.
VELM_API ERCpoleNURBS2D to_nurbs(const ERArc2D& arc);
VELM_API ERCpoleNURBS3D to_nurbs(const ERArc3D& arc);
/// The same for the elliptical arc from udeb() to ufin(), as the affine image of a circular one.
VELM_API ERCpoleNURBS2D to_nurbs(const ERArcEllipse2D& arc);
VELM_API ERCpoleNURBS3D to_nurbs(const ERArcEllipse3D& arc);

} // namespace velm
