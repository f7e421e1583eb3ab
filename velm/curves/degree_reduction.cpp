#include "velm/curves/degree_reduction.h"

#include "velm/curves/detail/pole_arrays.h"
#include "velm/curves/detail/pole_deviation.h"

#include <algorithm>
#include <utility>
#include <vector>

namespace velm {

namespace {

using detail::ConstPoleRow;
using detail::PoleRow;

// The row of one pole less whose elevation is nearest to `p` in the sum of squares, ends held. The
// normal equations are tridiagonal: raised pole i is i/n q[i-1] + (1 - i/n) q[i].
void nearest_lower(ConstPoleRow p, PoleRow q) {
    const int n = p.degree();
    const auto left = [n](int i) { return static_cast<double>(i) / n; };
    const auto right = [n](int i) { return static_cast<double>(n - i) / n; };
    std::copy_n(p[0], p.width, q[0]);
    std::copy_n(p[n], p.width, q[n - 1]);
    // Forward elimination: q[j] + above[j] q[j + 1] = the value in q[j].
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
        const double deviation =
            detail::pole_deviation(detail::row_of(given), detail::row_of(std::as_const(raised)),
                                   Curve::Point::components, given.size());
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
