// findProjection and findAllProjections: the feet of a point on the edges of a polygon or polyline.
#pragma once

#include "velm/export.h"
#include "velm/frame/point.h"
#include "velm/frame/vec.h"

/// Among the edges of the closed polygon on which `p` has a foot, finds the one whose foot is at
/// the distance nearest to |distance| from p: 0.0 asks for the nearest foot. Returns the index of
/// the edge's first vertex and sets `foot`; in a tie the earlier edge is kept. Returns -1 with
/// `foot` unchanged if no edge has a foot.
///
/// A foot counts up to 1e-5 (on raw products of coordinate differences) outside its edge. Edges
/// whose ends agree within 1e-11 on both coordinates are passed over.
VELM_API int findProjection(const ERPoint2D& p, const ERVec<ERPoint2D>& polygon, ERPoint2D& foot,
                            double distance);

/// All feet of `p` on the edges of the open polyline, in order. Appends each foot to `feet` and its
/// place, edge index plus the position 0..1 on the edge, to `parameters`; neither is cleared. A
/// `limit` above 0.0 drops feet farther than that from p. Returns 1 if a foot was added, else 0.
///
/// If p is in the outer wedge of a corner, the corner gives no foot unless the polyline is nearly
/// straight there: a corner less than 0.1 from the line through its neighbours is itself the foot.
/// Edges whose ends agree within 1e-11 on both coordinates are passed over.
VELM_API int findAllProjections(const ERPoint2D& p, const ERVec<ERPoint2D>& polyline,
                                ERVec<ERPoint2D>& feet, ERVec<double>& parameters, double limit);
