// crosses_ray: whether an edge of a contour crosses the ray from a point to the right. The parity
// of all edges says whether the contour encloses the point:
//
//     bool inside = false;
//     for (int edge = 0; edge < contour.size(); ++edge)
//         inside ^= velm::crosses_ray(contour, edge, p); // EdgeTree::encloses is the fast way
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
/// of a whole contour is consistent at its vertices regardless of the rounding of the arcs.
VELM_API bool crosses_ray(const Contour& contour, int edge, const ERPoint2D& p);

} // namespace velm
