// velm::detail::box_of_turn, box_of_arc: tight boxes of center + u cos t + v sin t, the form of all
// circles, ellipses and their arcs.
#pragma once

#include "velm/frame/box.h"
#include "velm/wireframe/detail/angles.h"

#include <cmath>
#include <numbers>

namespace velm::detail {

/// The box of the whole turn.
template <class D>
typename D::Box box_of_turn(const typename D::Point& center, const typename D::Vector& u,
                            const typename D::Vector& v) {
    const auto half = D::Vector::each([&](int axis) { return std::hypot(u[axis], v[axis]); });
    return typename D::Box(center - half, center + half);
}

/// The box of the parameters in `bound`: the ends, and on each axis the extremes between them.
template <class D>
typename D::Box box_of_arc(const typename D::Point& center, const typename D::Vector& u,
                           const typename D::Vector& v, const ERLimites& bound) {
    const auto at = [&](double t) { return center + (u * std::cos(t) + v * std::sin(t)); };
    typename D::Box box(at(bound.start()), at(bound.end()));
    for (int axis = 0; axis < D::size; ++axis) {
        const double high = std::atan2(v[axis], u[axis]);
        const double half = std::hypot(u[axis], v[axis]);
        double angle = high;
        if (bring_within(bound, angle)) {
            double& upper = D::Box::at(box, axis + D::size);
            upper = std::max(upper, center[axis] + half);
        }
        angle = high + std::numbers::pi;
        if (bring_within(bound, angle)) {
            double& lower = D::Box::at(box, axis);
            lower = std::min(lower, center[axis] - half);
        }
    }
    return box;
}

} // namespace velm::detail
