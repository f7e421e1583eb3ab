#include "velm/curves/curve_bounds.h"

#include "velm/curves/detail/prepared_pieces.h"
#include "velm/curves/detail/sign_sweep.h"

#include <algorithm>
#include <cmath>

namespace velm {
namespace {

using namespace velm::detail;

constexpr double most_vertices = 0x1p24;

// A bound of the distance of a piece from its chord, about the chord's middle: a point of the
// chord is no farther from there than half the chord.
template <int N>
double chord_distance(const PreparedPieces<N>& tables, const Piece<N>& piece) {
    constexpr int width = N + 1;
    const double* poles = tables.poles(piece);
    const int n = piece.degree;
    const double* last = poles + n * width;
    Local<N> middle, chord;
    for (int axis = 0; axis < N; ++axis) {
        const double a = poles[axis] / poles[N], b = last[axis] / last[N];
        middle[axis] = 0.5 * (a + b);
        chord[axis] = b - a;
    }
    double least_weight = std::min(poles[N], poles[width + N]), bend = 0.0, weight_bend = 0.0;
    for (int i = 2; i <= n; ++i) {
        const double* pole = poles + i * width;
        const auto second = [&](int k) {
            return (pole[k] - pole[k - width]) - (pole[k - width] - pole[k - 2 * width]);
        };
        Local<N> change;
        for (int axis = 0; axis < N; ++axis)
            change[axis] = second(axis) - middle[axis] * second(N);
        bend = std::max(bend, squared_norm(change));
        weight_bend = std::max(weight_bend, std::fabs(second(N)));
        least_weight = std::min(least_weight, pole[N]);
    }
    const double reach = 0.5 * std::sqrt(squared_norm(chord));
    return 0.125 * n * (n - 1) * (std::sqrt(bend) + reach * weight_bend) / least_weight;
}

} // namespace

template <int N>
std::vector<CurveVertex<N>> polyline(const PreparedCurve<N>& curve, double chord_error) {
    std::vector<CurveVertex<N>> vertices;
    if (!(chord_error > 0.0)) return vertices;
    const PreparedPieces<N>& tables = curve.tables();
    const auto add = [&](const Piece<N>& piece, double u) {
        vertices.push_back({tables.t_at(piece, u), tables.point(piece, u)});
    };
    for (int i = 0; i < tables.count(); ++i) {
        const Piece<N>& piece = tables[i];
        if (i == 0 || piece.joint == Joint::gap) add(piece, 0.0);
        // The distance falls with the square of the number of parts; one rounding of the quotient.
        const double parts =
            std::ceil(std::sqrt(chord_distance(tables, piece) / chord_error) * (1.0 + 1e-12));
        const double total = parts + static_cast<double>(vertices.size());
        if (!(total <= most_vertices)) return {};
        const int count = std::max(1, static_cast<int>(parts));
        for (int k = 1; k <= count; ++k)
            add(piece, static_cast<double>(k) / count);
    }
    return vertices;
}

template <int N>
typename DimensionOf<N>::Box tight_box(const PreparedCurve<N>& curve) {
    const PreparedPieces<N>& tables = curve.tables();
    typename DimensionOf<N>::Box box;
    for (int i = 0; i < tables.count(); ++i) {
        box.Update(tables.point(tables[i], 0.0));
        box.Update(tables.point(tables[i], 1.0));
    }
    double derivative[max_foot_count];
    for (int i = 0; i < tables.count(); ++i) {
        const Piece<N>& piece = tables[i];
        const auto outer = curve.node_box(0, i);
        for (int axis = 0; axis < N; ++axis) {
            if (outer.MinPoint()[axis] >= box.MinPoint()[axis] &&
                outer.MaxPoint()[axis] <= box.MaxPoint()[axis])
                continue;
            // w (X' w - X w') of this coordinate is in the table of the foot polynomial.
            const double* row = tables.numbers.data() + piece.foot + (axis + 1) * piece.foot_count;
            std::copy_n(row, piece.foot_count, derivative);
            SignSweep sweep(
                false, [&](const SignZone& zone) { box.Update(tables.point(piece, zone.at.u)); });
            sweep.piece(i, derivative, piece.foot_count, piece.foot_error_slope);
            sweep.finish();
        }
    }
    return box;
}

template std::vector<CurveVertex<2>> polyline(const PreparedCurve<2>&, double);
template std::vector<CurveVertex<3>> polyline(const PreparedCurve<3>&, double);
template ERMinimax2D tight_box(const PreparedCurve<2>&);
template ERMinimax3D tight_box(const PreparedCurve<3>&);

} // namespace velm
