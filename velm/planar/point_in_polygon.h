// relpos and Inside: the position of a point relative to a polygon.
#pragma once

#include "velm/export.h"
#include "velm/frame/point.h"
#include "velm/frame/vec.h"

/// The results of `Inside`. The values are fixed.
enum relpos {
    relpos_inside = 0,
    relpos_on_vertex = 1,
    relpos_on_edge = 2,
    relpos_outside = 3,
};

/// The position of `p` relative to the polygon of `count` vertices, by the crossings of the ray to
/// the right of p (even-odd rule, either orientation). A last vertex that repeats the first exactly
/// is the closing one; otherwise the edge from the last to the first vertex closes the polygon.
///
/// Vertices compare exactly. Edges have a tolerance: `ccw(a, b, p, 1e-10)` equal to 0, which is
/// about 1e-10 over the edge's length, in model units. The first edge in order with p on it or on
/// its end decides between the two results. The last argument is not read. Without vertices:
/// outside.
///
/// Beyond an abscissa of 1e12, where the ray ends, the result is meaningless.
VELM_API relpos Inside(const ERPoint2D& p, const ERPoint2D* points, int count, int unused);
VELM_API relpos Inside(const ERPoint2D& p, const ERVec<ERPoint2D>& polygon);
