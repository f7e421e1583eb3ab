// A face of 9 loops, a free-form outline and 8 round holes, on a plane and on a bicubic surface:
// preparing it, the place of random parameters in it, beside the contract's isInBound, which takes
// polylines, and the nearest edge; setting it up for nearest points, and those of points near to it
// and far, beside Open CASCADE's distance from the same face.
#include "velm/curves/nurbs_curve.h"
#include "velm/surfaces/bounded_plane.h"
#include "velm/surfaces/face_projector.h"
#include "velm/surfaces/nurbs_surface.h"
#include "velm/surfaces/prepared_face.h"
#include "velm/surfaces/trimmed_surface.h"
#include "velm/transforms/transformation_factories.h"
#include "velm/wireframe/arc.h"

#include "peers.h"

#if defined(VELM_BENCH_HAS_OCCT)
#include <BRepBuilderAPI_MakeEdge.hxx>
#include <BRepBuilderAPI_MakeFace.hxx>
#include <BRepBuilderAPI_MakeVertex.hxx>
#include <BRepBuilderAPI_MakeWire.hxx>
#include <BRepExtrema_DistShapeShape.hxx>
#include <BRepLib.hxx>
#include <Geom2d_BSplineCurve.hxx>
#include <Geom2d_Circle.hxx>
#include <Geom_BSplineSurface.hxx>
#include <Geom_Plane.hxx>
#include <TColStd_Array1OfInteger.hxx>
#include <TColStd_Array1OfReal.hxx>
#include <TColgp_Array1OfPnt2d.hxx>
#include <TColgp_Array2OfPnt.hxx>
#include <TopoDS_Face.hxx>
#include <TopoDS_Vertex.hxx>
#include <TopoDS_Wire.hxx>
#include <gp_Ax2d.hxx>
#endif

#include <benchmark/benchmark.h>

#include <cmath>
#include <numbers>
#include <vector>

namespace {

using std::numbers::pi;

constexpr double side = 27.0, middle = 13.5;
constexpr int queries = 4096;
constexpr int poles = 30, degree = 3, bores = 8;
constexpr double bore_radius = 1.5;

ERPoint3D pole(int i, int j) { return ERPoint3D(i, j, 2 * std::sin(0.4 * i) * std::cos(0.3 * j)); }
ERPoint2D bore(int i) {
    return {middle + 6 * std::cos(i * pi / 4), middle + 6 * std::sin(i * pi / 4)};
}

const ERCpoleNURBS2D& outline() {
    static const ERCpoleNURBS2D made = [] {
        ERVec<ERPole2DH> corners;
        for (int i = 0; i < 24; ++i) {
            const double angle = 2 * pi * i / 23, radius = 11 + std::sin(5 * angle);
            corners.push_back(ERPole2DH(
                ERPoint2D(middle + radius * std::cos(angle), middle + radius * std::sin(angle)),
                1.0));
        }
        return ERCpoleNURBS2D(corners, degree);
    }();
    return made;
}

// On the plane for 0, else on the surface.
const ERTrimmedSurface& face(std::int64_t kind) {
    static const std::vector<ERTrimmedSurface> faces = [] {
        ERMatrix<ERPole3DH> net(poles, poles);
        for (int j = 0; j < poles; ++j)
            for (int i = 0; i < poles; ++i)
                net(j, i) = ERPole3DH(pole(i, j), 1.0);
        const ERKnotVector knots(degree, poles, ERLimites(0.0, side));
        const ERLimites limits(0.0, side);
        std::vector<ERTrimmedSurface> made{
            ERTrimmedSurface(ERBoundedPlane(ERIdentity3D(), limits, limits)),
            ERTrimmedSurface(ERSpoleNURBS3D(net, knots, knots))};
        for (ERTrimmedSurface& trimmed : made) {
            trimmed.addBound(outline(), ERSurfaceBoundary::outer);
            for (int i = 0; i < bores; ++i)
                trimmed.addBound(ERArc2D(bore(i), bore_radius, 0.0, 2 * pi),
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

void set_up(benchmark::State& state) {
    const auto prepared = velm::prepare_face(face(state.range(0)));
    for (auto _ : state)
        benchmark::DoNotOptimize(velm::FaceProjector::on(*prepared)->face().loops());
}
BENCHMARK(set_up)->ArgName("kind")->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond);

// In a box about the face, up to the reach, in tenths, from it in height and to the sides.
std::vector<ERPoint3D> points_about(const benchmark::State& state) {
    velm_bench::Numbers numbers;
    const auto prepared = velm::prepare_face(face(state.range(0)));
    const double reach = 0.1 * static_cast<double>(state.range(1));
    std::vector<ERPoint3D> points;
    for (int i = 0; i < queries; ++i) {
        const double u = middle + 12.0 * numbers.next(), v = middle + 12.0 * numbers.next();
        const ERPoint3D on = prepared->surface()(u, v);
        const double x = numbers.next(), y = numbers.next(), z = numbers.next();
        points.push_back(on + ERVector3D(reach * x, reach * y, reach * z));
    }
    return points;
}

void nearest(benchmark::State& state) {
    const auto projector = velm::FaceProjector::on(*velm::prepare_face(face(state.range(0))));
    const std::vector<ERPoint3D> points = points_about(state);
    std::vector<velm::FaceFoot> feet(points.size());
    for (auto _ : state) {
        projector->nearest(points, feet);
        benchmark::DoNotOptimize(feet.data());
    }
    for (const velm::FaceFoot& foot : feet)
        if (!foot.certified) state.SkipWithError("a foot without certificate");
    state.SetItemsProcessed(state.iterations() * queries);
}
BENCHMARK(nearest)
    ->ArgNames({"kind", "reach"})
    ->Args({0, 1})
    ->Args({1, 1})
    ->Args({0, 100})
    ->Args({1, 100})
    ->Unit(benchmark::kMillisecond);

#if defined(VELM_BENCH_HAS_OCCT)
// Of clamped ends and single inner knots.
struct OcctKnots {
    TColStd_Array1OfReal values;
    TColStd_Array1OfInteger multiplicities;

    OcctKnots(const ERKnotVector& given, int count)
        : values(1, count - degree + 1), multiplicities(1, count - degree + 1) {
        for (int i = 1; i <= values.Length(); ++i) {
            values.SetValue(i, given(degree + i - 1));
            multiplicities.SetValue(i, i == 1 || i == values.Length() ? degree + 1 : 1);
        }
    }
};

Handle(Geom_Surface) occt_surface(std::int64_t kind) {
    if (kind == 0) return new Geom_Plane(gp_Pnt(0, 0, 0), gp_Dir(0, 0, 1));
    TColgp_Array2OfPnt net(1, poles, 1, poles);
    for (int i = 0; i < poles; ++i)
        for (int j = 0; j < poles; ++j) {
            const ERPoint3D at = pole(i, j);
            net.SetValue(i + 1, j + 1, gp_Pnt(at.x(), at.y(), at.z()));
        }
    const OcctKnots knots(ERKnotVector(degree, poles, ERLimites(0.0, side)), poles);
    return new Geom_BSplineSurface(net, knots.values, knots.values, knots.multiplicities,
                                   knots.multiplicities, degree, degree);
}

TopoDS_Face occt_face(std::int64_t kind) {
    const Handle(Geom_Surface) surface = occt_surface(kind);
    const int count = outline().nbPoles();
    TColgp_Array1OfPnt2d corners(1, count);
    for (int i = 0; i < count; ++i) {
        const ERPoint2D at = outline().getPoles()[i].castToPoint();
        corners.SetValue(i + 1, gp_Pnt2d(at.x(), at.y()));
    }
    const OcctKnots knots(outline().getKnots(), count);
    const Handle(Geom2d_Curve) around =
        new Geom2d_BSplineCurve(corners, knots.values, knots.multiplicities, degree);
    const auto wire = [&](const Handle(Geom2d_Curve) & curve) {
        return BRepBuilderAPI_MakeWire(BRepBuilderAPI_MakeEdge(curve, surface).Edge()).Wire();
    };
    BRepBuilderAPI_MakeFace maker(surface, wire(around));
    for (int i = 0; i < bores; ++i) {
        const gp_Ax2d axis(gp_Pnt2d(bore(i).x(), bore(i).y()), gp_Dir2d(1, 0));
        maker.Add(wire(new Geom2d_Circle(axis, bore_radius, false)));
    }
    const TopoDS_Face made = maker.Face();
    BRepLib::BuildCurves3d(made);
    return made;
}

void nearest_occt(benchmark::State& state) {
    const TopoDS_Face shape = occt_face(state.range(0));
    const auto projector = velm::FaceProjector::on(*velm::prepare_face(face(state.range(0))));
    const std::vector<ERPoint3D> points = points_about(state);
    const auto distance = [&](const ERPoint3D& p) {
        const TopoDS_Vertex vertex = BRepBuilderAPI_MakeVertex(gp_Pnt(p.x(), p.y(), p.z()));
        return BRepExtrema_DistShapeShape(vertex, shape).Value();
    };
    constexpr std::size_t compared = 50;
    int equal = 0;
    for (std::size_t i = 0; i < compared; ++i)
        equal += std::fabs(distance(points[i]) - projector->nearest(points[i]).distance) < 1e-6;
    state.counters["equal_of_50"] = equal;
    std::size_t next = 0;
    for (auto _ : state)
        benchmark::DoNotOptimize(distance(points[next++ % points.size()]));
    state.SetItemsProcessed(state.iterations());
}
BENCHMARK(nearest_occt)
    ->ArgNames({"kind", "reach"})
    ->Args({0, 1})
    ->Args({1, 1})
    ->Args({0, 100})
    ->Args({1, 100})
    ->Unit(benchmark::kMillisecond);
#endif

} // namespace
