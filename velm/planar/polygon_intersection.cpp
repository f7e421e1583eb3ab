#include "velm/planar/polygon_intersection.h"

#include "velm/planar/orientation.h"
#include "velm/planar/point_in_polygon.h"

namespace {

bool has_vertex_in(const ERVec<ERPoint2D>& vertices, const ERVec<ERPoint2D>& polygon) {
    for (const ERPoint2D& p : vertices) {
        if (Inside(p, polygon) != relpos_outside) return true;
    }
    return false;
}

bool edge_meets(const ERPoint2D& from, const ERPoint2D& to, const ERVec<ERPoint2D>& polygon) {
    const int count = polygon.size();
    for (int n = 0; n < count; ++n) {
        if (Intersect(from, to, polygon[n], polygon[n + 1 == count ? 0 : n + 1])) return true;
    }
    return false;
}

} // namespace

int intersect(const ERVec<ERPoint2D>& a, const ERVec<ERPoint2D>& b) {
    if (has_vertex_in(a, b) || has_vertex_in(b, a)) return 1;
    const int count = a.size();
    for (int n = 0; n < count; ++n) {
        if (edge_meets(a[n], a[n + 1 == count ? 0 : n + 1], b)) return 1;
    }
    return 0;
}
