#include "velm/planar/region_grid.h"

#include <vector>

namespace {

constexpr int cells_a_side = 64;
constexpr int bits_a_cell = 2;

struct CellRectangle {
    int i0, j0, i1, j1;
    bool is_cell() const { return i0 == i1 && j0 == j1; }
};

} // namespace

ERRegion2DGrid::ERRegion2DGrid(ERRegion2D const& of)
    : ERGrid2D(cells_a_side, cells_a_side, bits_a_cell, of.getBox()), regionBox(of.getBox()),
      region(&of) {
    init();
}

// Quarters the box and asks the polygons again only for mixed quarters.
void ERRegion2DGrid::init() {
    const bool has_outer = region->IsFirstOuter() && region->entries() > 0;
    set_outside_value(has_outer ? STATE_OUTSIDE : STATE_INSIDE);
    std::vector<CellRectangle> waiting{{0, 0, cells_a_side - 1, cells_a_side - 1}};
    while (!waiting.empty()) {
        const CellRectangle r = waiting.back();
        waiting.pop_back();
        ERPoint2D low, high, unused;
        get_cell_dims(r.i0, r.j0, low, unused);
        get_cell_dims(r.i1, r.j1, unused, high);
        const STATE state =
            find_relative_position(ERMinimax2D(low.x(), high.x(), low.y(), high.y()));
        if (state != STATE_CROSSING || r.is_cell()) {
            set(r.i0, r.j0, r.i1, r.j1, state);
            continue;
        }
        const int mi = (r.i0 + r.i1) / 2, mj = (r.j0 + r.j1) / 2;
        waiting.push_back({r.i0, r.j0, mi, mj});
        waiting.push_back({mi + 1, r.j0, r.i1, mj});
        waiting.push_back({r.i0, mj + 1, mi, r.j1});
        waiting.push_back({mi + 1, mj + 1, r.i1, r.j1});
    }
}

ERRegion2DGrid::STATE ERRegion2DGrid::inside(ERPoint2D const& p) const {
    const unsigned value = check_point(p);
    return value > STATE_CROSSING ? STATE_CROSSING : static_cast<STATE>(value);
}

ERRegion2DGrid::RegionPos ERRegion2DGrid::relative_position(ERMinimax2D const& asked) const {
    unsigned value = 0;
    if (!check_box(asked, value)) return REGION_POS_CROSSING;
    return value == STATE_INSIDE     ? REGION_POS_INSIDE
           : value == STATE_CROSSING ? REGION_POS_CROSSING
                                     : REGION_POS_OUTSIDE;
}

ERRegion2DGrid::STATE ERRegion2DGrid::find_relative_position(ERMinimax2D const& asked) const {
    if (RelativePosition(box, asked) == BOXES_DISJOINT) return STATE_OUTSIDE;
    switch (region->IsInDomain(asked)) {
    case POLYGONE_DISJOINT:
        return STATE_OUTSIDE;
    case BOX_INSIDE_POLYGONE:
        return STATE_INSIDE;
    default:
        return STATE_CROSSING;
    }
}
