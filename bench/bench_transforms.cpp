// Mapping a million points by each kind of transformation beside a plain loop over a 3 x 4 matrix,
// composing with reduction, and inverting; beside Eigen's affine transformations.
#include "peers.h"
#include "velm/transforms/bodies.h"
#include "velm/transforms/transformation_factories.h"

#include <benchmark/benchmark.h>
#include <vector>

namespace {

constexpr int count = 1000000;

ERVec<ERPoint3D> points() {
    ERVec<ERPoint3D> result(count);
    velm_bench::Numbers numbers;
    for (ERPoint3D& p : result.writable()) {
        for (int n = 0; n < 3; ++n)
            p[n] = numbers.next();
    }
    return result;
}

enum Kind : int { identity, translation, rotation, workplane, scaling, symmetry, similitude };
constexpr const char* names[] = {"identity", "translation", "rotation",  "workplane",
                                 "scaling",  "symmetry",    "similitude"};

ERPmSimilitude3D make(int kind) {
    const ERPmIsometrie3D frame = ERChgRepere3D({1, 2, 3}, {0.1, 0.2, 0.3});
    switch (kind) {
    case identity:
        return ERPmSimilitude3D();
    case translation:
        return ERTranslation3D(ERPoint3D(0.1, 0.2, 0.3));
    case rotation:
        return frame.get_rotation_matrix();
    case workplane:
        return frame;
    case scaling:
        return ERScaling3D(1.0 - 1e-6);
    case symmetry:
        return ERSymetrie3D(ERVector3D(1, 2, 3));
    default:
        return ERSimilitude3D(frame.getMatrix(), frame.origine(), 1.0 - 1e-6);
    }
}

// ---- a million points ----

void PlainMatrix(benchmark::State& state) {
    ERVec<ERPoint3D> array = points();
    const ERPmSimilitude3D frame = make(workplane);
    double m[3][4];
    for (int i = 0; i < 3; ++i) {
        for (int j = 0; j < 3; ++j)
            m[i][j] = frame.getMatrix()(i, j);
        m[i][3] = frame.getTrans()[i];
    }
    double* const first = &array.writable().front().x();
    for (auto _ : state) {
        double a[3][4];
        for (int i = 0; i < 3; ++i)
            for (int j = 0; j < 4; ++j)
                a[i][j] = m[i][j];
        for (double* p = first; p < first + 3 * count; p += 3) {
            const double x = p[0];
            const double y = p[1];
            const double z = p[2];
            p[0] = a[0][0] * x + a[0][1] * y + a[0][2] * z + a[0][3];
            p[1] = a[1][0] * x + a[1][1] * y + a[1][2] * z + a[1][3];
            p[2] = a[2][0] * x + a[2][1] * y + a[2][2] * z + a[2][3];
        }
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * count);
}
BENCHMARK(PlainMatrix);

void TransFrom(benchmark::State& state) {
    ERVec<ERPoint3D> array = points();
    const ERPmSimilitude3D t = make(static_cast<int>(state.range(0)));
    for (auto _ : state) {
        t.TransFrom(array);
        benchmark::ClobberMemory();
    }
    state.SetLabel(names[state.range(0)]);
    state.SetItemsProcessed(state.iterations() * count);
}
BENCHMARK(TransFrom)->DenseRange(identity, similitude);

void TransTo(benchmark::State& state) {
    ERVec<ERPoint3D> array = points();
    const ERPmSimilitude3D t = make(static_cast<int>(state.range(0)));
    for (auto _ : state) {
        t.TransTo(array);
        benchmark::ClobberMemory();
    }
    state.SetLabel(names[state.range(0)]);
    state.SetItemsProcessed(state.iterations() * count);
}
BENCHMARK(TransTo)->DenseRange(identity, similitude);

// Point by point, as a curve's evaluation does it.
void TransFromEachPoint(benchmark::State& state) {
    ERVec<ERPoint3D> array = points();
    const ERPmSimilitude3D t = make(static_cast<int>(state.range(0)));
    const auto all = array.writable();
    for (auto _ : state) {
        for (ERPoint3D& p : all)
            t.TransFrom(p);
        benchmark::ClobberMemory();
    }
    state.SetLabel(names[state.range(0)]);
    state.SetItemsProcessed(state.iterations() * count);
}
BENCHMARK(TransFromEachPoint)->DenseRange(identity, similitude);

#if defined(VELM_BENCH_EIGEN)
Eigen::Affine3d affine(const ERPmSimilitude3D& t) {
    Eigen::Affine3d result = Eigen::Affine3d::Identity();
    for (int i = 0; i < 3; ++i) {
        for (int j = 0; j < 3; ++j)
            result.linear()(i, j) = t.getFactHomo() * t.getMatrix()(i, j);
        result.translation()(i) = t.getTrans()[i];
    }
    return result;
}

void Points_EigenAffine(benchmark::State& state) {
    ERVec<ERPoint3D> array = points();
    const Eigen::Affine3d t = affine(make(workplane));
    Eigen::Map<Eigen::Matrix3Xd> all(&array.writable().front().x(), 3, count);
    for (auto _ : state) {
        for (int i = 0; i < count; ++i)
            all.col(i) = t * Eigen::Vector3d(all.col(i));
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * count);
}
BENCHMARK(Points_EigenAffine);
#endif

// ---- composing and inverting ----

void ComposeAndReduce(benchmark::State& state) {
    const ERPmSimilitude3D a = make(static_cast<int>(state.range(0)));
    const ERPmSimilitude3D b = make(static_cast<int>(state.range(1)));
    for (auto _ : state) {
        const ERPmSimilitude3D both = a * b;
        benchmark::DoNotOptimize(both.body());
    }
    state.SetLabel(std::string(names[state.range(0)]) + " * " + names[state.range(1)]);
}
BENCHMARK(ComposeAndReduce)
    ->Args({identity, workplane})
    ->Args({translation, translation})
    ->Args({rotation, rotation})
    ->Args({workplane, workplane})
    ->Args({scaling, workplane})
    ->Args({symmetry, symmetry})
    ->Args({similitude, similitude});

void Invert(benchmark::State& state) {
    const ERPmSimilitude3D t = make(static_cast<int>(state.range(0)));
    for (auto _ : state) {
        const ERPmSimilitude3D inverse = ~t;
        benchmark::DoNotOptimize(inverse.body());
    }
    state.SetLabel(names[state.range(0)]);
}
BENCHMARK(Invert)->Arg(rotation)->Arg(workplane)->Arg(similitude);

#if defined(VELM_BENCH_EIGEN)
// By value: sixteen numbers on the stack, nothing shared and nothing reduced.
void Compose_EigenAffine(benchmark::State& state) {
    Eigen::Affine3d a = affine(make(workplane));
    Eigen::Affine3d b = affine(make(similitude));
    for (auto _ : state) {
        benchmark::DoNotOptimize(a.data());
        benchmark::DoNotOptimize(b.data());
        benchmark::ClobberMemory();
        const Eigen::Affine3d both = a * b;
        benchmark::DoNotOptimize(both.data());
        benchmark::ClobberMemory();
    }
}
BENCHMARK(Compose_EigenAffine);
#endif

} // namespace
