// velm::detail::split_at_angle: splitAt of the arcs.
#pragma once

#include "velm/frame/smart_pointer.h"

#include <utility>

namespace velm::detail {

/// Gives the arc from its start to `angle` and the one from `angle` to its end, and 1.
template <class Arc, class Curve>
int split_at_angle(const Arc& arc, double angle, t_SmartPtr<Curve>& first,
                   t_SmartPtr<Curve>& second) {
    t_SmartPtr<Curve> before(new Arc(arc, arc.startAngle(), angle));
    t_SmartPtr<Curve> after(new Arc(arc, angle, arc.endAngle()));
    first = std::move(before); // may release the arc
    second = std::move(after);
    return 1;
}

} // namespace velm::detail
