// velm::tessellate of a trimmed face: triangles that stay within a stated distance of it.
//
//     const auto face = velm::prepare_face(trimmed);
//     const velm::SurfaceMesh mesh = velm::tessellate(*face, 0.01);
#pragma once

#include "velm/surfaces/prepared_face.h"
#include "velm/surfaces/tessellation.h"

namespace velm {

/// Each point of a triangle is within chord_error, a length, of the surface, and each point of the
/// face within as much of a triangle, except for rounding. Half of it is for the trim, whose curves
/// become polygons in the parameters, half for the triangles, which are cut until velm::flatness
/// shows them to be near enough; the triangulation is a constrained Delaunay one between the
/// polygons and the lines of breaks_u and breaks_v.
///
/// Vertices and normals as velm::tessellate of a surface has them, except that a line that is one
/// point, such as a pole of a sphere, has the normal of each of its parameters. `certified` is
/// false where loops cross each other, so that a side of a polygon had to be left out, and where
/// triangles became too small to be cut.
///
/// Empty for a chord_error that isn't positive, and if more than 2^22 triangles are needed.
VELM_API SurfaceMesh tessellate(const PreparedFace& face, double chord_error);

} // namespace velm
