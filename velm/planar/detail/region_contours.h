// velm::detail::RegionContours: the contours that a region and its copies share.
#pragma once

#include "velm/frame/box.h"
#include "velm/frame/point.h"
#include "velm/frame/vec.h"

#include <vector>

namespace velm::detail {

struct RegionContours {
    std::vector<ERVec<ERPoint2D>> polygons;
    std::vector<ERMinimax2D> boxes; // one per polygon
    unsigned long version = 0;      // grows with each change
};

} // namespace velm::detail
