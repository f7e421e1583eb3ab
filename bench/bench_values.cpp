// Boxes and angles against the loops that a user would write by hand.
#include "velm/frame/box.h"
#include "velm/frame/box_clipping.h"
#include "velm/frame/point_functions.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <random>
#include <vector>

namespace {

constexpr int point_count = 4096;

std::vector<ERPoint3D> points_of_space() {
    std::mt19937 random(1);
    std::uniform_real_distribution<double> coordinate(-1.0, 1.0);
    std::vector<ERPoint3D> points(point_count);
    for (ERPoint3D& p : points)
        p = {coordinate(random), coordinate(random), coordinate(random)};
    return points;
}

void box_update(benchmark::State& state) {
    const std::vector<ERPoint3D> points = points_of_space();
    for (auto _ : state) {
        ERMinimax3D box;
        for (const ERPoint3D& p : points)
            box.Update(p);
        benchmark::DoNotOptimize(box);
    }
    state.SetItemsProcessed(state.iterations() * point_count);
}

void box_by_hand(benchmark::State& state) {
    const std::vector<ERPoint3D> points = points_of_space();
    constexpr double most = std::numeric_limits<double>::max();
    for (auto _ : state) {
        double low[3] = {most, most, most}, high[3] = {-most, -most, -most};
        for (const ERPoint3D& p : points) {
            low[0] = std::min(low[0], p.x_), high[0] = std::max(high[0], p.x_);
            low[1] = std::min(low[1], p.y_), high[1] = std::max(high[1], p.y_);
            low[2] = std::min(low[2], p.z_), high[2] = std::max(high[2], p.z_);
        }
        benchmark::DoNotOptimize(low);
        benchmark::DoNotOptimize(high);
    }
    state.SetItemsProcessed(state.iterations() * point_count);
}

void path_length(benchmark::State& state) {
    const std::vector<ERPoint3D> points = points_of_space();
    for (auto _ : state) {
        double length = 0.0;
        for (std::size_t n = 1; n < points.size(); ++n)
            length += distance(points[n - 1], points[n]);
        const double result = length;
        benchmark::DoNotOptimize(result);
    }
    state.SetItemsProcessed(state.iterations() * point_count);
}

void path_length_by_hand(benchmark::State& state) {
    const std::vector<ERPoint3D> points = points_of_space();
    for (auto _ : state) {
        double length = 0.0;
        for (std::size_t n = 1; n < points.size(); ++n) {
            const double dx = points[n].x_ - points[n - 1].x_, dy = points[n].y_ - points[n - 1].y_,
                         dz = points[n].z_ - points[n - 1].z_;
            length += std::sqrt(dx * dx + dy * dy + dz * dz);
        }
        const double result = length;
        benchmark::DoNotOptimize(result);
    }
    state.SetItemsProcessed(state.iterations() * point_count);
}

void clip_line(benchmark::State& state) {
    const std::vector<ERPoint3D> points = points_of_space();
    const ERMinimax3D box(-0.3, 0.3, -0.3, 0.3, -0.3, 0.3);
    for (auto _ : state) {
        int hits = 0;
        for (std::size_t n = 1; n < points.size(); ++n) {
            double t0, t1;
            hits += box.clip(points[n - 1], ERVector3D(points[n - 1], points[n]), t0, t1) ? 1 : 0;
        }
        benchmark::DoNotOptimize(hits);
    }
    state.SetItemsProcessed(state.iterations() * point_count);
}

void clip_segment(benchmark::State& state) {
    const std::vector<ERPoint3D> points = points_of_space();
    const ERMinimax2D box(-0.3, 0.3, -0.3, 0.3);
    for (auto _ : state) {
        int hits = 0;
        for (std::size_t n = 1; n < points.size(); ++n) {
            ERPoint2D a, b;
            hits += SutherCohen(points[n - 1].castToPoint2D(Coord3D_Z),
                                points[n].castToPoint2D(Coord3D_Z), box, a, b);
        }
        benchmark::DoNotOptimize(hits);
    }
    state.SetItemsProcessed(state.iterations() * point_count);
}

// Sorting by direction needs no true angle.
void direction_by_pseudo_theta(benchmark::State& state) {
    const std::vector<ERPoint3D> points = points_of_space();
    for (auto _ : state) {
        double sum = 0.0;
        for (const ERPoint3D& p : points)
            sum += PseudoTheta(ERPoint2D(), p.castToPoint2D(Coord3D_Z));
        const double result = sum;
        benchmark::DoNotOptimize(result);
    }
    state.SetItemsProcessed(state.iterations() * point_count);
}

void direction_by_atan2(benchmark::State& state) {
    const std::vector<ERPoint3D> points = points_of_space();
    for (auto _ : state) {
        double sum = 0.0;
        for (const ERPoint3D& p : points)
            sum += std::atan2(p.y_, p.x_);
        const double result = sum;
        benchmark::DoNotOptimize(result);
    }
    state.SetItemsProcessed(state.iterations() * point_count);
}

BENCHMARK(box_update);
BENCHMARK(box_by_hand);
BENCHMARK(path_length);
BENCHMARK(path_length_by_hand);
BENCHMARK(clip_line);
BENCHMARK(clip_segment);
BENCHMARK(direction_by_pseudo_theta);
BENCHMARK(direction_by_atan2);

} // namespace
