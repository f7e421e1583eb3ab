// CalculateConvexeHull: the convex hull of points in the plane.
#pragma once

#include "velm/export.h"
#include "velm/frame/point.h"
#include "velm/frame/vec.h"

/// The convex hull as a counter-clockwise outline without a repeated last vertex; it starts at the
/// greatest point in the order by x, then y. Points on a hull edge are left out. Monotone chain
/// (Andrew 1979) in two passes, with a tolerance of 1e-7 on lengths: points that close to their
/// neighbour on the chain are passed over. Two different points give both, the greater first;
/// fewer than two points are returned as they are.
///
/// Intended: points that all lie within 1e-7 of each other give TWO entries, the greatest point and
/// whatever the argument held at index 1.
VELM_API ERVec<ERPoint2D> CalculateConvexeHull(ERVec<ERPoint2D> points);
