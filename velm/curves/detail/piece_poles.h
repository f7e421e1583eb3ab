// velm::detail::PiecePoles: the poles of a part of a piece, in coordinates that two pieces share.
#pragma once

#include "velm/curves/detail/bernstein_rows.h"
#include "velm/curves/detail/prepared_pieces.h"

#include <algorithm>
#include <cmath>

namespace velm::detail {

template <int N>
struct PiecePoles {
    static constexpr int width = N + 1;

    /// The part [low, high] of a piece, its origin moved by `shift`; cut out of the whole piece, so
    /// that errors don't add up.
    PiecePoles(const PreparedPieces<N>& tables, const Piece<N>& piece, double low, double high,
               const Local<N>& shift)
        : count(piece.degree + 1) {
        double row[(PreparedCurve<N>::max_degree + 1) * width];
        std::copy_n(tables.poles(piece), count * width, row);
        if (low > 0.0 || high < 1.0) restrict_row({row, count, width}, low, high);
        for (int i = 0; i < count; ++i) {
            weight[i] = row[i * width + N];
            for (int axis = 0; axis < N; ++axis) {
                pole[i][axis] = row[i * width + axis] / weight[i] + shift[axis];
                reach = std::max(reach, std::fabs(pole[i][axis]));
            }
        }
    }

    Local<N> chord() const { return difference(pole[count - 1], pole[0]); }
    /// The diagonal of the poles' box.
    double extent() const {
        double sum = 0.0;
        for (int axis = 0; axis < N; ++axis) {
            double low = pole[0][axis], high = low;
            for (int i = 1; i < count; ++i) {
                low = std::min(low, pole[i][axis]);
                high = std::max(high, pole[i][axis]);
            }
            sum += (high - low) * (high - low);
        }
        return std::sqrt(sum);
    }
    /// Bounds the error of a coordinate of a pole.
    double error() const { return (4.0 * count + 16.0) * half_ulp * reach; }

    int count;
    double reach = 0.0; ///< the largest coordinate
    Local<N> pole[PreparedCurve<N>::max_degree + 1];
    double weight[PreparedCurve<N>::max_degree + 1];
};

/// Parameters in [0, 1] of the nearest points of two segments, by their starts and ways.
template <int N>
struct SegmentPlaces {
    double u, v;
};
template <int N>
SegmentPlaces<N> nearest_on_segments(const Local<N>& start_a, const Local<N>& way_a,
                                     const Local<N>& start_b, const Local<N>& way_b) {
    const Local<N> between = difference(start_b, start_a);
    const double aa = squared_norm(way_a), bb = squared_norm(way_b), ab = dot(way_a, way_b);
    const double da = dot(way_a, between), db = dot(way_b, between);
    const auto on_a = [&](double v) {
        return aa > 0.0 ? std::clamp((da + v * ab) / aa, 0.0, 1.0) : 0.0;
    };
    const auto on_b = [&](double u) {
        return bb > 0.0 ? std::clamp((u * ab - db) / bb, 0.0, 1.0) : 0.0;
    };
    const double determinant = aa * bb - ab * ab;
    constexpr double parallel = 0x1p-40;
    double u = 0.5;
    if (determinant > parallel * aa * bb)
        u = std::clamp((da * bb - db * ab) / determinant, 0.0, 1.0);
    const double v = on_b(u);
    return {on_a(v), v};
}

/// A lower bound of the distance of two parts: the gap between the projections of their poles on a
/// direction.
template <int N>
double separation(const PiecePoles<N>& a, const PiecePoles<N>& b, const Local<N>& direction) {
    const double length = std::sqrt(squared_norm(direction));
    if (!(length > 0.0)) return 0.0;
    double most = -std::numeric_limits<double>::infinity(), least = -most;
    for (int i = 0; i < a.count; ++i)
        most = std::max(most, dot(a.pole[i], direction));
    for (int i = 0; i < b.count; ++i)
        least = std::min(least, dot(b.pole[i], direction));
    return std::max(0.0, (least - most) / length - N * (a.error() + b.error()));
}

/// A least of the distance of two pieces by Newton's method from (u, v), which stay in [0, 1]: no
/// farther than there. `shift` leads from a's origin to b's. Returns the distance.
template <int N>
double approach(const PreparedPieces<N>& tables_a, const Piece<N>& a,
                const PreparedPieces<N>& tables_b, const Piece<N>& b, const Local<N>& shift,
                double& u, double& v) {
    constexpr int most_steps = 12;
    double best = std::numeric_limits<double>::infinity(), at_u = u, at_v = v;
    for (int step = 0; step < most_steps; ++step) {
        const CurveJet<N> on_a = tables_a.jet(a, at_u), on_b = tables_b.jet(b, at_v);
        Local<N> gap = difference(on_b.point, on_a.point);
        for (int axis = 0; axis < N; ++axis)
            gap[axis] += shift[axis];
        const double distance = std::sqrt(squared_norm(gap));
        if (!(distance < best)) break;
        best = distance;
        u = at_u;
        v = at_v;
        // The gradient of half the square, and its second derivatives, without the bends' where
        // these make it no least.
        const double gu = -dot(gap, on_a.first), gv = dot(gap, on_b.first);
        double uu = squared_norm(on_a.first) - dot(gap, on_a.second);
        double vv = squared_norm(on_b.first) + dot(gap, on_b.second);
        const double uv = -dot(on_a.first, on_b.first);
        if (!(uu > 0.0 && uu * vv > uv * uv)) {
            uu = squared_norm(on_a.first);
            vv = squared_norm(on_b.first);
        }
        const bool fixed_u = (u <= 0.0 && gu > 0.0) || (u >= 1.0 && gu < 0.0);
        const bool fixed_v = (v <= 0.0 && gv > 0.0) || (v >= 1.0 && gv < 0.0);
        const double determinant = uu * vv - uv * uv;
        double du = 0.0, dv = 0.0;
        if (fixed_u || fixed_v || !(determinant > 0.0)) {
            du = fixed_u ? 0.0 : -gu / uu;
            dv = fixed_v || !fixed_u ? 0.0 : -gv / vv;
        } else {
            du = (gv * uv - gu * vv) / determinant;
            dv = (gu * uv - gv * uu) / determinant;
        }
        if (!std::isfinite(du) || !std::isfinite(dv)) break;
        at_u = std::clamp(u + du, 0.0, 1.0);
        at_v = std::clamp(v + dv, 0.0, 1.0);
    }
    return best;
}

} // namespace velm::detail
