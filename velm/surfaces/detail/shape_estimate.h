// velm::detail::EstimatedShape: an unlimited plane, cylinder, cone, sphere or torus, from points
// with normals.
#pragma once

#include "velm/frame/point.h"
#include "velm/frame/vector.h"
#include "velm/surfaces/prepared_surface.h"

#include <optional>
#include <vector>

namespace velm::detail {

struct OrientedPoint {
    ERPoint3D point;
    ERVector3D normal; ///< unit; its side doesn't matter
};

struct EstimatedShape {
    SurfaceKind kind = SurfaceKind::plane;
    ERPoint3D origin; ///< on the plane, on the axis, the apex, the centre
    ERVector3D axis;  ///< the normal of a plane; unit
    /// Of a cylinder, a sphere, a torus's spine; of a cone the half angle.
    double radius = 0.0;
    double small_radius = 0.0;

    /// The signed distance of a point; of a cone from the nearer of its two sides.
    double distance(const ERPoint3D& p) const;
};

/// Nothing where the points have no such shape at all, as for a cylinder where all normals are
/// parallel. `size` is that of the points.
std::optional<EstimatedShape> estimate(SurfaceKind kind, const std::vector<OrientedPoint>& points,
                                       double size);

/// Gauss-Newton's steps on the squared distances of the points, damped, while they get less.
void refine(EstimatedShape& shape, const std::vector<OrientedPoint>& points, double size);

} // namespace velm::detail
