// velm::detail::SharpLine: the lines of a surface on which the distance of a point can have a
// minimum without being stationary: limits that are no seams, creases and tears.
#pragma once

#include "velm/curves/prepared_curve.h"
#include "velm/surfaces/detail/surface_leaves.h"

#include <vector>

namespace velm::detail {

/// A line of constant u or v. It has the surface on one side or both: below, at the parameter
/// at[0], and above, at at[1]; the two differ at a seam.
struct SharpLine {
    bool constant_u;
    bool side[2];
    double at[2];
    PreparedCurve<3> curve; ///< by the number of the patch and its own parameter
    bool collapsed;         ///< a point

    /// The parameter (u, v) of t on the curve, on a side, and that side for a jet.
    ERPoint2D place(const SurfaceLeaves& leaves, double t, int which) const;
    SurfaceSide jet_side(double t, int which) const;
};

std::vector<SharpLine> sharp_lines(const PreparedSurface& surface, const SurfaceLeaves& leaves);

} // namespace velm::detail
