// Feet of perpendiculars by the given operations: a bicubic panel of 12 x 10 spans with points near
// it, the same panel ten times the size (halved again and again), and one beside it of which every
// point is off the box. Lines through the panel, along z and oblique.
#include "velm/frame/point_functions.h"
#include "velm/surfaces/limit_normal.h"
#include "velm/surfaces/nurbs_surface.h"
#include "velm/surfaces/ray_surface_result.h"

#include "peers.h"

#include <benchmark/benchmark.h>

#include <cmath>
#include <vector>

namespace {

constexpr int degree = 3, poles_u = 15, poles_v = 13, queries = 1024;

// 100 wide, 80 long and 2 deep in all, times `size`.
const ERSpoleNURBS3D& panel(int size) {
    const auto made = [](double scale) {
        velm_bench::Numbers numbers;
        ERMatrix<ERPole3DH> net(poles_v, poles_u);
        for (int j = 0; j < poles_v; ++j)
            for (int i = 0; i < poles_u; ++i) {
                const double x = 100.0 * i / (poles_u - 1), y = 80.0 * j / (poles_v - 1);
                const ERPoint3D p(x, y, std::sin(0.04 * x) * std::cos(0.05 * y));
                net(j, i) = ERPole3DH(p * scale, 1.0);
            }
        return ERSpoleNURBS3D(net, ERKnotVector(degree, poles_u, {0.0, 12.0}),
                              ERKnotVector(degree, poles_v, {0.0, 10.0}));
    };
    static const ERSpoleNURBS3D small = made(1.0), large = made(10.0);
    return size == 1 ? small : large;
}

std::vector<ERPoint3D> points_near(const ERSpoleNURBS3D& s, double least, double reach) {
    velm_bench::Numbers numbers(7);
    std::vector<ERPoint3D> list;
    for (int k = 0; k < queries; ++k) {
        const double u = 6.0 + 6.0 * numbers.next(), v = 5.0 + 5.0 * numbers.next();
        list.push_back(s(u, v) + velm::limit_normal(s, u, v) * (least + reach * numbers.next()));
    }
    return list;
}

void feet(benchmark::State& state, int size, double least, double reach) {
    const ERSpoleNURBS3D& s = panel(size);
    const std::vector<ERPoint3D> points = points_near(s, least, reach);
    int found = 0;
    for (auto _ : state) {
        found = 0;
        for (const ERPoint3D& p : points) {
            ERPoint2D parameter;
            found += s.ProjectionNormale(p, 1.0, parameter, 1);
        }
        const int result = found;
        benchmark::DoNotOptimize(result);
    }
    state.SetItemsProcessed(state.iterations() * queries);
    state.counters["found"] = double(found) / queries;
}
BENCHMARK_CAPTURE(feet, panel, 1, 0.0, 1.0);
BENCHMARK_CAPTURE(feet, panel_ten_times_the_size, 10, 0.0, 1.0);
BENCHMARK_CAPTURE(feet, beyond_the_distance, 1, 10.0, 1.0);

void crossings(benchmark::State& state, double dx, double dy) {
    const ERSpoleNURBS3D& s = panel(1);
    const std::vector<ERPoint3D> points = points_near(s, 0.0, 1.0);
    std::size_t found = 0;
    for (auto _ : state) {
        found = 0;
        for (const ERPoint3D& p : points) {
            ERRaySurfaceResult result;
            s.ProjectPoint(p, ERVector3D(dx, dy, 1.0), result, 1);
            found += static_cast<std::size_t>(result.size());
        }
        const std::size_t result = found;
        benchmark::DoNotOptimize(result);
    }
    state.SetItemsProcessed(state.iterations() * queries);
    state.counters["found"] = double(found) / queries;
}
BENCHMARK_CAPTURE(crossings, along_z, 0.0, 0.0);
BENCHMARK_CAPTURE(crossings, oblique, 0.3, -0.2);
BENCHMARK_CAPTURE(crossings, grazing, 30.0, -20.0);

} // namespace
