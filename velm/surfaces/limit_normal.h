// velm::limit_normal: the unit normal of a surface also where its tangents vanish or are parallel.
#pragma once

#include "velm/frame/interval.h"
#include "velm/frame/vector.h"
#include "velm/fwd.h"

class ERAnyBoundedSurface;
class ERInfoPoint3DSurf;

namespace velm {

/// The limit of the unit normal tangenteU ^ tangenteV for parameters that come to (u, v) on the
/// straight line from the middle of the limits: right at the poles of a sphere, on a row of poles
/// in one point and at the tip of a cone, and there of the same side as beside them.
///
/// With c = Pu ^ Pv on the line, c itself decides, or where it vanishes its derivative along the
/// line, or where both tangents vanish its second derivative. A vector counts as vanished below
/// 1e-7 of the sizes of its terms (a pole in doubles is off by rounding, and at 1e-7 beside it the
/// derivative's direction is the limit's to 1e-7). Null where all three vanish.
VELM_API ERVector3D limit_normal(const ERAnyBoundedSurface& surface, double u, double v);

/// The same from the derivatives at a parameter of these limits.
VELM_API ERVector3D limit_normal(const ERInfoPoint3DSurf& point, const ERLimites& u,
                                 const ERLimites& v);

} // namespace velm
