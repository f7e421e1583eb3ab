// velm::PartMesh and velm::tessellate of a part: triangles of all its faces in one mesh.
//
//     const velm::PartMesh mesh = velm::tessellate(faces, outward, 0.01);
//     for (std::size_t i = 0; i < mesh.triangles.size(); ++i)
//         draw(mesh.triangles[i], colour_of(mesh.face_of_triangle[i]));
#pragma once

#include "velm/surfaces/face_tessellation.h"

#include <span>
#include <vector>

namespace velm {

/// Triangles and normals as a surface's mesh has them, turned so that each is counter-clockwise
/// seen from outside of the material, and each normal points out of it.
struct PartMesh : SurfaceMesh {
    std::vector<int> face_of_triangle; ///< as long as `triangles`, ascending
};

/// The meshes that velm::tessellate has of the faces, joined: each face has vertices of its own.
/// `outward` is 1 or -1 for each face, as velm::outward_side gives it; where it is shorter than
/// `faces`, and where it is 0, it counts as 1.
///
/// Empty for a chord_error that isn't positive, and if a face has no mesh.
VELM_API PartMesh tessellate(std::span<const PreparedFace> faces, std::span<const int> outward,
                             double chord_error);

} // namespace velm
