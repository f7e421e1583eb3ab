// A plate with many bores, of six faces and one for each bore: its shared edges; its mesh without
// gaps, beside the meshes of its faces each by itself; setting it up for nearest points, and those
// of points near to it and all about it, beside Open CASCADE's distance from the same solid.
#include "velm/surfaces/bounded_plane.h"
#include "velm/surfaces/cylinder.h"
#include "velm/surfaces/part_tessellation.h"
#include "velm/surfaces/prepared_part.h"
#include "velm/surfaces/trimmed_surface.h"
#include "velm/transforms/transformation_factories.h"
#include "velm/wireframe/arc.h"
#include "velm/wireframe/polyline.h"

#include "peers.h"

#if defined(VELM_BENCH_HAS_OCCT)
#include <BRepAlgoAPI_Cut.hxx>
#include <BRepBuilderAPI_MakeVertex.hxx>
#include <BRepExtrema_DistShapeShape.hxx>
#include <BRepPrimAPI_MakeBox.hxx>
#include <BRepPrimAPI_MakeCylinder.hxx>
#include <TopTools_ListOfShape.hxx>
#include <TopoDS_Vertex.hxx>
#include <gp_Ax2.hxx>
#endif

#include <benchmark/benchmark.h>

#include <numbers>
#include <vector>

namespace {

using std::numbers::pi;

constexpr int queries = 20000;

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

velm::PreparedPart part_of(const Plate& plate, int threads) {
    std::vector<velm::PartFace> faces;
    for (const velm::PreparedFace& face : plate.faces)
        faces.push_back({face, 1});
    return *velm::PreparedPart::of(faces, 1e-3, threads);
}

// In a box about the plate that is higher by the reach, to each side; beside the plate by as much.
std::vector<ERPoint3D> points_about(int bores, double reach) {
    velm_bench::Numbers numbers;
    std::vector<ERPoint3D> points;
    for (int i = 0; i < queries; ++i) {
        const double x = numbers.next(), y = numbers.next(), z = numbers.next();
        points.emplace_back((1.5 * bores + reach) * (1.0 + x), (1.5 + reach) * (1.0 + y),
                            0.5 + (0.5 + reach) * z);
    }
    return points;
}

void set_up(benchmark::State& state) {
    const Plate plate(static_cast<int>(state.range(0)) - 6);
    for (auto _ : state)
        benchmark::DoNotOptimize(part_of(plate, static_cast<int>(state.range(1))).faces());
}
BENCHMARK(set_up)
    ->ArgNames({"faces", "threads"})
    ->Args({50, 1})
    ->Args({200, 1})
    ->Args({200, 2})
    ->Args({800, 1})
    ->UseRealTime()
    ->Unit(benchmark::kMillisecond);

// The reach in tenths: 1 is a scan's, 20 all about.
void nearest(benchmark::State& state) {
    const int bores = static_cast<int>(state.range(0)) - 6;
    const velm::PreparedPart part = part_of(Plate(bores), 2);
    const auto points = points_about(bores, 0.1 * static_cast<double>(state.range(1)));
    std::vector<velm::PartFoot> feet(points.size());
    for (auto _ : state) {
        part.nearest(points, feet, static_cast<int>(state.range(2)));
        benchmark::DoNotOptimize(feet.data());
    }
    for (const velm::PartFoot& foot : feet)
        if (!foot.certified) state.SkipWithError("a foot without certificate");
    state.SetItemsProcessed(state.iterations() * queries);
}
BENCHMARK(nearest)
    ->ArgNames({"faces", "reach", "threads"})
    ->Args({50, 1, 1})
    ->Args({200, 1, 1})
    ->Args({200, 1, 2})
    ->Args({800, 1, 1})
    ->Args({200, 20, 1})
    ->Args({200, 20, 2})
    ->UseRealTime()
    ->Unit(benchmark::kMillisecond);

#if defined(VELM_BENCH_HAS_OCCT)
void nearest_occt(benchmark::State& state) {
    const int bores = static_cast<int>(state.range(0)) - 6;
    TopTools_ListOfShape blank, tools;
    blank.Append(BRepPrimAPI_MakeBox(3.0 * bores, 3.0, 1.0).Shape());
    for (int i = 0; i < bores; ++i) {
        const gp_Ax2 axis(gp_Pnt(3.0 * i + 1.5, 1.5, 0.0), gp_Dir(0, 0, 1));
        tools.Append(BRepPrimAPI_MakeCylinder(axis, 1.0, 1.0).Shape());
    }
    BRepAlgoAPI_Cut cut;
    cut.SetArguments(blank);
    cut.SetTools(tools);
    cut.Build();
    const TopoDS_Shape solid = cut.Shape();
    const auto points = points_about(bores, 0.1 * static_cast<double>(state.range(1)));
    std::size_t next = 0;
    for (auto _ : state) {
        const ERPoint3D& p = points[next++ % points.size()];
        const TopoDS_Vertex vertex = BRepBuilderAPI_MakeVertex(gp_Pnt(p.x(), p.y(), p.z()));
        benchmark::DoNotOptimize(BRepExtrema_DistShapeShape(vertex, solid).Value());
    }
    state.SetItemsProcessed(state.iterations());
}
BENCHMARK(nearest_occt)
    ->ArgNames({"faces", "reach"})
    ->Args({50, 1})
    ->Args({200, 1})
    ->Args({200, 20})
    ->Unit(benchmark::kMillisecond);
#endif

} // namespace
