// Prepared curves: points one by one and in sorted batches, nearest points without and with a hint,
// all feet, on a rational cubic of 30 poles, with an offset of 0.01 to 4 for spans of about 0.6;
// the same curve and points for SISL and Open CASCADE where they are found (their closest points
// are not certified).
#include "velm/curves/arc_length.h"
#include "velm/curves/curve_bounds.h"
#include "velm/curves/nurbs_curve.h"
#include "velm/curves/prepare.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <random>
#include <vector>

#ifdef VELM_BENCH_HAS_SISL
#include <sisl.h>
#endif
#ifdef VELM_BENCH_HAS_OCCT
#include "occt_curve.h"

#include <Extrema_ExtPC.hxx>
#include <GeomAdaptor_Curve.hxx>
#endif

namespace {

constexpr int poles = 30, degree = 3, queries = 4096;
constexpr double end = poles - degree;

template <int N>
using Nurbs = typename velm::DimensionOf<N>::NurbsCurve;
template <int N>
using Point = typename velm::DimensionOf<N>::Point;

// A wave with uneven weights.
template <int N>
Nurbs<N> wave() {
    std::mt19937 random(5);
    std::uniform_real_distribution<double> noise(-0.2, 0.2), weight(0.5, 2.0);
    ERVec<typename velm::DimensionOf<N>::Pole> control;
    for (int i = 0; i < poles; ++i) {
        const double place[3] = {i * 0.3 + noise(random), 2 * std::sin(i * 0.5) + noise(random),
                                 std::cos(i * 0.3) + noise(random)};
        const double w = weight(random);
        control.append({Point<N>::each([&](int axis) { return place[axis] * w; }), w});
    }
    return {control, ERKnotVector(degree, poles, ERLimites(0.0, end))};
}

std::vector<double> parameters(bool sorted) {
    std::mt19937 random(6);
    std::uniform_real_distribution<double> any(0.0, end);
    std::vector<double> t(queries);
    for (double& x : t)
        x = any(random);
    if (sorted) std::sort(t.begin(), t.end());
    return t;
}

// Points around the curve, no farther than `reach` on each axis.
template <int N>
std::vector<Point<N>> near_points(double reach) {
    std::mt19937 random(7);
    std::uniform_real_distribution<double> offset(-reach, reach);
    Nurbs<N> curve = wave<N>();
    std::vector<Point<N>> points;
    for (const double t : parameters(false))
        points.push_back(curve(t) + Point<N>::each([&](int) { return offset(random); }));
    return points;
}

// Runs f over the indices; its results are summed so that none is left out.
template <class F>
void run(benchmark::State& state, int count, F f) {
    for (auto _ : state) {
        double sum = 0.0;
        for (int i = 0; i < count; ++i)
            sum += f(static_cast<std::size_t>(i));
        const double result = sum;
        benchmark::DoNotOptimize(result);
    }
    state.SetItemsProcessed(state.iterations() * count);
}

double reach_of(const benchmark::State& state) {
    return static_cast<double>(state.range(0)) * 0.01;
}

template <int N>
void points_in_a_batch(benchmark::State& state, bool sorted, bool derivatives) {
    const auto curve = velm::prepare(wave<N>());
    const std::vector<double> t = parameters(sorted);
    std::vector<Point<N>> points(t.size());
    std::vector<typename velm::DimensionOf<N>::Vector> first(derivatives ? t.size() : 0),
        second(first);
    for (auto _ : state) {
        curve->evaluate(t, points, first, second);
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * queries);
}

template <int N>
void nearest(benchmark::State& state) {
    const auto curve = velm::prepare(wave<N>());
    const auto points = near_points<N>(reach_of(state));
    run(state, queries, [&](std::size_t i) { return curve->nearest(points[i]).distance; });
}
template <int N>
void nearest_with_hint(benchmark::State& state) {
    const auto curve = velm::prepare(wave<N>());
    const auto points = near_points<N>(reach_of(state));
    const std::vector<double> t = parameters(false);
    run(state, queries,
        [&](std::size_t i) { return curve->nearest_from(points[i], t[i]).distance; });
}
template <int N>
void all_feet(benchmark::State& state) {
    const auto curve = velm::prepare(wave<N>());
    const auto points = near_points<N>(reach_of(state));
    std::vector<velm::CurveFoot<N>> feet;
    run(state, 512, [&](std::size_t i) {
        curve->perpendicular_feet(points[i], feet);
        return static_cast<double>(feet.size());
    });
}
void given_feet(benchmark::State& state) {
    const auto points = near_points<3>(reach_of(state));
    ERCpoleNURBS3D curve = wave<3>();
    ERVec<double> params;
    run(state, 64, [&](std::size_t i) { return curve.ProjectPoint(points[i], params, 10.0); });
}
void preparing(benchmark::State& state) {
    const ERCpoleNURBS3D curve = wave<3>();
    run(state, 1, [&](std::size_t) { return velm::prepare(curve)->size(); });
}
void length(benchmark::State& state) {
    const auto curve = velm::prepare(wave<3>());
    run(state, 1, [&](std::size_t) { return velm::arc_length(*curve, 1e-9).value; });
}
void chords(benchmark::State& state) {
    const auto curve = velm::prepare(wave<3>());
    run(state, 1, [&](std::size_t) { return double(velm::polyline(*curve, 1e-4).size()); });
}

#ifdef VELM_BENCH_HAS_SISL
struct SislCurve {
    SISLCurve* curve;

    SislCurve() {
        const ERCpoleNURBS3D given = wave<3>();
        std::vector<double> control, knots;
        for (const ERPole3DH& pole : given.getPoles())
            control.insert(control.end(), {pole.x(), pole.y(), pole.z(), pole.weigth()});
        for (int i = 0; i < given.getKnots().length(); ++i)
            knots.push_back(given.getKnots()[i]);
        curve = newCurve(poles, degree + 1, knots.data(), control.data(), 2, 3, 1);
    }
    SislCurve(const SislCurve&) = delete;
    ~SislCurve() { freeCurve(curve); }
};

void sisl_points(benchmark::State& state, bool sorted, bool derivatives) {
    const SislCurve sisl;
    const std::vector<double> t = parameters(sorted);
    int left = 0, status = 0;
    run(state, queries, [&](std::size_t i) {
        double out[9];
        s1227(sisl.curve, derivatives ? 2 : 0, t[i], &left, out, &status);
        return out[0];
    });
}
void sisl_nearest(benchmark::State& state, bool all) {
    const SislCurve sisl;
    auto points = near_points<3>(reach_of(state));
    run(state, all ? 64 : 512, [&](std::size_t i) {
        double p[3] = {points[i].x(), points[i].y(), points[i].z()}, at = 0.0, distance = 0.0;
        int status = 0;
        if (!all) {
            s1957(sisl.curve, p, 3, 0.0, 1e-10, &at, &distance, &status);
            return distance;
        }
        int places = 0, stretches = 0;
        double* found = nullptr;
        SISLIntcurve** curves = nullptr;
        s1953(sisl.curve, p, 3, 0.0, 1e-10, &places, &found, &stretches, &curves, &status);
        const double result = places > 0 ? found[0] : 0.0;
        std::free(found);
        freeIntcrvlist(curves, stretches);
        return result;
    });
}
BENCHMARK_CAPTURE(sisl_points, sorted, true, false);
BENCHMARK_CAPTURE(sisl_points, sorted_with_derivatives, true, true);
BENCHMARK_CAPTURE(sisl_points, random_with_derivatives, false, true);
BENCHMARK_CAPTURE(sisl_nearest, closest_point_s1957, false)->Arg(1)->Arg(30)->Arg(400);
BENCHMARK_CAPTURE(sisl_nearest, global_s1953, true)->Arg(1)->Arg(30)->Arg(400);
#endif

#ifdef VELM_BENCH_HAS_OCCT
Handle(Geom_BSplineCurve) occt_curve() { return velm_bench::occt_curve(wave<3>()); }
void occt_points(benchmark::State& state, bool sorted, bool derivatives) {
    const GeomAdaptor_Curve curve(occt_curve());
    const std::vector<double> t = parameters(sorted);
    run(state, queries, [&](std::size_t i) {
        gp_Pnt at;
        gp_Vec first, second;
        if (derivatives)
            curve.D2(t[i], at, first, second);
        else
            curve.D0(t[i], at);
        return at.X();
    });
}
void occt_nearest(benchmark::State& state) {
    const GeomAdaptor_Curve curve(occt_curve());
    const auto points = near_points<3>(reach_of(state));
    run(state, 512, [&](std::size_t i) {
        const gp_Pnt p(points[i].x(), points[i].y(), points[i].z());
        const Extrema_ExtPC feet(p, curve);
        double least = 1e300;
        for (int k = 1; k <= feet.NbExt(); ++k)
            least = std::min(least, feet.SquareDistance(k));
        return std::sqrt(least);
    });
}
BENCHMARK_CAPTURE(occt_points, sorted, true, false);
BENCHMARK_CAPTURE(occt_points, random_with_derivatives, false, true);
BENCHMARK(occt_nearest)->Arg(1)->Arg(30)->Arg(400);
#endif

constexpr auto points_of_the_plane = points_in_a_batch<2>;
constexpr auto points_of_space = points_in_a_batch<3>;
BENCHMARK_CAPTURE(points_of_the_plane, sorted, true, false);
BENCHMARK_CAPTURE(points_of_space, sorted, true, false);
BENCHMARK_CAPTURE(points_of_space, random, false, false);
BENCHMARK_CAPTURE(points_of_space, sorted_with_derivatives, true, true);
BENCHMARK_CAPTURE(points_of_space, random_with_derivatives, false, true);
BENCHMARK(nearest<2>)->Arg(1)->Arg(30)->Arg(400);
BENCHMARK(nearest<3>)->Arg(1)->Arg(30)->Arg(400);
BENCHMARK(nearest_with_hint<3>)->Arg(1)->Arg(30)->Arg(400);
BENCHMARK(all_feet<3>)->Arg(1)->Arg(30)->Arg(400);
BENCHMARK(given_feet)->Arg(1)->Arg(400);
BENCHMARK(preparing);
BENCHMARK(length);
BENCHMARK(chords);

} // namespace
