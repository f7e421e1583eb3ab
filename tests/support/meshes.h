// What is the same for all meshes of triangles: corners, area, volume and sides.
#pragma once

#include "support/test.h"
#include "velm/frame/point_functions.h"
#include "velm/frame/vec.h"

namespace velm_test {

template <class Mesh>
std::array<ERPoint3D, 3> corners(const Mesh& mesh, const std::array<int, 3>& triangle) {
    const auto at = [&](std::size_t k) { return mesh.positions[std::size_t(triangle[k])]; };
    return {at(0), at(1), at(2)};
}

template <class Mesh>
double area_of(const Mesh& mesh) {
    double area = 0.0;
    for (const auto& triangle : mesh.triangles) {
        const auto p = corners(mesh, triangle);
        area += 0.5 * (ERVector3D(p[0], p[1]) ^ ERVector3D(p[0], p[2])).norme();
    }
    return area;
}

/// Of a closed mesh, positive if its triangles are counter-clockwise from outside.
template <class Mesh>
double volume_of(const Mesh& mesh) {
    double volume = 0.0;
    for (const auto& triangle : mesh.triangles) {
        const auto p = corners(mesh, triangle);
        volume += ERVector3D(p[0]) * (ERVector3D(p[1]) ^ ERVector3D(p[2])) / 6.0;
    }
    return volume;
}

/// A place in a triangle, at random.
inline ERPoint3D place_in(const std::array<ERPoint3D, 3>& p, Random& random) {
    const double a = random.uniform(0, 1), b = random.uniform(0, 1) * (1 - a);
    return p[0] + ERVector3D(p[0], p[1]) * a + ERVector3D(p[0], p[2]) * b;
}

/// The sides of triangles by the positions of their ends, to the last bit.
struct Sides {
    int open = 0;  ///< that no triangle goes along in the other direction
    int wrong = 0; ///< of no length, or gone along twice in the same direction

    template <class Mesh>
    explicit Sides(const Mesh& mesh) {
        using Position = std::array<double, 3>; // zeros are positive
        std::map<std::pair<Position, Position>, int> sides;
        for (const auto& triangle : mesh.triangles) {
            std::array<Position, 3> at;
            std::ranges::transform(corners(mesh, triangle), at.begin(), [](const ERPoint3D& p) {
                return Position{p.x() + 0.0, p.y() + 0.0, p.z() + 0.0};
            });
            for (std::size_t k = 0; k < 3; ++k)
                ++sides[{at[k], at[(k + 1) % 3]}];
        }
        for (const auto& [side, count] : sides) {
            wrong += count != 1 || side.first == side.second;
            open += !sides.contains({side.second, side.first});
        }
    }
};

} // namespace velm_test
