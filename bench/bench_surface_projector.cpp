// Nearest points of, and lines through, a bicubic panel of 12 x 10 spans: velm::SurfaceProjector,
// and beside it SISL and Open CASCADE where they are found. The argument of the rows is the reach
// of the points above the panel, in thousandths of a span.
#include "velm/surfaces/line_crossings.h"
#include "velm/surfaces/nurbs_surface.h"
#include "velm/surfaces/surface_projector.h"

#include "peers.h"

#include <benchmark/benchmark.h>

#include <cmath>
#include <cstdlib>
#include <vector>

#if defined(VELM_BENCH_HAS_SISL)
#include <sisl.h>
#endif
#if defined(VELM_BENCH_HAS_OCCT)
#include <Extrema_ExtPS.hxx>
#include <GeomAPI_IntCS.hxx>
#include <GeomAdaptor_Surface.hxx>
#include <Geom_BSplineSurface.hxx>
#include <Geom_Line.hxx>
#include <TColStd_Array1OfInteger.hxx>
#include <TColStd_Array1OfReal.hxx>
#include <TColgp_Array2OfPnt.hxx>
#endif

namespace {

constexpr int degree = 3, spans_u = 12, spans_v = 10, queries = 1024;
constexpr int poles_u = spans_u + degree, poles_v = spans_v + degree;

// Spans of length 1, waved by a twelfth of its length.
const ERSpoleNURBS3D& panel() {
    static const ERSpoleNURBS3D made = [] {
        velm_bench::Numbers numbers;
        ERMatrix<ERPole3DH> net(poles_v, poles_u);
        for (int j = 0; j < poles_v; ++j)
            for (int i = 0; i < poles_u; ++i)
                net(j, i) = ERPole3DH(ERPoint3D(i + 0.1 * numbers.next(), j + 0.1 * numbers.next(),
                                                0.8 * std::sin(0.4 * i) * std::cos(0.3 * j)),
                                      1.0);
        return ERSpoleNURBS3D(net, ERKnotVector(degree, poles_u, ERLimites(0, spans_u)),
                              ERKnotVector(degree, poles_v, ERLimites(0, spans_v)));
    }();
    return made;
}

struct Query {
    ERPoint3D p;
    ERPoint2D place;
};
std::vector<Query> points(const benchmark::State& state) {
    velm_bench::Numbers numbers(7);
    const auto surface = velm::prepare(panel());
    const double reach = 1e-3 * static_cast<double>(state.range(0));
    std::vector<Query> list;
    for (int k = 0; k < queries; ++k) {
        const double u = 0.5 * spans_u * (1 + numbers.next());
        const double v = 0.5 * spans_v * (1 + numbers.next());
        const ERVector3D offset = surface->normal(u, v) * (reach * numbers.next());
        list.push_back({(*surface)(u, v) + ERPoint3D(offset), ERPoint2D(u, v)});
    }
    return list;
}

// Runs f over the list; results are summed so that none is left out.
template <class List, class F>
void run(benchmark::State& state, const List& list, std::size_t count, F f) {
    for (auto _ : state) {
        double sum = 0.0;
        for (std::size_t k = 0; k < count; ++k)
            sum += f(list[k]);
        const double result = sum;
        benchmark::DoNotOptimize(result);
    }
    state.SetItemsProcessed(state.iterations() * static_cast<long>(count));
}

velm::SurfaceProjector projector() { return *velm::SurfaceProjector::on(*velm::prepare(panel())); }
void setup(benchmark::State& state) {
    for (auto _ : state)
        benchmark::DoNotOptimize(projector());
}
void nearest(benchmark::State& state) {
    const velm::SurfaceProjector surface = projector();
    run(state, points(state), queries,
        [&](const Query& q) { return surface.nearest(q.p).distance; });
}
void nearest_with_hint(benchmark::State& state) {
    const velm::SurfaceProjector surface = projector();
    run(state, points(state), queries, [&](const Query& q) {
        return surface.nearest(q.p, q.place + ERPoint2D(0.03, -0.02)).distance;
    });
}
BENCHMARK(setup);
BENCHMARK(nearest)->Arg(0)->Arg(50)->Arg(3000);
BENCHMARK(nearest_with_hint)->Arg(0)->Arg(50)->Arg(3000);

struct Line {
    ERPoint3D p;
    ERVector3D d;
};
// Through a point of the panel; grazing lines rise by at most a fiftieth.
std::vector<Line> lines(bool grazing) {
    velm_bench::Numbers numbers(11);
    const auto surface = velm::prepare(panel());
    std::vector<Line> list;
    for (int k = 0; k < queries; ++k) {
        const double u = 0.5 * spans_u * (1 + numbers.next());
        const double v = 0.5 * spans_v * (1 + numbers.next());
        const double rise = grazing ? 0.02 * numbers.next() : 1.0;
        list.push_back({(*surface)(u, v), ERVector3D(numbers.next(), numbers.next(), rise)});
    }
    return list;
}
void line(benchmark::State& state, bool grazing) {
    const velm::SurfaceProjector surface = projector();
    std::vector<velm::SurfaceCrossing> crossings;
    run(state, lines(grazing), queries, [&](const Line& l) {
        velm::line_crossings(surface, l.p, l.d, crossings);
        return static_cast<double>(crossings.size());
    });
}
BENCHMARK_CAPTURE(line, oblique, false);
BENCHMARK_CAPTURE(line, grazing, true);

#if defined(VELM_BENCH_HAS_SISL)
constexpr double sisl_resolution = 1e-10;
SISLSurf* sisl_panel() {
    ERKnotVector u = panel().knotVectorU(), v = panel().knotVectorV();
    std::vector<double> net;
    for (const ERPole3DH& p : panel().poles().view())
        net.insert(net.end(), {p.x_, p.y_, p.z_});
    return newSurf(poles_u, poles_v, degree + 1, degree + 1, &u[0], &v[0], net.data(), 1, 3, 1);
}
void nearest_sisl(benchmark::State& state, bool safe) {
    SISLSurf* const surface = sisl_panel();
    run(state, points(state), safe ? 32 : queries, [&](const Query& q) {
        double p[] = {q.p.x(), q.p.y(), q.p.z()}, place[2] = {}, distance = 0.0;
        int status = 0;
        if (!safe) {
            s1958(surface, p, 3, 0.0, sisl_resolution, place, &distance, &status);
            return distance;
        }
        int found = 0, stretches = 0;
        double* places = nullptr;
        SISLIntcurve** curves = nullptr;
        s1954(surface, p, 3, 0.0, sisl_resolution, &found, &places, &stretches, &curves, &status);
        std::free(places);
        freeIntcrvlist(curves, stretches);
        return static_cast<double>(found);
    });
    freeSurf(surface);
}
void line_sisl(benchmark::State& state, bool grazing) {
    SISLSurf* const surface = sisl_panel();
    run(state, lines(grazing), 128, [&](const Line& l) {
        double p[] = {l.p.x(), l.p.y(), l.p.z()}, d[] = {l.d.i(), l.d.j(), l.d.k()};
        int status = 0, found = 0, stretches = 0;
        double* places = nullptr;
        SISLIntcurve** curves = nullptr;
        s1856(surface, p, d, 3, 0.0, sisl_resolution, &found, &places, &stretches, &curves,
              &status);
        std::free(places);
        freeIntcrvlist(curves, stretches);
        return static_cast<double>(found);
    });
    freeSurf(surface);
}
BENCHMARK_CAPTURE(nearest_sisl, fast_s1958, false)->Arg(50)->Arg(3000);
BENCHMARK_CAPTURE(nearest_sisl, safe_s1954, true)->Arg(50)->Arg(3000);
BENCHMARK_CAPTURE(line_sisl, oblique, false);
BENCHMARK_CAPTURE(line_sisl, grazing, true);
#endif

#if defined(VELM_BENCH_HAS_OCCT)
Handle(Geom_BSplineSurface) occt_panel() {
    TColgp_Array2OfPnt net(1, poles_u, 1, poles_v);
    for (int j = 0; j < poles_v; ++j)
        for (int i = 0; i < poles_u; ++i) {
            const ERPoint3D p = panel().poles()(j, i).castToPoint();
            net(i + 1, j + 1) = gp_Pnt(p.x(), p.y(), p.z());
        }
    const auto knots = [](int spans) {
        TColStd_Array1OfReal list(1, spans + 1);
        for (int k = 0; k <= spans; ++k)
            list(k + 1) = k;
        return list;
    };
    const auto copies = [](int spans) {
        TColStd_Array1OfInteger list(1, spans + 1);
        for (int k = 0; k <= spans; ++k)
            list(k + 1) = k == 0 || k == spans ? degree + 1 : 1;
        return list;
    };
    return new Geom_BSplineSurface(net, knots(spans_u), knots(spans_v), copies(spans_u),
                                   copies(spans_v), degree, degree);
}
void nearest_occt(benchmark::State& state) {
    const GeomAdaptor_Surface surface(occt_panel());
    Extrema_ExtPS feet;
    feet.SetFlag(Extrema_ExtFlag_MIN);
    feet.Initialize(surface, 0, spans_u, 0, spans_v, 1e-10, 1e-10);
    run(state, points(state), 256, [&](const Query& q) {
        feet.Perform(gp_Pnt(q.p.x(), q.p.y(), q.p.z()));
        double least = 1e300;
        for (int k = 1; feet.IsDone() && k <= feet.NbExt(); ++k)
            least = std::min(least, feet.SquareDistance(k));
        return least;
    });
}
void line_occt(benchmark::State& state, bool grazing) {
    const auto surface = occt_panel();
    run(state, lines(grazing), 64, [&](const Line& l) {
        const Handle(Geom_Line) curve =
            new Geom_Line(gp_Pnt(l.p.x(), l.p.y(), l.p.z()), gp_Dir(l.d.i(), l.d.j(), l.d.k()));
        const GeomAPI_IntCS crossings(curve, surface);
        return static_cast<double>(crossings.NbPoints());
    });
}
BENCHMARK(nearest_occt)->Arg(50)->Arg(3000);
BENCHMARK_CAPTURE(line_occt, oblique, false);
BENCHMARK_CAPTURE(line_occt, grazing, true);
#endif

} // namespace
