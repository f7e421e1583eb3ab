#include "velm/surfaces/detail/surface_expansion.h"

#include "velm/curves/detail/basis_functions.h"
#include "velm/curves/detail/prepared_pieces.h"
#include "velm/surfaces/detail/pole_grid.h"

#include <algorithm>
#include <cmath>

namespace velm::detail {

namespace {

constexpr int order = 3;
template <class T>
using Homogeneous = Taylor<T, order>[4];

// A net of poles of four doubles and the rectangle of parameters that it is over.
struct Net {
    const double* poles;
    int degree_u, degree_v;
    ERLimites u, v;
    bool rational;

    int columns() const { return degree_u + 1; }
    int rows() const { return degree_v + 1; }
    std::size_t doubles() const { return 4 * std::size_t(columns()) * std::size_t(rows()); }
};

// Calls f(i, j, differences) with the forward differences of the net, i times along U and j along
// V, for i + j up to 3: degree_u - i + 1 columns in rows of the net's length.
template <class F>
void for_differences(const Net& net, F f) {
    constexpr std::size_t bicubic = 2 * 4 * 16;
    WorkArray<double, bicubic> work(2 * net.doubles());
    double *const by_v = work.data(), *const by_both = by_v + net.doubles();
    const std::ptrdiff_t row = 4 * std::ptrdiff_t(net.columns());
    std::copy_n(net.poles, net.doubles(), by_v);
    const auto subtract = [](double* from, std::ptrdiff_t count, std::ptrdiff_t step) {
        for (std::ptrdiff_t k = 0; k < count; ++k)
            from[k] = from[k + step] - from[k];
    };
    for (int j = 0; j <= std::min(order, net.degree_v); ++j) {
        const int rows = net.rows() - j;
        if (j > 0) subtract(by_v, rows * row, row);
        std::copy_n(by_v, rows * row, by_both);
        for (int i = 0; i <= std::min(order - j, net.degree_u); ++i) {
            if (i > 0)
                for (int r = 0; r < rows; ++r)
                    subtract(by_both + r * row, row - 4 * i, 4);
            f(i, j, by_both);
        }
    }
}

// The factor that makes an i-th difference the coefficient of the i-th power.
double power_factor(int degree, int i, double length) {
    double factor = 1.0;
    for (int k = 0; k < i; ++k)
        factor *= (degree - k) / ((k + 1) * length);
    return factor;
}

// Calls reduce(i, j, differences) for the four components of each difference.
template <class T, class Reduce>
void expand_net(const Net& net, Homogeneous<T>& h, Reduce reduce) {
    for_differences(net, [&](int i, int j, const double* differences) {
        const T factor(power_factor(net.degree_u, i, net.u.amplitude()) *
                       power_factor(net.degree_v, j, net.v.amplitude()));
        T sums[4];
        reduce(i, j, differences, sums);
        for (int k = 0; k < 4; ++k)
            h[k](i, j) = sums[k] * factor;
    });
}

// Bernstein's functions at x of the degrees p to p - 3, one list after the other.
struct BernsteinLists {
    explicit BernsteinLists(int degree) : p(degree), memory(4 * (std::size_t(degree) + 1)) {}
    double* list(int lower) { return memory.data() + std::ptrdiff_t(lower) * (p + 1); }
    void fill(double x) {
        double* const value = list(0);
        value[0] = 1.0;
        for (int n = 0; n <= p; ++n) {
            if (n > 0) {
                double saved = 0.0;
                for (int r = 0; r < n; ++r) {
                    const double before = value[r];
                    value[r] = saved + (1.0 - x) * before;
                    saved = x * before;
                }
                value[n] = saved;
            }
            if (n < p && p - n <= order) std::copy_n(value, n + 1, list(p - n));
        }
    }
    int p;
    WorkArray<double, 4 * 6> memory;
};

void expand_at(const Net& net, double u, double v, Homogeneous<double>& h) {
    BernsteinLists in_u(net.degree_u), in_v(net.degree_v);
    in_u.fill(net.u.ratio(u));
    in_v.fill(net.degree_v > 0 ? net.v.ratio(v) : 0.0);
    expand_net<double>(net, h, [&](int i, int j, const double* differences, double* sums) {
        std::fill_n(sums, 4, 0.0);
        for (int r = 0; r <= net.degree_v - j; ++r)
            for (int a = 0; a <= net.degree_u - i; ++a) {
                const double weight = in_v.list(j)[r] * in_u.list(i)[a];
                const double* const pole = differences + 4 * (r * net.columns() + a);
                for (int k = 0; k < 4; ++k)
                    sums[k] += weight * pole[k];
            }
    });
}

// Over the whole net: Bernstein's functions are positive and sum up to 1.
void expand_over(const Net& net, Homogeneous<Interval>& h) {
    expand_net<Interval>(net, h, [&](int i, int j, const double* differences, Interval* sums) {
        for (int r = 0; r <= net.degree_v - j; ++r)
            for (int a = 0; a <= net.degree_u - i; ++a)
                for (int k = 0; k < 4; ++k) {
                    const double value = differences[4 * (r * net.columns() + a) + k];
                    r + a == 0 ? sums[k] = Interval(value) : (sums[k].include(value), sums[k]);
                }
    });
}

// X / w + origin.
template <class T>
PointSeries<T, order> points_of(const Homogeneous<T>& h, bool rational, const double* origin) {
    PointSeries<T, order> p;
    const Taylor<T, order> reciprocal = rational ? inverse(h[3]) : Taylor<T, order>();
    for (int k = 0; k < 3; ++k) {
        p.c[k] = rational ? h[k] * reciprocal : h[k];
        p.c[k](0, 0) = p.c[k](0, 0) + T(origin[k]);
    }
    return p;
}

// The poles of the part of a net over a rectangle within its own.
std::vector<double> restricted(const Net& net, const ERLimites& u, const ERLimites& v) {
    std::vector<double> poles(net.poles, net.poles + net.doubles());
    const PoleGrid grid{poles.data(), net.rows(), net.columns(), 4};
    const auto cut_along = [&](Axis axis, const ERLimites& whole, const ERLimites& part) {
        if (!(part == whole))
            restrict_grid(grid, axis, whole.ratio(part.start()), whole.ratio(part.end()));
    };
    cut_along(Axis::u, net.u, u);
    if (net.degree_v > 0) cut_along(Axis::v, net.v, v);
    return poles;
}

// Such a part about the pole in its middle.
PointSeries<Interval, order> points_over(const Net& net, const ERLimites& u, const ERLimites& v) {
    std::vector<double> poles(net.poles, net.poles + net.doubles());
    double origin[3];
    const std::size_t middle = 4 * (net.doubles() / 8);
    for (std::size_t k = 0; k < 3; ++k)
        origin[k] = poles[middle + k] / poles[middle + 3];
    for (std::size_t i = 0; i < poles.size(); i += 4)
        for (std::size_t k = 0; k < 3; ++k)
            poles[i + k] -= origin[k] * poles[i + 3];
    Net about(net);
    about.poles = poles.data();
    const std::vector<double> part = restricted(about, u, v);
    Homogeneous<Interval> h;
    expand_over({part.data(), net.degree_u, net.degree_v, u, v, net.rational}, h);
    return points_of(h, net.rational, origin);
}

Net net_of(const SurfaceTables& tables, int i, int j) {
    const auto a = std::size_t(i), b = std::size_t(j);
    return {tables.patch(i, j),
            tables.degree_u,
            tables.degree_v,
            {tables.ends_u[a], tables.ends_u[a + 1]},
            {tables.ends_v[b], tables.ends_v[b + 1]},
            tables.rational};
}

// The generatrix.

Net net_of(const CurvePiece<3>& piece) {
    return {piece.poles.data(), piece.degree, 0, piece.parameters, {0.0, 1.0}, piece.rational};
}

// A curve C + cos A + sin B is known by its derivatives at one angle: C = P + P'', and at the angle
// s further P - C is -cos s P'' + sin s P'.
template <class T>
PointSeries<T, order> conic_series(const ERInfoPoint3DWF& on, const T& cosine, const T& sine) {
    PointSeries<T, order> p;
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

PointSeries<double, order> generatrix_at(const PreparedCurve<3>& curve, double t, bool below) {
    CurvePlace place = curve.place(t);
    if (below && place.piece > 0 && curve.piece(place.piece).parameters.start() == t)
        place = {t, place.piece - 1, 1.0};
    if (curve.tables()[place.piece].angular)
        return conic_series<double>(curve.point_at(place), 1.0, 0.0);
    const CurvePiece<3> piece = curve.piece(place.piece);
    Homogeneous<double> h;
    expand_at(net_of(piece), t, 0.0, h);
    const double origin[] = {piece.origin.x(), piece.origin.y(), piece.origin.z()};
    return points_of(h, piece.rational, origin);
}

template <int N>
void include(PointSeries<Interval, N>& all, const PointSeries<Interval, N>& part, bool first) {
    for (std::size_t k = 0; k < 3; ++k)
        for (std::size_t n = 0; n < all.c[k].c.size(); ++n)
            first ? all.c[k].c[n] = part.c[k].c[n]
                  : (all.c[k].c[n].include(part.c[k].c[n]), all.c[k].c[n]);
}

// Whether [a, b] and the limits have a part in common, and that part.
bool common(const ERLimites& a, const ERLimites& b, ERLimites& part) {
    part = {std::max(a.start(), b.start()), std::min(a.end(), b.end())};
    return part.start() < part.end();
}

PointSeries<Interval, order> generatrix_over(const PreparedCurve<3>& curve, const ERLimites& u) {
    PointSeries<Interval, order> all;
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
        PointSeries<Interval, order> own = points_over(net_of(piece), part, {0.0, 1.0});
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
PointSeries<T, order> turned(const PointSeries<T, order>& curve) {
    PointSeries<T, order> p(curve);
    for (int i = 0; i <= order; ++i)
        for (int j = 1; j <= order - i; ++j) {
            p.c[0](i, j) = p.c[1](i, j - 1) * T(-1.0 / j);
            p.c[1](i, j) = p.c[0](i, j - 1) * T(1.0 / j);
            p.c[2](i, j) = T(0.0);
        }
    return p;
}

PointSeries<double, order> in_space(const AnalyticShape& shape, const PointSeries<double, order>& p,
                                    double angle) {
    const double cosine = std::cos(angle), sine = std::sin(angle);
    const ERVector3D x = shape.x * cosine + shape.y * sine, y = shape.y * cosine - shape.x * sine;
    PointSeries<double, order> q;
    for (int k = 0; k < 3; ++k) {
        q.c[k] = p.c[0] * x[k] + p.c[1] * y[k] + p.c[2] * shape.z[k];
        q.c[k](0, 0) += shape.origin[k];
    }
    return q;
}

// Poles.

// A side of a net that is one point: a row along u at an end of v, or a column along v.
struct PointSide {
    bool along_u = false, at_end = false;
    int first = 0; // pole
};

// The side nearest to a place, if any is a point.
std::optional<PointSide> point_side(const Net& net, const ERMinimax3D& box, double u, double v) {
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
template <std::size_t N>
Net divided_net(const Net& net, const PointSide& side, WorkArray<double, N>& work) {
    Net part(net);
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
void tangents_of(const PointSeries<T, order>& p, Tangents<T>& tangents) {
    for (int k = 0; k < 3; ++k)
        tangents[0][k] = by_x(p.c[k]), tangents[1][k] = by_y(p.c[k]);
}

// The tangent along a side in one point becomes that of S, given S w and, with weights, w.
template <class T>
void replace_tangent(const PointSide& side, const Homogeneous<T>& divided,
                     const Taylor<T, order>* weight, Tangents<T>& tangents) {
    const Taylor<T, order> reciprocal = weight ? inverse(*weight) : Taylor<T, order>();
    for (int k = 0; k < 3; ++k) {
        const Taylor<T, order> s = weight ? divided[k] * reciprocal : divided[k];
        if (side.along_u)
            tangents[0][k] = by_x(s);
        else
            tangents[1][k] = by_y(s);
    }
}

template <class T>
PointSeries<T, 2> moved_along(const PointSeries<T, order>& p, const Tangents<T>& tangents,
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

// The offset of the part of a patch.
PointSeries<Interval, 2> moved_over(const Net& net, const ERMinimax3D& box, double offset,
                                    const ERLimites& u, const ERLimites& v) {
    const PointSeries<Interval, order> p = points_over(net, u, v);
    Tangents<Interval> tangents;
    tangents_of(p, tangents);
    if (const auto side = point_side(net, box, u(0.5), v(0.5))) {
        WorkArray<double, 4 * 16> work(net.doubles());
        Net s = divided_net(net, *side, work);
        const std::vector<double> own = restricted(s, u, v), whole = restricted(net, u, v);
        Homogeneous<Interval> divided, weighted;
        expand_over({own.data(), s.degree_u, s.degree_v, u, v, false}, divided);
        expand_over({whole.data(), net.degree_u, net.degree_v, u, v, net.rational}, weighted);
        replace_tangent(*side, divided, net.rational ? &weighted[3] : nullptr, tangents);
    }
    return moved_along(p, tangents, offset);
}

const ERMinimax3D& box_of(const SurfaceTables& tables, int i, int j) {
    return tables.boxes[std::size_t(j) * std::size_t(tables.patches_u()) + std::size_t(i)];
}

} // namespace

PointSeries<double, 3> expansion_at(const SurfaceTables& tables, double u, double v,
                                    SurfaceSide side) {
    if (tables.generatrix)
        return in_space(tables.shape, turned(generatrix_at(*tables.generatrix, u, side.below_u)),
                        v);
    const Net net = net_of(tables, interval_of(tables.ends_u, u, side.below_u),
                           interval_of(tables.ends_v, v, side.below_v));
    Homogeneous<double> h;
    expand_at(net, u, v, h);
    constexpr double nowhere[3] = {};
    return points_of(h, tables.rational, nowhere);
}

PointSeries<Interval, 3> expansion_over(const SurfaceTables& tables, const ERLimites& u,
                                        const ERLimites& v) {
    if (tables.generatrix) return turned(generatrix_over(*tables.generatrix, u));
    PointSeries<Interval, order> all;
    bool first = true;
    for (int i = interval_of(tables.ends_u, u.start()); i < tables.patches_u(); ++i)
        for (int j = interval_of(tables.ends_v, v.start()); j < tables.patches_v(); ++j) {
            const Net net = net_of(tables, i, j);
            ERLimites part_u, part_v;
            if (!common(net.u, u, part_u) || !common(net.v, v, part_v)) break;
            include(all, points_over(net, part_u, part_v), first);
            first = false;
        }
    return all;
}

OffsetSeries<double> offset_at(const SurfaceTables& base, double offset, double u, double v,
                               SurfaceSide side) {
    const PointSeries<double, order> p = expansion_at(base, u, v, side);
    Tangents<double> tangents;
    tangents_of(p, tangents);
    OffsetSeries<double> moved;
    if (!base.generatrix) {
        const int i = interval_of(base.ends_u, u, side.below_u),
                  j = interval_of(base.ends_v, v, side.below_v);
        const Net net = net_of(base, i, j);
        if (const auto point = point_side(net, box_of(base, i, j), u, v)) {
            WorkArray<double, 4 * 16> work(net.doubles());
            Homogeneous<double> divided, weighted;
            expand_at(divided_net(net, *point, work), u, v, divided);
            if (net.rational) expand_at(net, u, v, weighted);
            replace_tangent(*point, divided, net.rational ? &weighted[3] : nullptr, tangents);
            moved.is_by_pole = true;
        }
    }
    moved.point = moved_along(p, tangents, offset);
    return moved;
}

PointSeries<Interval, 2> offset_over(const SurfaceTables& base, double offset, const ERLimites& u,
                                     const ERLimites& v) {
    if (base.generatrix) {
        const PointSeries<Interval, order> p = expansion_over(base, u, v);
        Tangents<Interval> tangents;
        tangents_of(p, tangents);
        return moved_along(p, tangents, offset);
    }
    PointSeries<Interval, 2> all;
    bool first = true;
    for (int i = interval_of(base.ends_u, u.start()); i < base.patches_u(); ++i)
        for (int j = interval_of(base.ends_v, v.start()); j < base.patches_v(); ++j) {
            const Net net = net_of(base, i, j);
            ERLimites part_u, part_v;
            if (!common(net.u, u, part_u) || !common(net.v, v, part_v)) break;
            include(all, moved_over(net, box_of(base, i, j), offset, part_u, part_v), first);
            first = false;
        }
    return all;
}

} // namespace velm::detail
