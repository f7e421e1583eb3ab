// ERRegion2DGrid: a raster over a region that answers most questions about points and boxes.
#pragma once

#include "velm/export.h"
#include "velm/planar/grid.h"
#include "velm/planar/region.h"

/// 64 by 64 cells over the box of the region's first contour, each outside the region, inside, or
/// crossed by a contour. What it says is what the region says, but for points within rounding of a
/// cell's border; where it says crossing, ask the region.
///
/// Intended: outside of its box a region without an outer contour counts as inside, although other
/// holes may lie there, and none of its cells is ever inside, since such a region takes no box for
/// one in the domain.
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

    /// One look at a cell.
    STATE inside(ERPoint2D const& p) const;
    /// A look at the cells under the box.
    RegionPos relative_position(ERMinimax2D const& box) const;
    /// Asks the region's polygons.
    STATE find_relative_position(ERMinimax2D const& box) const;

private:
    void init();

    ERMinimax2D regionBox;
    ERRegion2D const* region;
};
