// Shared edges of parts and their meshes: solids of every kind of surface put together face by
// face, split, shifted and cut open on purpose.
#include "velm/surfaces/part_edges.h"

#include "support/allocation_count.h"
#include "support/meshes.h"
#include "support/surfaces.h"
#include "velm/surfaces/part_tessellation.h"
#include "velm/surfaces/prepared_part.h"
#include "velm/surfaces/surface_projector.h"

namespace {

using namespace velm_test;
using velm::PartEdgeKind;

Random draw{19};

struct Part {
    std::vector<velm::PreparedFace> faces;
    std::vector<int> outward;

    void add(const ERAnyBoundedSurface& face, int side = 1) {
        const auto prepared = velm::prepare_face(face);
        ASSERT_TRUE(prepared);
        faces.push_back(*prepared);
        outward.push_back(side);
    }
    // A polygon in the plane of x and y; x ^ y points outside.
    void add_plane(const ERPoint3D& origin, const ERVector3D& x, const ERVector3D& y,
                   const std::vector<ERPoint2D>& corners, const std::vector<ERArc2D>& bores = {}) {
        ERTrimmedSurface face(
            ERBoundedPlane(ERChgRepere3D(x, y, origin), {-100, 100}, {-100, 100}));
        ERVec<ERPoint2D> closed;
        for (const ERPoint2D& corner : corners)
            closed.push_back(corner);
        closed.push_back(corners.front());
        face.addBound(ERPolyline2D(closed), Boundary::outer);
        for (const ERArc2D& bore : bores)
            face.addBound(bore, Boundary::inner);
        add(face);
    }
    velm::PartEdges edges(double tolerance) const {
        return velm::PartEdges::of(faces, outward, tolerance);
    }
    velm::PartMesh mesh(double tolerance, double error) const {
        return velm::tessellate(faces, outward, edges(tolerance), error);
    }
};

std::vector<ERPoint2D> rectangle(double u0, double u1, double v0, double v1) {
    return {{u0, v0}, {u1, v0}, {u1, v1}, {u0, v1}};
}

// The sides of [0, a] x [0, b] x [0, c] except its top.
void add_open_box(Part& part, double a, double b, double c) {
    part.add_plane({0, 0, 0}, Y, X, rectangle(0, b, 0, a));
    part.add_plane({0, 0, 0}, X, Z, rectangle(0, a, 0, c));
    part.add_plane({a, 0, 0}, Y, Z, rectangle(0, b, 0, c));
    part.add_plane({a, b, 0}, -X, Z, rectangle(0, a, 0, c));
    part.add_plane({0, b, 0}, -Y, Z, rectangle(0, b, 0, c));
}

void expect_watertight(const velm::PartMesh& mesh, const std::string& name) {
    EXPECT_TRUE(mesh.closed && mesh.manifold && mesh.borders.empty()) << name;
    const Sides sides(mesh);
    EXPECT_EQ(sides.open + sides.wrong, 0) << name;
}

// Points of triangles are near to the surface of their face, and corners on it where no gap is.
void expect_near(const Part& part, const velm::PartMesh& mesh, double error,
                 const std::string& name) {
    std::vector<velm::SurfaceProjector> projectors;
    for (const velm::PreparedFace& face : part.faces)
        projectors.push_back(*velm::SurfaceProjector::on(face.surface()));
    for (int i = 0; i < 400; ++i) {
        const int t = draw.below(static_cast<int>(mesh.triangles.size()));
        const ERPoint3D at = place_in(corners(mesh, mesh.triangles[std::size_t(t)]), draw);
        EXPECT_LE(
            projectors[std::size_t(mesh.face_of_triangle[std::size_t(t)])].nearest(at).distance,
            error)
            << name << " " << at;
    }
}

TEST(PartEdges, OfABoxWhoseTopIsSplitShiftedAndTurned) {
    constexpr double gap = 0.002;
    for (const double tolerance : {0.005, 0.001}) {
        Part part;
        add_open_box(part, 10, 6, 4);
        // Two faces for the top, cut where no other face is; the second one is off by the gap,
        // turned, and has a vertex more.
        part.add_plane({0, 0, 4}, X, Y, rectangle(0, 3, 0, 6));
        part.add_plane({10, 0, 4 + gap}, Y, -X, {{0, 0}, {6, 0}, {6, 7}, {0, 7}, {0, 3}});
        const velm::PartEdges edges = part.edges(tolerance);
        const bool closes = tolerance > gap;
        EXPECT_EQ(edges.open(), closes ? 0 : 8);
        if (closes) {
            EXPECT_NEAR(edges.largest_gap(), gap, 1e-12);
        } else {
            EXPECT_LT(edges.largest_gap(), 1e-13);
        }
        int split = 0;
        for (const velm::PartEdge& edge : edges.all()) {
            if (edge.mate < 0) continue;
            const velm::PartEdge& mate = edges.all()[std::size_t(edge.mate)];
            EXPECT_EQ(&edges.all()[std::size_t(mate.mate)], &edge);
            EXPECT_TRUE(edge.agrees && edge.reversed != mate.reversed);
            EXPECT_LE(edge.bound, edge.gap + 0.25 * tolerance);
            split += edge.to - edge.from < 0.99;
            const double middle = 0.5 * (edge.from + edge.to);
            const int at = static_cast<int>(middle);
            EXPECT_EQ(
                &edges.all()[std::size_t(edges.at(edge.face, edge.loop, at % 5, middle - at))],
                &edge);
        }
        EXPECT_GE(split, closes ? 4 : 2); // the long edges of two sides
        const velm::PartMesh mesh = part.mesh(tolerance, 0.01);
        EXPECT_EQ(mesh.closed, closes);
        EXPECT_EQ(mesh.borders.size(), closes ? 0u : 2u);
        EXPECT_NEAR(volume_of(mesh), closes ? 240 : 240 + 7 * 6 * gap / 3, 0.2);
        if (closes) expect_watertight(mesh, "box");
    }
}

TEST(PartEdges, AreOpenWhereOneGoesOnAlone) {
    Part part;
    add_open_box(part, 10, 6, 4);
    part.add_plane({0, 0, 4}, X, Y, rectangle(0, 7, 0, 6));
    const velm::PartEdges edges = part.edges(1e-6);
    double open = 0.0;
    for (const velm::PartEdge& edge : edges.all()) {
        if (edge.kind != PartEdgeKind::open) continue;
        const auto& face = part.faces[std::size_t(edge.face)];
        const auto point = [&](double place) {
            const int at = static_cast<int>(place);
            const ERPoint2D p = face.parameter(edge.loop, at % face.edges(edge.loop), place - at);
            return face.surface()(p.x(), p.y());
        };
        open += distance(point(edge.from), point(edge.to));
    }
    EXPECT_NEAR(open, 3 + 6 + 3 + 6, 1e-9);
    const velm::PartMesh mesh = part.mesh(1e-6, 0.01);
    ASSERT_EQ(mesh.borders.size(), 1u);
    const auto& border = mesh.borders[0];
    EXPECT_EQ(mesh.point_of_vertex[std::size_t(border.front())],
              mesh.point_of_vertex[std::size_t(border.back())]);
}

// Solids of revolution, each direction of whose faces is closed in another way.
TEST(PartMesh, OfSolidsWithSeamsPolesAndTips) {
    const ERVector3D x(1, 2, 2), y(2, 1, -2), z = (x ^ y) * (1.0 / 9);
    const auto frame_at = [&](double height) {
        return ERChgRepere3D(x, y, ERPoint3D(3, 4, 5) + z * height);
    };
    const ERPmIsometrie3D frame = frame_at(0);
    const auto disc = [&](Part& part, double radius, double height, bool up) {
        const ERPmIsometrie3D at = frame_at(height);
        ERTrimmedSurface face(ERBoundedPlane(at, {-9, 9}, {-9, 9}));
        face.addBound(ERArc2D({0, 0}, radius, 0.3, 0.3 + 2 * pi), Boundary::outer);
        part.add(face, up ? 1 : -1);
    };
    Part cylinder, cone, ball, ring;
    cylinder.add(ERBoundedCylinder(frame, 2, {0, 5}, {0, 2 * pi}), -1);
    disc(cylinder, 2, 0, false);
    disc(cylinder, 2, 5, true);
    cone.add(ERBoundedCone(frame, 0.5, {0, 4}, {0, 2 * pi}), -1);
    const double rim = 4 * std::tan(0.5);
    disc(cone, rim, 4, true);
    ball.add(ERBoundedSphere(frame, 3, {0, 2 * pi}, {-pi / 2, pi / 2}));
    ring.add(ERBoundedTorus(frame, 5, 2, 0, 2 * pi, 0, 2 * pi));
    const std::tuple<const char*, Part*, double, double> solids[] = {
        {"cylinder", &cylinder, pi * 4 * 5, 2 * pi * 2 * 5 + 2 * pi * 4},
        {"cone", &cone, pi * rim * rim * 4 / 3, pi * rim * (rim + std::hypot(4, rim))},
        {"ball", &ball, 4 * pi / 3 * 27, 4 * pi * 9},
        {"ring", &ring, 2 * pi * pi * 5 * 4, 4 * pi * pi * 5 * 2}};
    for (const auto& [name, part, volume, area] : solids) {
        const velm::PartEdges edges = part->edges(1e-6);
        EXPECT_EQ(edges.open(), 0) << name;
        EXPECT_LT(edges.largest_gap(), 1e-9) << name;
        for (const double error : {0.5, 0.05, 0.002}) {
            const velm::PartMesh mesh = part->mesh(1e-6, error);
            expect_watertight(mesh, name);
            EXPECT_TRUE(mesh.certified) << name;
            // The sign of the volume is that of the orientation.
            const double found = std::fabs(volume_of(mesh));
            EXPECT_NEAR(found, volume, area * error) << name << " " << error;
            EXPECT_NEAR(area_of(mesh), area, area * 0.6 * std::sqrt(error)) << name << " " << error;
            EXPECT_GT(volume_of(mesh), 0) << name;
            expect_near(*part, mesh, error + 1e-9, name);
        }
    }
}

// A bore so near to the edges of a plate that coarse chords of both cross, a plate through which
// another one goes, and the sides that belong to each.
TEST(PartMesh, KeepsBoresBesideEdgesAndSolidsThatTouchApart) {
    Part part;
    const double r = 2, x = 2.01, y = 2.02;
    part.add_plane({0, 0, 0}, Y, X, rectangle(0, 8, 0, 10), {ERArc2D({y, x}, r, 0, 2 * pi)});
    part.add_plane({0, 0, 1}, X, Y, rectangle(0, 10, 0, 8), {ERArc2D({x, y}, r, 1, 1 + 2 * pi)});
    part.add_plane({0, 0, 0}, X, Z, rectangle(0, 10, 0, 1));
    part.add_plane({10, 0, 0}, Y, Z, rectangle(0, 8, 0, 1));
    part.add_plane({10, 8, 0}, -X, Z, rectangle(0, 10, 0, 1));
    part.add_plane({0, 8, 0}, -Y, Z, rectangle(0, 8, 0, 1));
    part.add(ERBoundedCylinder(ERChgRepere3D(X, Y, {x, y, 0}), r, {0, 1}, {0, 2 * pi}), 1);
    for (const double error : {3.0, 0.3, 0.01}) {
        const velm::PartMesh mesh = part.mesh(1e-6, error);
        expect_watertight(mesh, "bore " + std::to_string(error));
        EXPECT_TRUE(mesh.certified);
        EXPECT_NEAR(volume_of(mesh), 80 - pi * r * r, 2 * pi * r * error) << error;
    }
    std::vector<velm::PartFace> faces;
    for (std::size_t i = 0; i < part.faces.size(); ++i)
        faces.push_back({part.faces[i], part.outward[i]});
    const auto prepared = velm::PreparedPart::of(faces, 1e-6);
    ASSERT_TRUE(prepared);
    EXPECT_EQ(velm::tessellate(*prepared, 0.1).positions, part.mesh(1e-6, 0.1).positions);
    // A bolt in the bore: along its rims four faces meet.
    const std::size_t plate = part.faces.size();
    part.add(ERBoundedCylinder(ERChgRepere3D(X, Y, {x, y, 0}), r, {0, 1}, {1, 1 + 2 * pi}), -1);
    for (const double height : {0.0, 1.0}) {
        ERTrimmedSurface face(
            ERBoundedPlane(ERChgRepere3D(X, Y, {x, y, height}), {-9, 9}, {-9, 9}));
        face.addBound(ERArc2D({0, 0}, r, 2, 2 + 2 * pi), Boundary::outer);
        part.add(face, height > 0 ? 1 : -1);
    }
    const velm::PartEdges edges = part.edges(1e-6);
    EXPECT_EQ(edges.open(), 0);
    for (const velm::PartEdge& edge : edges.all())
        if (edge.mate >= 0) {
            EXPECT_EQ(std::size_t(edge.face) < plate,
                      std::size_t(edges.all()[std::size_t(edge.mate)].face) < plate);
        }
    const velm::PartMesh mesh = part.mesh(1e-6, 0.1);
    EXPECT_TRUE(mesh.closed && !mesh.manifold);
    EXPECT_NEAR(volume_of(mesh), 80, 1e-9);
}

// An L of height 3, whose signed distance has a closed form.
const std::vector<ERPoint2D> l_corners = {{0, 0}, {6, 0}, {6, 2}, {2, 2}, {2, 5}, {0, 5}};

double l_distance(const ERPoint3D& p) {
    double flat = HUGE_VAL;
    bool inside = false;
    for (std::size_t i = 0; i < l_corners.size(); ++i) {
        const ERPoint2D &a = l_corners[i], &b = l_corners[(i + 1) % l_corners.size()];
        const double ux = b.x() - a.x(), uy = b.y() - a.y(), px = p.x() - a.x(), py = p.y() - a.y();
        const double t = std::clamp((px * ux + py * uy) / (ux * ux + uy * uy), 0.0, 1.0);
        flat = std::min(flat, std::hypot(px - t * ux, py - t * uy));
        if ((a.y() > p.y()) != (b.y() > p.y()) && px < py * ux / uy) inside = !inside;
    }
    if (inside) flat = -flat;
    const double above = std::max(-p.z(), p.z() - 3.0);
    return flat > 0 && above > 0 ? std::hypot(flat, above) : std::max(flat, above);
}

std::vector<velm::PartFace> l_faces() {
    Part part;
    std::vector<ERPoint2D> below; // seen from below, x and y changed
    for (const ERPoint2D& corner : l_corners)
        below.insert(below.begin(), ERPoint2D(corner.y(), corner.x()));
    part.add_plane({0, 0, 0}, Y, X, below);
    part.add_plane({0, 0, 3}, X, Y, l_corners);
    for (std::size_t i = 0; i < l_corners.size(); ++i) {
        const ERPoint2D &a = l_corners[i], &b = l_corners[(i + 1) % l_corners.size()];
        const ERVector2D along(a, b);
        const ERVector2D unit = along.getnormalized();
        part.add_plane({a.x(), a.y(), 0}, ERVector3D(unit.i(), unit.j(), 0), Z,
                       rectangle(0, along.norme(), 0, 3));
    }
    std::vector<velm::PartFace> faces;
    for (const velm::PreparedFace& face : part.faces)
        faces.push_back({face, 1});
    return faces;
}

TEST(PreparedPart, SignsEdgesAndCornersAndTakesFacesThatFaceAPoint) {
    const std::vector<velm::PartFace> faces = l_faces();
    const auto part = velm::PreparedPart::of(faces, 1e-6);
    ASSERT_TRUE(part);
    EXPECT_EQ(part->edges().open(), 0);
    std::vector<velm::FaceProjector> single;
    for (const velm::PartFace& face : faces)
        single.push_back(*velm::FaceProjector::on(face.face));
    const ERVector3D ways[] = {X, Y, Z, -X, -Y, -Z};
    int met[5] = {};
    for (int n = 0; n < 4000; ++n) {
        const ERPoint3D p(draw.uniform(-3, 9), draw.uniform(-3, 8), draw.uniform(-3, 6));
        const velm::PartFoot foot = part->nearest(p);
        EXPECT_NEAR(foot.signed_distance, l_distance(p), 1e-12) << p;
        EXPECT_TRUE(foot.certified && foot.side <= velm::PartSide::edge)
            << p << int(foot.side) << int(foot.kind) << foot.certified << foot.point;
        ++met[foot.kind == velm::SurfaceFootKind::corner ? 3 : foot.loop < 0 ? 0 : 1];

        velm::PartSearch search;
        search.direction = ways[n % 6];
        search.max_angle = 0.5;
        search.max_distance = draw.uniform(0, 8);
        if (n % 2 != 0) search.hint = part->nearest(p + ERVector3D(0.1, 0.2, 0.1));
        double expected = HUGE_VAL;
        for (std::size_t i = 0; i < faces.size(); ++i)
            if (faces[i].face.surface().normal(0, 0) * ways[n % 6] > 0.9)
                expected = std::min(expected, single[i].nearest(p).distance);
        const velm::PartFoot faced = part->nearest(p, search);
        ASSERT_EQ(faced.face >= 0, expected <= search.max_distance) << p;
        if (faced.face < 0) continue;
        EXPECT_NEAR(faced.distance, expected, 1e-12) << p << " " << *search.direction;
        EXPECT_GT(faces[std::size_t(faced.face)].face.surface().normal(0, 0) * ways[n % 6], 0.9);
    }
    EXPECT_GT(met[0], 1000);
    EXPECT_GT(met[1], 500);
    EXPECT_GT(met[3], 100);
    EXPECT_EQ(part->nearest({NAN, 0, 0}).face, -1);
    EXPECT_FALSE(velm::PreparedPart::of({}, 1e-6));
    velm::PartSearch upward;
    for (const double length : {1e-200, 1.0, 1e200}) {
        upward.direction = Z * length;
        EXPECT_EQ(part->nearest({2, 1, 0.5}, upward).signed_distance, -2.5) << length;
    }
    for (const double none : {0.0, HUGE_VAL}) {
        upward.direction = ERVector3D(0, 0, none);
        EXPECT_EQ(part->nearest({2, 1, 0.5}, upward).face, -1) << none;
    }
    for (const double tolerance : {std::nan(""), HUGE_VAL, -1.0}) {
        const auto exact = velm::PreparedPart::of(faces, tolerance);
        EXPECT_EQ(exact->nearest({2, 1, 4}).signed_distance, 1.0) << tolerance;
        EXPECT_EQ(exact->tolerance(), velm::PreparedPart::of(faces, 0.0)->tolerance());
    }
}

TEST(PreparedPart, AnswersTheSameInAnyNumberOfThreadsWithoutAllocation) {
    const auto part = velm::PreparedPart::of(l_faces(), 1e-6, 3);
    std::vector<ERPoint3D> points;
    for (int n = 0; n < 500; ++n)
        points.push_back(draw.value<ERPoint3D>(9));
    std::vector<velm::PartFoot> serial(points.size()), shared(points.size());
    velm::PartSearch search;
    search.direction = ERVector3D(1, 2, 3);
    const long before = allocations();
    part->nearest(points, {&search, 1}, serial);
    part->nearest(points, serial);
    EXPECT_EQ(allocations(), before);
    part->nearest(points, shared, 8);
    for (std::size_t i = 0; i < points.size(); ++i) {
        EXPECT_EQ(serial[i].point, shared[i].point);
        EXPECT_EQ(serial[i].signed_distance, shared[i].signed_distance);
        EXPECT_EQ(serial[i].face, shared[i].face);
    }
}

} // namespace
