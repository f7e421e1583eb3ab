// Intersections of two plane curves, certified: rational cubics that cross 2, 9 and 30 times, and
// outlines of 100 to 10,000 pieces against each other, which takes time near linear in pieces and
// crossings; the given `intersect`; the same curves for SISL and Open CASCADE where they are found
// (without certificates).
#include "velm/curves/intersections.h"
#include "velm/planar/pole_curve_intersection.h"

#include <benchmark/benchmark.h>

#include <cmath>
#include <numbers>
#include <vector>

#if defined(VELM_BENCH_HAS_SISL)
#include <sisl.h>
#endif
#if defined(VELM_BENCH_HAS_OCCT)
#include <Geom2dAPI_InterCurveCurve.hxx>
#include <Geom2d_BSplineCurve.hxx>
#include <TColStd_Array1OfInteger.hxx>
#include <TColStd_Array1OfReal.hxx>
#include <TColgp_Array1OfPnt2d.hxx>
#endif

namespace {

// A chain of rational cubics: x w, y w, w of each pole, three new poles a span.
struct Chain {
    std::vector<double> poles;

    int spans() const { return (static_cast<int>(poles.size()) / 3 - 1) / 3; }
    void add(double x, double y, double w) { poles.insert(poles.end(), {x * w, y * w, w}); }
    velm::PreparedCurve<2> prepared() const {
        std::vector<velm::BezierPiece> pieces;
        for (int i = 0; i < spans(); ++i)
            pieces.push_back({{poles.data() + 9 * i, 12}, double(i), i + 1.0});
        return *velm::PreparedCurve<2>::from_pieces(pieces);
    }
    // Each span's end is a knot of multiplicity 3.
    std::vector<double> knots() const {
        std::vector<double> result(1, 0.0);
        for (int i = 0; i <= spans(); ++i)
            result.insert(result.end(), 3, i);
        result.push_back(spans());
        return result;
    }
};

struct Pair {
    Chain a, b;
};

// Two arches; a cubic wave and its mirror image at the diagonal; a wave of some spans and a line
// of as many.
Pair crossing(int times) {
    Pair pair;
    if (times == 2) {
        const double x[] = {0, 1, 2, 3}, up[] = {0, 2, 2.2, 0}, down[] = {1.2, -0.7, -0.6, 1.2};
        for (int i = 0; i < 4; ++i) {
            pair.a.add(x[i], up[i], i % 2 == 0 ? 1.0 : 0.9);
            pair.b.add(x[i], down[i], i % 2 == 0 ? 1.0 : 1.1);
        }
    } else if (times == 9) {
        const double x[] = {-1, -1.0 / 3, 1.0 / 3, 1}, wave[] = {-1.1, 5.5, -5.5, 1.1};
        for (int i = 0; i < 4; ++i) {
            pair.a.add(x[i], wave[i], i % 2 == 0 ? 1.0 : 1.05);
            pair.b.add(wave[i], x[i], i % 2 == 0 ? 1.05 : 1.0);
        }
    } else {
        for (int i = 0; i <= 3 * times; ++i) {
            const double phase = i * std::numbers::pi / 3.0;
            const double w = i % 3 == 0 ? 1.0 : 0.9;
            pair.a.add(phase, std::sin(phase + 0.7), w);
            pair.b.add(phase + 0.01, -0.8 * std::sin(phase + 0.7), w);
        }
    }
    return pair;
}

void Intersections(benchmark::State& state) {
    const Pair pair = crossing(static_cast<int>(state.range(0)));
    const velm::PreparedCurve<2> a = pair.a.prepared(), b = pair.b.prepared();
    std::vector<velm::CurveIntersection> found;
    for (auto _ : state) {
        const bool complete = velm::intersections(a, b, found);
        benchmark::DoNotOptimize(complete);
    }
    state.counters["found"] = static_cast<double>(found.size());
}
BENCHMARK(Intersections)->Arg(2)->Arg(9)->Arg(30);

// The given `intersect`, which certifies nothing and may lose or repeat crossings.
void Given(benchmark::State& state) {
    const Pair pair = crossing(static_cast<int>(state.range(0)));
    const auto make = [](const Chain& chain) {
        ERVec<ERPole2DH> poles;
        for (std::size_t i = 0; i < chain.poles.size(); i += 3)
            poles.push_back(ERPole2DH(chain.poles[i], chain.poles[i + 1], chain.poles[i + 2]));
        std::vector<double> knots = chain.knots();
        return ERCpoleNURBS2D(poles, ERKnotVector(3, knots.data(), static_cast<int>(knots.size())));
    };
    const ERCpoleNURBS2D a = make(pair.a), b = make(pair.b);
    ERVec<double> ta, tb;
    for (auto _ : state) {
        ta.clear();
        tb.clear();
        const int pairs = intersect(a, b, ta, tb);
        benchmark::DoNotOptimize(pairs);
    }
    state.counters["found"] = ta.size();
}
BENCHMARK(Given)->Arg(2)->Arg(9)->Arg(30);

void Outlines(benchmark::State& state) {
    const int pieces = static_cast<int>(state.range(0));
    const auto ring = [&](double x, double waves) {
        Chain chain;
        for (int i = 0; i <= 3 * pieces; ++i) {
            const double angle = 2.0 * std::numbers::pi * (i % (3 * pieces)) / (3.0 * pieces);
            const double radius = 1.0 + 2.0 / pieces * std::sin(waves * angle);
            chain.add(x + radius * std::cos(angle), radius * std::sin(angle), 1.0);
        }
        return chain.prepared();
    };
    const velm::PreparedCurve<2> a = ring(0.0, 0.1 * pieces), b = ring(0.0, 0.11 * pieces);
    std::vector<velm::CurveIntersection> found;
    for (auto _ : state) {
        const bool complete = velm::intersections(a, b, found);
        benchmark::DoNotOptimize(complete);
    }
    state.counters["found"] = static_cast<double>(found.size());
}
BENCHMARK(Outlines)->Arg(100)->Arg(1000)->Arg(10000);

#if defined(VELM_BENCH_HAS_SISL)
void Sisl(benchmark::State& state) {
    Pair pair = crossing(static_cast<int>(state.range(0)));
    const auto make = [](Chain& chain) {
        std::vector<double> knots = chain.knots();
        return newCurve(static_cast<int>(chain.poles.size()) / 3, 4, knots.data(),
                        chain.poles.data(), 2, 2, 1);
    };
    SISLCurve *const a = make(pair.a), *const b = make(pair.b);
    int found = 0;
    for (auto _ : state) {
        double *on_a = nullptr, *on_b = nullptr;
        int curves = 0, status = 0;
        SISLIntcurve** overlaps = nullptr;
        s1857(a, b, 1e-9, 1e-9, &found, &on_a, &on_b, &curves, &overlaps, &status);
        free(on_a);
        free(on_b);
        if (overlaps != nullptr) freeIntcrvlist(overlaps, curves);
    }
    state.counters["found"] = found;
    freeCurve(a);
    freeCurve(b);
}
BENCHMARK(Sisl)->Arg(2)->Arg(9)->Arg(30);
#endif

#if defined(VELM_BENCH_HAS_OCCT)
void OpenCascade(benchmark::State& state) {
    const Pair pair = crossing(static_cast<int>(state.range(0)));
    const auto make = [](const Chain& chain) {
        const int count = static_cast<int>(chain.poles.size()) / 3, spans = chain.spans();
        TColgp_Array1OfPnt2d poles(1, count);
        TColStd_Array1OfReal weights(1, count), knots(1, spans + 1);
        TColStd_Array1OfInteger multiplicities(1, spans + 1);
        for (int i = 0; i < count; ++i) {
            const double* p = chain.poles.data() + 3 * i;
            poles.SetValue(i + 1, gp_Pnt2d(p[0] / p[2], p[1] / p[2]));
            weights.SetValue(i + 1, p[2]);
        }
        for (int i = 0; i <= spans; ++i) {
            knots.SetValue(i + 1, i);
            multiplicities.SetValue(i + 1, i == 0 || i == spans ? 4 : 3);
        }
        return Handle(Geom2d_BSplineCurve)(
            new Geom2d_BSplineCurve(poles, weights, knots, multiplicities, 3));
    };
    const Handle(Geom2d_BSplineCurve) a = make(pair.a), b = make(pair.b);
    int found = 0;
    for (auto _ : state) {
        const Geom2dAPI_InterCurveCurve both(a, b, 1e-9);
        found = both.NbPoints();
    }
    state.counters["found"] = found;
}
BENCHMARK(OpenCascade)->Arg(2)->Arg(9)->Arg(30);
#endif

} // namespace
