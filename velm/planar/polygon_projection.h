// findProjection and findAllProjections: the feet of a point on the edges of a polygon or polyline.
#pragma once

#include "velm/export.h"
#include "velm/frame/point.h"
#include "velm/frame/vec.h"

/// Among the edges of the closed polygon on which `p` has a foot, the one whose foot lies from p as
/// far as |distance| says, as nearly as possible: 0.0 asks for the nearest foot. Returns the index
/// of the edge's first vertex and sets `foot`; a tie keeps the earlier edge. Returns -1 and leaves
/// `foot` alone when no edge holds a foot.
///
/// A foot counts up to 1e-5 (on raw products of coordinate differences) outside its edge. Edges
/// whose ends agree within 1e-11 on both coordinates are passed over.
VELM_API int findProjection(const ERPoint2D& p, const ERVec<ERPoint2D>& polygon, ERPoint2D& foot,
                            double distance);

/// All feet of `p` on the edges of the open polyline, in order. Appends each foot to `feet` and its
/// place, edge index plus the position 0..1 on the edge, to `parameters`; neither is cleared. A
/// `limit` above 0.0 drops feet farther than that from p. Returns 1 when a foot was added, else 0.
///
/// A corner that p sees from its outer wedge gives no foot, unless the polyline is nearly straight
/// there: with the corner less than 0.1 from the line through its neighbours, the corner itself is
/// the foot. Edges whose ends agree within 1e-11 on both coordinates are passed over.
VELM_API int findAllProjections(const ERPoint2D& p, const ERVec<ERPoint2D>& polyline,
                                ERVec<ERPoint2D>& feet, ERVec<double>& parameters, double limit);
