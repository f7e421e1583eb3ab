// velm::detail::RegionIndex: a raster and one tree per contour, which a region keeps only to answer
// faster.
#pragma once

#include "velm/frame/box.h"
#include "velm/frame/point.h"
#include "velm/frame/vec.h"
#include "velm/planar/detail/contour_tree.h"
#include "velm/planar/detail/region_raster.h"

#include <optional>
#include <span>
#include <vector>

namespace velm::detail {

/// The index of the contours at the time it is built; they must outlive it. Reading is safe in
/// several threads.
class RegionIndex {
public:
    using Contours = std::span<const ERVec<ERPoint2D>>;

    /// The common position of all points of a cell: inside the region, or outside because of a
    /// contour, the outer one or a hole.
    struct Known {
        bool inside;
        int contour;
    };

    RegionIndex(Contours contours, std::span<const ERMinimax2D> boxes, bool first_outer,
                unsigned long version);

    /// The version of the contours from which the index was built.
    unsigned long version() const { return version_; }
    /// The tree of a contour; null for one that is walked edge by edge.
    const ContourTree* tree(int contour) const {
        const auto& tree = trees_[static_cast<std::size_t>(contour)];
        return tree ? &*tree : nullptr;
    }

    /// Whether p is so far to the left of the contour's box that it is clear of every edge: its ray
    /// crosses an even number of edges, and p is outside.
    bool is_left_of(int contour, const ERPoint2D& p) const {
        return p.x() < left_limits_[static_cast<std::size_t>(contour)] &&
               p.x() >= -RegionRaster::largest_coordinate && p.y() == p.y();
    }

    std::optional<Known> known_at(const ERPoint2D& p) const { return known(raster_.value(p)); }
    /// The position of a box that meets no edge by the rules of `SutherCohen`.
    std::optional<Known> known_under(const ERMinimax2D& box) const {
        return known(raster_.common_value(box));
    }

private:
    // Values of the raster: inside, and from `outside_by` on outside by the contour of that index.
    static constexpr int inside_value = 1;
    static constexpr int outside_by = 2;

    static std::optional<Known> known(int value) {
        if (value == 0) return std::nullopt;
        return Known{value == inside_value, value - outside_by};
    }
    void fill_raster(Contours contours, bool first_outer);
    relpos position_of(const ERPoint2D& p, Contours contours, int contour) const;

    unsigned long version_;
    std::vector<std::optional<ContourTree>> trees_;
    std::vector<double> left_limits_;
    RegionRaster raster_;
};

} // namespace velm::detail
