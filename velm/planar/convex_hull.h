// CalculateConvexeHull, velm::convex_hull: the convex hull of points in the plane, by the given
// rule with its tolerance, and exactly.
#pragma once

#include "velm/export.h"
#include "velm/frame/point.h"
#include "velm/frame/vec.h"

#include <span>
#include <vector>

/// The convex hull as a counter-clockwise outline without a repeated last vertex; it starts at the
/// greatest point in the order by x, then y. Points on a hull edge are omitted. Monotone chain
/// (Andrew 1979) in two passes, with a tolerance of 1e-7 on lengths: points within it of their
/// neighbour on the chain are skipped. Two different points give both, the greater first; fewer
/// than two points are returned as they are.
///
/// A vertex within the tolerance of its neighbour is lost, and with it the removals that it would
/// have caused: of 10^6 points within 1e-9 of a ring of radius 1, with 212,937 hull vertices, 2752
/// are missing and 2020 of the returned points are not vertices. Only the tolerance causes this:
/// turns decided exactly give the same points, and without a tolerance the result is the hull.
/// velm::convex_hull has no tolerance.
///
/// Points that all lie within 1e-7 of each other give TWO entries, the greatest point and the
/// argument's point at index 1: part of the contract.
VELM_API ERVec<ERPoint2D> CalculateConvexeHull(ERVec<ERPoint2D> points);

namespace velm {

/// The vertices of the convex hull, exactly: counter-clockwise, the greatest point in the order by
/// x, then y, first, and no three of them on a line. One point if all are equal, two if all are on
/// a line. Points that aren't finite are omitted.
///
/// Every turn is decided by its exact sign: by the rounded cross product if that exceeds its error
/// bound, else by an expansion (Shewchuk, Adaptive precision floating-point arithmetic and fast
/// robust geometric predicates, 1997). The expansion is exact where coordinates are 0 or of sizes
/// between 1e-140 and 1e150.
VELM_API std::vector<ERPoint2D> convex_hull(std::span<const ERPoint2D> points);

} // namespace velm
