// velm::tight_box: the least box of a surface, to a tolerance.
//
//     const velm::TightBox found = velm::tight_box(*velm::prepare(surface));
//     use(found.box, found.excess);
#pragma once

#include "velm/surfaces/prepared_surface.h"

namespace velm {

struct TightBox {
    ERMinimax3D box; ///< holds the surface, except for rounding of the coordinates
    /// No side is farther than this from a point of the surface.
    double excess = 0.0;
};

/// `tolerance` is a length; 0 means 2^-30 of the diagonal of the surface's box(). `excess` is
/// at most that, unless a side takes more than 2^16 halvings of parts.
///
/// Planes, cylinders, cones, spheres and tori by closed forms, with an excess of 0: their
/// coordinates are f = (a + b cos v) g(u) + c sin v + d and the like, whose extremes over intervals
/// of angles are at atan2 of the factors and at the ends. Of others each coordinate by parts, the
/// part of the largest bound first: the bound is that of the Bernstein coefficients of the
/// coordinate, or on an offset surface that of the corners and velm::flatness; what is attained is
/// at corners.
VELM_API TightBox tight_box(const PreparedSurface& surface, double tolerance = 0.0);

} // namespace velm
