#include "velm/surfaces/surface_fit.h"

#include "velm/surfaces/detail/row_fit.h"

#include <algorithm>
#include <cmath>

namespace velm {

namespace {

using detail::ValueRow;

// The rows of a grid of points turned into its columns.
std::vector<ValueRow> columns_of(const std::vector<ValueRow>& rows) {
    const std::size_t count = rows.front().size() / 3;
    std::vector<ValueRow> columns(count, ValueRow(3 * rows.size()));
    for (std::size_t j = 0; j < rows.size(); ++j)
        for (std::size_t i = 0; i < count; ++i)
            for (std::size_t k = 0; k < 3; ++k)
                columns[i][3 * j + k] = rows[j][3 * i + k];
    return columns;
}

} // namespace

std::optional<ApproximatingSurface> approximate(const PointGrid& grid, int degree_u, int degree_v,
                                                int poles_u, int poles_v,
                                                PointParameters parameters) {
    const auto fits = [](int degree, int poles, int points) {
        return degree >= 1 && degree <= detail::highest_fit_degree && poles > degree &&
               poles <= points;
    };
    if (!fits(degree_u, poles_u, grid.count_u) || !fits(degree_v, poles_v, grid.count_v) ||
        grid.points.size() != std::size_t(grid.count_u) * std::size_t(grid.count_v))
        return std::nullopt;
    std::vector<ValueRow> rows(std::size_t(grid.count_v), ValueRow(3 * std::size_t(grid.count_u)));
    for (std::size_t n = 0; n < grid.points.size(); ++n)
        for (std::size_t k = 0; k < 3; ++k)
            rows[n / std::size_t(grid.count_u)][3 * (n % std::size_t(grid.count_u)) + k] =
                grid.points[n][int(k)];
    std::vector<ValueRow> columns = columns_of(rows);
    // Values along U are whole columns, and the other way round.
    std::vector<double> u = detail::mean_parameters(rows, 3, parameters);
    std::vector<double> v = detail::mean_parameters(columns, 3, parameters);
    if (u.empty() || v.empty()) return std::nullopt;
    const auto in_u = detail::fit_rows(columns, u, degree_u, poles_u);
    if (!in_u) return std::nullopt;
    rows = columns_of(columns);
    const auto in_v = detail::fit_rows(rows, v, degree_v, poles_v);
    if (!in_v) return std::nullopt;
    ERMatrix<ERPole3DH> poles(poles_v, poles_u);
    for (int j = 0; j < poles_v; ++j)
        for (int i = 0; i < poles_u; ++i) {
            const double* const p = &rows[std::size_t(j)][3 * std::size_t(i)];
            poles(j, i) = ERPole3DH(p[0], p[1], p[2], 1.0);
        }
    ApproximatingSurface result{ERSpoleNURBS3D(poles, *in_u, *in_v), std::move(u), std::move(v),
                                0.0};
    for (std::size_t n = 0; n < grid.points.size(); ++n) {
        const ERPoint3D p = result.surface(result.u[n % std::size_t(grid.count_u)],
                                           result.v[n / std::size_t(grid.count_u)]);
        result.deviation = std::max(result.deviation, ERVector3D(p, grid.points[n]).norme());
    }
    return result;
}

std::optional<ERSpoleNURBS3D> interpolate(const PointGrid& grid, int degree_u, int degree_v,
                                          PointParameters parameters) {
    auto fit = approximate(grid, degree_u, degree_v, grid.count_u, grid.count_v, parameters);
    if (!fit) return std::nullopt;
    return std::move(fit->surface);
}

} // namespace velm
