#include "velm/numerics/gauss_pivot.h"

#include "velm/numerics/matrix.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

namespace velm::detail {
namespace {

int pivot_row(const double* m, int rows, int columns, int k) {
    int winner = k;
    double largest = std::fabs(m[std::size_t(columns) * std::size_t(k) + std::size_t(k)]);
    for (int i = k + 1; i < rows; ++i) {
        const double candidate =
            std::fabs(m[std::size_t(columns) * std::size_t(i) + std::size_t(k)]);
        if (candidate > largest) {
            largest = candidate;
            winner = i;
        }
    }
    return winner;
}

void eliminate_below(double* m, int rows, int columns, int k) {
    const double* __restrict const pivot_line = m + std::size_t(columns) * std::size_t(k);
    double* line = m + std::size_t(columns) * std::size_t(k);
    for (int i = k + 1; i < rows; ++i) {
        line += columns;
        const double multiplier = line[k] / pivot_line[k];
        line[k] = multiplier;
        double* __restrict const target = line; // never the pivot's line
        for (int j = k + 1; j < columns; ++j)
            target[j] -= multiplier * pivot_line[j];
    }
}

void substitute_back(double* m, int n, int columns, int j) {
    const auto at = [m, columns](int i, int l) -> double& {
        return m[std::size_t(columns) * std::size_t(i) + std::size_t(l)];
    };
    at(n - 1, j) /= at(n - 1, n - 1);
    for (int i = n - 2; i >= 0; --i) {
        double sum = 0.0;
        for (int l = i + 1; l < n; ++l)
            sum += at(i, l) * at(l, j);
        at(i, j) = (at(i, j) - sum) / at(i, i);
    }
}

} // namespace

int gauss_pivot(double* m, int rows, int columns, int* perm, int& swaps, double tolerance) {
    swaps = 0;
    for (int i = 0; i < rows; ++i)
        perm[i] = i;
    double pivot = 0.0;
    for (int k = 0; k < rows; ++k) {
        if (k >= columns) return 0; // a column that is not there has no pivot
        const int winner = pivot_row(m, rows, columns, k);
        if (winner != k) {
            std::swap(perm[k], perm[winner]);
            double* line = m + std::size_t(columns) * std::size_t(k);
            std::swap_ranges(line, line + columns, m + std::size_t(columns) * std::size_t(winner));
            ++swaps;
        }
        pivot = m[std::size_t(columns) * std::size_t(k) + std::size_t(k)];
        if (tolerance > std::fabs(pivot)) return 0;
        eliminate_below(m, rows, columns, k);
    }
    if (tolerance > std::fabs(pivot)) return 0;
    for (int j = rows; j < columns; ++j)
        substitute_back(m, rows, columns, j);
    return 1;
}

} // namespace velm::detail

int MatriceGaussPivot(QuickAlgebra::ERMatrix<double>& m, int*& perm, int& swaps, double tolerance) {
    return velm::detail::gauss_pivot(m.data(), m.rows(), m.columns(), perm, swaps, tolerance);
}
