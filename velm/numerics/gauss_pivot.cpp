#include "velm/numerics/gauss_pivot.h"

#include "velm/numerics/detail/small_size.h"
#include "velm/numerics/matrix.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

namespace velm::detail {
namespace {

// An element's index in a row-major array. Sizes are an int or a constant, see with_size.
template <class Size>
std::size_t at(Size columns, int i, int j) {
    return std::size_t(columns) * std::size_t(i) + std::size_t(j);
}

template <class Rows, class Columns>
int pivot_row(const double* m, Rows rows, Columns columns, int k) {
    int winner = k;
    double largest = std::fabs(m[at(columns, k, k)]);
    for (int i = k + 1; i < rows; ++i) {
        const double candidate = std::fabs(m[at(columns, i, k)]);
        if (candidate > largest) {
            largest = candidate;
            winner = i;
        }
    }
    return winner;
}

template <class Rows, class Columns>
void eliminate_below(double* m, Rows rows, Columns columns, int k) {
    const double* __restrict const pivot_line = m + at(columns, k, 0);
    for (int i = k + 1; i < rows; ++i) {
        double* __restrict const line = m + at(columns, i, 0); // never the pivot's line
        const double multiplier = line[k] / pivot_line[k];
        line[k] = multiplier;
        for (int j = k + 1; j < columns; ++j)
            line[j] -= multiplier * pivot_line[j];
    }
}

// Factorises the first columns; the columns to the right of them go through the same steps.
template <class Rows, class Columns>
int factorise(double* m, Rows rows, Columns columns, int* perm, int& swaps, double tolerance) {
    swaps = 0;
    for (int i = 0; i < rows; ++i)
        perm[i] = i;
    double pivot = 0.0;
    for (int k = 0; k < rows; ++k) {
        if (k >= columns) return 0; // a missing column has no pivot
        const int winner = pivot_row(m, rows, columns, k);
        if (winner != k) {
            std::swap(perm[k], perm[winner]);
            double* const line = m + at(columns, k, 0);
            std::swap_ranges(line, line + columns, m + at(columns, winner, 0));
            ++swaps;
        }
        pivot = m[at(columns, k, k)];
        if (tolerance > std::fabs(pivot)) return 0;
        eliminate_below(m, rows, columns, k);
    }
    return tolerance > std::fabs(pivot) ? 0 : 1;
}

void substitute_back(double* m, int n, int columns, int j) {
    m[at(columns, n - 1, j)] /= m[at(columns, n - 1, n - 1)];
    for (int i = n - 2; i >= 0; --i) {
        double sum = 0.0;
        for (int l = i + 1; l < n; ++l)
            sum += m[at(columns, i, l)] * m[at(columns, l, j)];
        m[at(columns, i, j)] = (m[at(columns, i, j)] - sum) / m[at(columns, i, i)];
    }
}

} // namespace

int gauss_pivot(double* m, int rows, int columns, int* perm, int& swaps, double tolerance) {
    if (rows == columns)
        return with_size(
            rows, [=, &swaps](auto n) { return factorise(m, n, n, perm, swaps, tolerance); });
    if (!factorise(m, rows, columns, perm, swaps, tolerance)) return 0;
    for (int j = rows; j < columns && rows > 0; ++j)
        substitute_back(m, rows, columns, j);
    return 1;
}

} // namespace velm::detail

int MatriceGaussPivot(QuickAlgebra::ERMatrix<double>& m, int*& perm, int& swaps, double tolerance) {
    if (!m.is_whole()) return 0;
    return velm::detail::gauss_pivot(m.data(), m.rows(), m.columns(), perm, swaps, tolerance);
}
