// velm::detail::turned_pole: the poles of a turn about a line, in pieces of at most a quarter.
#pragma once

#include "velm/frame/pole.h"
#include "velm/wireframe/detail/angles.h"
#include "velm/wireframe/line.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace velm::detail {

/// Allowed for the rounding of a whole turn.
inline constexpr double turn_tolerance = 1e-9;

/// Whether the angles are finite, in order, and at most a turn apart.
inline bool is_turn(double start, double end) {
    return end - start > 0.0 && end - start <= turn + turn_tolerance && std::isfinite(start);
}

/// The number of equal pieces of at most a quarter turn.
inline int quarters_of(double span) {
    constexpr double quarter = 0.5 * std::numbers::pi;
    return std::max(1, static_cast<int>(std::ceil((span - turn_tolerance) / quarter)));
}

/// A homogeneous pole turned by the angle; between the ends of a piece with the weight's factor
/// `shrink`, which leaves its distance from the axis as it is and multiplies the rest.
inline ERPole3DH turned_pole(const ERPole3DH& pole, const ERInfLine3D& axis, double angle,
                             double shrink) {
    const ERVector3D& d = axis.dirVector();
    const ERVector3D origin = ERVector3D(axis.origine()) * pole.weight;
    const ERVector3D arm = ERVector3D(pole.x(), pole.y(), pole.z()) - origin;
    const ERVector3D along = d * (d * arm), across = arm - along;
    const ERVector3D result =
        (origin + along) * shrink + across * std::cos(angle) + (d ^ across) * std::sin(angle);
    return ERPole3DH(result.i(), result.j(), result.k(), pole.weight * shrink);
}

} // namespace velm::detail
