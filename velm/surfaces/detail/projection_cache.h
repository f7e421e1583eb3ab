// velm::detail::ProjectionCache: what a pole surface keeps for projections.
#pragma once

#include "velm/frame/interval.h"
#include "velm/frame/smart_pointer.h"
#include "velm/surfaces/detail/pole_grid.h"
#include "velm/surfaces/detail/seed_grid.h"
#include "velm/surfaces/nurbs_surface.h"
#include "velm/transforms/transformation_handle.h"

#include <optional>

class ERPlane;

namespace velm::detail {

/// The plane through points by GetMediumPlane; defined in measure/plane_of_poles.cpp.
VELM_API ERPlane plane_of_poles(const ERVec<ERPoint3D>& poles);

/// How far the poles of a NURBS surface are from a plane, and if hardly, their outline in it.
struct PoleShape {
    double flatness; ///< the greatest distance of a pole from the plane; NaN without a plane
    ERPmIsometrie3D frame;
    ERVec<ERPoint2D> hull; ///< in the frame; only for a surface that counts as plane
};

/// The halves of a NURBS surface and where they meet.
struct SurfaceHalves {
    Axis axis;
    double split; ///< the lower limit of the second
    t_SmartPtr<ERSpoleNURBS3D> first, second;
};

/// All of it depends on the surface alone, so it makes nothing different, and is made when needed.
struct ProjectionCache {
    ERLimites limits_u, limits_v; ///< the working limits that all of it is for
    std::optional<SeedGrid> seeds;
    std::optional<ERMatrix<ERPoint3D>> crossing_grid; ///< 7 x 7 points
    t_SmartPtr<ERSpoleRep> unit; ///< a Bezier surface's part in the limits over [0, 1] x [0, 1]
    std::optional<PoleShape> shape;
    std::optional<SurfaceHalves> halves;
    std::size_t tree_bytes = 0; ///< of all halves below this surface, if it is the root
};

/// The surface's, empty if its limits have changed.
VELM_API ProjectionCache& projection_cache(const ERSpoleRep& surface);

} // namespace velm::detail
