// Regions beside prepared GEOS, Boost.Geometry and CGAL: making the raster, points, boxes, a long
// polyline; chaining beside merging lines in GEOS. A region is a wavy outer contour with four wavy
// holes; the argument is the number of vertices of each, or the number of pieces.
#include "velm/planar/chainer_processor.h"
#include "velm/planar/region.h"
#include "velm/planar/region_grid.h"

#include <benchmark/benchmark.h>

#include <cmath>
#include <memory>
#include <numbers>
#include <optional>
#include <random>
#include <utility>
#include <vector>

#if defined(VELM_BENCH_HAS_GEOS)
#include <geos_c.h>
#endif
#if __has_include(<boost/geometry.hpp>)
#include <boost/geometry.hpp>
#include <boost/geometry/geometries/geometries.hpp>
#define VELM_BENCH_HAS_BOOST_GEOMETRY
#endif
#if defined(VELM_BENCH_HAS_CGAL)
#include <CGAL/Exact_predicates_inexact_constructions_kernel.h>
#include <CGAL/Polygon_2_algorithms.h>
#endif

namespace {

using Points = std::vector<ERPoint2D>;

Points wavy(const ERPoint2D& centre, double radius, int vertices) {
    std::mt19937_64 random(1);
    std::uniform_real_distribution<double> rough(-0.3, 0.3); // of an edge's length
    Points contour;
    const double step = 2.0 * std::numbers::pi / vertices;
    for (int i = 0; i < vertices; ++i) {
        const double r =
            radius * (1.0 + 0.2 * std::sin(9.0 * step * i) + rough(random) * std::min(step, 0.02));
        contour.emplace_back(centre.x() + r * std::cos(step * i),
                             centre.y() + r * std::sin(step * i));
    }
    return contour;
}

std::vector<Points> contours(int vertices) {
    return {wavy({0, 0}, 100.0, vertices), wavy({-40, 0}, 15.0, vertices),
            wavy({40, 0}, 15.0, vertices), wavy({0, -40}, 15.0, vertices),
            wavy({0, 40}, 15.0, vertices)};
}

ERRegion2D region(int vertices) {
    ERRegion2D made(5, 1);
    for (const Points& contour : contours(vertices))
        made.Add(ERVec<ERPoint2D>(std::span<const ERPoint2D>(contour)));
    return made;
}

constexpr int many = 1000000;

const Points& queries() {
    static const Points points = [] {
        std::mt19937_64 random(2);
        std::uniform_real_distribution<double> coordinate(-125.0, 125.0);
        Points made;
        for (int i = 0; i < many; ++i) {
            const double x = coordinate(random);
            made.emplace_back(x, coordinate(random));
        }
        return made;
    }();
    return points;
}

// A way to and fro over the region, in short steps.
Points polyline(int count) {
    Points points;
    for (int i = 0; i < count; ++i) {
        const double t = static_cast<double>(i) / count;
        points.emplace_back(120.0 * std::sin(2.0 * std::numbers::pi * 61.0 * t),
                            120.0 * std::sin(2.0 * std::numbers::pi * 83.0 * t + 0.3));
    }
    return points;
}

void make_raster(benchmark::State& state) {
    const ERRegion2D asked = region(static_cast<int>(state.range(0)));
    for (auto _ : state) {
        const ERRegion2D fresh(asked); // without an index
        const ERRegion2DGrid raster(fresh);
        benchmark::DoNotOptimize(raster.get(0, 0));
    }
}

template <class Ask>
void million_points(benchmark::State& state, Ask ask) {
    long inside = 0;
    for (auto _ : state) {
        inside = 0;
        for (const ERPoint2D& p : queries())
            inside += ask(p);
    }
    state.counters["inside"] = static_cast<double>(inside);
}

void points_region(benchmark::State& state) {
    const ERRegion2D asked = region(static_cast<int>(state.range(0)));
    million_points(state, [&](const ERPoint2D& p) {
        int contour = 0;
        return asked.CheckPoint(p, contour) == REGION_INSIDE;
    });
}
// The polygons where the raster can't decide.
void points_raster_then_region(benchmark::State& state) {
    const ERRegion2D asked = region(static_cast<int>(state.range(0)));
    const ERRegion2DGrid raster(asked);
    million_points(state, [&](const ERPoint2D& p) {
        const ERRegion2DGrid::STATE known = raster.inside(p);
        if (known != ERRegion2DGrid::STATE_CROSSING) return known == ERRegion2DGrid::STATE_INSIDE;
        int contour = 0;
        return asked.CheckPoint(p, contour) == REGION_INSIDE;
    });
}
void points_raster_alone(benchmark::State& state) {
    const ERRegion2D asked = region(static_cast<int>(state.range(0)));
    const ERRegion2DGrid raster(asked);
    million_points(state, [&](const ERPoint2D& p) {
        return raster.inside(p) == ERRegion2DGrid::STATE_INSIDE;
    });
}

ERMinimax2D box_at(const ERPoint2D& p) { return {p.x(), p.x() + 3.0, p.y(), p.y() + 2.0}; }

void boxes_region(benchmark::State& state) {
    const ERRegion2D asked = region(static_cast<int>(state.range(0)));
    million_points(state, [&](const ERPoint2D& p) {
        return asked.IsInDomain(box_at(p)) == BOX_INSIDE_POLYGONE;
    });
}
void boxes_raster_alone(benchmark::State& state) {
    const ERRegion2D asked = region(static_cast<int>(state.range(0)));
    const ERRegion2DGrid raster(asked);
    million_points(state, [&](const ERPoint2D& p) {
        return raster.relative_position(box_at(p)) == ERRegion2DGrid::REGION_POS_INSIDE;
    });
}

void clip_region(benchmark::State& state) {
    const ERRegion2D asked = region(static_cast<int>(state.range(0)));
    const Points line = polyline(static_cast<int>(state.range(1)));
    const ERVec<ERPoint2D> walked{std::span<const ERPoint2D>(line)};
    int pieces = 0;
    for (auto _ : state) {
        ERTValVector<ERVec<ERPoint2D>> result;
        asked.Intersect(walked, result);
        pieces = result.length();
    }
    state.counters["pieces"] = pieces;
}

class Segment : public ERChainerSeg2D {
public:
    Segment(const ERPoint2D& from, const ERPoint2D& to) : a(from), b(to) {}
    ERPoint2D getExt1() const override { return a; }
    ERPoint2D getExt2() const override { return b; }
    ERVector2D getTan1() const override { return ERVector2D(a, b); }
    ERVector2D getTan2() const override { return ERVector2D(a, b); }
    ERObject* getCopy() const override { return new Segment(*this); }

private:
    ERPoint2D a, b;
};

// Closed outlines of a thousand pieces, cut, shuffled and half of the pieces turned round. With
// `order` 1 the pieces come one after the other against their direction.
std::vector<std::pair<ERPoint2D, ERPoint2D>> pieces(int count, int order) {
    std::vector<std::pair<ERPoint2D, ERPoint2D>> all;
    for (int k = 0; k < count / 1000; ++k) {
        const Points v = wavy({300.0 * (k % 32), 300.0 * (k / 32)}, 100.0, 1000);
        for (std::size_t i = v.size(); i > 0; --i)
            all.emplace_back(v[i - 1], v[i % v.size()]);
    }
    if (order == 1) return all;
    std::mt19937_64 random(3);
    std::shuffle(all.begin(), all.end(), random);
    for (auto& piece : all)
        if (random() % 2 == 0) std::swap(piece.first, piece.second);
    return all;
}

void chain(benchmark::State& state) {
    const auto all = pieces(static_cast<int>(state.range(0)), static_cast<int>(state.range(1)));
    int chains = 0;
    for (auto _ : state) {
        ERChainerProcessor processor;
        for (const auto& [a, b] : all)
            processor.insert(t_SmartPtr<ERChainerSeg2D>(new Segment(a, b)));
        chains = processor.entries();
    }
    state.counters["chains"] = chains;
}

#if defined(VELM_BENCH_HAS_GEOS)
class Geos {
public:
    Geos() : handle(GEOS_init_r()) {}
    ~Geos() { GEOS_finish_r(handle); }
    GEOSCoordSequence* sequence(const Points& points, bool closed) const {
        const auto count = static_cast<unsigned>(points.size());
        GEOSCoordSequence* const made = GEOSCoordSeq_create_r(handle, count + closed, 2);
        for (unsigned i = 0; i < count + closed; ++i)
            GEOSCoordSeq_setXY_r(handle, made, i, points[i % count].x(), points[i % count].y());
        return made;
    }
    GEOSGeometry* polygon(int vertices) const {
        std::vector<GEOSGeometry*> rings;
        for (const Points& contour : contours(vertices))
            rings.push_back(GEOSGeom_createLinearRing_r(handle, sequence(contour, true)));
        return GEOSGeom_createPolygon_r(handle, rings[0], rings.data() + 1,
                                        static_cast<unsigned>(rings.size() - 1));
    }

    GEOSContextHandle_t handle;
};

void points_geos_prepared(benchmark::State& state) {
    const Geos geos;
    GEOSGeometry* const polygon = geos.polygon(static_cast<int>(state.range(0)));
    const GEOSPreparedGeometry* const prepared = GEOSPrepare_r(geos.handle, polygon);
    std::vector<GEOSGeometry*> points; // not counted
    for (const ERPoint2D& p : queries())
        points.push_back(GEOSGeom_createPointFromXY_r(geos.handle, p.x(), p.y()));
    std::size_t at = 0;
    million_points(state, [&](const ERPoint2D&) {
        return GEOSPreparedContains_r(geos.handle, prepared, points[at++ % points.size()]) == 1;
    });
    for (GEOSGeometry* point : points)
        GEOSGeom_destroy_r(geos.handle, point);
    GEOSPreparedGeom_destroy_r(geos.handle, prepared);
    GEOSGeom_destroy_r(geos.handle, polygon);
}

void boxes_geos_prepared(benchmark::State& state) {
    const Geos geos;
    GEOSGeometry* const polygon = geos.polygon(static_cast<int>(state.range(0)));
    const GEOSPreparedGeometry* const prepared = GEOSPrepare_r(geos.handle, polygon);
    million_points(state, [&](const ERPoint2D& p) {
        const ERMinimax2D box = box_at(p);
        GEOSGeometry* const rectangle = GEOSGeom_createPolygon_r(
            geos.handle,
            GEOSGeom_createLinearRing_r(geos.handle, geos.sequence({{box.xmin, box.ymin},
                                                                    {box.xmax, box.ymin},
                                                                    {box.xmax, box.ymax},
                                                                    {box.xmin, box.ymax}},
                                                                   true)),
            nullptr, 0);
        const bool held = GEOSPreparedContains_r(geos.handle, prepared, rectangle) == 1;
        GEOSGeom_destroy_r(geos.handle, rectangle);
        return held;
    });
    GEOSPreparedGeom_destroy_r(geos.handle, prepared);
    GEOSGeom_destroy_r(geos.handle, polygon);
}

void clip_geos(benchmark::State& state) {
    const Geos geos;
    GEOSGeometry* const polygon = geos.polygon(static_cast<int>(state.range(0)));
    GEOSGeometry* const line = GEOSGeom_createLineString_r(
        geos.handle, geos.sequence(polyline(static_cast<int>(state.range(1))), false));
    int found = 0;
    for (auto _ : state) {
        GEOSGeometry* const result = GEOSIntersection_r(geos.handle, polygon, line);
        found = GEOSGetNumGeometries_r(geos.handle, result);
        GEOSGeom_destroy_r(geos.handle, result);
    }
    state.counters["pieces"] = found;
    GEOSGeom_destroy_r(geos.handle, line);
    GEOSGeom_destroy_r(geos.handle, polygon);
}

// Ends that meet exactly: GEOS merges without a tolerance.
void chain_geos_line_merge(benchmark::State& state) {
    const Geos geos;
    std::vector<GEOSGeometry*> lines;
    for (const auto& [a, b] :
         pieces(static_cast<int>(state.range(0)), static_cast<int>(state.range(1))))
        lines.push_back(
            GEOSGeom_createLineString_r(geos.handle, geos.sequence(Points{a, b}, false)));
    GEOSGeometry* const all = GEOSGeom_createCollection_r(
        geos.handle, GEOS_MULTILINESTRING, lines.data(), static_cast<unsigned>(lines.size()));
    int chains = 0;
    for (auto _ : state) {
        GEOSGeometry* const merged = GEOSLineMerge_r(geos.handle, all);
        chains = GEOSGetNumGeometries_r(geos.handle, merged);
        GEOSGeom_destroy_r(geos.handle, merged);
    }
    state.counters["chains"] = chains;
    GEOSGeom_destroy_r(geos.handle, all);
}
#endif

#if defined(VELM_BENCH_HAS_BOOST_GEOMETRY)
namespace bg = boost::geometry;
using BoostPoint = bg::model::d2::point_xy<double>;
using BoostPolygon = bg::model::polygon<BoostPoint>;
using BoostLine = bg::model::linestring<BoostPoint>;

BoostPolygon boost_polygon(int vertices) {
    BoostPolygon polygon;
    const auto all = contours(vertices);
    polygon.inners().resize(all.size() - 1);
    for (std::size_t i = 0; i < all.size(); ++i) {
        auto& ring = i == 0 ? polygon.outer() : polygon.inners()[i - 1];
        for (const ERPoint2D& p : all[i])
            ring.emplace_back(p.x(), p.y());
    }
    bg::correct(polygon);
    return polygon;
}

// A thousandth of the points: every query walks all edges.
void thousandth_of_points_boost(benchmark::State& state) {
    const BoostPolygon polygon = boost_polygon(static_cast<int>(state.range(0)));
    for (auto _ : state) {
        long inside = 0;
        for (std::size_t i = 0; i < many / 1000; ++i)
            inside += bg::within(BoostPoint(queries()[i].x(), queries()[i].y()), polygon);
        benchmark::DoNotOptimize(std::as_const(inside));
    }
}

void clip_boost(benchmark::State& state) {
    const BoostPolygon polygon = boost_polygon(static_cast<int>(state.range(0)));
    BoostLine line;
    for (const ERPoint2D& p : polyline(static_cast<int>(state.range(1))))
        line.emplace_back(p.x(), p.y());
    std::size_t found = 0;
    for (auto _ : state) {
        bg::model::multi_linestring<BoostLine> result;
        bg::intersection(polygon, line, result);
        found = result.size();
    }
    state.counters["pieces"] = static_cast<double>(found);
}
#endif

#if defined(VELM_BENCH_HAS_CGAL)
// A thousandth of the points: every query walks all edges.
void thousandth_of_points_cgal(benchmark::State& state) {
    using Kernel = CGAL::Exact_predicates_inexact_constructions_kernel;
    std::vector<std::vector<Kernel::Point_2>> rings;
    for (const Points& contour : contours(static_cast<int>(state.range(0)))) {
        rings.emplace_back();
        for (const ERPoint2D& p : contour)
            rings.back().emplace_back(p.x(), p.y());
    }
    const auto in = [](const Kernel::Point_2& p, const std::vector<Kernel::Point_2>& ring) {
        return CGAL::bounded_side_2(ring.begin(), ring.end(), p, Kernel()) == CGAL::ON_BOUNDED_SIDE;
    };
    for (auto _ : state) {
        long inside = 0;
        for (std::size_t i = 0; i < many / 1000; ++i) {
            const Kernel::Point_2 p(queries()[i].x(), queries()[i].y());
            inside += in(p, rings[0]) && !in(p, rings[1]) && !in(p, rings[2]) && !in(p, rings[3]) &&
                      !in(p, rings[4]);
        }
        benchmark::DoNotOptimize(std::as_const(inside));
    }
}
#endif

void sizes(benchmark::internal::Benchmark* row) {
    row->Arg(200)->Arg(2000)->Arg(20000)->Unit(benchmark::kMillisecond);
}
void clip_sizes(benchmark::internal::Benchmark* row) {
    row->Args({200, 100000})->Args({20000, 100000})->Args({20000, 1000});
    row->Unit(benchmark::kMillisecond);
}
void chain_sizes(benchmark::internal::Benchmark* row) {
    for (const int count : {1000, 10000, 100000, 1000000})
        row->Args({count, 0})->Args({count, 1});
    row->Unit(benchmark::kMillisecond);
}

} // namespace

BENCHMARK(make_raster)->Apply(sizes);
BENCHMARK(points_region)->Apply(sizes);
BENCHMARK(points_raster_then_region)->Apply(sizes);
BENCHMARK(points_raster_alone)->Apply(sizes);
BENCHMARK(boxes_region)->Apply(sizes);
BENCHMARK(boxes_raster_alone)->Apply(sizes);
BENCHMARK(clip_region)->Apply(clip_sizes);
BENCHMARK(chain)->Apply(chain_sizes);
#if defined(VELM_BENCH_HAS_GEOS)
BENCHMARK(points_geos_prepared)->Apply(sizes);
BENCHMARK(boxes_geos_prepared)->Apply(sizes);
BENCHMARK(clip_geos)->Apply(clip_sizes);
BENCHMARK(chain_geos_line_merge)->Apply(chain_sizes);
#endif
#if defined(VELM_BENCH_HAS_BOOST_GEOMETRY)
BENCHMARK(thousandth_of_points_boost)->Apply(sizes);
BENCHMARK(clip_boost)->Apply(clip_sizes);
#endif
#if defined(VELM_BENCH_HAS_CGAL)
BENCHMARK(thousandth_of_points_cgal)->Apply(sizes);
#endif
