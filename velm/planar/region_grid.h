// ERRegion2DGrid: a raster over a region that answers most questions about points and boxes.
#pragma once

#include "velm/export.h"
#include "velm/planar/grid.h"
#include "velm/planar/region.h"

/// 64 by 64 cells over the box of the region's first contour, each outside the region, inside, or
/// crossed by a contour. Its answers are the region's, except for points within rounding of a
/// cell's border; if it answers crossing, ask the region.
///
/// Part of the contract: for a region without an outer contour everything outside the box counts as
/// inside, although there may be holes, and none of the cells is ever inside, because such a region
/// reports no box as in the domain.
///
/// The region must outlive the raster and must not change.
class VELM_API ERRegion2DGrid : public ERGrid2D {
public:
    /// The values are fixed, those of the cells.
    enum STATE {
        STATE_OUTSIDE = 0,
        STATE_INSIDE = 1,
        STATE_CROSSING = 2,
    };
    /// The values are fixed.
    enum RegionPos {
        REGION_POS_INSIDE = 0,
        REGION_POS_CROSSING = 1,
        REGION_POS_OUTSIDE = 2,
    };

    explicit ERRegion2DGrid(ERRegion2D const& region);

    /// The state of the cell under p.
    STATE inside(ERPoint2D const& p) const;
    /// The common state of the cells under the box.
    RegionPos relative_position(ERMinimax2D const& box) const;
    /// The state of the box by the region's polygons.
    STATE find_relative_position(ERMinimax2D const& box) const;

private:
    void init();

    ERMinimax2D regionBox;
    ERRegion2D const* region;
};
