#include "velm/surfaces/detail/offset_expansion.h"

#include "velm/curves/detail/basis_functions.h"

#include <algorithm>
#include <cmath>
#include <optional>

namespace velm::detail {

namespace {

const ERMinimax3D& box_of(const SurfaceTables& tables, int i, int j) {
    return tables.boxes[std::size_t(j) * std::size_t(tables.patches_u()) + std::size_t(i)];
}

// A side of a net that is one point: a row along u at an end of v, or a column along v.
struct PointSide {
    bool along_u = false, at_end = false;
    int first = 0; // pole
};

// The side nearest to a place, if any is a point.
std::optional<PointSide> point_side(const SeriesNet& net, const ERMinimax3D& box, double u,
                                    double v) {
    constexpr double one_point = 0x1p-40; // of the box: rounding of a turned meridian's end
    const double tolerance = one_point * box.diagonal();
    std::optional<PointSide> found;
    double nearest = HUGE_VAL;
    for (const bool along_u : {true, false})
        for (const bool at_end : {false, true}) {
            const int across = along_u ? net.degree_v : net.degree_u,
                      along = along_u ? net.degree_u : net.degree_v;
            const int step = along_u ? 1 : net.columns(), other = along_u ? net.columns() : 1;
            const PointSide side{along_u, at_end, at_end ? across * other : 0};
            const double* const one = net.poles + 4 * side.first;
            bool is_point = across > 0 && along > 0;
            for (int k = 1; is_point && k <= along; ++k)
                for (int c = 0; c < 3; ++c) {
                    const double* const pole = one + 4 * k * step;
                    is_point =
                        is_point && std::fabs(pole[c] / pole[3] - one[c] / one[3]) <= tolerance;
                }
            const double x = along_u ? net.v.ratio(v) : net.u.ratio(u);
            const double distance = at_end ? 1.0 - x : x;
            if (is_point && distance < nearest) found = side, nearest = distance;
        }
    return found;
}

// The net of S: P less the point of the side, weighted, over the distance from the side.
using DividedPoles = WorkArray<double, 4 * 16>;
SeriesNet divided_net(const SeriesNet& net, const PointSide& side, DividedPoles& work) {
    SeriesNet part(net);
    --(side.along_u ? part.degree_v : part.degree_u);
    part.poles = work.data();
    const double* const one = net.poles + 4 * side.first;
    const int across = side.along_u ? net.degree_v : net.degree_u, skip = side.at_end ? 0 : 1;
    for (int r = 0; r < part.rows(); ++r)
        for (int a = 0; a < part.columns(); ++a) {
            const int at = side.along_u ? r : a;
            const int from =
                (r + (side.along_u ? skip : 0)) * net.columns() + a + (side.along_u ? 0 : skip);
            const double* const pole = net.poles + 4 * from;
            const double factor = double(across) / (side.at_end ? across - at : at + 1);
            double* const to = work.data() + 4 * (r * part.columns() + a);
            for (int c = 0; c < 3; ++c)
                to[c] = factor * (pole[c] - one[c] / one[3] * pole[3]);
            to[3] = 0.0;
        }
    return part;
}

template <class T>
using Tangents = Taylor<T, 2>[2][3];

template <class T>
void tangents_of(const SurfaceSeries<T>& p, Tangents<T>& tangents) {
    for (int k = 0; k < 3; ++k)
        tangents[0][k] = by_x(p.c[k]), tangents[1][k] = by_y(p.c[k]);
}

// The tangent along a side in one point becomes that of S, given S w and, with weights, w.
template <class T>
void replace_tangent(const PointSide& side, const HomogeneousSeries<T>& divided,
                     const Taylor<T, series_order>* weight, Tangents<T>& tangents) {
    const Taylor<T, series_order> reciprocal =
        weight ? inverse(*weight) : Taylor<T, series_order>();
    for (int k = 0; k < 3; ++k) {
        const Taylor<T, series_order> s = weight ? divided[k] * reciprocal : divided[k];
        if (side.along_u)
            tangents[0][k] = by_x(s);
        else
            tangents[1][k] = by_y(s);
    }
}

// The tangent along the parallels of a turned meridian becomes their unit vector, by the angle: y,
// for x the direction of the half plane.
template <class T>
void replace_parallel(const ERVector3D& x, const ERVector3D& y, Tangents<T>& tangents) {
    for (int k = 0; k < 3; ++k) {
        Taylor<T, 2> along;
        along(0, 0) = T(y[k]), along(0, 1) = T(-x[k]), along(0, 2) = T(-0.5 * y[k]);
        tangents[1][k] = along;
    }
}

template <class T>
PointSeries<T, 2> moved_along(const SurfaceSeries<T>& p, const Tangents<T>& tangents,
                              double offset) {
    Taylor<T, 2> normal[3], norm2;
    for (int k = 0; k < 3; ++k) {
        const int a = (k + 1) % 3, b = (k + 2) % 3;
        normal[k] = tangents[0][a] * tangents[1][b] - tangents[0][b] * tangents[1][a];
        norm2 = norm2 + squared(normal[k]);
    }
    const Taylor<T, 2> factor = inverse(root(norm2)) * T(offset);
    PointSeries<T, 2> moved;
    for (int k = 0; k < 3; ++k)
        moved.c[k] = cut(p.c[k]) + normal[k] * factor;
    return moved;
}

// The patch of a place, its net and its side in one point.
struct NetAt {
    NetAt(const SurfaceTables& tables, double u, double v, SurfaceSide side)
        : i(interval_of(tables.ends_u, u, side.below_u)),
          j(interval_of(tables.ends_v, v, side.below_v)), net(net_of(tables, i, j)),
          point(point_side(net, box_of(tables, i, j), u, v)) {}

    int i, j;
    SeriesNet net;
    std::optional<PointSide> point;
};

// The offset of the part of a patch.
PointSeries<Interval, 2> moved_over(const SeriesNet& net, const ERMinimax3D& box, double offset,
                                    const ERLimites& u, const ERLimites& v) {
    const SurfaceSeries<Interval> p = points_over(net, u, v);
    Tangents<Interval> tangents;
    tangents_of(p, tangents);
    if (const auto side = point_side(net, box, u(0.5), v(0.5))) {
        DividedPoles work(net.doubles());
        const SeriesNet s = divided_net(net, *side, work);
        const std::vector<double> own = restricted(s, u, v), whole = restricted(net, u, v);
        HomogeneousSeries<Interval> divided, weighted;
        expand_over({own.data(), s.degree_u, s.degree_v, u, v, false}, divided);
        expand_over({whole.data(), net.degree_u, net.degree_v, u, v, net.rational}, weighted);
        replace_tangent(*side, divided, net.rational ? &weighted[3] : nullptr, tangents);
    }
    return moved_along(p, tangents, offset);
}

} // namespace

bool has_limit_tangent(const SurfaceTables& base, double u, double v, SurfaceSide side) {
    return base.generatrix ? base.meridian : NetAt(base, u, v, side).point.has_value();
}

PointSeries<double, 2> offset_at(const SurfaceTables& base, double offset, double u, double v,
                                 SurfaceSide side) {
    const SurfaceSeries<double> p = expansion_at(base, u, v, side);
    Tangents<double> tangents;
    tangents_of(p, tangents);
    if (base.meridian) {
        const AnalyticShape& frame = base.shape;
        const double cosine = std::cos(v), sine = std::sin(v);
        replace_parallel(frame.x * cosine + frame.y * sine, frame.y * cosine - frame.x * sine,
                         tangents);
    } else if (!base.generatrix) {
        const NetAt at(base, u, v, side);
        if (at.point) {
            DividedPoles work(at.net.doubles());
            HomogeneousSeries<double> divided, weighted;
            expand_at(divided_net(at.net, *at.point, work), u, v, divided);
            if (at.net.rational) expand_at(at.net, u, v, weighted);
            replace_tangent(*at.point, divided, at.net.rational ? &weighted[3] : nullptr, tangents);
        }
    }
    return moved_along(p, tangents, offset);
}

PointSeries<Interval, 2> offset_over(const SurfaceTables& base, double offset, const ERLimites& u,
                                     const ERLimites& v) {
    if (base.generatrix) {
        const SurfaceSeries<Interval> p = expansion_over(base, u, v);
        Tangents<Interval> tangents;
        tangents_of(p, tangents);
        if (base.meridian) replace_parallel(ERVector3D(1, 0, 0), ERVector3D(0, 1, 0), tangents);
        return moved_along(p, tangents, offset);
    }
    return over_patches<2>(
        base, u, v,
        [&](int i, int j, const SeriesNet& net, const ERLimites& in_u, const ERLimites& in_v) {
            return moved_over(net, box_of(base, i, j), offset, in_u, in_v);
        });
}

} // namespace velm::detail
