// velm::detail::expansion_at, expansion_over: a prepared surface of patches or of revolution as a
// power series of third order in the differences of its parameters, at a place or with intervals
// for all places of a rectangle. velm::detail::offset_at, offset_over: the surface moved along its
// normal, an order less.
//
// Along a row of poles in one point p0, at v = v0, Pu vanishes, and beside it the digits of Pu do.
// There P - p0 = x S with x the distance from the row, |v - v0| over the length of the patch, and
// the net of S is that of P - p0 with each row divided by its own x (Bernstein coefficients of a
// polynomial with the root v0). Pu = x Su, so that Su ^ Pv has the direction of Pu ^ Pv and all its
// digits up to the pole.
#pragma once

#include "velm/numerics/detail/taylor.h"
#include "velm/surfaces/detail/surface_tables.h"

namespace velm::detail {

/// The coordinates of a point as series.
template <class T, int N>
struct PointSeries {
    Taylor<T, N> c[3];
};

/// REQUIRES patches or a surface of revolution, and a place in the domain.
VELM_API PointSeries<double, 3> expansion_at(const SurfaceTables& tables, double u, double v,
                                             SurfaceSide side = {});

/// Holds the series of every place of the rectangle, at its joints those of both sides; on a
/// surface of revolution turned back to v = 0 in its frame, so that sizes are right and directions
/// aren't.
VELM_API PointSeries<Interval, 3> expansion_over(const SurfaceTables& tables, const ERLimites& u,
                                                 const ERLimites& v);

/// P + offset n for n the unit vector of Pu ^ Pv, or of its limit on a side of a patch that is one
/// point. Not finite where Pu ^ Pv vanishes otherwise.
template <class T>
struct OffsetSeries {
    PointSeries<T, 2> point;
    bool is_by_pole = false; ///< by S
};

/// REQUIRES what expansion_at and expansion_over do, of the base.
VELM_API OffsetSeries<double> offset_at(const SurfaceTables& base, double offset, double u,
                                        double v, SurfaceSide side = {});
VELM_API PointSeries<Interval, 2> offset_over(const SurfaceTables& base, double offset,
                                              const ERLimites& u, const ERLimites& v);

/// The point and the derivatives up to the second, six groups of three doubles: P, Pu, Pv, Puu,
/// Puv, Pvv.
template <class T, int N>
void jet_of_series(const PointSeries<T, N>& p, T* jet) {
    for (int k = 0; k < 3; ++k) {
        const Taylor<T, N>& c = p.c[k];
        jet[k] = c(0, 0);
        jet[3 + k] = c(1, 0);
        jet[6 + k] = c(0, 1);
        jet[9 + k] = c(2, 0) * T(2.0);
        jet[12 + k] = c(1, 1);
        jet[15 + k] = c(0, 2) * T(2.0);
    }
}

} // namespace velm::detail
