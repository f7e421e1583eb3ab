// surface_coloring.h: `color_mesh`, the tessellation of a part with the deviations of its points.
#pragma once

#include "inspect/picture/surface_view.h"

#include <array>
#include <cstdint>
#include <span>
#include <vector>

namespace velm::inspect {

/// A tessellation whose vertices carry the deviation of the points near them.
struct ColoredMesh {
    struct Vertex {
        std::array<float, 3> position, normal; ///< the position from `origin`
        float deviation = 0.0F;                ///< the weighted mean of the points near it
        float cover = 0.0F;                    ///< 1 where points are, else 0
        float out = 0.0F; ///< the share that is above the tolerance less that below it
    };
    /// What belongs to a face: runs of the arrays below, one after the other by face.
    struct Face {
        std::uint32_t vertices = 0, triangles = 0;
        std::uint32_t points = 0, points_out = 0;
    };
    ERPoint3D origin;  ///< the middle of the part's box
    double size = 0.0; ///< the diagonal of the box
    std::vector<Face> faces;
    std::vector<Vertex> vertices;
    std::vector<std::array<std::uint32_t, 3>> triangles;
    std::vector<std::array<std::uint32_t, 2>> edges; ///< where the triangles of a face end
};

/// Refines the faces that have points until the sides of triangles are half as long as the points
/// are apart, as far as `most_vertices` allows, and gives each vertex the mean of the points of its
/// face that are within one and a half times that distance. Where there are none the part stays
/// without a deviation.
ColoredMesh color_mesh(const ViewMesh& mesh, std::span<const ViewPoint> points,
                       std::size_t most_vertices = 60000);

} // namespace velm::inspect
