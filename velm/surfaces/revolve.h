// velm::revolve: any NURBS curve turned about a line, exactly.
//
//     const auto vase = velm::revolve(profile, axis, 0.0, 2.0 * std::numbers::pi);
//     if (vase) store(*vase);
#pragma once

#include "velm/curves/nurbs_curve.h"
#include "velm/surfaces/nurbs_surface.h"
#include "velm/wireframe/line.h"

#include <optional>

namespace velm {

/// The surface of the points of the curve turned by angles from `start` to `end` about the axis,
/// right-handed. U is the curve's parameter. V runs from `start` to `end`; it is the angle at the
/// ends of its pieces, equal ones of at most a quarter turn, and in their middles.
///
/// Exact for every curve, also one that crosses the axis or is not in a plane with it: each pole is
/// turned where it is. With C(u) the curve and A(v) the turn, A(v) = sum b_j(v) w_j M_j over
/// sum b_j(v) w_j for the linear maps M_j that turn by the angle of the circle's pole j and, for
/// every second one, stretch the distance from the axis by 1 / cos(half a piece); so A(v) C(u) is
/// the rational surface of the poles M_j C_i (Piegl and Tiller, The NURBS Book, 8.5, without its
/// half plane).
///
/// Nothing for a curve without poles, an axis without direction, angles that are not finite, and
/// unless 0 < end - start <= 2 pi, with 1e-9 allowed for the rounding of a whole turn.
VELM_API std::optional<ERSpoleNURBS3D> revolve(const ERCpoleNURBS3D& curve, const ERInfLine3D& axis,
                                               double start, double end);

} // namespace velm
