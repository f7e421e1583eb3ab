#include "velm/curves/prepared_curve.h"

#include "velm/curves/detail/nearest_search.h"
#include "velm/curves/detail/prepared_pieces.h"
#include "velm/curves/detail/sign_sweep.h"

#include <algorithm>
#include <cassert>
#include <cmath>
#include <utility>

namespace velm {
namespace {

using namespace velm::detail;

// A zero this near to a joint or end, by the parameter of the piece, lies on it if its zone says
// that it may.
constexpr double joint_reach = 0x1p-36;

// The best place for the zero of a zone: the one found, or the middle of a zone of several parts.
template <int N>
CurvePlace place_in(const PreparedPieces<N>& tables, const SignZone& zone) {
    CurvePlace at = tables.place(zone.at.piece, zone.at.u);
    if (zone.parts > 1) {
        const double turn = tables.ends.back() - tables.ends.front();
        const double from = tables.place(zone.from.piece, zone.from.u).t;
        double to = tables.place(zone.to.piece, zone.to.u).t;
        if (to < from) to += turn; // through the seam
        double t = 0.5 * from + 0.5 * to;
        if (t > tables.ends.back()) t -= turn;
        at.t = t;
        at.piece = tables.piece_at(t, 0);
        at.u = tables.u_at(tables[at.piece], t);
    }
    return at;
}

// The joint or end that a zone reaches, if the place is next to it.
template <int N>
CurvePlace on_joint(const PreparedPieces<N>& tables, const SignZone& zone, const CurvePlace& at) {
    const bool reaches_start = at.piece != zone.from.piece || zone.from.u == 0.0 || zone.parts == 0;
    const bool reaches_end = at.piece != zone.to.piece || zone.to.u == 1.0;
    if (reaches_start && at.u <= joint_reach) return tables.place(at.piece, 0.0);
    if (reaches_end && at.u >= 1.0 - joint_reach) {
        const bool seam = tables.closed && at.piece == tables.count() - 1;
        return seam ? tables.place(0, 0.0) : tables.place(at.piece, 1.0);
    }
    return at;
}

// What a foot and a crossing have in common.
template <int N, class Found>
Found found_at(const PreparedPieces<N>& tables, const SignZone& zone, const CurvePlace& place) {
    Found found;
    static_cast<CurvePlace&>(found) = place;
    found.point = tables.point(tables[found.piece], found.u);
    found.parameters = {tables.place(zone.from.piece, zone.from.u).t,
                        tables.place(zone.to.piece, zone.to.u).t};
    found.before = zone.before;
    found.after = zone.after;
    return found;
}

// The foot by Newton's method on (C - p) . C' itself, whose errors are those of the place, not of
// the whole piece; it stays in its zone and piece.
template <int N>
CurvePlace polished_foot(const PreparedPieces<N>& tables, const SignZone& zone, CurvePlace place,
                         const Local<N>& query) {
    if (zone.flat || zone.parts == 0 || zone.before == zone.after) return place;
    const Piece<N>& piece = tables[place.piece];
    const Local<N> from_origin = difference(query, piece.origin);
    const double low = zone.from.piece == place.piece ? zone.from.u : 0.0;
    const double high = zone.to.piece == place.piece ? zone.to.u : 1.0;
    double residual = HUGE_VAL, u = place.u;
    constexpr int most_steps = 4;
    for (int step = 0; step < most_steps; ++step) {
        const CurveJet<N> jet = tables.jet(piece, u);
        const Local<N> from = difference(jet.point, from_origin);
        const double slope = dot(from, jet.first);
        if (!(std::fabs(slope) < residual)) break;
        place = tables.place(place.piece, u);
        residual = std::fabs(slope);
        const double change = slope / (squared_norm(jet.first) + dot(from, jet.second));
        if (!(std::fabs(change) <= 1.0)) break;
        u = std::clamp(u - change, low, high);
    }
    return place;
}

// A line of the plane or a plane of space, by a point and a normal scaled to size 1.
template <int N>
struct Hyperplane {
    Local<N> point, normal;
    double normal_sum = 0.0;

    static std::optional<Hyperplane> through(const typename DimensionOf<N>::Point& q,
                                             const typename DimensionOf<N>::Vector& direction) {
        Hyperplane plane{local<N>(q), {}};
        double largest = 0.0;
        for (int axis = 0; axis < N; ++axis)
            largest = std::max(largest, std::fabs(direction[axis]));
        if (!(largest > 0.0) || !std::isfinite(largest)) return std::nullopt;
        for (int axis = 0; axis < N; ++axis) {
            if (!std::isfinite(direction[axis]) || !std::isfinite(q[axis])) return std::nullopt;
            // The left of a line's direction; the side of a plane's normal.
            const double x = N == 3 ? direction[axis] : axis == 0 ? -direction[1] : direction[0];
            plane.normal[axis] = x / largest;
            plane.normal_sum += std::fabs(plane.normal[axis]);
        }
        return plane;
    }

    // The side on which the box of a piece lies certainly, else 0.
    int side_of_box(const PreparedPieces<N>& tables, int i) const {
        const double* group = tables.group(0, i / box_fan);
        double low = 0.0, high = 0.0, reach = 0.0;
        for (int axis = 0; axis < N; ++axis) {
            const double a = group[axis * box_fan + i % box_fan] - point[axis];
            const double b = group[(N + axis) * box_fan + i % box_fan] - point[axis];
            const double x = normal[axis] * a, y = normal[axis] * b;
            low += std::min(x, y);
            high += std::max(x, y);
            reach += std::max(std::fabs(x), std::fabs(y));
        }
        const double error = 8.0 * half_ulp * reach;
        return low > error ? 1 : high < -error ? -1 : 0;
    }

    // The coefficients of the distance times the weight; returns the bound of their errors.
    double coefficients(const PreparedPieces<N>& tables, const Piece<N>& piece, double* h) const {
        const double* pole = tables.poles(piece);
        const Local<N> from = difference(point, piece.origin);
        double reach = 0.0;
        for (int i = 0; i <= piece.degree; ++i, pole += N + 1) {
            h[i] = 0.0;
            for (int axis = 0; axis < N; ++axis) {
                h[i] += normal[axis] * (pole[axis] - from[axis] * pole[N]);
                reach = std::max(reach, std::fabs(pole[axis]) + std::fabs(from[axis]));
            }
        }
        const double roundings = 2.0 * piece.degree + 12.0;
        return roundings * half_ulp * normal_sum * reach;
    }
};

} // namespace

template <int N>
PreparedCurve<N>::PreparedCurve(std::unique_ptr<const PreparedPieces<N>> pieces)
    : pieces_(std::move(pieces)) {}
template <int N>
PreparedCurve<N>::PreparedCurve(const PreparedCurve& other)
    : pieces_(std::make_unique<const PreparedPieces<N>>(*other.pieces_)) {}
template <int N>
PreparedCurve<N>::PreparedCurve(PreparedCurve&& other) noexcept = default;
template <int N>
PreparedCurve<N>& PreparedCurve<N>::operator=(PreparedCurve other) noexcept {
    std::swap(pieces_, other.pieces_);
    return *this;
}
template <int N>
PreparedCurve<N>::~PreparedCurve() = default;

template <int N>
std::optional<PreparedCurve<N>> PreparedCurve<N>::from_pieces(std::span<const BezierPiece> pieces,
                                                              const Point& origin,
                                                              PieceParameter parameter) {
    return PreparedPieces<N>::publish(PreparedPieces<N>::build(pieces, origin, parameter));
}

template <int N>
ERLimites PreparedCurve<N>::domain() const {
    return {pieces_->ends.front(), pieces_->ends.back()};
}
template <int N>
bool PreparedCurve<N>::closed() const {
    return pieces_->closed;
}
template <int N>
typename PreparedCurve<N>::Box PreparedCurve<N>::box() const {
    return pieces_->box;
}
template <int N>
double PreparedCurve<N>::size() const {
    return pieces_->size;
}
template <int N>
int PreparedCurve<N>::pieces() const {
    return pieces_->count();
}
template <int N>
CurvePiece<N> PreparedCurve<N>::piece(int i) const {
    const Piece<N>& piece = (*pieces_)[i];
    const auto doubles = static_cast<std::size_t>((piece.degree + 1) * (N + 1));
    const Point origin = Point::each([&](int axis) { return piece.origin[axis]; });
    return {{pieces_->poles(piece), doubles},
            piece.degree,
            piece.rational,
            origin,
            ERLimites(piece.start, piece.end)};
}
template <int N>
int PreparedCurve<N>::levels() const {
    return pieces_->levels();
}
template <int N>
int PreparedCurve<N>::nodes(int level) const {
    int count = pieces();
    for (; level > 0; --level)
        count = (count + box_fan - 1) / box_fan;
    return count;
}
template <int N>
typename PreparedCurve<N>::Box PreparedCurve<N>::node_box(int level, int i) const {
    const double* group = pieces_->group(level, i / box_fan);
    const auto corner = [&](int side) {
        return Point::each(
            [&](int axis) { return group[(side * N + axis) * box_fan + i % box_fan]; });
    };
    return Box(corner(0), corner(1));
}

template <int N>
CurvePlace PreparedCurve<N>::place(double t) const {
    const ERLimites limits = domain();
    t = t > limits.start() ? std::min(t, limits.end()) : limits.start(); // a NaN to the start
    const int i = pieces_->piece_at(t, 0);
    return {t, i, pieces_->u_at((*pieces_)[i], t)};
}

template <int N>
typename PreparedCurve<N>::Point PreparedCurve<N>::operator()(double t) const {
    const CurvePlace at = place(t);
    return pieces_->point((*pieces_)[at.piece], at.u);
}

template <int N>
typename PreparedCurve<N>::InfoPoint PreparedCurve<N>::point_at(double t) const {
    return point_at(place(t));
}

template <int N>
typename PreparedCurve<N>::InfoPoint PreparedCurve<N>::point_at(const CurvePlace& at) const {
    const Piece<N>& piece = (*pieces_)[at.piece];
    CurveJet<N> jet = pieces_->jet(piece, at.u);
    pieces_->to_parameter(piece, at.u, jet);
    const auto vector = [](const Local<N>& v) {
        return Vector::each([&](int axis) { return v[axis]; });
    };
    return InfoPoint(at.t, 1, pieces_->point(piece, at.u), vector(jet.first), vector(jet.second));
}

template <int N>
void PreparedCurve<N>::evaluate(std::span<const double> t, std::span<Point> points,
                                std::span<Vector> first, std::span<Vector> second) const {
    assert(points.size() == t.size());
    assert(first.empty() || first.size() == t.size());
    assert(second.empty() || second.size() == t.size());
    const ERLimites limits = domain();
    const auto vector = [](const Local<N>& v) {
        return Vector::each([&](int axis) { return v[axis]; });
    };
    int i = 0;
    for (std::size_t k = 0; k < t.size(); ++k) {
        const double at = t[k] > limits.start() ? std::min(t[k], limits.end()) : limits.start();
        i = pieces_->piece_at(at, i);
        const Piece<N>& piece = (*pieces_)[i];
        const double u = pieces_->u_at(piece, at);
        points[k] = pieces_->point(piece, u);
        if (first.empty() && second.empty()) continue;
        CurveJet<N> jet = pieces_->jet(piece, u);
        pieces_->to_parameter(piece, u, jet);
        if (!first.empty()) first[k] = vector(jet.first);
        if (!second.empty()) second[k] = vector(jet.second);
    }
}

template <int N>
NearestPoint<N> PreparedCurve<N>::nearest(const Point& p, int budget) const {
    return NearestSearch<N>(*pieces_, p, budget).run(nullptr);
}
template <int N>
NearestPoint<N> PreparedCurve<N>::nearest_from(const Point& p, double hint, int budget) const {
    const CurvePlace at = place(hint);
    return NearestSearch<N>(*pieces_, p, budget).run(&at);
}

template <int N>
void PreparedCurve<N>::perpendicular_feet(const Point& p, std::vector<CurveFoot<N>>& feet) const {
    feet.clear();
    const PreparedPieces<N>& tables = *pieces_;
    const Local<N> query = local<N>(p);
    SignSweep sweep(tables.closed, [&](const SignZone& zone) {
        const CurvePlace place =
            on_joint(tables, zone, polished_foot(tables, zone, place_in(tables, zone), query));
        auto foot = found_at<N, CurveFoot<N>>(tables, zone, place);
        foot.distance = std::sqrt(squared_norm(difference(local<N>(foot.point), query)));
        foot.kind = zone.flat ? FootKind::continuum : tables.kind_at(foot.piece, foot.u);
        feet.push_back(foot);
    });
    double g[max_foot_count];
    for (int i = 0; i < tables.count(); ++i) {
        const Piece<N>& piece = tables[i];
        if (i > 0 && piece.joint == Joint::gap) sweep.gap();
        const double error = tables.foot_polynomial(piece, difference(query, piece.origin), g);
        sweep.piece(i, g, piece.foot_count, error);
    }
    sweep.finish();
}

template <int N>
void PreparedCurve<N>::crossings(const Point& q, const Vector& direction,
                                 std::vector<CurveCrossing<N>>& crossings) const {
    crossings.clear();
    const PreparedPieces<N>& tables = *pieces_;
    const std::optional<Hyperplane<N>> plane = Hyperplane<N>::through(q, direction);
    if (!plane) return;
    SignSweep sweep(tables.closed, [&](const SignZone& zone) {
        auto crossing = found_at<N, CurveCrossing<N>>(
            tables, zone, on_joint(tables, zone, place_in(tables, zone)));
        crossing.along = zone.flat;
        crossings.push_back(crossing);
    });
    double h[max_degree + 1];
    for (int i = 0; i < tables.count(); ++i) {
        const Piece<N>& piece = tables[i];
        if (i > 0 && piece.joint == Joint::gap) sweep.gap();
        if (const int side = plane->side_of_box(tables, i); side != 0) {
            sweep.certain(i, side);
            continue;
        }
        const double error = plane->coefficients(tables, piece, h);
        sweep.piece(i, h, piece.degree + 1, error);
    }
    sweep.finish();
}

template class PreparedCurve<2>;
template class PreparedCurve<3>;

} // namespace velm
