// NominalMesh: the triangles of a part by which an inspection is drawn.
//
//     velm::NominalMesh mesh = ...;
//     for (std::size_t i = 0; i < mesh.triangles.size(); ++i)
//         draw(mesh.triangles[i], head.faces[mesh.face_of_triangle[i]].path);
#pragma once

#include "velm/export.h"
#include "velm/frame/point.h"
#include "velm/frame/vector.h"

#include <array>
#include <vector>

namespace velm {

/// Each face has vertices of its own. Triangles are counter-clockwise seen from outside of the
/// material.
struct NominalMesh {
    std::vector<ERPoint3D> positions;
    std::vector<ERVector3D> normals;           ///< unit, out of the material; as many as positions
    std::vector<std::array<int, 3>> triangles; ///< indices into these
    std::vector<int> face_of_triangle;         ///< ascending; as many as triangles

    /// The same triangles, with the corners of each face in the order in which its triangles use
    /// them, and none that isn't used, as files keep them.
    VELM_API NominalMesh in_order_of_use() const;
};

} // namespace velm
