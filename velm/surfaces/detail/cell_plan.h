// velm::detail::plan_cells: the rectangles of parameters over which two triangles stay within a
// distance of a surface.
#pragma once

#include "velm/surfaces/detail/surface_flatness.h"

#include <vector>

namespace velm::detail {

/// A rectangle of parameters.
struct Cell {
    ERLimites u, v;
};

struct CellPlan {
    std::vector<Cell> cells;
    bool certified = true;
};

/// Fills the rectangle, which has no break inside, with cells. At least `least_u` by `least_v` of
/// them; more than `most` end the plan.
void plan_cells(SurfaceFlatness& flatness, const SurfaceTables& tables, const Cell& region,
                double chord_error, int least_u, int least_v, std::size_t most, CellPlan& plan);

} // namespace velm::detail
