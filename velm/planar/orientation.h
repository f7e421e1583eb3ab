// ccw and Intersect: the side of a segment on which a point is, and whether two segments meet.
#pragma once

#include "velm/export.h"
#include "velm/frame/point.h"

/// Three-way position of `c` against the directed segment ab (after Sedgewick, Algorithms, ch. 24):
/// 1 to the left or beyond b, -1 to the right or before a, 0 on the segment, ends included.
///
/// `tol` applies to raw products of coordinate differences, so it is an area in squared model
/// units, not a distance. With 0.0 the comparisons are exact on the rounded products.
VELM_API int ccw(const ERPoint2D& a, const ERPoint2D& b, const ERPoint2D& c, double tol);

/// 1 when the closed segments ab and cd meet, touching included, else 0: the ends of each segment
/// are on different sides of the other one, by `ccw` without tolerance.
VELM_API int Intersect(const ERPoint2D& a, const ERPoint2D& b, const ERPoint2D& c,
                       const ERPoint2D& d);
