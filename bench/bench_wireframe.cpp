// Evaluation of arcs, nearest points of segments, arcs and ellipses, and intersections of lines and
// circles, each over the same random entities, beside the loops that a user would write by hand.
#include "velm/platform/ellipse_kernel.h"
#include "velm/wireframe/arc_in_space.h"
#include "velm/wireframe/closest_point.h"
#include "velm/wireframe/ellipse.h"
#include "velm/wireframe/intersections.h"
#include "velm/wireframe/segment.h"

#include <benchmark/benchmark.h>

#include <cmath>
#include <random>
#include <vector>

#if __has_include(<boost/geometry.hpp>)
#include <boost/geometry.hpp>
#include <boost/geometry/geometries/point_xy.hpp>
#include <boost/geometry/geometries/segment.hpp>
#define VELM_BENCH_HAS_BOOST_GEOMETRY
#endif

namespace {

constexpr int count = 1024;

std::vector<ERPoint2D> points() {
    std::mt19937 random(7);
    std::uniform_real_distribution<double> coordinate(-5.0, 5.0);
    std::vector<ERPoint2D> result(count);
    for (ERPoint2D& p : result)
        p = {coordinate(random), coordinate(random)};
    return result;
}

// Runs `f` over the indices; its results are summed so that none is left out.
template <class F>
void run(benchmark::State& state, F f) {
    for (auto _ : state) {
        double sum = 0.0;
        for (std::size_t n = 0; n < count; ++n)
            sum += f(n);
        const double result = sum;
        benchmark::DoNotOptimize(result);
    }
    state.SetItemsProcessed(state.iterations() * count);
}

void arc_point(benchmark::State& state) {
    ERArc2D arc({1, 2}, 3, 0.0, 6.0);
    run(state, [&](std::size_t n) { return arc(static_cast<double>(n) * 0.006).x(); });
}
void arc_point_by_hand(benchmark::State& state) {
    double cx = 1, r = 3, cy = 2;
    benchmark::DoNotOptimize(cx);
    run(state, [&](std::size_t n) {
        const double t = static_cast<double>(n) * 0.006;
        const double x = cx + r * std::cos(t), y = cy + r * std::sin(t);
        benchmark::DoNotOptimize(y);
        return x;
    });
}
void arc_info(benchmark::State& state) {
    ERArc2D arc({1, 2}, 3, 0.0, 6.0);
    run(state,
        [&](std::size_t n) { return arc.PtCur(static_cast<double>(n) * 0.006).point().x(); });
}
void arc_of_space_point(benchmark::State& state) {
    ERArc3D arc({1, 2, 3}, {1, 1, 1}, 3, 0.0, 6.0);
    run(state, [&](std::size_t n) { return arc(static_cast<double>(n) * 0.006).x(); });
}

void segment_distance(benchmark::State& state) {
    const std::vector<ERPoint2D> queries = points();
    ERSegment2D segment({-2, 1}, {3, 2});
    run(state, [&](std::size_t n) {
        double dist = 0.0, t;
        segment.SignedMinimalDistance(queries[n], dist, t);
        return dist;
    });
}
#ifdef VELM_BENCH_HAS_BOOST_GEOMETRY
void segment_distance_boost(benchmark::State& state) {
    using Point = boost::geometry::model::d2::point_xy<double>;
    std::vector<Point> queries;
    for (const ERPoint2D& p : points())
        queries.emplace_back(p.x(), p.y());
    const boost::geometry::model::segment<Point> segment({-2, 1}, {3, 2});
    run(state, [&](std::size_t n) { return boost::geometry::distance(queries[n], segment); });
}
BENCHMARK(segment_distance_boost);
#endif
void arc_distance(benchmark::State& state) {
    const std::vector<ERPoint2D> queries = points();
    ERArc2D arc({0.3, 0.2}, 3, 0.5, 4.0);
    run(state, [&](std::size_t n) {
        double dist = 0.0, t;
        arc.SignedMinimalDistance(queries[n], dist, t);
        return dist;
    });
}
void arc_of_space_distance(benchmark::State& state) {
    const std::vector<ERPoint2D> queries = points();
    ERArc3D arc({0.3, 0.2, 0}, {1, 1, 1}, 3, 0.5, 4.0);
    run(state, [&](std::size_t n) {
        return velm::closest_point(arc, queries[n].castToPoint3D(Coord3D_Z, 1.0)).distance;
    });
}
void ellipse_kernel(benchmark::State& state) {
    const std::vector<ERPoint2D> queries = points();
    const tqkEllipse2 ellipse(4, 0.01 * static_cast<double>(state.range(0)));
    run(state, [&](std::size_t n) {
        tqkCurvePointList2 found;
        ellipse.global_closest_point(queries[n].x(), queries[n].y(), found);
        return found[0].x;
    });
}
// Bisection on the scaled multiplier, the textbook's robust way (Eberly, Distance from a Point to
// an Ellipse, without the shortcuts for points on the axes).
double bisected(double e0, double e1, double y0, double y1) {
    const double z0 = y0 / e0, z1 = y1 / e1, g = z0 * z0 + z1 * z1 - 1.0;
    const double r0 = (e0 / e1) * (e0 / e1);
    double low = z1 - 1.0, high = g < 0.0 ? 0.0 : std::hypot(r0 * z0, z1) - 1.0, s = 0.0;
    for (int step = 0; step < 1074; ++step) {
        s = 0.5 * (low + high);
        if (s == low || s == high) break;
        const double a = r0 * z0 / (s + r0), b = z1 / (s + 1.0);
        const double value = a * a + b * b - 1.0;
        if (value == 0.0) break;
        (value > 0.0 ? low : high) = s;
    }
    return r0 * y0 / (s + r0);
}
void ellipse_by_bisection(benchmark::State& state) {
    const std::vector<ERPoint2D> queries = points();
    const double small = 0.01 * static_cast<double>(state.range(0));
    run(state, [&](std::size_t n) {
        return bisected(4, small, std::fabs(queries[n].x()), std::fabs(queries[n].y()));
    });
}
void ellipse_closest(benchmark::State& state) {
    const std::vector<ERPoint2D> queries = points();
    const EREllipse2D ellipse(4, 2, 0.3, {0.5, 0.2});
    run(state, [&](std::size_t n) { return ellipse.get_closest(queries[n]).x(); });
}

void line_line(benchmark::State& state) {
    const std::vector<ERPoint2D> p = points();
    std::vector<ERInfLine2D> lines;
    for (std::size_t n = 0; n + 1 < count; ++n)
        lines.emplace_back(p[n], p[n + 1]);
    run(state, [&](std::size_t n) {
        ERPoint2D meeting;
        intersect(lines[n % 512], lines[n % 512 + 1 + n / 512], meeting);
        return meeting.x();
    });
}
void line_circle(benchmark::State& state) {
    const std::vector<ERPoint2D> p = points();
    std::vector<ERCircle2D> circles;
    for (const ERPoint2D& center : p)
        circles.emplace_back(center, 3.0);
    const ERInfLine2D line(ERPoint2D(-1, 2), {3, 1});
    run(state, [&](std::size_t n) {
        ERPoint2D p1, p2;
        intersect(circles[n], line, p1, p2);
        return p1.x() + p2.y();
    });
}
void circle_circle(benchmark::State& state) {
    const std::vector<ERPoint2D> p = points();
    std::vector<ERCircle2D> circles;
    for (const ERPoint2D& center : p)
        circles.emplace_back(center, 3.0);
    const ERCircle2D other({1, 1}, 2.5);
    run(state, [&](std::size_t n) {
        ERPoint2D p1, p2;
        intersect(circles[n], other, p1, p2);
        return p1.x() + p2.y();
    });
}

} // namespace

BENCHMARK(arc_point);
BENCHMARK(arc_point_by_hand);
BENCHMARK(arc_info);
BENCHMARK(arc_of_space_point);
BENCHMARK(segment_distance);
BENCHMARK(arc_distance);
BENCHMARK(arc_of_space_distance);
BENCHMARK(ellipse_kernel)->Arg(399)->Arg(200)->Arg(1);
BENCHMARK(ellipse_by_bisection)->Arg(399)->Arg(200)->Arg(1);
BENCHMARK(ellipse_closest);
BENCHMARK(line_line);
BENCHMARK(line_circle);
BENCHMARK(circle_circle);
