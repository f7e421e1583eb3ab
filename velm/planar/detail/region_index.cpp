#include "velm/planar/detail/region_index.h"

#include "velm/planar/point_in_polygon.h"

namespace velm::detail {

namespace {

ERMinimax2D union_of(std::span<const ERMinimax2D> boxes) {
    ERMinimax2D whole;
    for (const ERMinimax2D& box : boxes)
        whole.Update(box);
    return whole;
}

std::size_t vertices_of(RegionIndex::Contours contours) {
    std::size_t count = 0;
    for (const ERVec<ERPoint2D>& contour : contours)
        count += contour.view().size();
    return count;
}

} // namespace

RegionIndex::RegionIndex(Contours contours, std::span<const ERMinimax2D> boxes, bool first_outer,
                         unsigned long version)
    : version_(version), raster_(first_outer && !boxes.empty() ? boxes[0] : union_of(boxes),
                                 union_of(boxes), vertices_of(contours)) {
    trees_.reserve(contours.size());
    for (const ERVec<ERPoint2D>& contour : contours) {
        trees_.emplace_back();
        if (ContourTree::serves(contour.view())) trees_.back().emplace(contour.view());
        raster_.mark(contour.view());
    }
    for (const ERMinimax2D& box : boxes)
        left_limits_.push_back(box.xmin - raster_.margin());
    if (raster_.exists()) fill_raster(contours, first_outer);
}

void RegionIndex::fill_raster(Contours contours, bool first_outer) {
    constexpr int largest_value = 255;
    raster_.fill([&](const ERPoint2D& p) {
        int value = inside_value;
        for (int i = 0; i < static_cast<int>(contours.size()) && value == inside_value; ++i) {
            const bool is_outer = i == 0 && first_outer;
            const bool inside = position_of(p, contours, i) == relpos_inside;
            if (inside != is_outer) value = outside_by + i;
        }
        return static_cast<RegionRaster::Value>(value <= largest_value ? value : 0);
    });
}

relpos RegionIndex::position_of(const ERPoint2D& p, Contours contours, int contour) const {
    const ContourTree* const found = tree(contour);
    return found != nullptr ? found->position_of(p)
                            : Inside(p, contours[static_cast<std::size_t>(contour)]);
}

} // namespace velm::detail
