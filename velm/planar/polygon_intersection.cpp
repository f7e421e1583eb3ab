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

bool edges_meet(const ERVec<ERPoint2D>& a, const ERVec<ERPoint2D>& b) {
    const int count = a.size();
    for (int n = 0; n < count; ++n) {
        if (edge_meets(a[n], a[n + 1 == count ? 0 : n + 1], b)) return true;
    }
    return false;
}

} // namespace

int intersect(const ERVec<ERPoint2D>& a, const ERVec<ERPoint2D>& b) {
    // Any one of these is enough. The quick ones of few vertices are the edges, of many the
    // vertices.
    constexpr int few = 16;
    const bool edges_first = a.size() <= few && b.size() <= few;
    if (edges_first && edges_meet(a, b)) return 1;
    if (has_vertex_in(a, b) || has_vertex_in(b, a)) return 1;
    return !edges_first && edges_meet(a, b) ? 1 : 0;
}
