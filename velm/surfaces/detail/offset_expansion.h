// velm::detail::offset_at, offset_over: a surface moved along its normal as a power series of
// second order, at a place or with intervals for all places of a rectangle; also where tangents
// vanish.
//
// Along a row of poles in one point p0, at v = v0, Pu vanishes, and beside it the digits of Pu do.
// There P - p0 = x S with x the distance from the row, |v - v0| over the length of the patch, and
// the net of S is that of P - p0 with each row divided by its own x (Bernstein coefficients of a
// polynomial with the root v0). Pu = x Su, so that Su ^ Pv has the direction of Pu ^ Pv and all its
// digits up to the pole.
//
// On a surface of revolution Pv is x times the unit vector along the parallel, for a meridian at
// the distance x from the axis: that vector takes its place, at a pole as everywhere else.
#pragma once

#include "velm/surfaces/detail/surface_expansion.h"

namespace velm::detail {

/// P + offset n for n the unit vector of Pu ^ Pv, or of its limit on a side of a patch that is one
/// point and where a meridian meets the axis. Not finite where Pu ^ Pv vanishes otherwise. REQUIRES
/// what expansion_at and expansion_over do, of the base.
VELM_API PointSeries<double, 2> offset_at(const SurfaceTables& base, double offset, double u,
                                          double v, SurfaceSide side = {});
VELM_API PointSeries<Interval, 2> offset_over(const SurfaceTables& base, double offset,
                                              const ERLimites& u, const ERLimites& v);

/// Whether offset_at takes a limit, by which it keeps the digits of the normal.
bool has_limit_tangent(const SurfaceTables& base, double u, double v, SurfaceSide side = {});

} // namespace velm::detail
