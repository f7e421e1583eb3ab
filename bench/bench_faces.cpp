// A face of 9 loops, a free-form outline and 8 round holes, on a plane and on a bicubic surface:
// preparing it, the place of random parameters in it, beside the contract's isInBound, which takes
// polylines, and the nearest edge.
#include "velm/curves/nurbs_curve.h"
#include "velm/surfaces/bounded_plane.h"
#include "velm/surfaces/nurbs_surface.h"
#include "velm/surfaces/prepared_face.h"
#include "velm/surfaces/trimmed_surface.h"
#include "velm/transforms/transformation_factories.h"
#include "velm/wireframe/arc.h"

#include "peers.h"

#include <benchmark/benchmark.h>

#include <cmath>
#include <numbers>
#include <vector>

namespace {

using std::numbers::pi;

constexpr double side = 27.0, middle = 13.5;
constexpr int queries = 4096;

// On the plane for 0, else on the surface.
const ERTrimmedSurface& face(std::int64_t kind) {
    static const std::vector<ERTrimmedSurface> faces = [] {
        constexpr int poles = 30;
        ERMatrix<ERPole3DH> net(poles, poles);
        for (int j = 0; j < poles; ++j)
            for (int i = 0; i < poles; ++i)
                net(j, i) =
                    ERPole3DH(ERPoint3D(i, j, 2 * std::sin(0.4 * i) * std::cos(0.3 * j)), 1.0);
        const ERKnotVector knots(3, poles, ERLimites(0.0, side));
        const ERLimites limits(0.0, side);
        std::vector<ERTrimmedSurface> made{
            ERTrimmedSurface(ERBoundedPlane(ERIdentity3D(), limits, limits)),
            ERTrimmedSurface(ERSpoleNURBS3D(net, knots, knots))};
        ERVec<ERPole2DH> outline;
        for (int i = 0; i < 24; ++i) {
            const double angle = 2 * pi * i / 23, radius = 11 + std::sin(5 * angle);
            outline.push_back(ERPole2DH(
                ERPoint2D(middle + radius * std::cos(angle), middle + radius * std::sin(angle)),
                1.0));
        }
        for (ERTrimmedSurface& trimmed : made) {
            trimmed.addBound(ERCpoleNURBS2D(outline, 3), ERSurfaceBoundary::outer);
            for (int i = 0; i < 8; ++i)
                trimmed.addBound(
                    ERArc2D({middle + 6 * std::cos(i * pi / 4), middle + 6 * std::sin(i * pi / 4)},
                            1.5, 0.0, 2 * pi),
                    ERSurfaceBoundary::inner);
        }
        return made;
    }();
    return faces[static_cast<std::size_t>(kind)];
}

// Calls ask(parameter) for random parameters; what it gives is summed.
template <class Ask>
void ask_all(benchmark::State& state, Ask ask) {
    velm_bench::Numbers numbers;
    std::vector<ERPoint2D> places;
    for (int i = 0; i < queries; ++i) {
        const double u = middle * (1.0 + numbers.next()), v = middle * (1.0 + numbers.next());
        places.emplace_back(u, v);
    }
    double sum = 0.0;
    for (auto _ : state)
        for (const ERPoint2D& p : places)
            sum += ask(p);
    const double total = sum;
    benchmark::DoNotOptimize(total);
    state.SetItemsProcessed(state.iterations() * queries);
}

void prepare(benchmark::State& state) {
    for (auto _ : state)
        benchmark::DoNotOptimize(velm::prepare_face(face(state.range(0)))->loops());
}
BENCHMARK(prepare)->Arg(0)->Arg(1);

void place(benchmark::State& state) {
    const auto prepared = velm::prepare_face(face(state.range(0)));
    ask_all(state, [&](const ERPoint2D& p) { return static_cast<int>(prepared->place(p)); });
}
BENCHMARK(place)->Arg(0)->Arg(1);

void is_in_bound(benchmark::State& state) {
    const ERTrimmedSurface& trimmed = face(state.range(0));
    ask_all(state, [&](const ERPoint2D& p) { return trimmed.isInBound(p); });
}
BENCHMARK(is_in_bound)->Arg(0)->Arg(1);

void nearest_trim(benchmark::State& state) {
    const auto prepared = velm::prepare_face(face(state.range(0)));
    ask_all(state, [&](const ERPoint2D& p) { return prepared->nearest_trim(p).distance; });
}
BENCHMARK(nearest_trim)->Arg(0)->Arg(1);

} // namespace
