// The position of a polygon relative to a box of the plane: ERMinimax2D::positionRelative.
#include "velm/frame/box.h"
#include "velm/frame/box_clipping.h"
#include "velm/frame/vec.h"
#include "velm/planar/point_in_polygon.h"

#include <span>

namespace {

bool has_corner_inside(const ERMinimax2D& box, std::span<const ERPoint2D> polygon) {
    for (const double x : {box.xmin, box.xmax}) {
        for (const double y : {box.ymin, box.ymax}) {
            if (Inside({x, y}, polygon.data(), static_cast<int>(polygon.size()), -1) ==
                relpos_inside)
                return true;
        }
    }
    return false;
}

} // namespace

ER_MINMAX_POSITION_POLYGONE ERMinimax2D::positionRelative(const ERPoint2D* polygon,
                                                          int count) const {
    const std::span<const ERPoint2D> points(polygon,
                                            static_cast<std::size_t>(count > 0 ? count : 0));
    bool edge_inside = false;
    for (std::size_t i = 0; i < points.size(); ++i) {
        const ERPoint2D& next = points[i + 1 < points.size() ? i + 1 : 0];
        const ER_MINMAX_POSITION_SEGMENT position = positionRelative(points[i], next);
        if (position == SEGMENT_CROSSES_BOX) return POLYGONE_CROSSES_BOX;
        if (position == SEGMENT_INSIDE_BOX) edge_inside = true;
    }
    if (edge_inside) return POLYGONE_INSIDE_BOX;
    return has_corner_inside(*this, points) ? BOX_INSIDE_POLYGONE : POLYGONE_DISJOINT;
}

ER_MINMAX_POSITION_POLYGONE
ERMinimax2D::positionRelative(const ERVec<ERPoint2D>& polygon) const {
    std::span<const ERPoint2D> points = polygon.view();
    if (points.size() > 1 && points.front() == points.back())
        points = points.first(points.size() - 1);
    return positionRelative(points.data(), static_cast<int>(points.size()));
}
