#include "velm/surfaces/part_tessellation.h"

#include <utility>

namespace velm {

namespace {

void append(const SurfaceMesh& part, int face, bool turned, PartMesh& mesh) {
    const int first = static_cast<int>(mesh.positions.size());
    mesh.positions.insert(mesh.positions.end(), part.positions.begin(), part.positions.end());
    mesh.parameters.insert(mesh.parameters.end(), part.parameters.begin(), part.parameters.end());
    for (const ERVector3D& normal : part.normals)
        mesh.normals.push_back(turned ? -normal : normal);
    for (auto [a, b, c] : part.triangles) {
        if (turned) std::swap(b, c);
        mesh.triangles.push_back({first + a, first + b, first + c});
    }
    mesh.face_of_triangle.resize(mesh.triangles.size(), face);
    mesh.certified = mesh.certified && part.certified;
}

} // namespace

PartMesh tessellate(std::span<const PreparedFace> faces, std::span<const int> outward,
                    double chord_error) {
    PartMesh mesh;
    for (std::size_t i = 0; i < faces.size(); ++i) {
        const SurfaceMesh part = tessellate(faces[i], chord_error);
        if (part.triangles.empty()) return {};
        append(part, static_cast<int>(i), i < outward.size() && outward[i] < 0, mesh);
    }
    return mesh;
}

} // namespace velm
