// FaceMesh: the triangles of one face of a NominalMesh, by themselves.
#pragma once

#include "velm/inspection/nominal_mesh.h"

#include <vector>

namespace velm::detail {

/// Its corners are counted from 0.
struct FaceMesh {
    std::vector<ERPoint3D> positions;
    std::vector<ERVector3D> normals;
    std::vector<int> corners; ///< three for each triangle

    /// Whether each triangle has three corners that there are.
    bool is_sound() const;
};

/// Takes a mesh apart, face by face, and puts it together again with the same numbers of corners.
std::vector<FaceMesh> face_meshes(const NominalMesh& mesh, std::size_t faces);
void append(NominalMesh& mesh, const FaceMesh& face, int number);

} // namespace velm::detail
