// velm::prepare of a contour, velm::polygon_within, velm::self_crossing: a contour as one closed
// curve.
//
//     if (const auto place = velm::self_crossing(velm::EdgeTree(contour), 1e-6 * size))
//         refuse(*place);
//     const velm::Polygon polygon = velm::polygon_within(contour, 0.01); // chords of its curves
//
// Where an arc or a curve misses its vertices by more than roundings (Contour::mismatch), a short
// straight piece leads there, so that the curve has no gap.
#pragma once

#include "velm/curves/prepared_curve.h"
#include "velm/export.h"
#include "velm/planar/edge_tree.h"

#include <optional>

namespace velm {

/// The contour as one curve, edge i over the parameters i to i + 1. Nothing for a contour that has
/// no edges, or none with a length, or coordinates whose squares aren't doubles.
VELM_API std::optional<PreparedCurve<2>> prepare(const Contour& contour);

/// The polygon of points on the contour, its vertices among them, such that each point of an edge
/// lies within `chord_error` of its chord and each point of a chord within as much of its edge; the
/// vertices themselves of straight edges alone. Empty if chord_error isn't positive, if more than
/// 2^24 points are needed, and for a contour that can't be prepared.
VELM_API Polygon polygon_within(const Contour& contour, double chord_error);

/// A place where the contour crosses itself, if any. Touching itself isn't crossing, nor is running
/// back along itself, as the way to a hole does that is reached by a cut from outside. Of the two
/// loops into which a crossing divides the contour neither may be narrower than `width`, twice its
/// area through its length: what few digits make of two sides that touch is none.
///
/// By `velm::self_intersections` of the whole curve, so that nothing is lost at joints; polygons of
/// which no two edges come together are known before. Nothing for a contour that can't be prepared.
VELM_API std::optional<ERPoint2D> self_crossing(const EdgeTree& contour, double width);

} // namespace velm
