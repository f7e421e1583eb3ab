#include "velm/surfaces/line_crossings.h"

#include "support/allocation_count.h"
#include "support/surfaces.h"

namespace {

using velm::SurfaceCrossing;
using velm::SurfaceProjector;
using namespace velm_test;

// A panel over [0, 10]^2 whose height is a tensor of sines, weighted.
ERSpoleNURBS3D panel(Random& random, double height, double weights) {
    constexpr int n = 13;
    ERMatrix<ERPole3DH> poles(n, n);
    for (int j = 0; j < n; ++j)
        for (int i = 0; i < n; ++i)
            poles(j, i) =
                ERPole3DH(ERPoint3D(i, j, height * std::sin(1.1 * i) * std::cos(0.9 * j)) +
                              random.value<ERPoint3D>(0.1),
                          1.0) *
                std::pow(weights, random.uniform(-1, 1));
    const ERKnotVector knots(3, n, {0, 10});
    return {poles, knots, knots};
}

void expect_on_line(const SurfaceCrossing& c, const velm::PreparedSurface& surface,
                    const ERPoint3D& p, const ERVector3D& d, double tol) {
    EXPECT_LE(ERVector3D(p + ERPoint3D(d * c.k) - c.point).norme(), tol);
    EXPECT_LE(ERVector3D(surface(c.u, c.v) - c.point).norme(), tol);
}

// The number of times that the sides of a fine grid's cells say that a line goes through: on a
// surface of triangles the crossings of a line in general position.
int crossings_of_triangles(const velm::PreparedSurface& surface, const ERPoint3D& p,
                           const ERVector3D& d, int side) {
    std::vector<double> u, v;
    for (int i = 0; i <= side; ++i) {
        u.push_back(surface.domain_u()(double(i) / side));
        v.push_back(surface.domain_v()(double(i) / side));
    }
    std::vector<ERPoint3D> grid(u.size() * v.size());
    velm::SurfaceSamples samples;
    samples.points = grid;
    surface.grid(u, v, samples);
    const auto volume = [&](const ERPoint3D& a, const ERPoint3D& b) {
        return (ERVector3D(a - p) ^ ERVector3D(b - p)) * d;
    };
    int count = 0;
    for (std::size_t j = 0; j + 1 < v.size(); ++j)
        for (std::size_t i = 0; i + 1 < u.size(); ++i) {
            const ERPoint3D &a = grid[j * u.size() + i], &b = grid[j * u.size() + i + 1],
                            &c = grid[(j + 1) * u.size() + i + 1],
                            &e = grid[(j + 1) * u.size() + i];
            const double ab = volume(a, b), bc = volume(b, c), ca = volume(c, a);
            const double ce = volume(c, e), ea = volume(e, a);
            count += (ab > 0) == (bc > 0) && (ab > 0) == (ca > 0);
            count += (-ca > 0) == (ce > 0) && (-ca > 0) == (ea > 0);
        }
    return count;
}

TEST(LineCrossings, AreAllOfThemInOrder) {
    Random random(195);
    std::vector<SurfaceCrossing> crossings, part;
    int differ = 0, lines = 0, most = 0;
    for (int round = 0; round < std::max(4, repeats(100)); ++round) {
        const auto surface =
            velm::prepare(panel(random, round % 2 ? 3.0 : 0.5, round % 3 ? 1.0 : 2.0));
        const auto projector = SurfaceProjector::on(*surface);
        for (int k = 0; k < 50; ++k, ++lines) {
            const ERPoint3D p(random.uniform(1, 9), random.uniform(1, 9), random.uniform(-1, 1));
            const double steep = k % 2 ? 1.0 : 0.05; // grazing lines
            const ERVector3D d(random.uniform(-1, 1), random.uniform(-1, 1),
                               steep * random.uniform(-1, 1));
            velm::line_crossings(*projector, p, d, crossings);
            for (std::size_t i = 0; i < crossings.size(); ++i) {
                expect_on_line(crossings[i], *surface, p, d, 1e-11);
                EXPECT_TRUE(i == 0 || crossings[i - 1].k < crossings[i].k);
            }
            differ +=
                static_cast<int>(crossings.size()) != crossings_of_triangles(*surface, p, d, 150);
            most = std::max(most, static_cast<int>(crossings.size()));
            // Rays and segments have the part between their ends.
            velm::line_crossings(*projector, p, d, part, ERLimites(-1.0, 2.5));
            const auto inside =
                std::count_if(crossings.begin(), crossings.end(),
                              [](const SurfaceCrossing& c) { return c.k >= -1.0 && c.k <= 2.5; });
            EXPECT_EQ(static_cast<long>(part.size()), inside);
            // A crossing that is aimed at, on a border of patches.
            const double u = random.below(10), v = random.uniform(0.5, 9.5);
            const ERPoint3D aim = (*surface)(u, v);
            velm::line_crossings(*projector, aim - ERPoint3D(d * 2.0), d, part, velm::ray);
            EXPECT_EQ(std::count_if(part.begin(), part.end(),
                                    [&](const SurfaceCrossing& c) {
                                        return ERVector3D(c.point - aim).norme() < 1e-10;
                                    }),
                      1)
                << u << " " << v;
        }
    }
    EXPECT_LE(differ, lines / 50 + 1); // the triangles err where a line nearly touches
    EXPECT_GT(most, 5);
    velm::line_crossings(*SurfaceProjector::on(*velm::prepare(panel(random, 1, 1))), {}, {},
                         crossings);
    EXPECT_TRUE(crossings.empty());
}

TEST(LineCrossings, OfAnalyticSurfacesAreThoseOfTheirEquations) {
    const ERPmIsometrie3D frame =
        ERChgRepere3D(ERVector3D(1, 2, 3), ERVector3D(-1, 0, 2), ERPoint3D(3, -1, 2));
    const auto turned = [&](const ERVector3D& v) {
        return frame.getVector(Coord3D_X) * v.i() + frame.getVector(Coord3D_Y) * v.j() +
               frame.getVector(Coord3D_Z) * v.k();
    };
    const auto expect = [&](const ERAnyBoundedSurface& surface, const ERPoint3D& p,
                            const ERVector3D& d, const std::vector<double>& expected,
                            bool tangent = false) {
        SCOPED_TRACE(surface.className());
        const auto prepared = velm::prepare(surface);
        const auto projector = SurfaceProjector::on(*prepared);
        std::vector<SurfaceCrossing> found;
        const ERPoint3D at = frame.origine() + ERPoint3D(turned(ERVector3D(p)));
        const ERVector3D along = turned(d);
        velm::line_crossings(*projector, at, along, found);
        ASSERT_EQ(found.size(), expected.size());
        for (std::size_t i = 0; i < found.size(); ++i) {
            EXPECT_NEAR(found[i].k, expected[i], tangent ? 1e-6 : 1e-13);
            EXPECT_EQ(found[i].tangent, tangent);
            expect_on_line(found[i], *prepared, at, along, tangent ? 1e-6 : 1e-12);
        }
        const long before = velm_test::allocations();
        velm::line_crossings(*projector, at, along, found);
        EXPECT_EQ(velm_test::allocations(), before);
    };
    const ERLimites turn(0, 2 * pi);
    const ERBoundedSphere sphere(frame, 2.0, turn, ERLimites(-pi / 2, pi / 2));
    const ERBoundedCylinder cylinder(frame, 1.0, ERLimites(-3, 3), turn);
    const ERBoundedCone cone(frame, ERRadian(pi / 4), ERLimites(-2, 3), turn);
    const ERBoundedTorus torus(frame, 3.0, 1.0, 0, 2 * pi, 0, 2 * pi);
    const ERBoundedPlane plane(frame, ERLimites(-1, 2), ERLimites(-1, 1));
    expect(sphere, {-4, 0.5, 1}, {1, 0, 0}, {4 - std::sqrt(2.75), 4 + std::sqrt(2.75)});
    expect(sphere, {0, 0, 5}, {0, 0, -1}, {3, 7}); // through both poles
    expect(sphere, {-4, 2, 0}, {2, 0, 0}, {2}, true);
    expect(cylinder, {-4, 0, 1}, {1, 0, 0.25}, {3, 5});
    expect(cylinder, {0, 0.1, 9}, {0, 0, 1}, {});
    expect(cylinder, {-4, -1, 0}, {1, 0, 0.1}, {4}, true);
    expect(cone, {-4, 0, 1}, {1, 0, 0}, {3, 5});
    expect(cone, {-4, 0.25, -1}, {1, 0, 0}, {4 - std::sqrt(0.9375), 4 + std::sqrt(0.9375)});
    expect(torus, {-6, 0, 0}, {1, 0, 0}, {2, 4, 8, 10}); // along the seam
    expect(torus, {-6, 0.5, 0.3}, {1, 0, 0},
           {6 - std::sqrt(std::pow(3 + std::sqrt(0.91), 2) - 0.25),
            6 - std::sqrt(std::pow(3 - std::sqrt(0.91), 2) - 0.25),
            6 + std::sqrt(std::pow(3 - std::sqrt(0.91), 2) - 0.25),
            6 + std::sqrt(std::pow(3 + std::sqrt(0.91), 2) - 0.25)});
    expect(torus, {3, 0, 5}, {0, 0, -1}, {4, 6});
    expect(plane, {1, 0.5, 3}, {0, 0, -2}, {1.5});
    expect(plane, {3, 0.5, 3}, {0, 0, -2}, {});
}

} // namespace
