// velm::detail::Extent, sort_by_x_then_y: points of the plane in the order by x, then by y.
#pragma once

#include "velm/frame/point.h"

#include <span>
#include <vector>

namespace velm::detail {

/// The extent of at least one point.
struct Extent {
    explicit Extent(std::span<const ERPoint2D> points);

    double xmin, xmax, ymin, ymax;
    bool finite; ///< no coordinate is infinite or NaN; else the extent is meaningless
};

/// Sorts ascending by x, equal ones by y, with exact comparisons; NaNs come last. Distributes the
/// points by the place of x within the extent, then sorts those that share a place: linear time for
/// spread-out abscissae, never much slower than std::sort. `scratch` has the same size and is
/// overwritten.
void sort_by_x_then_y(std::vector<ERPoint2D>& points, std::vector<ERPoint2D>& scratch,
                      const Extent& extent);

} // namespace velm::detail
