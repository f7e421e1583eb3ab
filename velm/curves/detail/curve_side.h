// velm::detail: the side of a curve on which a point next to it lies.
#pragma once

#include "velm/curves/detail/piece_links.h"

namespace velm::detail {

/// How far one can go from a place, at most `step` pieces forward (or backward, if negative),
/// before the curve ends or is interrupted.
double free_step(const PreparedPieces<2>& curve, double along, double step);

/// The place nearest to p, by Newton's method from a place next to it, as place_along takes it.
double nearest_along(const PreparedPieces<2>& curve, double along, const ERPoint2D& p);

/// The side of p, +1 being left, of the stretch of the curve between two places: by the tangent at
/// the nearest point, at a joint by both. 0 where that is an end, a cusp or p itself.
int side_of_stretch(const PreparedPieces<2>& curve, double low, double high, const ERPoint2D& p);

} // namespace velm::detail
