// Factorising and solving, symmetric eigenproblems, rotation matrices: beside Eigen's matrices of
// run-time size (and, without an aim, of fixed size) and GSL.
#include "peers.h"
#include "velm/numerics/lu_decomposition.h"
#include "velm/numerics/quaternion.h"
#include "velm/numerics/symmetric_eigen.h"

#include <benchmark/benchmark.h>
#include <vector>

#if defined(VELM_BENCH_HAS_GSL)
#include <gsl/gsl_eigen.h>
#include <gsl/gsl_linalg.h>
#endif

namespace {

std::vector<double> numbers(int count) { return velm_bench::Numbers().vector(count); }

std::vector<double> symmetric(int n) {
    std::vector<double> m = numbers(n * n);
    for (int i = 0; i < n; ++i)
        for (int j = 0; j < i; ++j)
            m[std::size_t(i * n + j)] = m[std::size_t(j * n + i)];
    return m;
}

// ---- LU and solve ----

void LuSolve_velm(benchmark::State& state) {
    const int n = static_cast<int>(state.range(0));
    const ERMatrix<double> a(n, n, numbers(n * n).data());
    const ERVec<double> b{std::span<const double>(numbers(n))};
    for (auto _ : state) {
        const ERVec<double> x = solve(ERLUDecomp(a), b);
        benchmark::DoNotOptimize(x.view().data());
    }
}
BENCHMARK(LuSolve_velm)->Arg(3)->Arg(6)->Arg(20)->Arg(100);

void SmallSolve_velm(benchmark::State& state) {
    const int n = static_cast<int>(state.range(0));
    const std::vector<double> a = numbers(n * n), b = numbers(n);
    std::vector<double> x(b.size());
    for (auto _ : state) {
        velm::solve(a, b, x);
        benchmark::DoNotOptimize(x.data());
        benchmark::ClobberMemory();
    }
}
BENCHMARK(SmallSolve_velm)->Arg(3)->Arg(4)->Arg(6);

#if defined(VELM_BENCH_EIGEN)
template <class Matrix, class Vector>
void lu_solve_eigen(benchmark::State& state) {
    const int n = static_cast<int>(state.range(0));
    const std::vector<double> values = numbers(n * n);
    const Matrix a =
        Eigen::Map<const Eigen::Matrix<double, Eigen::Dynamic, Eigen::Dynamic, Eigen::RowMajor>>(
            values.data(), n, n);
    const std::vector<double> right = numbers(n);
    const Vector b = Eigen::Map<const Eigen::VectorXd>(right.data(), n);
    for (auto _ : state) {
        const Vector x = Eigen::PartialPivLU<Matrix>(a).solve(b);
        benchmark::DoNotOptimize(x.data());
    }
}
void LuSolve_Eigen(benchmark::State& state) {
    lu_solve_eigen<Eigen::MatrixXd, Eigen::VectorXd>(state);
}
BENCHMARK(LuSolve_Eigen)->Arg(3)->Arg(6)->Arg(20)->Arg(100);
void LuSolve_EigenFixed(benchmark::State& state) {
    lu_solve_eigen<Eigen::Matrix3d, Eigen::Vector3d>(state);
}
BENCHMARK(LuSolve_EigenFixed)->Arg(3);
#endif

#if defined(VELM_BENCH_HAS_GSL)
void LuSolve_GSL(benchmark::State& state) {
    const std::size_t n = static_cast<std::size_t>(state.range(0));
    const std::vector<double> values = numbers(static_cast<int>(n * n));
    const std::vector<double> right = numbers(static_cast<int>(n));
    gsl_matrix* const lu = gsl_matrix_alloc(n, n);
    gsl_vector* const x = gsl_vector_alloc(n);
    gsl_permutation* const p = gsl_permutation_alloc(n);
    const auto a = gsl_matrix_const_view_array(values.data(), n, n);
    const auto b = gsl_vector_const_view_array(right.data(), n);
    for (auto _ : state) {
        int sign = 0;
        gsl_matrix_memcpy(lu, &a.matrix);
        gsl_linalg_LU_decomp(lu, p, &sign);
        gsl_linalg_LU_solve(lu, p, &b.vector, x);
        benchmark::DoNotOptimize(x->data);
    }
    gsl_permutation_free(p);
    gsl_vector_free(x);
    gsl_matrix_free(lu);
}
BENCHMARK(LuSolve_GSL)->Arg(3)->Arg(6)->Arg(20)->Arg(100);
#endif

// ---- symmetric eigenproblems ----

void SymmetricEigen_velm(benchmark::State& state) {
    const int n = static_cast<int>(state.range(0));
    std::vector<double> values = symmetric(n);
    std::vector<double*> rows;
    for (int i = 0; i < n; ++i)
        rows.push_back(values.data() + i * n);
    for (auto _ : state) {
        Mgc::Eigen eigen(n);
        eigen.SetMatrix(rows.data());
        eigen.IncrSortEigenStuff();
        benchmark::DoNotOptimize(eigen.GetEigenvalue());
    }
}
BENCHMARK(SymmetricEigen_velm)->Arg(3)->Arg(4)->Arg(20);

#if defined(VELM_BENCH_EIGEN)
void SymmetricEigen_Eigen(benchmark::State& state) {
    const int n = static_cast<int>(state.range(0));
    const std::vector<double> values = symmetric(n);
    const Eigen::MatrixXd a = Eigen::Map<const Eigen::MatrixXd>(values.data(), n, n);
    for (auto _ : state) {
        const Eigen::SelfAdjointEigenSolver<Eigen::MatrixXd> solver(a);
        benchmark::DoNotOptimize(solver.eigenvalues().data());
    }
}
BENCHMARK(SymmetricEigen_Eigen)->Arg(3)->Arg(4)->Arg(20);
#endif

#if defined(VELM_BENCH_HAS_GSL)
void SymmetricEigen_GSL(benchmark::State& state) {
    const std::size_t n = static_cast<std::size_t>(state.range(0));
    const std::vector<double> values = symmetric(static_cast<int>(n));
    const auto a = gsl_matrix_const_view_array(values.data(), n, n);
    gsl_matrix* const copy = gsl_matrix_alloc(n, n);
    gsl_matrix* const vectors = gsl_matrix_alloc(n, n);
    gsl_vector* const diagonal = gsl_vector_alloc(n);
    gsl_eigen_symmv_workspace* const work = gsl_eigen_symmv_alloc(n);
    for (auto _ : state) {
        gsl_matrix_memcpy(copy, &a.matrix);
        gsl_eigen_symmv(copy, diagonal, vectors, work);
        gsl_eigen_symmv_sort(diagonal, vectors, GSL_EIGEN_SORT_VAL_ASC);
        benchmark::DoNotOptimize(diagonal->data);
    }
    gsl_eigen_symmv_free(work);
    gsl_vector_free(diagonal);
    gsl_matrix_free(vectors);
    gsl_matrix_free(copy);
}
BENCHMARK(SymmetricEigen_GSL)->Arg(3)->Arg(4)->Arg(20);
#endif

// ---- rotation matrices ----

void QuaternionToMatrix_velm(benchmark::State& state) {
    ERQuaternion q(ERVector3D(1, 2, 3), 0.7);
    for (auto _ : state) {
        benchmark::DoNotOptimize(&q);
        benchmark::ClobberMemory();
        const ERMatrix<double> m = q.GetMatrix();
        benchmark::DoNotOptimize(m.view().data());
    }
}
BENCHMARK(QuaternionToMatrix_velm);

#if defined(VELM_BENCH_EIGEN)
// Into a matrix of run-time size, as ours is.
void QuaternionToMatrix_Eigen(benchmark::State& state) {
    Eigen::Quaterniond q(Eigen::AngleAxisd(0.7, Eigen::Vector3d(1, 2, 3).normalized()));
    for (auto _ : state) {
        benchmark::DoNotOptimize(&q);
        benchmark::ClobberMemory();
        const Eigen::MatrixXd m = q.toRotationMatrix();
        benchmark::DoNotOptimize(m.data());
    }
}
BENCHMARK(QuaternionToMatrix_Eigen);
#endif

} // namespace
