// velm::detail::solve_directly: the foot on a NURBS surface that is not halved any more, in one of
// three ways.
#pragma once

#include "velm/export.h"
#include "velm/frame/point.h"
#include "velm/fwd.h"

namespace velm::detail {

enum class DirectSolve {
    as_it_is = 1,        ///< on the surface as it stands
    over_unit_knots = 2, ///< with both domains mapped to [0, 1]; the same up to rounding
    patch_by_patch = 3,  ///< on each Bezier patch; of their feet the one at a distance closest to
                         ///< the greatest that is accepted, the first of equal ones
};

/// The way that ProjectionNormale goes. The others are for a library built with another value.
inline constexpr DirectSolve direct_solve_in_use = DirectSolve::as_it_is;

/// SeedProjection and ReajustAtSeam: 1, or 0.
template <DirectSolve how>
VELM_API int solve_directly(const ERSpoleNURBS3D& surface, const ERPoint3D& p, double distance,
                            ERPoint2D& parameter, int inBound);

} // namespace velm::detail
