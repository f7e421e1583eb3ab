// mesh_colours.h: `MeshColours`, the deviations on the triangles of a part.
#pragma once

#include "velm/inspection/nominal_mesh.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <unordered_map>
#include <vector>

namespace velm::inspect {

/// Cuts the triangles until no edge is longer than a sixtieth of the part's diagonal, and gathers
/// the deviations of points at the nearest corner of their face. Memory doesn't grow with the
/// points.
class MeshColours {
public:
    explicit MeshColours(NominalMesh mesh);

    /// A point with its foot on a face.
    void add(const ERPoint3D& foot, int face, double deviation);

    /// The triangles after cutting.
    const NominalMesh& mesh() const { return mesh_; }
    /// The mean deviation at each position; where no point is, the mean of corners next to it that
    /// have one, and nothing further away than that.
    std::vector<std::optional<double>> deviations() const;

private:
    struct Corner {
        double sum = 0.0;
        std::uint64_t count = 0;
    };
    void cut();
    bool cut_once();
    void place_corners();
    std::uint64_t cell_of(const ERPoint3D& p, int face, int i, int j, int k) const;

    NominalMesh mesh_;
    double longest_ = 0.0; // edge, and the side of a cell
    ERPoint3D origin_;
    std::vector<Corner> corners_;
    std::unordered_map<std::uint64_t, std::vector<int>> cells_; // corners by cell and face
};

} // namespace velm::inspect
