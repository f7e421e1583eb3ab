// NURBS curves: evaluation at random parameters, insertion of a knot, elevation of the degree and
// Bezier pieces, on one rational cubic of 30 poles, beside SISL and Open CASCADE where they are
// found. The peers make new curves as their interfaces have it.
#include "velm/curves/detail/pole_arrays.h"
#include "velm/curves/detail/spline_rows.h"
#include "velm/curves/nurbs_curve.h"

#include "peers.h"

#include <benchmark/benchmark.h>

#include <cmath>
#include <vector>

#if defined(VELM_BENCH_HAS_SISL)
#include <sisl.h>
#endif
#if defined(VELM_BENCH_HAS_OCCT)
#include "occt_curve.h"

#include <GeomConvert_BSplineCurveToBezierCurve.hxx>
#endif

namespace {

constexpr int degree = 3;
constexpr int pole_count = 30;

// The rational cubic, and the parameters to evaluate it at.
struct Problem {
    ERVec<ERPole3DH> poles{pole_count};
    ERKnotVector knots{degree, pole_count, ERLimites(0.0, 1.0)};
    std::vector<double> parameters;

    Problem() {
        velm_bench::Numbers numbers;
        for (int i = 0; i < pole_count; ++i) {
            const double angle = 0.3 * i, w = 1.0 + 0.5 * numbers.next();
            poles[i] = ERPole3DH(w * std::cos(angle), w * std::sin(angle), w * 0.1 * i, w);
        }
        for (int i = 0; i < 1024; ++i)
            parameters.push_back(0.5 + 0.5 * numbers.next());
    }
    ERCpoleNURBS3D curve() const { return {poles, knots}; }
};

const Problem& problem() {
    static const Problem made;
    return made;
}

// Runs f at the parameters in turn; its results are summed so that none is left out.
template <class F>
void evaluate(benchmark::State& state, F f) {
    const std::vector<double>& t = problem().parameters;
    for (auto _ : state) {
        double sum = 0.0;
        for (const double u : t)
            sum += f(u);
        const double result = sum;
        benchmark::DoNotOptimize(result);
    }
    state.SetItemsProcessed(state.iterations() * static_cast<int>(t.size()));
}

void point(benchmark::State& state) {
    ERCpoleNURBS3D curve = problem().curve();
    evaluate(state, [&](double u) { return curve(u).x(); });
}
void point_with_derivatives(benchmark::State& state) {
    ERCpoleNURBS3D curve = problem().curve();
    evaluate(state, [&](double u) {
        const ERInfoPoint3DWF at = curve.PtCur(u);
        return at.point().x() + at.tangente().i() + at.second_derivative().i();
    });
}
void knot_inserted(benchmark::State& state) {
    const ERCpoleNURBS3D curve = problem().curve();
    for (auto _ : state) {
        ERCpoleNURBS3D copy(curve);
        copy.insertKnot(0.4321, 1);
        const int count = copy.nbPoles();
        benchmark::DoNotOptimize(count);
    }
}
void degree_raised(benchmark::State& state) {
    const ERCpoleNURBS3D curve = problem().curve();
    for (auto _ : state) {
        ERCpoleNURBS3D copy(curve);
        copy.incrDegree(1);
        const int count = copy.nbPoles();
        benchmark::DoNotOptimize(count);
    }
}
void bezier_pieces(benchmark::State& state) {
    const Problem& p = problem();
    const velm::detail::KnotView knots = velm::detail::view_of(p.knots);
    std::vector<double> pieces(std::size_t(pole_count - degree) * (degree + 1) * 4);
    for (auto _ : state) {
        for (int i = 0; i < pole_count - degree; ++i)
            span_to_bezier(knots.knots + degree + i,
                           velm::detail::row_of(p.poles.view().subspan(std::size_t(i), degree + 1)),
                           {pieces.data() + i * (degree + 1) * 4, degree + 1, 4});
        const double last = pieces.back();
        benchmark::DoNotOptimize(last);
        benchmark::ClobberMemory();
    }
}

#if defined(VELM_BENCH_HAS_SISL)
SISLCurve* sisl_curve() {
    const Problem& p = problem();
    // SISL takes weighted coordinates and weights of a rational curve.
    return newCurve(pole_count, degree + 1, const_cast<double*>(p.knots.data()),
                    const_cast<double*>(velm::detail::row_of(p.poles).poles), 2, 3, 1);
}
void point_with_derivatives_sisl(benchmark::State& state) {
    SISLCurve* const curve = sisl_curve();
    int left = 0, status = 0;
    evaluate(state, [&](double u) {
        double derivatives[9];
        s1227(curve, 2, u, &left, derivatives, &status);
        return derivatives[0] + derivatives[3] + derivatives[6];
    });
    freeCurve(curve);
}
void knot_inserted_sisl(benchmark::State& state) {
    SISLCurve* const curve = sisl_curve();
    double knot = 0.4321;
    for (auto _ : state) {
        SISLCurve* made = nullptr;
        int status = 0;
        s1018(curve, &knot, 1, &made, &status);
        benchmark::DoNotOptimize(status);
        freeCurve(made);
    }
    freeCurve(curve);
}
void degree_raised_sisl(benchmark::State& state) {
    SISLCurve* const curve = sisl_curve();
    for (auto _ : state) {
        SISLCurve* made = nullptr;
        int status = 0;
        s1750(curve, degree + 2, &made, &status);
        benchmark::DoNotOptimize(status);
        freeCurve(made);
    }
    freeCurve(curve);
}
void bezier_pieces_sisl(benchmark::State& state) {
    SISLCurve* const curve = sisl_curve();
    for (auto _ : state) {
        SISLCurve* made = nullptr;
        int status = 0;
        s1730(curve, &made, &status);
        benchmark::DoNotOptimize(status);
        freeCurve(made);
    }
    freeCurve(curve);
}
BENCHMARK(point_with_derivatives_sisl);
BENCHMARK(knot_inserted_sisl);
BENCHMARK(degree_raised_sisl);
BENCHMARK(bezier_pieces_sisl);
#endif

#if defined(VELM_BENCH_HAS_OCCT)
Handle(Geom_BSplineCurve) occt_curve() { return velm_bench::occt_curve(problem().curve()); }
void point_with_derivatives_occt(benchmark::State& state) {
    const Handle(Geom_BSplineCurve) curve = occt_curve();
    evaluate(state, [&](double u) {
        gp_Pnt at;
        gp_Vec first, second;
        curve->D2(u, at, first, second);
        return at.X() + first.X() + second.X();
    });
}
void knot_inserted_occt(benchmark::State& state) {
    const Handle(Geom_BSplineCurve) curve = occt_curve();
    for (auto _ : state) {
        const Handle(Geom_BSplineCurve) copy = Handle(Geom_BSplineCurve)::DownCast(curve->Copy());
        copy->InsertKnot(0.4321);
        const int count = copy->NbPoles();
        benchmark::DoNotOptimize(count);
    }
}
void degree_raised_occt(benchmark::State& state) {
    const Handle(Geom_BSplineCurve) curve = occt_curve();
    for (auto _ : state) {
        const Handle(Geom_BSplineCurve) copy = Handle(Geom_BSplineCurve)::DownCast(curve->Copy());
        copy->IncreaseDegree(degree + 1);
        const int count = copy->NbPoles();
        benchmark::DoNotOptimize(count);
    }
}
void bezier_pieces_occt(benchmark::State& state) {
    const Handle(Geom_BSplineCurve) curve = occt_curve();
    for (auto _ : state) {
        GeomConvert_BSplineCurveToBezierCurve pieces(curve);
        const int count = pieces.NbArcs();
        benchmark::DoNotOptimize(count);
    }
}
BENCHMARK(point_with_derivatives_occt);
BENCHMARK(knot_inserted_occt);
BENCHMARK(degree_raised_occt);
BENCHMARK(bezier_pieces_occt);
#endif

BENCHMARK(point);
BENCHMARK(point_with_derivatives);
BENCHMARK(knot_inserted);
BENCHMARK(degree_raised);
BENCHMARK(bezier_pieces);

} // namespace
