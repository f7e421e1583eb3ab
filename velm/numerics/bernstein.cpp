#include "velm/numerics/bernstein.h"

#include "velm/frame/thread_data.h"
#include "velm/numerics/binomials.h"
#include "velm/numerics/detail/high_degree.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <utility>

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

// An evaluation with degree and number of components known to the compiler, which unrolls it: the
// same operations in the same order.
using Evaluation = void (*)(const double* poles, double t, double* out);
constexpr unsigned fixed_degrees = 9;
constexpr unsigned fixed_components = 4;

template <class Scheme, std::size_t... I>
constexpr std::array<Evaluation, sizeof...(I)> evaluations(std::index_sequence<I...>) {
    return {
        Scheme::template fixed<int(I / fixed_components) + 1, int(I % fixed_components) + 1>...};
}

// The scheme's evaluation for these sizes; null if there is none.
template <class Scheme>
Evaluation evaluation(int count, int dim) {
    static constexpr auto table =
        evaluations<Scheme>(std::make_index_sequence<fixed_degrees * fixed_components>());
    const unsigned degree = static_cast<unsigned>(count) - 2u;
    const unsigned component = static_cast<unsigned>(dim) - 1u;
    if (degree >= fixed_degrees || component >= fixed_components) return nullptr;
    return table[fixed_components * degree + component];
}

template <int Degree>
constexpr auto binomial_row = [] {
    std::array<double, std::size_t(Degree) + 1> row{};
    double value = 1.0;
    for (std::size_t i = 0; i < row.size(); ++i) {
        row[i] = value;
        value = value * double(row.size() - 1 - i) / double(i + 1);
    }
    return row;
}();

struct HornerScheme {
    // Components is 0 if their number is known only at run time. A row of binomials is the same
    // from both ends, so one loop serves both.
    template <int Components>
    [[gnu::always_inline]] static void run(const double* poles, int degree, const double* binomial,
                                           double t, int dim, double* out) {
        const int size = Components > 0 ? Components : dim;
        const bool late = t >= 0.5;
        const double rest = 1.0 - t;
        const double ratio = late ? rest / t : t / rest;
        const double factor = late ? t : rest;
        const std::ptrdiff_t step = late ? size : -size;
        const double* pole = late ? poles : poles + std::ptrdiff_t(size) * degree;
        double local[std::size_t(Components > 0 ? Components : 1)];
        double* const sum = Components > 0 ? local : out;
        double power = 1.0;
        std::copy_n(pole, size, sum);
        for (int i = 1; i <= degree; ++i) {
            pole += step;
            for (int c = 0; c < size; ++c)
                sum[c] = ratio * sum[c] + binomial[i] * pole[c];
            power *= factor;
        }
        for (int c = 0; c < size; ++c)
            out[c] = sum[c] * power;
    }
    template <int Degree, int Components>
    static void fixed(const double* poles, double t, double* out) {
        run<Components>(poles, Degree, binomial_row<Degree>.data(), t, Components, out);
    }
};

void value_of_high_degree(const double* poles, int degree, double t, int dim, double* out) {
    std::fill_n(out, dim, 0.0);
    const double total =
        velm::detail::visit_bernstein_weights(degree, t, [=](int k, double weight) {
            const double* const pole = poles + std::ptrdiff_t(dim) * k;
            for (int c = 0; c < dim; ++c)
                out[c] += weight * pole[c];
        });
    for (int c = 0; c < dim; ++c)
        out[c] /= total;
}

// One component after the other, so that the values in work stay in registers.
struct CasteljauScheme {
    template <int Degree, int Components>
    static void fixed(const double* poles, double t, double* out) {
        for (int c = 0; c < Components; ++c) {
            double w[std::size_t(Degree) + 1];
            for (int i = 0; i <= Degree; ++i)
                w[i] = poles[Components * i + c];
            const auto level = [&w, t ]<std::size_t... J>(std::index_sequence<J...>) {
                ((w[J] = (w[J + 1] - w[J]) * t + w[J]), ...);
            };
            [&level]<std::size_t... K>(std::index_sequence<K...>) {
                (level(std::make_index_sequence<std::size_t(Degree) - K>()), ...);
            }
            (std::make_index_sequence<std::size_t(Degree)>());
            out[c] = w[0];
        }
    }
    static void run(const double* poles, int count, double t, int dim, double* out) {
        double* const w = GetThreadScratch(count);
        for (int c = 0; c < dim; ++c) {
            for (int i = 0; i < count; ++i)
                w[i] = poles[std::ptrdiff_t(dim) * i + c];
            for (int k = count - 1; k > 0; --k) {
                double before = w[0];
                for (int j = 0; j < k; ++j) {
                    const double after = w[j + 1];
                    w[j] = (after - before) * t + before;
                    before = after;
                }
            }
            out[c] = w[0];
        }
    }
};

} // namespace

void Casteljau(const double* poles, int count, double t, int dim, double* out) {
    if (const Evaluation fixed = evaluation<CasteljauScheme>(count, dim))
        return fixed(poles, t, out);
    CasteljauScheme::run(poles, count, t, dim, out);
}

void Horner(const double* poles, int count, double t, int dim, double* out) {
    if (const Evaluation fixed = evaluation<HornerScheme>(count, dim)) return fixed(poles, t, out);
    if (count - 1 > velm::detail::highest_binomial_degree)
        return value_of_high_degree(poles, count - 1, t, dim, out);
    const double* const binomial = theCnpTableau.Cnp(count - 1);
    switch (dim) {
    case 1:
        return HornerScheme::run<1>(poles, count - 1, binomial, t, 1, out);
    case 2:
        return HornerScheme::run<2>(poles, count - 1, binomial, t, 2, out);
    case 3:
        return HornerScheme::run<3>(poles, count - 1, binomial, t, 3, out);
    case 4:
        return HornerScheme::run<4>(poles, count - 1, binomial, t, 4, out);
    default:
        return HornerScheme::run<0>(poles, count - 1, binomial, t, dim, out);
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
        // The new last pole is the old one: its ratio is 0.0.
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
