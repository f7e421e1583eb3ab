#include "velm/surfaces/detail/surface_expansion.h"

#include "velm/curves/detail/prepared_pieces.h"

#include <algorithm>
#include <cmath>

namespace velm::detail {

namespace {

// The generatrix.

SeriesNet net_of(const CurvePiece<3>& piece) {
    return {piece.poles.data(), piece.degree, 0, piece.parameters, {0.0, 1.0}, piece.rational};
}

// A curve C + cos A + sin B is known by its derivatives at one angle: C = P + P'', and at the angle
// s further P - C is -cos s P'' + sin s P'.
template <class T>
SurfaceSeries<T> conic_series(const ERInfoPoint3DWF& on, const T& cosine, const T& sine) {
    SurfaceSeries<T> p;
    for (int k = 0; k < 3; ++k) {
        const T first(on.tangente()[k]), second(on.second_derivative()[k]);
        const T arm = sine * first - cosine * second, across = cosine * first + sine * second;
        p.c[k](0, 0) = T(on.point()[k]) + second + arm;
        p.c[k](1, 0) = across;
        p.c[k](2, 0) = arm * T(-0.5);
        p.c[k](3, 0) = across * T(-1.0 / 6.0);
    }
    return p;
}

SurfaceSeries<double> generatrix_at(const PreparedCurve<3>& curve, double t, bool below) {
    CurvePlace place = curve.place(t);
    if (below && place.piece > 0 && curve.piece(place.piece).parameters.start() == t)
        place = {t, place.piece - 1, 1.0};
    if (curve.tables()[place.piece].angular)
        return conic_series<double>(curve.point_at(place), 1.0, 0.0);
    const CurvePiece<3> piece = curve.piece(place.piece);
    HomogeneousSeries<double> h;
    expand_at(net_of(piece), t, 0.0, h);
    const double origin[] = {piece.origin.x(), piece.origin.y(), piece.origin.z()};
    return points_of(h, piece.rational, origin);
}

SurfaceSeries<Interval> generatrix_over(const PreparedCurve<3>& curve, const ERLimites& u) {
    SurfaceSeries<Interval> all;
    if (curve.tables()[0].angular) {
        const double half = 0.5 * u.amplitude();
        constexpr double quarter = 0.5 * std::numbers::pi;
        const double sine = half < quarter ? std::sin(half) : 1.0;
        const double cosine = half < 2.0 * quarter ? std::cos(half) : -1.0;
        return conic_series<Interval>(curve.point_at(u(0.5)), {cosine, 1.0}, {-sine, sine});
    }
    bool first = true;
    for (int i = curve.place(u.start()).piece; i < curve.pieces(); ++i) {
        const CurvePiece<3> piece = curve.piece(i);
        if (piece.parameters.start() >= u.end()) break;
        ERLimites part;
        if (!common(piece.parameters, u, part)) continue;
        SurfaceSeries<Interval> own = points_over(net_of(piece), part, {0.0, 1.0});
        for (int k = 0; k < 3; ++k)
            own.c[k](0, 0) = own.c[k](0, 0) + Interval(piece.origin[k]);
        include(all, own, first);
        first = false;
    }
    return all;
}

// The curve of a frame turned about its z axis, at the angle 0: a derivative by the angle is a
// quarter turn further.
template <class T>
SurfaceSeries<T> turned(const SurfaceSeries<T>& curve) {
    SurfaceSeries<T> p(curve);
    for (int i = 0; i <= series_order; ++i)
        for (int j = 1; j <= series_order - i; ++j) {
            p.c[0](i, j) = p.c[1](i, j - 1) * T(-1.0 / j);
            p.c[1](i, j) = p.c[0](i, j - 1) * T(1.0 / j);
            p.c[2](i, j) = T(0.0);
        }
    return p;
}

SurfaceSeries<double> in_space(const AnalyticShape& shape, const SurfaceSeries<double>& p,
                               double angle) {
    const double cosine = std::cos(angle), sine = std::sin(angle);
    const ERVector3D x = shape.x * cosine + shape.y * sine, y = shape.y * cosine - shape.x * sine;
    SurfaceSeries<double> q;
    for (int k = 0; k < 3; ++k) {
        q.c[k] = p.c[0] * x[k] + p.c[1] * y[k] + p.c[2] * shape.z[k];
        q.c[k](0, 0) += shape.origin[k];
    }
    return q;
}

} // namespace

SurfaceSeries<double> expansion_at(const SurfaceTables& tables, double u, double v,
                                   SurfaceSide side) {
    if (tables.generatrix)
        return in_space(tables.shape, turned(generatrix_at(*tables.generatrix, u, side.below_u)),
                        v);
    const SeriesNet net = net_of(tables, interval_of(tables.ends_u, u, side.below_u),
                                 interval_of(tables.ends_v, v, side.below_v));
    HomogeneousSeries<double> h;
    expand_at(net, u, v, h);
    constexpr double nowhere[3] = {};
    return points_of(h, tables.rational, nowhere);
}

SurfaceSeries<Interval> expansion_over(const SurfaceTables& tables, const ERLimites& u,
                                       const ERLimites& v) {
    if (tables.generatrix) return turned(generatrix_over(*tables.generatrix, u));
    return over_patches<series_order>(
        tables, u, v,
        [](int, int, const SeriesNet& net, const ERLimites& in_u, const ERLimites& in_v) {
            return points_over(net, in_u, in_v);
        });
}

} // namespace velm::detail
