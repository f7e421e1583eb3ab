// velm::detail::LiftedPiece: a piece of a face's trim curve lifted to the surface, as a polynomial
// in space. What the search for the nearest point of a trim stands on. Limits and creases of the
// surface, where the trim crosses the leaves beside them, are such pieces too.
//
// An edge of the trim is a curve c in the parameters; on the surface S it is S(c). It is cut where
// it passes from patch to patch, and halved until its Taylor polynomial about the middle of each
// piece is as good as the curve: the remainder is bounded by taylor_series.h.
#pragma once

#include "velm/surfaces/detail/box_tree.h"
#include "velm/surfaces/detail/face_tables.h"
#include "velm/surfaces/detail/surface_leaves.h"
#include "velm/surfaces/detail/taylor_series.h"

#include <vector>

namespace velm::detail {

/// With tau in [-1, 1] over it, local, the place centre + the sum of coefs[k] tau^k, k >= 1.
struct LiftedPiece {
    double centre[3];
    double coefs[series_degree + 1][3];   ///< [0] is 0
    double square[2 * series_degree + 1]; ///< of (place - centre)^2
    double remainder; ///< the curve is within this distance of the place, at the same tau
    std::int32_t degree;
    std::int32_t loop, edge; ///< -1 for a limit or crease
    InTrim in_trim;    ///< of all loops but its own; where they cross it, not all of it counts
    double part[2];    ///< of the edge at tau = -1 and 1
    double speed[2];   ///< of u and v by tau: bounds
    ERPoint2D ends[2]; ///< of a limit or crease: the parameters there

    double part_at(double tau) const {
        return tau <= -1.0  ? part[0]
               : tau >= 1.0 ? part[1]
                            : 0.5 * ((1.0 - tau) * part[0] + (1.0 + tau) * part[1]);
    }
    ERPoint2D parameter(const PreparedFace& face, double tau) const {
        if (loop >= 0) return face.parameter(loop, edge, part_at(tau));
        return ends[0] + (ends[1] - ends[0]) * (0.5 * (1.0 + tau));
    }
    /// The place less the centre, and its derivatives by tau up to the order, at most 2.
    void jet(double tau, int derivatives, double (*out)[3]) const;
};

/// Appends the pieces of all loops, and of sharp sides of leaves that the trim crosses, and their
/// boxes. `surface` is that of the face as patches with its own parameters, or an offset surface,
/// whose trim is lifted to the polynomials of its leaves; `size` is that of the whole, local.
void lift_trim(const FaceTables& face, const PreparedSurface& surface, const SurfaceLeaves& leaves,
               double size, std::vector<LiftedPiece>& pieces, std::vector<OrientedBox>& boxes);

} // namespace velm::detail
