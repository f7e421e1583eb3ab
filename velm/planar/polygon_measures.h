// PolygonArea, IsCounterClockWise, MakePolygoneCCW, ReversePolygoneKeepFirstPoint: the signed area
// of a polygon and its orientation.
#pragma once

#include "velm/export.h"
#include "velm/frame/point.h"
#include "velm/frame/vec.h"

/// Signed area by trapezoids, in squared model units. Part of the contract: a counter-clockwise
/// polygon has a NEGATIVE area; the unit square from (0,0) over (1,0) gives -1. The closing edge is
/// implied; a repeated last vertex does no harm. No vertices: 0.
VELM_API double PolygonArea(const ERVec<ERPoint2D>& polygon);

/// 1 when `PolygonArea` is below 0.0, else 0: a polygon without area is not counter-clockwise.
VELM_API int IsCounterClockWise(const ERVec<ERPoint2D>& polygon);

/// Reverses the order of the vertices unless the polygon is already counter-clockwise. A repeated
/// last vertex is still repeated after that. A polygon without area is reversed.
VELM_API void MakePolygoneCCW(ERVec<ERPoint2D>& polygon);

/// P0, P1, ..., Pn-1 becomes P0, Pn-1, ..., P1: for a list without a repeated last vertex.
VELM_API void ReversePolygoneKeepFirstPoint(ERVec<ERPoint2D>& polygon);
