// The shared edges of a plate with many bores, of six faces and one for each bore, and its mesh
// without gaps, beside the meshes of its faces each by itself.
#include "velm/surfaces/bounded_plane.h"
#include "velm/surfaces/cylinder.h"
#include "velm/surfaces/part_tessellation.h"
#include "velm/surfaces/trimmed_surface.h"
#include "velm/transforms/transformation_factories.h"
#include "velm/wireframe/arc.h"
#include "velm/wireframe/polyline.h"

#include <benchmark/benchmark.h>

#include <numbers>
#include <vector>

namespace {

using std::numbers::pi;

struct Plate {
    std::vector<velm::PreparedFace> faces;

    explicit Plate(int bores) {
        const ERVector3D x(1, 0, 0), y(0, 1, 0), z(0, 0, 1);
        const double length = 3.0 * bores;
        add(sheet({0, 0, 0}, y, x, 3, length, bores, false));
        add(sheet({0, 0, 1}, x, y, length, 3, bores, true));
        add(sheet({0, 0, 0}, x, z, length, 1, 0, false));
        add(sheet({length, 0, 0}, y, z, 3, 1, 0, false));
        add(sheet({length, 3, 0}, -x, z, length, 1, 0, false));
        add(sheet({0, 3, 0}, -y, z, 3, 1, 0, false));
        for (int i = 0; i < bores; ++i)
            add(ERBoundedCylinder(ERChgRepere3D(x, y, {3.0 * i + 1.5, 1.5, 0}), 1, {0, 1},
                                  {0, 2 * pi}));
    }

private:
    void add(const ERAnyBoundedSurface& face) { faces.push_back(*velm::prepare_face(face)); }

    static ERTrimmedSurface sheet(const ERPoint3D& origin, const ERVector3D& x, const ERVector3D& y,
                                  double width, double height, int bores, bool along_u) {
        ERTrimmedSurface face(
            ERBoundedPlane(ERChgRepere3D(x, y, origin), {-1, width + 1}, {-1, height + 1}));
        face.addBound(ERPolyline2D({{0, 0}, {width, 0}, {width, height}, {0, height}, {0, 0}}),
                      ERSurfaceBoundary::outer);
        for (int i = 0; i < bores; ++i) {
            const double along = 3.0 * i + 1.5;
            const ERPoint2D centre = along_u ? ERPoint2D(along, 1.5) : ERPoint2D(1.5, along);
            face.addBound(ERArc2D(centre, 1.0, 0.0, 2 * pi), ERSurfaceBoundary::inner);
        }
        return face;
    }
};

void find_edges(benchmark::State& state) {
    const Plate plate(static_cast<int>(state.range(0)) - 6);
    for (auto _ : state) {
        const auto edges = velm::PartEdges::of(plate.faces, {}, 1e-3);
        if (edges.open() != 0) state.SkipWithError("open edges");
        benchmark::DoNotOptimize(edges.joints());
    }
}
BENCHMARK(find_edges)->Arg(50)->Arg(200)->Arg(800)->Unit(benchmark::kMillisecond);

void mesh_without_gaps(benchmark::State& state) {
    const Plate plate(static_cast<int>(state.range(0)) - 6);
    const auto edges = velm::PartEdges::of(plate.faces, {}, 1e-3);
    for (auto _ : state) {
        const auto mesh = velm::tessellate(plate.faces, {}, edges, 1e-3);
        benchmark::DoNotOptimize(mesh.triangles.data());
        state.counters["triangles"] = static_cast<double>(mesh.triangles.size());
    }
}
BENCHMARK(mesh_without_gaps)->Arg(50)->Arg(200)->Unit(benchmark::kMillisecond);

void mesh_by_face(benchmark::State& state) {
    const Plate plate(static_cast<int>(state.range(0)) - 6);
    for (auto _ : state) {
        const auto mesh = velm::tessellate(plate.faces, {}, 1e-3);
        benchmark::DoNotOptimize(mesh.triangles.data());
        state.counters["triangles"] = static_cast<double>(mesh.triangles.size());
    }
}
BENCHMARK(mesh_by_face)->Arg(50)->Arg(200)->Unit(benchmark::kMillisecond);

} // namespace
