#include "velm/surfaces/pole_matrix.h"

#include "velm/curves/detail/basis_functions.h"
#include "velm/curves/detail/knot_search.h"
#include "velm/surfaces/detail/pole_grid.h"

#include <algorithm>
#include <limits>
#include <vector>

using velm::detail::Axis;
using velm::detail::KnotView;

void BoehmInU(ERMatrix<ERPole3DH>& poles, ERKnotVector& knots, double t, int k) {
    insert_knot(poles, knots, Axis::u, t, k);
}

void BoehmInV(ERMatrix<ERPole3DH>& poles, ERKnotVector& knots, double t, int k) {
    insert_knot(poles, knots, Axis::v, t, k);
}

ERPole3DH CalOnNurbs_H(const ERMatrix<ERPole3DH>& poles, const ERKnotVector& knotsU,
                       const ERKnotVector& knotsV, double u, double v) {
    using namespace velm::detail;
    constexpr int width = ERPole3DH::components;
    const KnotView ku = view_of(knotsU), kv = view_of(knotsV);
    const ConstPoleGrid grid = grid_of(poles);
    ERPole3DH result =
        ERPole3DH::each([](int) { return std::numeric_limits<double>::quiet_NaN(); });
    if (!ku.has_span() || !kv.has_span() || grid.columns != ku.poles() || grid.rows != kv.poles())
        return result;
    const int span_u = find_span(ku, u), span_v = find_span(kv, v);
    const double* const first =
        grid.window(Axis::u, span_v - kv.degree, span_u - ku.degree, 1).poles;
    const std::ptrdiff_t row_step = std::ptrdiff_t(grid.columns) * width;
    const auto sum = [&](auto p, auto q) __attribute__((always_inline)) {
        DegreeWork<decltype(p), 18, 3 * (stack_degree + 1)> work_u(3 * (std::size_t(p) + 1));
        DegreeWork<decltype(q), 18, 3 * (stack_degree + 1)> work_v(3 * (std::size_t(q) + 1));
        double *const basis_u = work_u.data(), *const basis_v = work_v.data();
        basis_values(ku.knots + span_u, p, u, basis_u, basis_u + p + 1);
        basis_values(kv.knots + span_v, q, v, basis_v, basis_v + q + 1);
        PoleLanes<width> total;
        for (int j = 0; j <= q; ++j)
            total = total + weighted_sum<width>(first + j * row_step, p, basis_u) * basis_v[j];
        total.store(&result.x_);
    };
    if (ku.degree == kv.degree) {
        with_degree(ku.degree, [&](auto p) { sum(p, p); });
    } else {
        sum(ku.degree, kv.degree);
    }
    return result;
}

int CreateCompatibleSurfaceData(ERMatrix<ERPole3DH>& poles, ERKnotVector& knotsU,
                                ERKnotVector& knotsV) {
    const auto has_extent = [](const ERKnotVector& knots, int count) {
        const KnotView k = velm::detail::view_of(knots);
        return knots.isUsable() && k.poles() == count && k.low() < k.high();
    };
    if (!has_extent(knotsU, poles.columns()) || !has_extent(knotsV, poles.rows())) return 0;
    if (knotsU.isUnclamped()) clamp_ends(poles, knotsU, Axis::u);
    if (knotsV.isUnclamped()) clamp_ends(poles, knotsV, Axis::v);
    return 1;
}

void SpolyPatch2Pole(const ERTValOrderedVector<ERPolynome2Var>& polynomials,
                     ERMatrix<ERPole3DH>& poles) {
    using namespace velm::detail;
    constexpr int width = ERPole3DH::components;
    const int given = polynomials.entries();
    if (given != 3 && given != width) {
        poles = ERMatrix<ERPole3DH>();
        return;
    }
    int rows = 1, columns = 1;
    for (int c = 0; c < given; ++c) {
        rows = std::max(rows, polynomials[c].degreeV() + 1);
        columns = std::max(columns, polynomials[c].degreeU() + 1);
    }
    ERMatrix<ERPole3DH> net(rows, columns);
    const PoleGrid grid = grid_of(net);
    std::vector<double> coefficients(std::size_t(std::max(rows, columns)));
    for (int c = 0; c < width; ++c) {
        const auto coefficient = [&](int j, int i) {
            if (c < given) return polynomials[c].coefficient(j, i);
            return i == 0 && j == 0 ? 1.0 : 0.0;
        };
        for (int j = 0; j < rows; ++j) {
            for (int i = 0; i < columns; ++i)
                coefficients[std::size_t(i)] = coefficient(j, i);
            set_from_power(std::span(coefficients).first(std::size_t(columns)), c,
                           grid.line(Axis::u, j));
        }
    }
    // Along U the rows are Bernstein coefficients now, of powers of v still.
    const PoleRow wide = grid.line(Axis::v, 0);
    for (int c = 0; c < wide.width; ++c) {
        for (int j = 0; j < rows; ++j)
            coefficients[std::size_t(j)] = wide[j][c];
        set_from_power(std::span(coefficients).first(std::size_t(rows)), c, wide);
    }
    poles.swap(net);
}
