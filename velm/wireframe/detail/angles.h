// velm::detail: turns, and angles brought into a range.
#pragma once

#include "velm/frame/interval.h"
#include "velm/frame/point.h"
#include "velm/frame/vector.h"

#include <cmath>
#include <numbers>

namespace velm::detail {

inline constexpr double turn = 2.0 * std::numbers::pi;
/// Fixed to the last digit, because printed angles depend on it.
inline constexpr double degrees_per_radian = 57.29577951308232;

inline ERVector2D unit_vector(double angle) { return {std::cos(angle), std::sin(angle)}; }

/// The direction of p seen from the centre, in (-pi, pi].
inline double angle_about(const ERPoint2D& centre, const ERPoint2D& p) {
    return std::atan2(p.y() - centre.y(), p.x() - centre.x());
}

/// The least angle that is not below `start` and a whole number of turns away from `angle`.
inline double angle_from(double start, double angle) {
    const double raised = angle + turn * std::ceil((start - angle) / turn);
    // The rounded quotient may be off by one turn.
    if (raised < start) return raised + turn;
    return raised - turn >= start ? raised - turn : raised;
}

/// Shifts `angle` by whole turns into the interval; returns false, with `angle` unchanged, if no
/// shift brings it there.
inline bool bring_within(const ERLimites& bound, double& angle) {
    const double raised = angle_from(bound.start(), angle);
    if (!(raised <= bound.end())) return false;
    angle = raised;
    return true;
}

} // namespace velm::detail
