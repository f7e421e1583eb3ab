// surface_view.h: `ViewMesh` and `ViewPoint`, what the pictures of an inspected part draw.
#pragma once

#include "velm/frame/point.h"
#include "velm/frame/vector.h"
#include "velm/inspection/tolerance.h"

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace velm::inspect {

/// A face of the part, as a picture names it.
struct ViewFace {
    std::string path; ///< as it came from files: escaped where it is written
    std::string kind; ///< of its surface: "cylinder"
};

/// The tessellation of a part, counter-clockwise seen from outside. Faces may share positions.
struct ViewMesh {
    std::vector<ViewFace> faces;
    std::vector<ERPoint3D> positions;
    std::vector<ERVector3D> normals;           ///< one for each position, out of the material
    std::vector<std::array<int, 3>> triangles; ///< indices of positions
    std::vector<int> face_of_triangle;         ///< indices of faces
};

/// What was found for a point. The numbers are part of a page's data.
enum class PointState : std::uint8_t { unassigned, unjudged, in, above, below };

/// A measured point in 48 bytes, so that a page can hold very many.
struct ViewPoint {
    ERPoint3D foot;                 ///< of an unassigned point: where it was measured
    std::array<float, 3> outward{}; ///< unit, out of the material; 0 if unassigned
    float deviation = 0.0F;         ///< along it
    std::int32_t face = -1;         ///< index of faces; -1: unassigned
    PointState state = PointState::unassigned;
};

/// `tolerance` is that of the inspection, or of the point's face.
inline PointState state_of(const Judged& point, const std::optional<Tolerance>& tolerance) {
    if (!point.is_assigned) return PointState::unassigned;
    if (!point.in_tolerance) return PointState::unjudged;
    if (*point.in_tolerance) return PointState::in;
    const std::optional<Tolerance>& band = point.limits ? point.limits : tolerance;
    const double middle = band ? band->middle() : 0.0;
    return point.deviation < middle ? PointState::below : PointState::above;
}

/// The drawn form of a judged point. `face` is -1 for one that isn't assigned; `tolerance` is that
/// of the inspection.
inline ViewPoint view_point(const Judged& point, const std::optional<Tolerance>& tolerance,
                            const ERPoint3D& foot, const ERVector3D& outward, int face) {
    ViewPoint drawn;
    drawn.foot = foot;
    if (!point.is_assigned || face < 0) return drawn;
    drawn.outward = {float(outward.i()), float(outward.j()), float(outward.k())};
    drawn.deviation = float(point.deviation);
    drawn.face = face;
    drawn.state = state_of(point, tolerance);
    return drawn;
}

} // namespace velm::inspect
