// surface_data.h: `pack_mesh`, `pack_points`, the data of a page's view in few bytes.
#pragma once

#include "inspect/picture/deviation_scale.h"
#include "inspect/picture/surface_coloring.h"

#include <array>
#include <cstdint>
#include <span>
#include <vector>

namespace velm::inspect {

/// A cube around places: each coordinate is kept as a number of 16 bits within it.
struct PackedCube {
    std::array<double, 3> low{}; ///< from the mesh's origin
    double side = 0.0;
};

/// Records of 12 bytes, little-endian: x, y, z (16 bits each), the normal folded on an octahedron
/// (two signed bytes; Cigolle and others, Journal of Computer Graphics Techniques 3, 2014), the
/// deviation divided by `unit` as a half (IEEE 754 binary16), and two bytes more.
struct PackedPlaces {
    PackedCube cube;
    std::vector<std::uint8_t> bytes;
};

/// The power of two by which deviations are divided, so that halves hold them.
double half_unit(std::span<const ViewPoint> points);

/// The vertices; the two bytes are the cover (0 to 255) and the share out of tolerance from -1 (1)
/// over 0 (128) to 1 (255). After them the corners of the triangles and the ends of the edges, each
/// as its difference from the one before, folded to be positive, in groups of seven bits.
PackedPlaces pack_mesh(const ColoredMesh& mesh, double unit);

/// Which points: those with a face, face after face, that are out of tolerance or not, or those
/// without a face.
enum class PointGroup { within, out, unassigned };

/// The points of a group; the two bytes are the class of the colour and the state.
PackedPlaces pack_points(const ColoredMesh& mesh, std::span<const ViewPoint> points,
                         PointGroup group, double unit, const DeviationScale& colors);

} // namespace velm::inspect
