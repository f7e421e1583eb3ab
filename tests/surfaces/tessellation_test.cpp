// Meshes of surfaces: their distance both ways by dense sampling, no gaps, seams, poles and
// creases.
#include "velm/surfaces/tessellation.h"

#include "support/meshes.h"
#include "support/surfaces.h"

namespace {

using namespace velm_test;
using Surface = t_SmartPtr<ERAnyBoundedSurface>;

struct Shape {
    std::string name;
    Surface surface;
    double chord_error;
    bool closed = false; // without an edge
};

// Of the parameters' own speed in x and y: the poles stand at the means of p knots.
ERSpoleNURBS3D net(int p, int q, int n, int m, double height, bool rational) {
    velm_test::Random random = velm_test::Random::fixed(5);
    ERMatrix<ERPole3DH> poles(m, n);
    const ERKnotVector u(p, n, {0, 1}), v(q, m, {-1, 2});
    const auto mean = [](const ERKnotVector& knots, int i) {
        double sum = 0.0;
        for (int k = 1; k <= knots.degree(); ++k)
            sum += knots.getVec()[i + k];
        return sum / knots.degree();
    };
    for (int j = 0; j < m; ++j)
        for (int i = 0; i < n; ++i)
            poles(j, i) = ERPole3DH(10 * mean(u, i), 3 * mean(v, j),
                                    height * std::sin(1.3 * i) * std::cos(0.9 * j), 1.0) *
                          (rational ? random.uniform(0.4, 1.6) : 1.0);
    return {poles, u, v};
}

// A cylinder with a corner along its generators, by a knot of multiplicity p, and a tip: all poles
// of the last row in one point.
ERSpoleNURBS3D creased_with_tip() {
    ERMatrix<ERPole3DH> poles(3, 5);
    const double x[] = {0, 2, 3, 4, 6}, z[] = {0, 2, 3, 1, 0};
    for (int i = 0; i < 5; ++i) {
        poles(0, i) = ERPole3DH(x[i], 0, z[i], 1);
        poles(1, i) = ERPole3DH(x[i], 3, 1.5 * z[i], 1);
        poles(2, i) = ERPole3DH(3, 6, 1, 1);
    }
    return {poles, ERKnotVector(2, ERVec<double>{0, 0, 0, 0.5, 0.5, 1, 1, 1}),
            ERKnotVector(2, ERVec<double>{0, 0, 0, 1, 1, 1})};
}

std::vector<Shape> shapes() {
    const ERPmIsometrie3D frame =
        ERChgRepere3D(ERVector3D(1, 2, 3), ERVector3D(-1, 0, 2), ERPoint3D(3, -1, 2));
    const ERBoundedSphere ball(frame, 5.0, ERLimites(0, 2 * pi), ERLimites(-pi / 2, pi / 2));
    const ERBoundedTorus ring(frame, 3.0, 1.0, 0, 2 * pi, 0, 2 * pi);
    const ERInfLine3D axis(ERVector3D(0, 0, 1), ERPoint3D());
    const ERVec<ERPole3DH> vase{{3, 0, 0, 1}, {8, 0, 2, 2}, {2, 0, 3, 0.7},
                                {5, 0, 5, 1}, {4, 0, 6, 1}, {3, 0, 8, 1}};
    const t_SmartPtr<ERFiniteEntity3DWF> profile =
        static_cast<ERFiniteEntity3DWF*>(new ERCpoleNURBS3D(vase, 3));
    const t_SmartPtr<ERFiniteEntity3DWF> skew =
        static_cast<ERFiniteEntity3DWF*>(new ERSegment3D({2, -2, 0}, {2, 3, 4}));
    const ERSpoleNURBS3D wave = net(3, 2, 9, 7, 1.0, false), heavy = net(2, 3, 6, 8, 1.5, true);
    return {{"sphere", new ERBoundedSphere(ball), 0.01, true},
            {"half a sphere", new ERBoundedSphere(frame, 5.0, {0, 2}, {0, pi / 2}), 0.003},
            {"torus", new ERBoundedTorus(ring), 0.004, true},
            {"cylinder", new ERBoundedCylinder(frame, 2.0, {-1, 30}, {0, 2 * pi}), 0.002},
            {"cone on both sides", new ERBoundedCone(frame, 0.4, -2.0, 3.0), 0.003},
            {"NURBS sphere", new ERSpoleNURBS3D(*velm::to_nurbs(ball)), 0.01, true},
            {"NURBS torus", new ERSpoleNURBS3D(*velm::to_nurbs(ring)), 0.01, true},
            {"gentle", new ERSpoleNURBS3D(net(3, 3, 12, 12, 0.01, false)), 0.002},
            {"waved", new ERSpoleNURBS3D(wave), 0.004},
            {"rational", new ERSpoleNURBS3D(heavy), 0.005},
            {"crease and tip", new ERSpoleNURBS3D(creased_with_tip()), 0.004},
            {"turned", new ERSurOfRevolution(profile, axis, 0, 2 * pi), 0.02},
            {"hyperboloid", new ERSurOfRevolution(skew, axis, 0.5, 5), 0.01},
            {"offset", new EROffsetSurface(wave, 0.3, ERVector3D(0, 0, 1)), 0.02},
            {"turned, offset",
             new EROffsetSurface(ERSurOfRevolution(profile, axis, 0, 3), 0.4, ERVector3D(0, 1, 0)),
             0.02},
            {"coarse sphere", new ERBoundedSphere(ball), 50.0, true}};
}

ERPoint3D blend(const std::array<ERPoint3D, 3>& p, double a, double b) {
    return p[0] * (1 - a - b) + p[1] * a + p[2] * b;
}

// No farther from the surface than this: Gauss-Newton's steps from a parameter near the foot.
double distance_to_surface(const velm::PreparedSurface& s, const ERPoint3D& p, ERPoint2D at) {
    double least = 1e300;
    for (int step = 0; step < 6; ++step) {
        const velm::SurfaceJet j = s.jet(at.x(), at.y());
        const ERVector3D r(j.point, p);
        least = std::min(least, r.norme());
        const double e = j.du * j.du, f = j.du * j.dv, g = j.dv * j.dv, d = e * g - f * f;
        if (!(d > 1e-9 * e * g)) break;
        at.x() += (g * (j.du * r) - f * (j.dv * r)) / d;
        at.y() += (e * (j.dv * r) - f * (j.du * r)) / d;
    }
    return least;
}

double distance_to_triangle(const ERPoint3D& p, const std::array<ERPoint3D, 3>& t) {
    const ERVector3D a(t[0], t[1]), b(t[0], t[2]), r(t[0], p);
    const double e = a * a, f = a * b, g = b * b, d = e * g - f * f;
    const double x = (g * (a * r) - f * (b * r)) / d, y = (e * (b * r) - f * (a * r)) / d;
    if (d > 0.0 && x >= 0.0 && y >= 0.0 && x + y <= 1.0)
        return ERVector3D(blend(t, x, y), p).norme();
    double least = 1e300;
    for (std::size_t k = 0; k < 3; ++k) {
        const ERVector3D edge(t[k], t[(k + 1) % 3]), from(t[k], p);
        const double s = std::clamp(edge * from / edge.norme2(), 0.0, 1.0);
        least = std::min(least, (from - edge * s).norme());
    }
    return least;
}

TEST(Tessellation, IsWithinTheChordErrorBothWays) {
    velm_test::Random random(81);
    for (const Shape& shape : shapes()) {
        SCOPED_TRACE(shape.name);
        const auto surface = velm::prepare(*shape.surface);
        ASSERT_TRUE(surface);
        const velm::SurfaceMesh mesh = velm::tessellate(*surface, shape.chord_error);
        ASSERT_FALSE(mesh.triangles.empty());
        EXPECT_TRUE(mesh.certified);
        const double allowed = shape.chord_error + 1e-12 * surface->box().diagonal();
        double farthest = 0.0;
        for (const auto& t : mesh.triangles) {
            const auto p = corners(mesh, t);
            std::array<ERPoint3D, 3> at;
            for (std::size_t k = 0; k < 3; ++k) {
                const ERPoint2D& q = mesh.parameters[std::size_t(t[k])];
                at[k] = ERPoint3D(q.x(), q.y(), 0);
            }
            for (int k = 0; k < 4; ++k) {
                double a = random.uniform(0, 1), b = random.uniform(0, 1);
                if (a + b > 1) a = 1 - a, b = 1 - b;
                const ERPoint3D place = blend(at, a, b);
                farthest = std::max(farthest, distance_to_surface(*surface, blend(p, a, b),
                                                                  {place.x(), place.y()}));
            }
            // Outward: counter-clockwise seen from the side of the normals.
            const ERVector3D n = ERVector3D(p[0], p[1]) ^ ERVector3D(p[0], p[2]);
            ERVector3D sum;
            for (const int v : t)
                sum = sum + mesh.normals[std::size_t(v)];
            if (shape.chord_error < 1) {
                EXPECT_GT(n * sum, 0.0);
            }
        }
        EXPECT_LE(farthest, allowed);
        double uncovered = 0.0;
        for (int k = 0; k < 60; ++k) {
            const ERPoint3D p = (*surface)(surface->domain_u()(random.uniform(0, 1)),
                                           surface->domain_v()(random.uniform(0, 1)));
            double least = 1e300;
            for (const auto& t : mesh.triangles)
                least = std::min(least, distance_to_triangle(p, corners(mesh, t)));
            uncovered = std::max(uncovered, least);
        }
        EXPECT_LE(uncovered, allowed);
    }
}

// Each edge belongs to one triangle of either direction, except those on the edge of the surface.
TEST(Tessellation, HasNoGaps) {
    for (const Shape& shape : shapes()) {
        SCOPED_TRACE(shape.name);
        const auto surface = velm::prepare(*shape.surface);
        for (const double factor : {1.0, 4.0}) {
            const auto mesh = velm::tessellate(*surface, factor * shape.chord_error);
            const Sides sides(mesh);
            EXPECT_EQ(sides.wrong, 0);
            EXPECT_EQ(sides.open == 0, shape.closed);
            double area = 0.0;
            for (const auto& t : mesh.triangles) {
                const auto at = [&](int k) {
                    return mesh.parameters[std::size_t(t[std::size_t(k)])];
                };
                const ERVector2D a(at(0), at(1)), b(at(0), at(2));
                EXPECT_GT(a.i() * b.j() - a.j() * b.i(), 0.0);
                area += 0.5 * (a.i() * b.j() - a.j() * b.i());
            }
            const double whole = surface->domain_u().amplitude() * surface->domain_v().amplitude();
            EXPECT_LE(area, whole * (1 + 1e-12));
        }
    }
}

// N triangles inscribed in a sphere: an equilateral one of the circumradius r is off by r^2 / (2 R)
// and has the area 1.299 r^2, so at least 4 pi R^2 / (2.598 R e) of them. On a torus of R > r half
// of that density, the curvatures' geometric mean, in each half: no less than the outer half takes.
TEST(Tessellation, TakesAFewTimesTheLeastNumberOfTriangles) {
    for (const double e : {0.05, 0.005}) {
        const ERBoundedSphere ball(ERPmIsometrie3D(), 5.0, {0, 2 * pi}, {-pi / 2, pi / 2});
        const double least = 4 * pi * 25 / (2.598 * 5 * e);
        const auto count = [&](const ERAnyBoundedSurface& s) {
            return double(velm::tessellate(*velm::prepare(s), e).triangles.size());
        };
        const double n = count(ball), nurbs = count(*velm::to_nurbs(ball));
        EXPECT_LE(n, 2.6 * least);
        EXPECT_LE(nurbs, 6 * least);
        const ERBoundedTorus ring(ERPmIsometrie3D(), 3.0, 1.0, 0, 2 * pi, 0, 2 * pi);
        double outer = 0.0; // of the root of the Gaussian curvature over the outer half
        for (int k = 0; k < 1000; ++k) {
            const double c = std::cos(-pi / 2 + pi * (k + 0.5) / 1000);
            outer += 2 * pi * pi / 1000 * std::sqrt((3 + c) * c);
        }
        const double ring_least = 2 * outer / (2.598 * e);
        const double m = count(ring), ring_nurbs = count(*velm::to_nurbs(ring));
        EXPECT_LE(m, 3.0 * ring_least);
        EXPECT_LE(ring_nurbs, 7 * ring_least);
    }
    // A plane of many patches, and a tall cylinder: nothing along straight lines.
    EXPECT_EQ(
        velm::tessellate(*velm::prepare(net(3, 3, 20, 20, 0.0, false)), 1e-6).triangles.size(), 2u);
    const ERBoundedCylinder tall(ERPmIsometrie3D(), 1.0, {0, 1000}, {0, 2 * pi});
    for (const auto& s : {velm::prepare(tall), velm::prepare(*velm::to_nurbs(tall))})
        EXPECT_LE(velm::tessellate(*s, 0.001).triangles.size(), 400u);
}

TEST(Tessellation, KeepsNormalsWithinTheAngleAndOnTheirSides) {
    const auto turns = [](const velm::SurfaceMesh& mesh, auto apart) {
        double most = 0.0;
        for (const auto& t : mesh.triangles)
            for (std::size_t k = 0; k < 3; ++k) {
                const auto a = std::size_t(t[k]), b = std::size_t(t[(k + 1) % 3]);
                if (apart(a) || apart(b)) continue;
                most = std::max(
                    most, std::acos(std::clamp(mesh.normals[a] * mesh.normals[b], -1.0, 1.0)));
            }
        return most;
    };
    for (const Shape& shape : shapes()) {
        SCOPED_TRACE(shape.name);
        const auto mesh = velm::tessellate(*velm::prepare(*shape.surface), 10.0, 0.3);
        EXPECT_FALSE(mesh.triangles.empty());
        EXPECT_LE(turns(mesh, [](std::size_t) { return false; }), 0.33);
        for (std::size_t k = 0; k < mesh.normals.size(); ++k)
            EXPECT_NEAR(mesh.normals[k].norme(), 1.0, 1e-12);
    }
    // At the corner line there are two normals at each position.
    const auto creased = velm::tessellate(*velm::prepare(creased_with_tip()), 0.01);
    std::map<double, std::vector<ERVector3D>> at_crease;
    for (std::size_t k = 0; k < creased.positions.size(); ++k)
        if (creased.parameters[k].x() == 0.5 && creased.parameters[k].y() < 1)
            at_crease[creased.parameters[k].y()].push_back(creased.normals[k]);
    EXPECT_GE(at_crease.size(), 2u);
    for (const auto& [v, normals] : at_crease) {
        ASSERT_EQ(normals.size(), 2u);
        EXPECT_LT(normals[0] * normals[1], 0.8);
    }
    EXPECT_TRUE(velm::tessellate(*velm::prepare(creased_with_tip()), 0.0).triangles.empty());
}

} // namespace
