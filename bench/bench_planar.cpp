// Inside against a plain crossing loop, and the convex hull against sorting the same points. The
// second argument of the polygon rows is the shape: 0 a circle, 1 a wavy disc, 2 a star of random
// spikes.
#include "velm/frame/vec.h"
#include "velm/planar/convex_hull.h"
#include "velm/planar/point_in_polygon.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cmath>
#include <numbers>
#include <random>
#include <vector>

namespace {

std::vector<ERPoint2D> polygon(int n, int shape) {
    std::mt19937_64 random(1);
    std::uniform_real_distribution<double> spike(0.3, 1.0);
    std::vector<ERPoint2D> vertices;
    for (int i = 0; i < n; ++i) {
        const double angle = 2.0 * std::numbers::pi * i / n;
        const double radius = shape == 0   ? 1.0
                              : shape == 1 ? 1.0 + 0.2 * std::sin(9.0 * angle)
                                           : spike(random);
        vertices.emplace_back(radius * std::cos(angle), radius * std::sin(angle));
    }
    return vertices;
}

std::vector<ERPoint2D> scattered(int n) {
    std::mt19937_64 random(2);
    std::uniform_real_distribution<double> coordinate(-1.0, 1.0);
    std::vector<ERPoint2D> points;
    for (int i = 0; i < n; ++i) {
        const double x = coordinate(random);
        points.emplace_back(x, coordinate(random));
    }
    return points;
}

// The textbook loop over the edges (Franklin).
bool plain_crossings(const ERPoint2D& p, const ERPoint2D* v, int n) {
    bool inside = false;
    for (int i = 0, j = n - 1; i < n; j = i++) {
        if ((v[i].y() > p.y()) != (v[j].y() > p.y()) &&
            p.x() < (v[j].x() - v[i].x()) * (p.y() - v[i].y()) / (v[j].y() - v[i].y()) + v[i].x())
            inside = !inside;
    }
    return inside;
}

template <class Test>
void point_in_polygon(benchmark::State& state, Test test) {
    const auto vertices =
        polygon(static_cast<int>(state.range(0)), static_cast<int>(state.range(1)));
    const auto points = scattered(1 << 16);
    std::size_t next = 0;
    for (auto _ : state) {
        const auto answer = test(points[next++ % points.size()], vertices.data(),
                                 static_cast<int>(vertices.size()));
        benchmark::DoNotOptimize(answer);
    }
}

void inside(benchmark::State& state) {
    point_in_polygon(
        state, [](const ERPoint2D& p, const ERPoint2D* v, int n) { return Inside(p, v, n, -1); });
}
void inside_plain_loop(benchmark::State& state) { point_in_polygon(state, plain_crossings); }

// Small sets take turns, so that the branches of one can't be learned by heart.
std::vector<std::vector<ERPoint2D>> sets_of(int n) {
    const auto points = scattered(std::max(n, 1 << 17));
    std::vector<std::vector<ERPoint2D>> sets;
    for (auto start = points.begin(); points.end() - start >= n; start += n)
        sets.emplace_back(start, start + n);
    return sets;
}

void hull(benchmark::State& state) {
    std::vector<ERVec<ERPoint2D>> sets;
    for (const auto& set : sets_of(static_cast<int>(state.range(0))))
        sets.emplace_back(std::span<const ERPoint2D>(set));
    std::size_t next = 0;
    for (auto _ : state) {
        const ERVec<ERPoint2D> answer = CalculateConvexeHull(sets[next++ % sets.size()]);
        benchmark::DoNotOptimize(answer.view().data());
    }
}
void hull_exact(benchmark::State& state) {
    const auto sets = sets_of(static_cast<int>(state.range(0)));
    std::size_t next = 0;
    for (auto _ : state) {
        const std::vector<ERPoint2D> answer = velm::convex_hull(sets[next++ % sets.size()]);
        benchmark::DoNotOptimize(answer.data());
    }
}
void hull_sort_alone(benchmark::State& state) {
    const auto sets = sets_of(static_cast<int>(state.range(0)));
    std::size_t next = 0;
    for (auto _ : state) {
        auto sorted = sets[next++ % sets.size()];
        std::sort(sorted.begin(), sorted.end(), [](const ERPoint2D& a, const ERPoint2D& b) {
            return a.x() < b.x() || (a.x() == b.x() && a.y() < b.y());
        });
        benchmark::DoNotOptimize(sorted.data());
    }
}

} // namespace

BENCHMARK(inside)->ArgsProduct({{20, 2000, 200000}, {0, 1, 2}});
BENCHMARK(inside_plain_loop)->ArgsProduct({{20, 2000, 200000}, {0, 1, 2}});
BENCHMARK(hull)->RangeMultiplier(10)->Range(1000, 1000000)->Unit(benchmark::kMicrosecond);
BENCHMARK(hull_exact)->RangeMultiplier(10)->Range(1000, 1000000)->Unit(benchmark::kMicrosecond);
BENCHMARK(hull_sort_alone)
    ->RangeMultiplier(10)
    ->Range(1000, 1000000)
    ->Unit(benchmark::kMicrosecond);
