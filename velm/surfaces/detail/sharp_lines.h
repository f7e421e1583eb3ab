// velm::detail::SharpLine: the lines of a surface on which the distance of a point can have a
// minimum without being stationary: limits that are no seams, creases and tears.
#pragma once

#include "velm/curves/prepared_curve.h"
#include "velm/surfaces/detail/surface_leaves.h"

#include <vector>

namespace velm::detail {

/// A line of constant u or v. It has the surface on one side or both: below, at the parameter
/// at[0], and above, at at[1]; the two differ at a seam.
struct SharpPlace {
    bool constant_u;
    bool side[2];
    double at[2];
    double end; ///< the number of patches along it

    /// The parameter (u, v) of t, the number of a patch plus its own parameter, on a side, and that
    /// side for a jet.
    ERPoint2D place(const SurfaceLeaves& leaves, double t, int which) const;
    SurfaceSide jet_side(double t, int which) const;
};
struct SharpLine : SharpPlace {
    PreparedCurve<3> curve; ///< by t
    bool collapsed;         ///< a point
};

/// The places of all, of a trimmed surface too.
std::vector<SharpPlace> sharp_places(const PreparedSurface& surface, const SurfaceLeaves& leaves);
/// REQUIRES the leaves of the whole surface.
std::vector<SharpLine> sharp_lines(const PreparedSurface& surface, const SurfaceLeaves& leaves);

} // namespace velm::detail
