// Fits of a million points: GetMediumPlane beside a loop of the same arithmetic written by hand,
// the centred plane beside reading the points twice and beside Eigen, lines and circles.
#include "peers.h"
#include "velm/measure/best_fit.h"
#include "velm/measure/orthogonal_fit.h"

#include <benchmark/benchmark.h>
#include <cmath>
#include <vector>

namespace {

constexpr int count = 1000000;

// Around (100, 200, 300), 50 wide, 0.01 off a slanted plane.
const ERVec<ERPoint3D>& slab() {
    static const ERVec<ERPoint3D> points = [] {
        ERVec<ERPoint3D> made(count);
        velm_bench::Numbers numbers(7);
        for (ERPoint3D& p : made.writable()) {
            const double x = 50.0 * numbers.next(), y = 50.0 * numbers.next();
            p = {100.0 + x, 200.0 + y, 300.0 + 0.3 * x - 0.2 * y + 0.01 * numbers.next()};
        }
        return made;
    }();
    return points;
}

// A quarter of a circle of 50 about (100, 200), 0.01 off.
const std::vector<ERPoint2D>& arc() {
    static const std::vector<ERPoint2D> points = [] {
        std::vector<ERPoint2D> made(count);
        velm_bench::Numbers numbers(8);
        for (ERPoint2D& p : made) {
            const double t = 0.785 * numbers.next(), r = 50.0 + 0.01 * numbers.next();
            p = {100.0 + r * std::cos(t), 200.0 + r * std::sin(t)};
        }
        return made;
    }();
    return points;
}

// ---- running means ----

void MediumPlane_velm(benchmark::State& state) {
    const ERVec<ERPoint3D>& points = slab();
    ERPlane plane;
    for (auto _ : state) {
        GetMediumPlane(points, plane, 0.0);
        benchmark::DoNotOptimize(&plane);
        benchmark::ClobberMemory();
    }
}
BENCHMARK(MediumPlane_velm)->Unit(benchmark::kMillisecond);

void MediumPlane_by_hand(benchmark::State& state) {
    const auto points = slab().view();
    double m[9];
    for (auto _ : state) {
        double x = 0, y = 0, z = 0, xx = 0, yy = 0, zz = 0, xy = 0, xz = 0, yz = 0, i = 0;
        for (const ERPoint3D& p : points) {
            const double n = i + 1.0, keep = i / n;
            x = x * keep + p.x() / n;
            y = y * keep + p.y() / n;
            z = z * keep + p.z() / n;
            xx = xx * keep + p.x() * p.x() / n;
            yy = yy * keep + p.y() * p.y() / n;
            zz = zz * keep + p.z() * p.z() / n;
            xy = xy * keep + p.x() * p.y() / n;
            xz = xz * keep + p.x() * p.z() / n;
            yz = yz * keep + p.y() * p.z() / n;
            i = n;
        }
        const double found[9] = {x, y, z, xx, yy, zz, xy, xz, yz};
        for (int k = 0; k < 9; ++k)
            m[k] = found[k];
        benchmark::DoNotOptimize(&m);
        benchmark::ClobberMemory();
    }
}
BENCHMARK(MediumPlane_by_hand)->Unit(benchmark::kMillisecond);

// ---- centred fits ----

void FitPlane_velm(benchmark::State& state) {
    const auto points = slab().view();
    for (auto _ : state) {
        const velm::PlaneFit fit = velm::fit_plane(points);
        benchmark::DoNotOptimize(&fit);
        benchmark::ClobberMemory();
    }
}
BENCHMARK(FitPlane_velm)->Unit(benchmark::kMillisecond);

// The cost of reading every coordinate twice: plain sums.
void FitPlane_points_read_twice(benchmark::State& state) {
    const auto points = slab().view();
    for (auto _ : state) {
        for (int pass = 0; pass < 2; ++pass) {
            double x = 0.0, y = 0.0, z = 0.0;
            for (const ERPoint3D& p : points) {
                x += p.x();
                y += p.y();
                z += p.z();
            }
            const double sums[3] = {x, y, z};
            benchmark::DoNotOptimize(&sums);
            benchmark::ClobberMemory();
        }
    }
}
BENCHMARK(FitPlane_points_read_twice)->Unit(benchmark::kMillisecond);

#if defined(VELM_BENCH_EIGEN)
void FitPlane_Eigen(benchmark::State& state) {
    const auto points = slab().view();
    const Eigen::Map<const Eigen::Matrix<double, 3, Eigen::Dynamic>> matrix(
        &points.front().x_, 3, static_cast<Eigen::Index>(points.size()));
    for (auto _ : state) {
        const Eigen::Vector3d mean = matrix.rowwise().mean();
        const Eigen::Matrix<double, 3, Eigen::Dynamic> centred = matrix.colwise() - mean;
        const Eigen::Matrix3d covariance = centred * centred.transpose();
        const Eigen::SelfAdjointEigenSolver<Eigen::Matrix3d> solver(covariance);
        const Eigen::Vector3d normal = solver.eigenvectors().col(0);
        benchmark::DoNotOptimize(&normal);
        benchmark::ClobberMemory();
    }
}
BENCHMARK(FitPlane_Eigen)->Unit(benchmark::kMillisecond);
#endif

void FitLine_velm(benchmark::State& state) {
    for (auto _ : state) {
        const velm::LineFit2D fit = velm::fit_line(arc());
        benchmark::DoNotOptimize(&fit);
        benchmark::ClobberMemory();
    }
}
BENCHMARK(FitLine_velm)->Unit(benchmark::kMillisecond);

void FitCircle_velm(benchmark::State& state) {
    for (auto _ : state) {
        const velm::CircleFit2D fit = velm::fit_circle(arc());
        benchmark::DoNotOptimize(&fit);
        benchmark::ClobberMemory();
    }
}
BENCHMARK(FitCircle_velm)->Unit(benchmark::kMillisecond);

} // namespace
