// Real roots in [0, 1], Bernstein evaluation and binomials: beside GSL, Eigen's companion matrix,
// and loops of the same arithmetic whose counts the compiler knows.
#include "peers.h"
#include "velm/numerics/bernstein.h"
#include "velm/numerics/binomials.h"
#include "velm/numerics/cascade_roots.h"
#include "velm/numerics/laguerre_roots.h"
#include "velm/numerics/real_roots.h"

#include <array>
#include <benchmark/benchmark.h>
#include <cstdint>
#include <vector>

#if defined(VELM_BENCH_HAS_GSL)
#include <gsl/gsl_poly.h>
#include <gsl/gsl_sf_gamma.h>
#endif

namespace {

using velm_bench::Numbers;

constexpr std::size_t set_size = 64;

// Polynomials with random coefficients, which have one or two roots in [0, 1].
std::vector<std::vector<double>> random_set(int degree) {
    Numbers numbers;
    std::vector<std::vector<double>> set;
    for (std::size_t i = 0; i < set_size; ++i)
        set.push_back(numbers.vector(degree + 1));
    return set;
}

// Polynomials with all roots in [0, 1].
std::vector<std::vector<double>> real_rooted_set(int degree) {
    Numbers numbers;
    std::vector<std::vector<double>> set;
    for (std::size_t k = 0; k < set_size; ++k) {
        std::vector<double> c{1.0};
        for (int j = 0; j < degree; ++j) {
            const double root = (j + 0.5 + 0.3 * numbers.next()) / degree;
            c.push_back(0.0);
            for (std::size_t i = c.size(); i-- > 0;)
                c[i] = (i > 0 ? c[i - 1] : 0.0) - root * c[i];
        }
        set.push_back(c);
    }
    return set;
}

using MakeSet = std::vector<std::vector<double>> (*)(int);

template <class Solve>
void roots_of(benchmark::State& state, MakeSet make, Solve solve) {
    const auto set = make(static_cast<int>(state.range(0)));
    std::size_t i = 0;
    for (auto _ : state)
        solve(set[i++ % set_size]);
}

void roots_velm(benchmark::State& state, MakeSet make) {
    std::array<velm::RealRoot, 64> roots;
    roots_of(state, make, [&roots](const std::vector<double>& c) {
        const int n = velm::real_roots(c, {0.0, 1.0}, roots);
        benchmark::DoNotOptimize(n);
    });
}
void roots_laguerre(benchmark::State& state, MakeSet make) {
    roots_of(state, make, [](const std::vector<double>& c) {
        const ERPolynome p(c.data(), static_cast<int>(c.size()));
        ERVec<double> roots;
        const int n = Zeros(p, {0.0, 1.0}, roots);
        benchmark::DoNotOptimize(n);
    });
}
void roots_cascade(benchmark::State& state, MakeSet make) {
    roots_of(state, make, [](const std::vector<double>& c) {
        const ERPolynome p(c.data(), static_cast<int>(c.size()));
        const ERVec<double> roots = Zeros(p, ERLimites(0.0, 1.0));
        benchmark::DoNotOptimize(roots.view().data());
    });
}

#define VELM_ROOT_ROWS(name)                                                                       \
    BENCHMARK_CAPTURE(name, random, random_set)->Arg(3)->Arg(5)->Arg(9)->Arg(17)->Arg(30);         \
    BENCHMARK_CAPTURE(name, all_real, real_rooted_set)->Arg(3)->Arg(5)->Arg(9)->Arg(17)->Arg(30)

VELM_ROOT_ROWS(roots_velm);
VELM_ROOT_ROWS(roots_laguerre);
VELM_ROOT_ROWS(roots_cascade);

#if defined(VELM_BENCH_EIGEN)
void roots_eigen(benchmark::State& state, MakeSet make) {
    Eigen::PolynomialSolver<double, Eigen::Dynamic> solver;
    std::vector<double> roots;
    roots_of(state, make, [&](const std::vector<double>& c) {
        const Eigen::VectorXd p =
            Eigen::Map<const Eigen::VectorXd>(c.data(), static_cast<Eigen::Index>(c.size()));
        solver.compute(p);
        roots.clear();
        solver.realRoots(roots);
        benchmark::DoNotOptimize(roots.data());
    });
}
VELM_ROOT_ROWS(roots_eigen);
#endif

#if defined(VELM_BENCH_HAS_GSL)
// The closed form.
void roots_gsl_cubic(benchmark::State& state, MakeSet make) {
    double x[3] = {};
    roots_of(state, make, [&x](const std::vector<double>& c) {
        const int n = gsl_poly_solve_cubic(c[2] / c[3], c[1] / c[3], c[0] / c[3], x, x + 1, x + 2);
        benchmark::DoNotOptimize(n);
    });
}
BENCHMARK_CAPTURE(roots_gsl_cubic, random, random_set)->Arg(3);
BENCHMARK_CAPTURE(roots_gsl_cubic, all_real, real_rooted_set)->Arg(3);

void roots_gsl(benchmark::State& state, MakeSet make) {
    const std::size_t n = static_cast<std::size_t>(state.range(0)) + 1;
    gsl_poly_complex_workspace* const work = gsl_poly_complex_workspace_alloc(n);
    std::vector<double> roots(2 * n);
    roots_of(state, make, [&](const std::vector<double>& c) {
        gsl_poly_complex_solve(c.data(), n, work, roots.data());
        benchmark::DoNotOptimize(roots.data());
    });
    gsl_poly_complex_workspace_free(work);
}
VELM_ROOT_ROWS(roots_gsl);
#endif

// ---- evaluation ----

constexpr double binomial(int n, int p) {
    double result = 1.0;
    for (int i = 0; i < p; ++i)
        result = result * (n - i) / (i + 1);
    return result;
}

// Horner's arithmetic with degree and dimension known, which the compiler lays out in a row;
// called as a function of another file would be.
template <int Degree, int Dim>
[[gnu::noinline]] void horner_by_hand(const double* poles, double t, double* out) {
    static constexpr auto row = [] {
        std::array<double, std::size_t(Degree) + 1> b{};
        for (int i = 0; i <= Degree; ++i)
            b[std::size_t(i)] = binomial(Degree, i);
        return b;
    }();
    double sum[std::size_t(Dim)];
    double power = 1.0;
    const bool late = t >= 0.5;
    const double ratio = late ? (1.0 - t) / t : t / (1.0 - t);
    const double factor = late ? t : 1.0 - t;
    const double* p = late ? poles : poles + Degree * Dim;
    const int step = late ? Dim : -Dim;
    for (int c = 0; c < Dim; ++c)
        sum[c] = p[c];
#pragma GCC unroll 16
    for (int i = 1; i <= Degree; ++i) {
        p += step;
        for (int c = 0; c < Dim; ++c)
            sum[c] = ratio * sum[c] + row[std::size_t(i)] * p[c];
        power *= factor;
    }
    for (int c = 0; c < Dim; ++c)
        out[c] = sum[c] * power;
}

template <int Degree, int Dim>
[[gnu::noinline]] void casteljau_by_hand(const double* poles, double t, double* out) {
    for (int c = 0; c < Dim; ++c) {
        double w[std::size_t(Degree) + 1];
#pragma GCC unroll 16
        for (int i = 0; i <= Degree; ++i)
            w[i] = poles[i * Dim + c];
#pragma GCC unroll 16
        for (int k = Degree; k > 0; --k)
#pragma GCC unroll 16
            for (int j = 0; j < k; ++j)
                w[j] = (w[j + 1] - w[j]) * t + w[j];
        out[c] = w[0];
    }
}

template <class Evaluate>
void evaluation(benchmark::State& state, int degree, int dim, Evaluate evaluate) {
    Numbers numbers;
    const std::vector<double> poles = numbers.vector((degree + 1) * dim);
    std::vector<double> parameters = numbers.vector(256);
    for (double& t : parameters)
        t = 0.5 + 0.5 * t;
    double out[4];
    std::size_t i = 0;
    for (auto _ : state) {
        evaluate(poles.data(), parameters[i++ % 256], out);
        benchmark::DoNotOptimize(&out[0]);
        benchmark::ClobberMemory();
    }
}

template <int Degree, int Dim>
void Horner_velm(benchmark::State& state) {
    evaluation(state, Degree, Dim, [](const double* poles, double t, double* out) {
        Horner(poles, Degree + 1, t, Dim, out);
    });
}
template <int Degree, int Dim>
void Horner_hand(benchmark::State& state) {
    evaluation(state, Degree, Dim, horner_by_hand<Degree, Dim>);
}
template <int Degree, int Dim>
void Casteljau_velm(benchmark::State& state) {
    evaluation(state, Degree, Dim, [](const double* poles, double t, double* out) {
        Casteljau(poles, Degree + 1, t, Dim, out);
    });
}
template <int Degree, int Dim>
void Casteljau_hand(benchmark::State& state) {
    evaluation(state, Degree, Dim, casteljau_by_hand<Degree, Dim>);
}

#define VELM_EVALUATION_ROWS(degree, dim)                                                          \
    BENCHMARK_TEMPLATE(Horner_velm, degree, dim);                                                  \
    BENCHMARK_TEMPLATE(Horner_hand, degree, dim);                                                  \
    BENCHMARK_TEMPLATE(Casteljau_velm, degree, dim);                                               \
    BENCHMARK_TEMPLATE(Casteljau_hand, degree, dim)

VELM_EVALUATION_ROWS(3, 1);
VELM_EVALUATION_ROWS(3, 3);
VELM_EVALUATION_ROWS(3, 4);
VELM_EVALUATION_ROWS(5, 1);
VELM_EVALUATION_ROWS(5, 3);
VELM_EVALUATION_ROWS(5, 4);
VELM_EVALUATION_ROWS(9, 1);
VELM_EVALUATION_ROWS(9, 3);
VELM_EVALUATION_ROWS(9, 4);

// ---- binomials ----

template <class Choose>
void binomials(benchmark::State& state, Choose choose) {
    int n = 30, p = 0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(&n);
        p = (p + 7) % 31;
        const double value = choose(n, p);
        benchmark::DoNotOptimize(value);
    }
}
BENCHMARK_CAPTURE(binomials, velm, [](int n, int p) { return Cnp(n, p); });
#if defined(VELM_BENCH_HAS_GSL)
BENCHMARK_CAPTURE(binomials, gsl,
                  [](int n, int p) { return gsl_sf_choose(unsigned(n), unsigned(p)); });
#endif

} // namespace
