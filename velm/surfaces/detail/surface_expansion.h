// velm::detail::expansion_at, expansion_over: a prepared surface of patches or of revolution as a
// power series of third order in the differences of its parameters, at a place or with intervals
// for all places of a rectangle. velm::detail::offset_series: the surface moved along its normal.
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

/// P + offset n for n the unit vector of Pu ^ Pv, of an order less than P. Not finite where Pu ^ Pv
/// vanishes.
template <class T>
PointSeries<T, 2> offset_series(const PointSeries<T, 3>& p, double offset) {
    Taylor<T, 2> pu[3], pv[3], normal[3], norm2;
    for (int k = 0; k < 3; ++k)
        pu[k] = by_x(p.c[k]), pv[k] = by_y(p.c[k]);
    for (int k = 0; k < 3; ++k) {
        const int a = (k + 1) % 3, b = (k + 2) % 3;
        normal[k] = pu[a] * pv[b] - pu[b] * pv[a];
        norm2 = norm2 + squared(normal[k]);
    }
    const Taylor<T, 2> factor = inverse(root(norm2)) * T(offset);
    PointSeries<T, 2> moved;
    for (int k = 0; k < 3; ++k)
        moved.c[k] = cut(p.c[k]) + normal[k] * factor;
    return moved;
}

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
