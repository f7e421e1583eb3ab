// velm::detail::NormalCone: bounds of the directions of a surface's normals over its leaves.
#pragma once

#include "velm/surfaces/detail/surface_leaves.h"

#include <numbers>

namespace velm::detail {

/// Directions within an angle of an axis.
struct NormalCone {
    double axis[3] = {0.0, 0.0, 1.0};
    double angle = std::numbers::pi; ///< radians; all directions

    /// Whether a direction of the cone, or one opposite to it if `sign` is -1, may be within the
    /// angle `reach` of a unit vector.
    bool may_reach(const double* unit, int sign, double reach) const;
    /// Takes the other cone in.
    void join(const NormalCone& other);
};

/// Holds dX/ds ^ dX/dt over a leaf wherever that isn't 0. All directions where the leaf isn't flat
/// enough for a bound, and of leaves with an error.
NormalCone normal_cone(const SurfaceLeaves& leaves, const SurfaceLeaf& leaf);

} // namespace velm::detail
