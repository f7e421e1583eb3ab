// Outlines prepared for measured points: making a profile, points compared with it, the nesting of
// its contours. A wavy outer contour has four wavy holes, in straight edges or with one arc in
// eight; the argument is the number of edges of each. Beside it GEOS: a prepared polygon for the
// side and its prepared boundary for the distance; the nearest place is not asked for.
#include "velm/planar/outline_nesting.h"
#include "velm/planar/profile.h"

#include <benchmark/benchmark.h>

#include <cmath>
#include <numbers>
#include <random>

#if defined(VELM_BENCH_HAS_GEOS)
#include <geos_c.h>
#endif

namespace {

velm::Contour wavy(const ERPoint2D& centre, double radius, int edges, bool has_arcs) {
    constexpr double turn = 2.0 * std::numbers::pi;
    velm::Contour contour;
    for (int i = 0; i < edges; ++i) {
        const double from = turn * i / edges, to = turn * (i + 1) / edges;
        const bool is_arc = has_arcs && i % 8 == 0;
        const double r = has_arcs ? radius : radius * (1.0 + 0.2 * std::sin(9.0 * from));
        const ERPoint2D p(centre.x() + r * std::cos(from), centre.y() + r * std::sin(from));
        if (is_arc)
            contour.append(p, ERArc2D(centre, r, from, to));
        else
            contour.append(p);
    }
    return contour;
}

velm::Outline outline(int edges, bool has_arcs) {
    velm::Outline made;
    made.contours = {wavy({0, 0}, 100, edges, has_arcs), wavy({-40, 0}, 15, edges, has_arcs),
                     wavy({40, 0}, 15, edges, has_arcs), wavy({0, -40}, 15, edges, has_arcs),
                     wavy({0, 40}, 15, edges, has_arcs)};
    velm::settle_areas(made);
    return made;
}

std::vector<ERPoint2D> measured() {
    std::mt19937_64 random(2);
    std::uniform_real_distribution<double> place(-130, 130);
    std::vector<ERPoint2D> points(1024);
    for (ERPoint2D& p : points)
        p = ERPoint2D(place(random), place(random));
    return points;
}

void compare(benchmark::State& state, bool has_arcs) {
    const velm::Profile profile(outline(static_cast<int>(state.range(0)), has_arcs));
    const std::vector<ERPoint2D> points = measured();
    std::size_t next = 0;
    for (auto _ : state) {
        const velm::OutlineComparison found = profile.compare(points[next++ % points.size()]);
        benchmark::DoNotOptimize(found.distance);
    }
}
BENCHMARK_CAPTURE(compare, straight, false)->Arg(100)->Arg(10000);
BENCHMARK_CAPTURE(compare, with_arcs, true)->Arg(100)->Arg(10000);

#if defined(VELM_BENCH_HAS_GEOS)
GEOSGeometry* ring_of(GEOSContextHandle_t geos, const velm::Contour& contour) {
    const auto count = static_cast<unsigned>(contour.size());
    GEOSCoordSequence* const points = GEOSCoordSeq_create_r(geos, count + 1, 2);
    for (unsigned i = 0; i <= count; ++i) {
        const ERPoint2D& p = contour[static_cast<int>(i % count)];
        GEOSCoordSeq_setXY_r(geos, points, i, p.x(), p.y());
    }
    return GEOSGeom_createLinearRing_r(geos, points);
}

void compare_geos(benchmark::State& state) {
    const GEOSContextHandle_t geos = GEOS_init_r();
    const velm::Outline of = outline(static_cast<int>(state.range(0)), false);
    std::vector<GEOSGeometry*> rings;
    for (const velm::Contour& contour : of.contours)
        rings.push_back(ring_of(geos, contour));
    GEOSGeometry* const polygon = GEOSGeom_createPolygon_r(geos, rings[0], rings.data() + 1,
                                                           static_cast<unsigned>(rings.size() - 1));
    GEOSGeometry* const boundary = GEOSBoundary_r(geos, polygon);
    const GEOSPreparedGeometry* const inside = GEOSPrepare_r(geos, polygon);
    const GEOSPreparedGeometry* const edges = GEOSPrepare_r(geos, boundary);
    const std::vector<ERPoint2D> points = measured();
    std::size_t next = 0;
    for (auto _ : state) {
        const ERPoint2D& p = points[next++ % points.size()];
        GEOSGeometry* const point = GEOSGeom_createPointFromXY_r(geos, p.x(), p.y());
        double distance = 0.0;
        GEOSPreparedDistance_r(geos, edges, point, &distance);
        const double found = GEOSPreparedContains_r(geos, inside, point) ? -distance : distance;
        benchmark::DoNotOptimize(found);
        GEOSGeom_destroy_r(geos, point);
    }
    GEOSPreparedGeom_destroy_r(geos, edges);
    GEOSPreparedGeom_destroy_r(geos, inside);
    GEOSGeom_destroy_r(geos, boundary);
    GEOSGeom_destroy_r(geos, polygon);
    GEOS_finish_r(geos);
}
BENCHMARK(compare_geos)->Arg(100)->Arg(10000);
#endif

void prepare(benchmark::State& state) {
    const velm::Outline of = outline(static_cast<int>(state.range(0)), false);
    for (auto _ : state) {
        const velm::Profile profile(of);
        benchmark::DoNotOptimize(&profile);
    }
}
BENCHMARK(prepare)->Arg(100)->Arg(10000);

void settle(benchmark::State& state) {
    velm::Outline of = outline(static_cast<int>(state.range(0)), true);
    for (auto _ : state)
        benchmark::DoNotOptimize(velm::settle_areas(of).has_value());
}
BENCHMARK(settle)->Arg(100)->Arg(10000);

} // namespace
