// A rational bicubic surface of 30 x 30 poles at random parameters: points, derivatives, a grid,
// splitting, decomposing, triangles, its box; a torus, a turned and a moved surface; the contract's
// class, the prepared surface, and beside them SISL and Open CASCADE where they are found.
#include "velm/frame/finite_entity.h"
#include "velm/surfaces/analytic_to_nurbs.h"
#include "velm/surfaces/nurbs_decomposer.h"
#include "velm/surfaces/nurbs_surface.h"
#include "velm/surfaces/offset_surface.h"
#include "velm/surfaces/prepared_surface.h"
#include "velm/surfaces/recognition.h"
#include "velm/surfaces/revolution_surface.h"
#include "velm/surfaces/surface_box.h"
#include "velm/surfaces/tessellation.h"
#include "velm/surfaces/torus.h"

#include "peers.h"

#include <benchmark/benchmark.h>

#include <cmath>
#include <numbers>
#include <vector>

#if defined(VELM_BENCH_HAS_SISL)
#include <sisl.h>
#endif
#if defined(VELM_BENCH_HAS_OCCT)
#include <Geom_BSplineSurface.hxx>
#include <Geom_ToroidalSurface.hxx>
#include <TColStd_Array1OfInteger.hxx>
#include <TColStd_Array1OfReal.hxx>
#include <TColStd_Array2OfReal.hxx>
#include <TColgp_Array2OfPnt.hxx>
#include <gp_Ax3.hxx>
#include <gp_Vec.hxx>
#endif

namespace {

constexpr int poles = 30, degree = 3, queries = 4096, grid_side = 100;

const ERSpoleNURBS3D& surface() {
    static const ERSpoleNURBS3D made = [] {
        velm_bench::Numbers numbers;
        ERMatrix<ERPole3DH> net(poles, poles);
        for (int j = 0; j < poles; ++j)
            for (int i = 0; i < poles; ++i) {
                const double w = 1.25 + 0.75 * numbers.next();
                const ERPoint3D p(i + 0.2 * numbers.next(), j + 0.2 * numbers.next(),
                                  2 * std::sin(0.4 * i) * std::cos(0.3 * j));
                net(j, i) = ERPole3DH(p * w, w);
            }
        const ERKnotVector knots(degree, poles, ERLimites(0.0, poles - degree));
        return ERSpoleNURBS3D(net, knots, knots);
    }();
    return made;
}

std::vector<ERPoint2D> places() {
    velm_bench::Numbers numbers(7);
    std::vector<ERPoint2D> list;
    for (int k = 0; k < queries; ++k) {
        const double half = 0.5 * (poles - degree);
        const double u = half * (1.0 + numbers.next()), v = half * (1.0 + numbers.next());
        list.emplace_back(u, v);
    }
    return list;
}

// Runs f over the places; its results are summed so that none is left out.
template <class F>
void run(benchmark::State& state, F f) {
    const std::vector<ERPoint2D> at = places();
    for (auto _ : state) {
        double sum = 0.0;
        for (const ERPoint2D& p : at)
            sum += f(p.x(), p.y());
        const double result = sum;
        benchmark::DoNotOptimize(result);
    }
    state.SetItemsProcessed(state.iterations() * queries);
}

void point(benchmark::State& state) {
    const ERSpoleNURBS3D& s = surface();
    run(state, [&](double u, double v) { return s(u, v).x(); });
}
BENCHMARK(point);
void point_prepared(benchmark::State& state) {
    const auto s = velm::prepare(surface());
    run(state, [&](double u, double v) { return (*s)(u, v).x(); });
}
BENCHMARK(point_prepared);
void second_derivatives(benchmark::State& state) {
    const ERSpoleNURBS3D& s = surface();
    run(state, [&](double u, double v) { return s.PtCur(u, v).point().x(); });
}
BENCHMARK(second_derivatives);
void second_derivatives_prepared(benchmark::State& state) {
    const auto s = velm::prepare(surface());
    run(state, [&](double u, double v) { return s->jet(u, v).duv.i(); });
}
BENCHMARK(second_derivatives_prepared);

// What of the samples a batch or a grid fills.
void fill(benchmark::State& state, bool as_grid, bool with_second) {
    const auto s = velm::prepare(surface());
    std::vector<double> steps;
    for (int i = 0; i < grid_side; ++i)
        steps.push_back((poles - degree) * (i + 0.5) / grid_side);
    const std::vector<ERPoint2D> at = places();
    const std::size_t count = as_grid ? steps.size() * steps.size() : at.size();
    std::vector<ERPoint3D> points(count);
    std::vector<ERVector3D> vectors[5];
    velm::SurfaceSamples samples;
    samples.points = points;
    if (with_second) {
        for (auto& list : vectors)
            list.resize(count);
        samples.du = vectors[0], samples.dv = vectors[1], samples.duu = vectors[2];
        samples.duv = vectors[3], samples.dvv = vectors[4];
    }
    for (auto _ : state) {
        if (as_grid) {
            s->grid(steps, steps, samples);
        } else {
            s->evaluate(at, samples);
        }
        benchmark::DoNotOptimize(points.data());
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * static_cast<long>(count));
}
void batch_of_points(benchmark::State& state) { fill(state, false, false); }
BENCHMARK(batch_of_points);
void batch_of_second_derivatives(benchmark::State& state) { fill(state, false, true); }
BENCHMARK(batch_of_second_derivatives);
void grid_of_points(benchmark::State& state) { fill(state, true, false); }
BENCHMARK(grid_of_points);
void grid_of_second_derivatives(benchmark::State& state) { fill(state, true, true); }
BENCHMARK(grid_of_second_derivatives);

void split(benchmark::State& state) {
    const ERSpoleNURBS3D& s = surface();
    const bool along_u = state.range(0) != 0;
    for (auto _ : state) {
        t_SmartPtr<ERSpoleNURBS3D> a, b;
        along_u ? s.SplitInU(a, b, 13.3) : s.SplitInV(a, b, 13.3);
        benchmark::DoNotOptimize(a.get());
    }
}
BENCHMARK(split)->ArgName("along_u")->Arg(1)->Arg(0);
void decomposition(benchmark::State& state) {
    const ERSpoleNURBS3D& s = surface();
    for (auto _ : state) {
        const Nurbs3DToBezier3DRDecomposer patches(s);
        benchmark::DoNotOptimize(patches.nu());
    }
}
BENCHMARK(decomposition);

// A torus: an analytic surface.
ERBoundedTorus torus() {
    const double turn = 2.0 * std::numbers::pi;
    return {ERPmIsometrie3D(), 9.0, 4.0, 0.0, turn, 0.0, turn};
}
void torus_point(benchmark::State& state) {
    const ERBoundedTorus t = torus();
    run(state, [&](double u, double v) { return t(u, v).x(); });
}
BENCHMARK(torus_point);
void torus_point_prepared(benchmark::State& state) {
    const auto t = velm::prepare(torus());
    run(state, [&](double u, double v) { return (*t)(u, v).x(); });
}
BENCHMARK(torus_point_prepared);
void torus_second_derivatives(benchmark::State& state) {
    const ERBoundedTorus t = torus();
    run(state, [&](double u, double v) { return t.PtCur(u, v).point().x(); });
}
BENCHMARK(torus_second_derivatives);
void torus_second_derivatives_prepared(benchmark::State& state) {
    const auto t = velm::prepare(torus());
    run(state, [&](double u, double v) { return t->jet(u, v).duv.i(); });
}
BENCHMARK(torus_second_derivatives_prepared);

// Derived surfaces: the torus as a turned circle, and the rational surface moved.
void revolution_second_derivatives_prepared(benchmark::State& state) {
    const t_SmartPtr<ERFiniteEntity3DWF> circle = torus().getEntityIsoU(0.0);
    const double turn = 2.0 * std::numbers::pi;
    const auto t = velm::prepare(
        ERSurOfRevolution(circle, ERInfLine3D(ERVector3D(0, 0, 1), ERPoint3D()), 0.0, turn));
    run(state, [&](double u, double v) { return t->jet(u, v).duv.i(); });
}
BENCHMARK(revolution_second_derivatives_prepared);
void offset_second_derivatives_prepared(benchmark::State& state) {
    const auto s = velm::prepare(EROffsetSurface(surface(), 0.1, ERVector3D(0, 0, 1)));
    run(state, [&](double u, double v) { return s->jet(u, v).duv.i(); });
}
BENCHMARK(offset_second_derivatives_prepared);

// Whole surfaces; the time for each triangle.
void triangles(benchmark::State& state, const ERAnyBoundedSurface& of, double chord_error) {
    const auto s = velm::prepare(of);
    std::size_t count = 0;
    for (auto _ : state) {
        const velm::SurfaceMesh mesh = velm::tessellate(*s, chord_error);
        count = mesh.triangles.size();
        benchmark::DoNotOptimize(mesh.triangles.data());
    }
    state.counters["triangles"] = static_cast<double>(count);
    state.SetItemsProcessed(state.iterations() * static_cast<long>(count));
}
void triangles_rational(benchmark::State& state) { triangles(state, surface(), 0.1); }
BENCHMARK(triangles_rational);
void triangles_torus(benchmark::State& state) { triangles(state, torus(), 0.01); }
BENCHMARK(triangles_torus);
void box(benchmark::State& state) {
    const auto s = velm::prepare(surface());
    for (auto _ : state) {
        const velm::TightBox found = velm::tight_box(*s, 1e-9);
        benchmark::DoNotOptimize(found.box.xmin);
    }
}
BENCHMARK(box);
void recognition(benchmark::State& state) {
    const auto s = velm::prepare(*velm::to_nurbs(torus()));
    for (auto _ : state) {
        const auto found = velm::recognize(*s, 1e-9);
        benchmark::DoNotOptimize(found->deviation);
    }
}
BENCHMARK(recognition);

#if defined(VELM_BENCH_HAS_SISL)
SISLSurf* sisl_surface() {
    const ERSpoleNURBS3D& s = surface();
    ERKnotVector knots = s.knotVectorU();
    ERMatrix<ERPole3DH> net = s.poles();
    double* const k = &knots[0];
    return newSurf(poles, poles, degree + 1, degree + 1, k, k, &net(0, 0).x_, 2, 3, 1);
}
void sisl(benchmark::State& state, int order) {
    SISLSurf* const s = sisl_surface();
    int left_u = 0, left_v = 0;
    run(state, [&](double u, double v) {
        double parameter[] = {u, v}, values[18], normal[3];
        int status = 0;
        s1421(s, order, parameter, &left_u, &left_v, values, normal, &status);
        return values[0];
    });
    freeSurf(s);
}
void point_sisl(benchmark::State& state) { sisl(state, 0); }
BENCHMARK(point_sisl);
void second_derivatives_sisl(benchmark::State& state) { sisl(state, 2); }
BENCHMARK(second_derivatives_sisl);
#endif

#if defined(VELM_BENCH_HAS_OCCT)
Handle(Geom_BSplineSurface) occt_surface() {
    const ERSpoleNURBS3D& s = surface();
    TColgp_Array2OfPnt net(1, poles, 1, poles);
    TColStd_Array2OfReal weights(1, poles, 1, poles);
    for (int j = 0; j < poles; ++j)
        for (int i = 0; i < poles; ++i) {
            const ERPole3DH& pole = s.poles()(j, i);
            const ERPoint3D p = pole.castToPoint();
            net(i + 1, j + 1) = gp_Pnt(p.x(), p.y(), p.z());
            weights(i + 1, j + 1) = pole.weigth();
        }
    constexpr int spans = poles - degree;
    TColStd_Array1OfReal knots(1, spans + 1);
    TColStd_Array1OfInteger copies(1, spans + 1);
    for (int k = 0; k <= spans; ++k) {
        knots(k + 1) = k;
        copies(k + 1) = k == 0 || k == spans ? degree + 1 : 1;
    }
    return new Geom_BSplineSurface(net, weights, knots, knots, copies, copies, degree, degree);
}
void point_occt(benchmark::State& state) {
    const auto s = occt_surface();
    run(state, [&](double u, double v) {
        gp_Pnt p;
        s->D0(u, v, p);
        return p.X();
    });
}
BENCHMARK(point_occt);
void second_derivatives_occt(benchmark::State& state) {
    const auto s = occt_surface();
    run(state, [&](double u, double v) {
        gp_Pnt p;
        gp_Vec du, dv, duu, dvv, duv;
        s->D2(u, v, p, du, dv, duu, dvv, duv);
        return p.X();
    });
}
BENCHMARK(second_derivatives_occt);
void torus_point_occt(benchmark::State& state) {
    const Handle(Geom_ToroidalSurface) t = new Geom_ToroidalSurface(gp_Ax3(), 9.0, 4.0);
    run(state, [&](double u, double v) {
        gp_Pnt p;
        t->D0(u, v, p);
        return p.X();
    });
}
BENCHMARK(torus_point_occt);
void torus_second_derivatives_occt(benchmark::State& state) {
    const Handle(Geom_ToroidalSurface) t = new Geom_ToroidalSurface(gp_Ax3(), 9.0, 4.0);
    run(state, [&](double u, double v) {
        gp_Pnt p;
        gp_Vec du, dv, duu, dvv, duv;
        t->D2(u, v, p, du, dv, duu, dvv, duv);
        return p.X();
    });
}
BENCHMARK(torus_second_derivatives_occt);
#endif

} // namespace
