// Meshes of trimmed faces: near the surface, as large as the face, without gaps.
#include "velm/surfaces/face_tessellation.h"

#include "support/face_text.h"
#include "support/meshes.h"
#include "velm/surfaces/surface_projector.h"

namespace {

using namespace velm_test;

Random draw{71};

double area_in_parameters(const velm::SurfaceMesh& mesh) {
    double area = 0.0;
    for (const auto& t : mesh.triangles) {
        const ERPoint2D &a = mesh.parameters[std::size_t(t[0])],
                        &b = mesh.parameters[std::size_t(t[1])],
                        &c = mesh.parameters[std::size_t(t[2])];
        area += 0.5 * ((b.x() - a.x()) * (c.y() - a.y()) - (b.y() - a.y()) * (c.x() - a.x()));
    }
    return area;
}

// By a sum over a grid of the box of the loops.
double sampled_area(const velm::PreparedFace& face) {
    constexpr int steps = 80;
    ERMinimax2D box;
    for (int loop = 0; loop < face.loops(); ++loop)
        for (int i = 0; i < face.edges(loop); ++i)
            for (int k = 0; k < 16; ++k)
                box.Update(face.parameter(loop, i, k / 16.0));
    const double du = (box.xmax - box.xmin) / steps, dv = (box.ymax - box.ymin) / steps;
    double area = 0.0;
    for (int i = 0; i < steps * steps; ++i) {
        const double u = box.xmin + (i % steps + 0.5) * du, v = box.ymin + (i / steps + 0.5) * dv;
        if (face.place({u, v}) == velm::FacePlace::outside) continue;
        const velm::SurfaceJet jet = face.surface().jet(u, v);
        area += (jet.du ^ jet.dv).norme() * du * dv;
    }
    return area;
}

// Every side of a triangle is shared by two that go along it in opposite directions, or is part of
// a polygon of the trim: those sides form closed loops.
void expect_no_gaps(const velm::SurfaceMesh& mesh, const std::string& name) {
    std::map<std::pair<int, int>, int> sides;
    for (const auto& t : mesh.triangles)
        for (std::size_t i = 0; i < 3; ++i)
            ++sides[{t[i], t[(i + 1) % 3]}];
    std::map<int, int> balance;
    for (const auto& [side, count] : sides) {
        EXPECT_EQ(count, 1) << name;
        if (sides.contains({side.second, side.first})) continue;
        ++balance[side.first];
        --balance[side.second];
    }
    for (const auto& [vertex, open] : balance)
        EXPECT_EQ(open, 0) << name << " vertex " << vertex;
}

// Points of triangles against their nearest place on the surface; corners on it, normals right.
void expect_near(const velm::PreparedFace& face, const velm::SurfaceMesh& mesh, double error,
                 int samples, const std::string& name) {
    const auto projector = velm::SurfaceProjector::on(face.surface());
    ASSERT_TRUE(projector) << name;
    const double rounding = 1e-11 * (1.0 + face.surface().box().diagonal());
    for (int i = 0; i < samples && !mesh.triangles.empty(); ++i) {
        const auto& t =
            mesh.triangles[std::size_t(draw.uniform(0, double(mesh.triangles.size()) - 1e-6))];
        const auto p = corners(mesh, t);
        const ERPoint3D at = place_in(p, draw);
        EXPECT_LE(projector->nearest(at).distance, error + rounding) << name << " " << at;
        const ERPoint2D& corner = mesh.parameters[std::size_t(t[0])];
        EXPECT_EQ(face.surface()(corner.x(), corner.y()), p[0]) << name;
    }
}

TEST(FaceMesh, OfDiscsWithHolesOnEveryKindOfSurface) {
    const ERPmIsometrie3D frame =
        ERChgRepere3D(ERVector3D(1, 2, 2), ERVector3D(2, 1, -2), {3, 4, 5});
    ERMatrix<ERPole3DH> net(7, 7);
    for (int j = 0; j < 7; ++j)
        for (int i = 0; i < 7; ++i)
            net(j, i) = ERPole3DH(i, j, draw.uniform(-1, 1), 1.0);
    const double crease[] = {0, 0, 0, 0, 3, 3, 3, 6, 6, 6, 6};
    const t_SmartPtr<ERAnyBoundedSurface> surfaces[] = {
        new ERBoundedPlane(frame, {0, 6}, {0, 6}),
        new ERBoundedCylinder(frame, 2.0, {0, 6}, {0, 6}),
        new ERBoundedCone(frame, 0.4, {0.5, 6.5}, {0, 6}),
        new ERBoundedSphere(frame, 3.0, {0, 6}, {-1.5, 1.5}),
        new ERBoundedTorus(frame, 5.0, 2.0, 0, 6, 0, 6),
        new ERSpoleNURBS3D(net, ERKnotVector(3, 7, ERLimites(0, 6)),
                           ERKnotVector(3, 7, ERLimites(0, 6))),
        // Torn in its derivative along u = 3.
        new ERSpoleNURBS3D(net, ERKnotVector(3, crease, 11), ERKnotVector(2, 7, ERLimites(0, 6)))};
    for (const auto& surface : surfaces) {
        const std::string name = surface->className();
        const bool is_sphere = name == "ERBoundedSphere";
        const double v = is_sphere ? 0 : 3, r = is_sphere ? 1.2 : 2.5;
        ERTrimmedSurface trimmed(*surface);
        trimmed.addBound(circle(3.1, v, r), Boundary::outer);
        trimmed.addBound(circle(3.3, v - 0.2, 0.4), Boundary::inner);
        const auto face = velm::prepare_face(trimmed);
        ASSERT_TRUE(face) << name;
        for (const double error : {0.1, 0.003}) {
            const velm::SurfaceMesh mesh = velm::tessellate(*face, error);
            EXPECT_TRUE(mesh.certified) << name;
            const double area = pi * (r * r - 0.4 * 0.4);
            EXPECT_NEAR(area_in_parameters(mesh), area, 2 * pi * 3 * error) << name;
            expect_near(*face, mesh, error, 300, name);
            for (const ERPoint2D& p : mesh.parameters)
                EXPECT_LE(std::hypot(p.x() - 3.1, p.y() - v), r + 1e-12) << name;
            if (name == "ERSpoleNURBS3D") continue; // a crease is two lines of vertices
            expect_no_gaps(mesh, name);
        }
    }
}

// The normals of a bent patch turn through more than a right angle, and those of its offset's base
// have no bound over the whole of it.
TEST(FaceMesh, OfAnOffsetWhoseBaseTurnsStrongly) {
    ERMatrix<ERPole3DH> net(3, 4);
    for (int j = 0; j < 3; ++j) {
        const ERPoint3D row[] = {{0, 0, 0}, {3, 0, 3}, {-0.5, 0, 3}, {3, 0, 0}};
        for (int i = 0; i < 4; ++i)
            net(j, i) = ERPole3DH(row[i] + ERPoint3D(0, j, 0), 1.0);
    }
    const ERSpoleNURBS3D bent(net, ERKnotVector(3, 4, {0, 1}), ERKnotVector(2, 3, {0, 1}));
    ERTrimmedSurface trimmed(EROffsetSurface(bent, 0.2, ERVector3D(0, 0, 1)));
    trimmed.addBound(circle(0.5, 0.5, 0.4), Boundary::outer);
    const auto face = velm::prepare_face(trimmed);
    ASSERT_TRUE(face);
    const velm::SurfaceMesh mesh = velm::tessellate(*face, 0.02);
    EXPECT_TRUE(mesh.certified);
    EXPECT_NEAR(area_in_parameters(mesh), pi * 0.16, 0.02);
    EXPECT_NEAR(area_of(mesh), sampled_area(*face), 0.02 * sampled_area(*face));
    expect_near(*face, mesh, 0.02, 100, "bent");
    expect_no_gaps(mesh, "bent");
}

TEST(FaceMesh, NeedsFewTrianglesAndRefusesWhatIsNoError) {
    ERTrimmedSurface square(ERBoundedPlane(ERIdentity3D(), {0, 1}, {0, 1}));
    const auto face = velm::prepare_face(square);
    EXPECT_EQ(velm::tessellate(*face, 1e-9).triangles.size(), 2u);
    EXPECT_TRUE(velm::tessellate(*face, 0.0).triangles.empty());
    EXPECT_TRUE(velm::tessellate(*face, NAN).triangles.empty());
    // A whole cylinder needs about as many strips as the circle needs chords, each two long
    // triangles; half of the error is kept for the trim.
    ERTrimmedSurface tube(
        ERBoundedCylinder(ERIdentity3D(), 1.0, ERLimites(0, 50), ERLimites(0, 2 * pi)));
    const double error = 1e-3, chords = pi / std::acos(1 - error / 2);
    EXPECT_LE(double(velm::tessellate(*velm::prepare_face(tube), error).triangles.size()),
              6 * chords);
}

using RealFaceMesh = TextForms;

TEST_F(RealFaceMesh, IsNearAndAsLargeAsTheFace) {
    int faces = 0;
    for (const std::filesystem::path& file : files)
        for (const FaceText& text : FaceTextReader(file).faces) {
            const std::string name = file.filename().string() + " " + text.id;
            const auto face = velm::prepare_face(*text.face, 1e-6);
            ASSERT_TRUE(face) << name;
            const double error = 1e-3 * face->surface().box().diagonal();
            const velm::SurfaceMesh mesh = velm::tessellate(*face, error);
            ++faces;
            expect_near(*face, mesh, error, 10, name);
            EXPECT_TRUE(mesh.certified) << name;
            const double area = sampled_area(*face);
            EXPECT_NEAR(area_of(mesh), area, 0.06 * area + error * error) << name;
        }
    EXPECT_EQ(faces, 544);
}

} // namespace
