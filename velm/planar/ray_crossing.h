// ray_crossing.h: how often an edge crosses the ray from a point to the right: `crosses_ray`.
#pragma once

#include "velm/planar/contour.h"

namespace velm {

/// Whether the ordinate parts a from b: a point on it counts as below, so that a vertex between two
/// edges is crossed by one of them or by none or both.
inline bool parts(double ordinate, const ERPoint2D& a, const ERPoint2D& b) {
    return (a.y() > ordinate) != (b.y() > ordinate);
}

/// Whether the edge crosses the horizontal ray from p to the right an odd number of times. An arc
/// is cut at the top and the bottom of its circle; nothing is approximated. The number of crossings
/// of a whole contour is consistent at its vertices whatever the rounding of the arcs.
VELM_API bool crosses_ray(const Contour& contour, int edge, const ERPoint2D& p);

} // namespace velm
