// velm::detail::arc_between: the arc of Arc2PointsCenter without its test of the distances.
#pragma once

#include "velm/wireframe/arc.h"

namespace velm::detail {

/// The radius is the distance from the center to the end with the smaller angle.
ERArc2D arc_between(const ERPoint2D& p1, const ERPoint2D& p2, const ERPoint2D& center,
                    bool reversed);

/// PtCur of a circle.
ERInfoPoint2D circle_point(const ERCircle2D& circle, double t);

} // namespace velm::detail
