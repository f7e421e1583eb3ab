#include "velm/curves/degree_reduction.h"

#include "velm/curves/detail/pole_arrays.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>
#include <vector>

namespace velm {

namespace {

using detail::ConstPoleRow;
using detail::PoleRow;

/// The row of one pole less whose elevation is nearest to `p` in the sum of squares, ends held. The
/// normal equations are tridiagonal: raised pole i is i/n q[i-1] + (1 - i/n) q[i].
void nearest_lower(ConstPoleRow p, PoleRow q) {
    const int n = p.degree();
    const auto left = [n](int i) { return static_cast<double>(i) / n; };
    const auto right = [n](int i) { return static_cast<double>(n - i) / n; };
    std::copy_n(p[0], p.width, q[0]);
    std::copy_n(p[n], p.width, q[n - 1]);
    // Forward elimination: q[j] + above[j] q[j + 1] = what stands in q[j].
    std::vector<double> above(static_cast<std::size_t>(n), 0.0);
    for (int j = 1; j < n - 1; ++j) {
        const double lower = j > 1 ? left(j) * right(j) : 0.0;
        const double upper = j < n - 2 ? left(j + 1) * right(j + 1) : 0.0;
        const double pivot = right(j) * right(j) + left(j + 1) * left(j + 1) -
                             lower * above[static_cast<std::size_t>(j - 1)];
        above[static_cast<std::size_t>(j)] = upper / pivot;
        for (int c = 0; c < p.width; ++c) {
            double wanted = right(j) * p[j][c] + left(j + 1) * p[j + 1][c];
            if (j == 1) wanted -= right(1) * left(1) * q[0][c];
            if (j == n - 2) wanted -= left(n - 1) * right(n - 1) * q[n - 1][c];
            if (j > 1) wanted -= lower * q[j - 1][c];
            q[j][c] = wanted / pivot;
        }
    }
    for (int j = n - 3; j >= 1; --j)
        for (int c = 0; c < p.width; ++c)
            q[j][c] -= above[static_cast<std::size_t>(j)] * q[j + 1][c];
}

/// How far the curves of two rows of the same length may be apart. `size` is the dimension, the
/// number of components before the weight.
double row_distance(ConstPoleRow p, ConstPoleRow q, int size) {
    const bool rational = p.width > size;
    double middle[3] = {};
    double least_weight = rational ? std::numeric_limits<double>::infinity() : 1.0;
    for (int i = 0; i < p.count && rational; ++i) {
        least_weight = std::min({least_weight, p[i][size], q[i][size]});
        for (int c = 0; c < size; ++c)
            middle[c] += p[i][c] / p[i][size] / p.count;
    }
    if (!(least_weight > 0.0)) return std::numeric_limits<double>::infinity();
    // With A and B the numerators about the middle: A/w - B/v = ((A - B) - (w - v) B/v) / w.
    double apart = 0.0;
    double weights_apart = 0.0;
    double reach = 0.0;
    double greatest = 0.0;
    for (int i = 0; i < p.count; ++i) {
        const double weight_change = rational ? p[i][size] - q[i][size] : 0.0;
        double square = 0.0;
        double reach_square = 0.0;
        for (int c = 0; c < size; ++c) {
            const double change = p[i][c] - q[i][c] - middle[c] * weight_change;
            square += change * change;
            const double out = rational ? q[i][c] / q[i][size] - middle[c] : 0.0;
            reach_square += out * out;
            greatest = std::max({greatest, std::fabs(p[i][c]), std::fabs(q[i][c])});
        }
        apart = std::max(apart, std::sqrt(square));
        weights_apart = std::max(weights_apart, std::fabs(weight_change));
        reach = std::max(reach, std::sqrt(reach_square));
    }
    const double rounding = 4.0 * p.count * std::numeric_limits<double>::epsilon() * greatest;
    return (apart + weights_apart * reach + rounding) / least_weight;
}

} // namespace

template <class Curve>
ReducedCurve<Curve> reduce_degree(const Curve& curve, double tolerance) {
    using Pole = typename Curve::StoredPole;
    ReducedCurve<Curve> best{curve, 0.0};
    const ERVec<Pole>& given = curve.getPoles();
    ERVec<Pole> poles = given;
    while (poles.size() > 2) {
        ERVec<Pole> lower(poles.size() - 1);
        nearest_lower(detail::row_of(std::as_const(poles)), detail::row_of(lower));
        ERVec<Pole> raised(given.size());
        std::copy(lower.view().begin(), lower.view().end(), raised.begin());
        const auto start = raised.writable().first(lower.view().size());
        detail::elevate_row(detail::row_of(start), given.size() - lower.size());
        const double deviation = row_distance(
            detail::row_of(given), detail::row_of(std::as_const(raised)), Curve::Point::components);
        if (!(deviation <= tolerance)) break;
        best.curve = Curve(lower, {curve.Ndeb(), curve.Nfin()}, {curve.udeb(), curve.ufin()});
        best.deviation = deviation;
        poles = lower;
    }
    return best;
}

template VELM_API ReducedCurve<ERCpoleBezier2D> reduce_degree(const ERCpoleBezier2D&, double);
template VELM_API ReducedCurve<ERCpoleBezier2DR> reduce_degree(const ERCpoleBezier2DR&, double);
template VELM_API ReducedCurve<ERCpoleBezier3D> reduce_degree(const ERCpoleBezier3D&, double);
template VELM_API ReducedCurve<ERCpoleBezier3DR> reduce_degree(const ERCpoleBezier3DR&, double);

} // namespace velm
