// velm::detail::CircleProjection: the image of a circle of space on the xy plane of a frame.
#pragma once

#include "velm/wireframe/circle_in_space.h"
#include "velm/wireframe/ellipse.h"

namespace velm::detail {

/// The circle's point of angle t goes to
/// center + r (cos (t - phase) big + cosine sin (t - phase) (big turned by +90 degrees)).
struct CircleProjection {
    CircleProjection(const ERCircle3D& circle, const ERPmIsometrie3D& frame);

    EREllipse2D ellipse(double radius) const;

    ERPoint2D center;
    /// The unit direction of the big axis: where the circle's plane is level.
    ERVector2D big;
    /// Of the angle between the two planes' normals.
    double cosine;
    double sine;
    /// The circle's angle at which `big` is reached.
    double phase;
};

} // namespace velm::detail
