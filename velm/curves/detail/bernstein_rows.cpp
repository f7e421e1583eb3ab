#include "velm/curves/detail/bernstein_rows.h"

#include "velm/frame/thread_data.h"
#include "velm/numerics/bernstein.h"
#include "velm/numerics/binomials.h"
#include "velm/numerics/detail/high_degree.h"

#include <algorithm>
#include <cmath>

namespace velm::detail {

namespace {

// The row's doubles without gaps, in the thread's scratch with room for `poles` poles.
double* gathered(ConstPoleRow row, int poles) {
    double* const packed = GetThreadScratch(poles * row.width);
    for (int i = 0; i < row.count; ++i)
        std::copy_n(row[i], row.width, packed + std::ptrdiff_t(i) * row.width);
    return packed;
}

void scatter(const double* packed, PoleRow row) {
    for (int i = 0; i < row.count; ++i)
        std::copy_n(packed + std::ptrdiff_t(i) * row.width, row.width, row[i]);
}

// out = from + factor * (to - from), component by component.
void toward(const double* from, const double* to, double factor, int width, double* out) {
    for (int c = 0; c < width; ++c)
        out[c] = from[c] + factor * (to[c] - from[c]);
}

// row_derivatives without de Casteljau's triangle, whose size is the square of the degree: each
// order is a polynomial whose poles are the factor times differences of the row's.
void derivatives_of_high_degree(ConstPoleRow row, double t, int order, double* out) {
    const int n = row.degree(), width = row.width;
    std::fill_n(out, width * (order + 1), 0.0);
    const auto add = [&](int derivative, double factor, auto pole) {
        double* const sum = out + width * derivative;
        const double total = visit_bernstein_weights(n - derivative, t, [&](int k, double weight) {
            for (int c = 0; c < width; ++c)
                sum[c] += weight * pole(k, c);
        });
        for (int c = 0; c < width; ++c)
            sum[c] = factor * (sum[c] / total);
    };
    const auto difference = [&](int k, int c) { return row[k + 1][c] - row[k][c]; };
    add(0, 1.0, [&](int k, int c) { return row[k][c]; });
    if (order > 0) add(1, n, difference);
    if (order > 1)
        add(2, n * (n - 1.0),
            [&](int k, int c) { return difference(k + 1, c) - difference(k, c); });
}

} // namespace

void row_value(ConstPoleRow row, double t, double* out) {
    const double* const packed = row.packed() ? row.poles : gathered(row, row.count);
    Horner(packed, row.count, t, row.width, out);
}

void row_derivatives(ConstPoleRow row, double t, int order, double* out) {
    if (row.degree() > highest_binomial_degree)
        return derivatives_of_high_degree(row, t, order, out);
    const std::ptrdiff_t width = row.width;
    const double n = row.degree();
    std::fill_n(out + width, width * order, 0.0);
    double* const level = gathered(row, row.count);
    for (std::ptrdiff_t left = row.count; left > 1; --left) {
        for (std::ptrdiff_t c = 0; c < width; ++c) {
            const double* const w = level + c;
            if (left == 3 && order > 1)
                out[2 * width + c] =
                    n * (n - 1.0) * ((w[2 * width] - w[width]) - (w[width] - w[0]));
            if (left == 2 && order > 0) out[width + c] = n * (w[width] - w[0]);
        }
        for (std::ptrdiff_t j = 0; j < (left - 1) * width; ++j)
            level[j] = (1.0 - t) * level[j] + t * level[j + width];
    }
    std::copy_n(level, width, out);
}

void split_row(ConstPoleRow row, double t, PoleRow before, PoleRow after) {
    const std::ptrdiff_t width = row.width;
    double* const level = gathered(row, row.count);
    for (int k = 0; k < row.count; ++k) {
        const int last = row.count - 1 - k;
        std::copy_n(level, width, before[k]);
        std::copy_n(level + last * width, width, after[last]);
        for (std::ptrdiff_t j = 0; j < last * width; ++j)
            level[j] = (1.0 - t) * level[j] + t * level[j + width];
    }
}

void restrict_row(PoleRow row, double a, double b) {
    if (row.packed()) return RedefineDomain(row.poles, row.count, a, b, row.width);
    double* const packed = gathered(row, row.count);
    RedefineDomain(packed, row.count, a, b, row.width);
    scatter(packed, row);
}

void elevate_row(PoleRow row, int times) {
    if (row.packed()) return BezierIncreaseDegree(row.poles, row.count, times, row.width);
    double* const packed = gathered(row, row.count + times);
    BezierIncreaseDegree(packed, row.count, times, row.width);
    scatter(packed, {row.poles, row.count + times, row.width, row.stride});
}

bool lower_row(ConstPoleRow p, PoleRow q) {
    constexpr double agreement = 1e-11; // model units, as points are compared everywhere
    const int n = p.degree();
    const int middle = n / 2;
    std::copy_n(p[0], p.width, q[0]);
    for (int i = 1; i < middle; ++i)
        toward(q[i - 1], p[i], double(n) / (n - i), p.width, q[i]);
    std::copy_n(p[n], p.width, q[n - 1]);
    // Of odd degree the pole in the middle gets both estimates below.
    const int down_to = n % 2 == 0 ? middle : middle + 1;
    for (int i = n - 2; i >= down_to; --i)
        toward(q[i + 1], p[i + 1], double(n) / (i + 1), p.width, q[i]);

    bool agree = true;
    for (int c = 0; c < p.width; ++c) {
        if (n % 2 == 0) {
            const double from_left = q[middle - 1][c] + 2.0 * (p[middle][c] - q[middle - 1][c]);
            agree = agree && std::fabs(q[middle][c] - from_left) <= agreement;
        } else {
            const double factor = 2.0 * n / (n + 1);
            const double left = q[middle - 1][c] + factor * (p[middle][c] - q[middle - 1][c]);
            const double right = q[middle + 1][c] + factor * (p[middle + 1][c] - q[middle + 1][c]);
            q[middle][c] = (left + right) * 0.5;
            agree = agree && std::fabs(left - right) <= agreement;
        }
    }
    return agree;
}

void hodograph_row(ConstPoleRow row, PoleRow out) {
    const double n = row.degree();
    for (int i = 0; i < row.degree(); ++i)
        for (int c = 0; c < row.width; ++c)
            out[i][c] = n * (row[i + 1][c] - row[i][c]);
}

void power_coefficients(ConstPoleRow row, int component, std::span<double> out) {
    const int n = row.degree();
    for (int i = 0; i <= n; ++i)
        out[std::size_t(i)] = row[i][component];
    for (int round = 1; round <= n; ++round)
        for (int i = n; i >= round; --i)
            out[std::size_t(i)] -= out[std::size_t(i) - 1];
    if (n <= highest_binomial_degree) {
        const double* const binomial = theCnpTableau.Cnp(n);
        for (int i = 0; i <= n; ++i)
            out[std::size_t(i)] *= binomial[i];
        return;
    }
    // Infinite in the middle, where a difference of 0 still is a coefficient of 0.
    const auto scale = [out](int i, double factor) {
        if (out[std::size_t(i)] != 0.0) out[std::size_t(i)] *= factor;
    };
    double binomial = 1.0;
    for (int i = 0; i <= n - i; ++i) {
        scale(i, binomial);
        if (i != n - i) scale(n - i, binomial);
        binomial *= double(n - i) / (i + 1);
    }
}

namespace {

// set_from_power by the ratios C(i, j) / C(n, j) = i / n * (i - 1) / (n - 1) * ... themselves.
// They fall with j; where they underflow, the rest of the sum is left out.
void set_from_power_of_high_degree(std::span<const double> coefficients, int component,
                                   PoleRow row) {
    const int n = row.degree();
    for (int i = 0; i <= n; ++i) {
        double sum = 0.0, ratio = 1.0;
        for (int j = 0; j <= i && j < int(coefficients.size()) && ratio != 0.0; ++j) {
            sum += ratio * coefficients[std::size_t(j)];
            if (j < i) ratio *= double(i - j) / (n - j);
        }
        row[i][component] = sum;
    }
}

} // namespace

void set_from_power(std::span<const double> coefficients, int component, PoleRow row) {
    const int n = row.degree();
    if (n > highest_binomial_degree)
        return set_from_power_of_high_degree(coefficients, component, row);
    const double* const of_degree = theCnpTableau.Cnp(n);
    for (int i = 0; i <= n; ++i) {
        const double* const of_i = theCnpTableau.Cnp(i);
        double sum = 0.0;
        for (int j = 0; j <= i && j < int(coefficients.size()); ++j)
            sum += of_i[j] / of_degree[j] * coefficients[std::size_t(j)];
        row[i][component] = sum;
    }
}

} // namespace velm::detail
