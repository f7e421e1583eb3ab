// intersect: lines with lines, planes and circles, circles with circles. SutherCohen of a line.
#pragma once

#include "velm/frame/box_clipping.h"
#include "velm/frame/vec.h"
#include "velm/wireframe/circle.h"
#include "velm/wireframe/line.h"

/// The common point of two lines. Returns 1, or 0 with p unchanged for lines whose unit directions
/// have a dot product whose square is exactly 1, or a cross product of exactly 0: such directions
/// agree to about 1e-8. Lines just beyond that meet far away.
VELM_API int intersect(const ERInfLine2D& a, const ERInfLine2D& b, ERPoint2D& p);

/// The point pa of a nearest to b and the point pb of b nearest to a. Returns 1, or 0 with both
/// unchanged for parallel lines, as above.
VELM_API int intersect(const ERInfLine3D& a, const ERInfLine3D& b, ERPoint3D& pa, ERPoint3D& pb);

/// The point of the line in the plane through `origin` along u and v. Returns 1, or 0 with p
/// unchanged if the line is exactly parallel to the plane or u and v are parallel.
VELM_API int intersect(const ERInfLine3D& line, const ERPoint3D& origin, const ERVector3D& u,
                       const ERVector3D& v, ERPoint3D& p);

/// The points where the line, in its direction, leaves (p1) and enters (p2) the circle. A line at a
/// distance from the radius up to tol more counts as tangent, and p1 = p2 is the center's foot on
/// it. Returns 1, or 0 with both unchanged (default of tol: `equalityTolerance`).
VELM_API int intersect(const ERCircle2D& circle, const ERInfLine2D& line, ERPoint2D& p1,
                       ERPoint2D& p2, double tol);
VELM_API int intersect(const ERCircle2D& circle, const ERInfLine2D& line, ERPoint2D& p1,
                       ERPoint2D& p2);

/// The common points of two circles: p1 to the left of the line from a's center to b's, p2 to the
/// right; p1 = p2 on the line of centers for circles that touch within 1e-11, from inside the exact
/// limit. Returns 1, or 0 with both unchanged for circles that don't meet, one outside or inside
/// the other, or that have the same center within 1e-10, equal circles included.
VELM_API int intersect(const ERCircle2D& a, const ERCircle2D& b, ERPoint2D& p1, ERPoint2D& p2);

/// The same points as angles in [0, 2 pi) on a and on b: appends one pair if they touch, else two.
VELM_API int intersect(const ERCircle2D& a, const ERCircle2D& b, ERVec<double>& ta,
                       ERVec<double>& tb);

/// Clips the line by the box: the segment form between the projections of the corners that are
/// farthest back and farthest ahead on the line. `ra` and `rb` are as for the segment form.
VELM_API ER_MINMAX_POSITION_SEGMENT SutherCohen(ERInfLine2D line, const ERMinimax2D& box,
                                                ERPoint2D& ra, ERPoint2D& rb);
