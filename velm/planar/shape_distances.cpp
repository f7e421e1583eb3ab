// SignedMinimalDistance of the shapes that are given by their vertices; planar_shapes.h declares
// it.
#include "velm/planar/point_in_polygon.h"
#include "velm/wireframe/planar_shapes.h"

EREntity::DISTMINRES velm::detail::VertexShape::SignedMinimalDistance(const ERPoint2D& p,
                                                                      double& dist) {
    ERPoint2D foot;
    int edge;
    double unsigned_distance;
    if (!Project(p, foot, unsigned_distance, edge)) return DISTMIN_NONE;
    dist = Inside(p, points) == relpos_inside ? -unsigned_distance : unsigned_distance;
    return DISTMIN_FOUND;
}
