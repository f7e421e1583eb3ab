// velm::tessellate: triangles that stay within a stated distance of a surface.
//
//     const auto surface = velm::prepare(nurbs);
//     const velm::SurfaceMesh mesh = velm::tessellate(*surface, 0.01);
//     for (const auto& t : mesh.triangles)
//         draw(mesh.positions[t[0]], mesh.positions[t[1]], mesh.positions[t[2]]);
//
// The domain is cut into rectangles, in halves or at knots, wherever that lowers the number of
// triangles that velm::flatness asks for; a rectangle is an even grid of cells, and a cell whose
// neighbours are finer is triangulated with their corners on its edges, so that there are no gaps.
#pragma once

#include "velm/surfaces/prepared_surface.h"

#include <array>
#include <numbers>
#include <vector>

namespace velm {

/// Triangles in plain arrays. Each is counter-clockwise seen from the side of dP/du ^ dP/dv, and
/// has three different positions and an area in the plane of the parameters.
struct SurfaceMesh {
    std::vector<ERPoint3D> positions;
    std::vector<ERVector3D> normals; ///< unit, of the surface, see velm::limit_normal
    std::vector<ERPoint2D> parameters;
    std::vector<std::array<int, 3>> triangles; ///< indices into the other three

    /// Whether the distance is proved everywhere. Not at a place without normal of the base of an
    /// offset surface, nor where the limit of cells was reached.
    bool certified = true;
};

/// Each point of the surface is within chord_error, a length, of a triangle, and each point of a
/// triangle within as much of the surface, except for rounding. The normals at the corners and in
/// the middles of a cell and of its edges differ by at most `angle`, in radians, except at places
/// where the surface has no single normal.
///
/// Vertices have one normal: along a crease, a seam, and a line that is one point, such as a pole
/// of a sphere or the tip of a cone, there are several at one position, which agree to the last
/// bit. At such a point each triangle has its own, with its parameters in the middle of the
/// triangle's.
///
/// Empty for a chord_error or an angle that isn't positive, and if more than 2^24 triangles are
/// needed.
VELM_API SurfaceMesh tessellate(const PreparedSurface& surface, double chord_error,
                                double angle = std::numbers::pi);

} // namespace velm
