#include "velm/inspection/detail/mesh_of_face.h"

#include <algorithm>
#include <array>
#include <cstddef>

namespace velm::detail {

bool FaceMesh::is_sound() const {
    const int count = static_cast<int>(positions.size());
    return normals.size() == positions.size() && corners.size() % 3 == 0 &&
           std::all_of(corners.begin(), corners.end(),
                       [count](int corner) { return corner >= 0 && corner < count; });
}

std::vector<FaceMesh> face_meshes(const NominalMesh& mesh, std::size_t faces) {
    std::vector<FaceMesh> parts(faces);
    std::vector<int> number_there(mesh.positions.size(), -1);
    for (std::size_t t = 0; t < mesh.triangles.size(); ++t) {
        FaceMesh& part = parts[static_cast<std::size_t>(mesh.face_of_triangle[t])];
        for (const int corner : mesh.triangles[t]) {
            const auto at = static_cast<std::size_t>(corner);
            if (number_there[at] < 0) {
                number_there[at] = static_cast<int>(part.positions.size());
                part.positions.push_back(mesh.positions[at]);
                part.normals.push_back(mesh.normals[at]);
            }
            part.corners.push_back(number_there[at]);
        }
    }
    return parts;
}

void append(NominalMesh& mesh, const FaceMesh& face, int number) {
    const int first = static_cast<int>(mesh.positions.size());
    mesh.positions.insert(mesh.positions.end(), face.positions.begin(), face.positions.end());
    mesh.normals.insert(mesh.normals.end(), face.normals.begin(), face.normals.end());
    for (std::size_t i = 0; i + 2 < face.corners.size(); i += 3) {
        mesh.triangles.push_back(
            {first + face.corners[i], first + face.corners[i + 1], first + face.corners[i + 2]});
        mesh.face_of_triangle.push_back(number);
    }
}

} // namespace velm::detail

namespace velm {

NominalMesh NominalMesh::in_order_of_use() const {
    NominalMesh ordered;
    if (face_of_triangle.empty()) return ordered;
    const auto faces = static_cast<std::size_t>(face_of_triangle.back()) + 1;
    int number = 0;
    for (const detail::FaceMesh& face : detail::face_meshes(*this, faces))
        detail::append(ordered, face, number++);
    return ordered;
}

} // namespace velm
