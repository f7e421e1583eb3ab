#include "velm/numerics/bernstein.h"

#include "velm/frame/thread_data.h"
#include "velm/numerics/binomials.h"

#include <algorithm>
#include <cstddef>

double Bernstein(int i, int n, double t) {
    double temp[100] = {};
    temp[n - i] = 1.0;
    for (int k = 1; k <= n; ++k)
        for (int j = n; j >= k; --j)
            temp[j] = t * temp[j - 1] + (1.0 - t) * temp[j];
    return temp[n];
}

ERVec<double> AllBernsteins(int n, double t) {
    ERVec<double> values(n + 1);
    const auto b = values.writable();
    b[0] = 1.0;
    for (std::size_t j = 1; j < b.size(); ++j) {
        double saved = 0.0;
        for (std::size_t k = 0; k < j; ++k) {
            const double temp = b[k];
            b[k] = saved * (1.0 - t) * temp; // a product, where the textbook has a sum
            saved = temp * t;
        }
        b[j] = saved;
    }
    return values;
}

void Casteljau(const double* poles, int count, double t, int dim, double* out) {
    const std::ptrdiff_t step = dim;
    std::ptrdiff_t length = step * count;
    double* const w = GetThreadScratch(static_cast<int>(length));
    std::copy_n(poles, length, w);
    while ((length -= step) > 0)
        for (std::ptrdiff_t j = 0; j < length; ++j)
            w[j] = (w[j + step] - w[j]) * t + w[j];
    std::copy_n(w, step, out);
}

void CasteljauAll(const double* poles, double* triangle, int count, double t, int dim) {
    const std::ptrdiff_t step = dim;
    std::ptrdiff_t length = step * count;
    double* level = std::copy_n(poles, length, triangle) - length;
    while ((length -= step) > 0) {
        double* const next = level + length + step;
        for (std::ptrdiff_t j = 0; j < length; ++j)
            next[j] = (1.0 - t) * level[j] + t * level[j + step];
        level = next;
    }
}

namespace {

/// Horner's scheme for a fixed number of components, or for `dim` of them where Fixed is 0.
template <int Fixed>
void horner(const double* poles, int count, double t, int dim, double* out) {
    const int size = Fixed > 0 ? Fixed : dim;
    const int degree = count - 1;
    const double* const binomial = theCnpTableau.Cnp(degree);
    double local[std::size_t{Fixed > 0 ? Fixed : 1}];
    double* const sum = Fixed > 0 ? local : out;
    double power = 1.0;
    if (t >= 0.5) {
        const double ratio = (1.0 - t) / t;
        std::copy_n(poles, size, sum);
        for (int i = 1; i <= degree; ++i) {
            poles += size;
            for (int c = 0; c < size; ++c)
                sum[c] = ratio * sum[c] + binomial[i] * poles[c];
            power *= t;
        }
    } else {
        const double ratio = t / (1.0 - t);
        poles += std::ptrdiff_t(size) * degree;
        std::copy_n(poles, size, sum);
        for (int i = degree - 1; i >= 0; --i) {
            poles -= size;
            for (int c = 0; c < size; ++c)
                sum[c] = ratio * sum[c] + binomial[i] * poles[c];
            power *= 1.0 - t;
        }
    }
    for (int c = 0; c < size; ++c)
        out[c] = sum[c] * power;
}

} // namespace

void Horner(const double* poles, int count, double t, int dim, double* out) {
    switch (dim) {
    case 1:
        return horner<1>(poles, count, t, dim, out);
    case 2:
        return horner<2>(poles, count, t, dim, out);
    case 3:
        return horner<3>(poles, count, t, dim, out);
    case 4:
        return horner<4>(poles, count, t, dim, out);
    default:
        return horner<0>(poles, count, t, dim, out);
    }
}

void Horner(const double* poles, int rows, int count, double u, double v, double* out, int dim) {
    double* const column = GetThreadScratch(rows * dim);
    HornerIsoU(poles, rows, count, column, u, dim, dim);
    Horner(column, rows, v, dim, out);
}

void HornerIsoU(const double* poles, int rows, int count, double* out, double t, int dim, int) {
    for (int row = 0; row < rows; ++row)
        Horner(poles + std::ptrdiff_t(row) * count * dim, count, t, dim,
               out + std::ptrdiff_t(row) * dim);
}

void HornerIsoV(const double* poles, int rows, int count, double* out, double t, int dim, int) {
    double* const gathered = GetThreadScratch(rows * dim);
    for (int column = 0; column < count; ++column) {
        for (int row = 0; row < rows; ++row)
            std::copy_n(poles + (std::ptrdiff_t(row) * count + column) * dim, dim,
                        gathered + std::ptrdiff_t(row) * dim);
        Horner(gathered, rows, t, dim, out + std::ptrdiff_t(column) * dim);
    }
}

void BezierIncreaseDegree(double* poles, int count, int times, int dim) {
    const std::ptrdiff_t step = dim;
    for (; times > 0; --times, ++count) {
        // The new last pole is the old one: the ratio that meets it is 0.0.
        double a = 0.0;
        std::fill_n(poles + step * count, step, 0.0);
        for (int i = count; i >= 1; --i) {
            double* const p = poles + step * i;
            for (std::ptrdiff_t c = 0; c < step; ++c)
                p[c] = p[c - step] + a * (p[c] - p[c - step]);
            a += 1.0 / count;
        }
    }
}

void Hodographe(const double* poles, double* out, int count, int dim) {
    const std::ptrdiff_t step = dim;
    for (std::ptrdiff_t j = 0; j < step * (count - 1); ++j)
        out[j] = poles[j + step] - poles[j];
}

void HodographeU(const double* poles, double* out, int rows, int count, int dim) {
    for (int row = 0; row < rows; ++row)
        Hodographe(poles + std::ptrdiff_t(row) * count * dim,
                   out + std::ptrdiff_t(row) * (count - 1) * dim, count, dim);
}

void HodographeV(const double* poles, double* out, int count, int rowLength, int dim) {
    Hodographe(poles, out, count, rowLength * dim);
}

void RedefineDomain(double* poles, int count, double a, double b, int dim) {
    const std::ptrdiff_t step = dim;
    const std::ptrdiff_t length = step * count;
    if (b != 1.0) {
        const double c = 1.0 - b;
        for (int k = 1; k < count; ++k)
            for (std::ptrdiff_t j = length - 1; j >= k * step; --j)
                poles[j] = c * poles[j - step] + b * poles[j];
    }
    if (a == 0.0) return;
    const double s = a / b;
    for (int k = 1; k < count; ++k)
        for (std::ptrdiff_t j = 0; j < (count - k) * step; ++j)
            poles[j] = poles[j] + (poles[j + step] - poles[j]) * s;
}

void RedefineDomainU(double* poles, int rows, int count, int dim, double a, double b) {
    for (int row = 0; row < rows; ++row)
        RedefineDomain(poles + std::ptrdiff_t(row) * count * dim, count, a, b, dim);
}

void RedefineDomainV(double* poles, int count, int rowLength, int dim, double a, double b) {
    RedefineDomain(poles, count, a, b, rowLength * dim);
}
