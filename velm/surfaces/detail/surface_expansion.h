// velm::detail::expansion_at, expansion_over: a prepared surface of patches or of revolution as a
// power series of third order in the differences of its parameters, at a place or with intervals
// for all places of a rectangle.
#pragma once

#include "velm/surfaces/detail/net_series.h"

namespace velm::detail {

/// REQUIRES patches or a surface of revolution, and a place in the domain.
VELM_API SurfaceSeries<double> expansion_at(const SurfaceTables& tables, double u, double v,
                                            SurfaceSide side = {});

/// Holds the series of every place of the rectangle, at its joints those of both sides; on a
/// surface of revolution turned back to v = 0 in its frame, so that sizes are right and directions
/// aren't.
VELM_API SurfaceSeries<Interval> expansion_over(const SurfaceTables& tables, const ERLimites& u,
                                                const ERLimites& v);

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
