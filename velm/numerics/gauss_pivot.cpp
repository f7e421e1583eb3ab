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

template <class Rows, class Columns, class Step>
int pivot_row(const double* m, Rows rows, Columns columns, Step k) {
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

// Takes multiples of row k from the rows below, in the columns before `end`.
template <class Rows, class Columns, class Step>
void eliminate_below(double* m, Rows rows, Columns columns, Step k, Columns end) {
    const double* __restrict const pivot_line = m + at(columns, k, 0);
    for (int i = k + 1; i < rows; ++i) {
        double* __restrict const line = m + at(columns, i, 0); // never the pivot's line
        const double multiplier = line[k] / pivot_line[k];
        line[k] = multiplier;
        for (int j = k + 1; j < end; ++j)
            line[j] -= multiplier * pivot_line[j];
    }
}

// Brings the row of the largest candidate to row k. Returns the pivot's absolute value.
template <class Rows, class Columns, class Step>
double exchange(double* m, Rows rows, Columns columns, Step k, int* perm, int& swaps) {
    const int winner = pivot_row(m, rows, columns, k);
    if (winner != k) {
        std::swap(perm[k], perm[winner]);
        double* const line = m + at(columns, k, 0);
        std::swap_ranges(line, line + columns, m + at(columns, winner, 0));
        ++swaps;
    }
    return std::fabs(m[at(columns, k, k)]);
}

void begin(int rows, int* perm, int& swaps) {
    swaps = 0;
    for (int i = 0; i < rows; ++i)
        perm[i] = i;
}

// Factorises the first columns; the columns to the right of them go through the same steps.
template <class Rows, class Columns>
int factorise(double* m, Rows rows, Columns columns, int* perm, int& swaps, double tolerance) {
    begin(rows, perm, swaps);
    if (rows == 0) return tolerance > 0.0 ? 0 : 1; // as if its last pivot were 0
    return all_below(rows, [&](auto k) {
        if (k >= columns) return false; // a missing column has no pivot
        if (tolerance > exchange(m, rows, columns, k, perm, swaps)) return false;
        eliminate_below(m, rows, columns, k, columns);
        return true;
    });
}

// ---- larger sizes: by panels ----

// The pivots of a panel, whose multiples go from the rest of a line in one pass over it.
constexpr int panel = 4;

// Where passes over the matrix begin to cost more than the panels' bookkeeping.
constexpr int smallest_by_panels = 24;

// Takes the multiple stored at the line's place `pivot` of that row from the line, in the
// columns from `begin` on.
void subtract_row(double* m, int columns, int pivot, int i, int begin) {
    const double* __restrict const pivot_line = m + at(columns, pivot, 0);
    double* __restrict const line = m + at(columns, i, 0); // never the pivot's line
    const double multiplier = line[pivot];
    for (int j = begin; j < columns; ++j)
        line[j] -= multiplier * pivot_line[j];
}

// The same for the rows k to k + panel - 1 at once: an element meets them in this order.
void subtract_panel(double* m, int columns, int k, int i, int begin) {
    const double* __restrict const first = m + at(columns, k, 0);
    const double* __restrict const second = m + at(columns, k + 1, 0);
    const double* __restrict const third = m + at(columns, k + 2, 0);
    const double* __restrict const fourth = m + at(columns, k + 3, 0);
    double* __restrict const line = m + at(columns, i, 0);
    const double a = line[k], b = line[k + 1], c = line[k + 2], d = line[k + 3];
    for (int j = begin; j < columns; ++j)
        line[j] = (((line[j] - a * first[j]) - b * second[j]) - c * third[j]) - d * fourth[j];
}

// Takes the pivots' rows, from k on, from the rows below them, in the columns from `begin` on. The
// multipliers are in place.
void eliminate_right(double* m, int rows, int columns, int k, int pivots, int begin) {
    const int together = pivots == panel ? k + panel : rows;
    for (int i = k + 1; i < together; ++i)
        for (int pivot = k; pivot < std::min(i, k + pivots); ++pivot)
            subtract_row(m, columns, pivot, i, begin);
    for (int i = together; i < rows; ++i)
        subtract_panel(m, columns, k, i, begin);
}

// The same as factorise, to the bit, where it stops early too: a panel goes through its own
// columns pivot by pivot, then takes them from the columns right of it at once.
int factorise_by_panels(double* m, int rows, int columns, int* perm, int& swaps, double tolerance) {
    begin(rows, perm, swaps);
    for (int k = 0; k < rows; k += panel) {
        const int end = std::min({k + panel, rows, columns});
        int next = k;
        for (; next < end; ++next) {
            if (tolerance > exchange(m, rows, columns, next, perm, swaps)) break;
            eliminate_below(m, rows, columns, next, end);
        }
        eliminate_right(m, rows, columns, k, next - k, end);
        if (next < std::min(k + panel, rows)) return 0;
    }
    return 1;
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
    if (rows == columns && rows < smallest_by_panels)
        return with_size(
            rows, [=, &swaps](auto n) { return factorise(m, n, n, perm, swaps, tolerance); });
    const int regular = rows < smallest_by_panels
                            ? factorise(m, rows, columns, perm, swaps, tolerance)
                            : factorise_by_panels(m, rows, columns, perm, swaps, tolerance);
    if (!regular) return 0;
    for (int j = rows; j < columns && rows > 0; ++j)
        substitute_back(m, rows, columns, j);
    return 1;
}

} // namespace velm::detail

int MatriceGaussPivot(QuickAlgebra::ERMatrix<double>& m, int*& perm, int& swaps, double tolerance) {
    if (!m.is_whole()) return 0;
    return velm::detail::gauss_pivot(m.data(), m.rows(), m.columns(), perm, swaps, tolerance);
}
