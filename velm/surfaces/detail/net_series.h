// velm::detail::SeriesNet: a net of Bezier poles as a power series of third order in the
// differences of its parameters, at a place or with intervals for all places of a rectangle.
#pragma once

#include "velm/numerics/detail/taylor.h"
#include "velm/surfaces/detail/surface_tables.h"

#include <cstddef>
#include <vector>

namespace velm::detail {

/// The coordinates of a point as series.
template <class T, int N>
struct PointSeries {
    Taylor<T, N> c[3];
};

inline constexpr int series_order = 3;
template <class T>
using SurfaceSeries = PointSeries<T, series_order>;
template <class T>
using HomogeneousSeries = Taylor<T, series_order>[4];

/// Poles of four doubles, those along U first, and the rectangle of parameters that they are over.
struct SeriesNet {
    const double* poles;
    int degree_u, degree_v;
    ERLimites u, v;
    bool rational;

    int columns() const { return degree_u + 1; }
    int rows() const { return degree_v + 1; }
    std::size_t doubles() const { return 4 * std::size_t(columns()) * std::size_t(rows()); }
};

SeriesNet net_of(const SurfaceTables& tables, int i, int j);

void expand_at(const SeriesNet& net, double u, double v, HomogeneousSeries<double>& h);
/// Over the whole net.
void expand_over(const SeriesNet& net, HomogeneousSeries<Interval>& h);

/// The poles of the part of a net over a rectangle within its own.
std::vector<double> restricted(const SeriesNet& net, const ERLimites& u, const ERLimites& v);

/// The points of such a part; their series are bounded about the pole in the middle.
SurfaceSeries<Interval> points_over(const SeriesNet& net, const ERLimites& u, const ERLimites& v);

/// X / w + origin.
template <class T>
SurfaceSeries<T> points_of(const HomogeneousSeries<T>& h, bool rational, const double* origin) {
    SurfaceSeries<T> p;
    const Taylor<T, series_order> reciprocal = rational ? inverse(h[3]) : Taylor<T, series_order>();
    for (int k = 0; k < 3; ++k) {
        p.c[k] = rational ? h[k] * reciprocal : h[k];
        p.c[k](0, 0) = p.c[k](0, 0) + T(origin[k]);
    }
    return p;
}

/// Whether two intervals have more than a place in common, and that part.
inline bool common(const ERLimites& a, const ERLimites& b, ERLimites& part) {
    part = {std::max(a.start(), b.start()), std::min(a.end(), b.end())};
    return part.start() < part.end();
}

/// `all` holds another part, too.
template <int N>
void include(PointSeries<Interval, N>& all, const PointSeries<Interval, N>& part, bool first) {
    for (std::size_t k = 0; k < 3; ++k)
        for (std::size_t n = 0; n < all.c[k].c.size(); ++n)
            first ? all.c[k].c[n] = part.c[k].c[n]
                  : (all.c[k].c[n].include(part.c[k].c[n]), all.c[k].c[n]);
}

/// What holds f(i, j, net, u, v), over the rectangle's part of each of the patches.
template <int N, class F>
PointSeries<Interval, N> over_patches(const SurfaceTables& tables, const ERLimites& u,
                                      const ERLimites& v, F f) {
    PointSeries<Interval, N> all;
    bool first = true;
    for (int i = interval_of(tables.ends_u, u.start()); i < tables.patches_u(); ++i)
        for (int j = interval_of(tables.ends_v, v.start()); j < tables.patches_v(); ++j) {
            const SeriesNet net = net_of(tables, i, j);
            ERLimites part_u, part_v;
            if (!common(net.u, u, part_u) || !common(net.v, v, part_v)) break;
            include(all, f(i, j, net, part_u, part_v), first);
            first = false;
        }
    return all;
}

} // namespace velm::detail
