// velm::detail::turned: the direction of an angle about z. angle_after: the angle from a start.
#pragma once

#include "velm/frame/vector.h"
#include "velm/wireframe/detail/angles.h"

namespace velm::detail {

/// The unit vector at an angle about z, and its derivative by the angle.
inline ERVector3D turned(double angle) { return {std::cos(angle), std::sin(angle), 0.0}; }
inline ERVector3D turned_further(const ERVector3D& v) { return {-v.j(), v.i(), 0.0}; }

/// The angle about z from the direction of `start` to that of `p`, in [0, 2 pi).
inline double angle_after(const ERPoint3D& start, const ERPoint3D& p) {
    const ERVector2D x = ERVector2D(start.x(), start.y()).normalize();
    const double angle = std::atan2(x.i() * p.y() - x.j() * p.x(), x.i() * p.x() + x.j() * p.y());
    return angle < 0.0 ? angle + turn : angle;
}

} // namespace velm::detail
