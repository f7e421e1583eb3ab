#include "velm/surfaces/prepared_surface.h"

#include "support/surfaces.h"
#include "support/threads.h"
#include "velm/surfaces/nurbs_decomposer.h"
#include "velm/surfaces/revolved_nurbs.h"

namespace {

using namespace velm_test;

// A meridian from one latitude to the other in the half plane x > 0, turned by the angles.
ERSpoleNURBS3D sphere(double radius, double south, double north, double a, double b) {
    const ERPmIsometrie3D frame =
        ERChgRepere3D(ERVector3D(1, 0, 0), ERVector3D(0, 0, 1), ERPoint3D());
    ERCpoleNURBS3D meridian = ERArc3D(frame, radius, south, north).ConvertToNurbs();
    return CreateSurfOfRevolutionAxeZ1(meridian, a, b);
}

ERSpoleNURBS3D random_surface(Random& random, int p, int q) {
    const int n = p + 1 + random.below(6), m = q + 1 + random.below(6);
    return {waved_net(random, n, m, 0.4, {0.5, 2}), ERKnotVector(p, n, {0, 1}),
            ERKnotVector(q, m, {-1, 2})};
}

// Room for all that can be asked.
struct Everything {
    explicit Everything(std::size_t n) : points(n), curvatures(n) {
        for (auto& list : vectors)
            list.resize(n);
        samples = {points,     vectors[0], vectors[1], vectors[2],
                   vectors[3], vectors[4], vectors[5], curvatures};
    }
    std::vector<ERPoint3D> points;
    std::vector<ERVector3D> vectors[6];
    std::vector<velm::PrincipalCurvatures> curvatures;
    velm::SurfaceSamples samples;
};

void expect_sample(const Everything& all, std::size_t k, const ERInfoPoint3DSurf& expected,
                   double tol) {
    EXPECT_TRUE(isEqual(all.points[k], expected.point(), tol)) << k;
    const ERVector3D derivatives[] = {expected.tangenteU(), expected.tangenteV(),
                                      expected.derivative(0, 2), expected.derivative(1, 1),
                                      expected.derivative(2, 0)};
    for (int d = 0; d < 5; ++d)
        EXPECT_TRUE(
            isEqual(all.vectors[d + 1][k], derivatives[d], tol * (1 + derivatives[d].norme())))
            << k << " derivative " << d;
    const ERVector3D normal = (derivatives[0] ^ derivatives[1]).getnormalized();
    EXPECT_TRUE(isEqual(all.vectors[0][k], normal, tol)) << k;
    const auto curvatures = velm::principal_curvatures(expected);
    EXPECT_NEAR(all.curvatures[k].min, curvatures.min, tol * (1 + std::fabs(curvatures.min)));
    EXPECT_NEAR(all.curvatures[k].max, curvatures.max, tol * (1 + std::fabs(curvatures.max)));
}

TEST(PreparedSurface, SinglesBatchesAndGridsAgreeWithTheEntity) {
    Random random(42);
    for (int round = 0; round < 30; ++round) {
        ERSpoleNURBS3D nurbs = random_surface(random, 1 + round % 7, 1 + round / 2 % 4);
        if (round % 2) nurbs.setBound({0.2, 0.7}, {-0.5, 1.5});
        if (round % 4 == 3) nurbs.adjust();
        std::vector<t_SmartPtr<ERAnyBoundedSurface>> surfaces{new ERSpoleNURBS3D(nurbs)};
        nurbs.UpdateCache();
        surfaces.push_back(nurbs.decomposer()->Bezier(0, 0).get());
        for (const auto& surface : surfaces) {
            const auto prepared = velm::prepare(*surface);
            ASSERT_TRUE(prepared);
            const ERLimites in_u = surface->getBoundU(), in_v = surface->getBoundV();
            EXPECT_TRUE(prepared->domain_u() == in_u && prepared->domain_v() == in_v);
            std::vector<double> u, v;
            for (int i = 0; i <= 20; ++i) {
                u.push_back(in_u(i / 20.0));
                v.push_back(in_v(random.uniform(0, 1)));
            }
            Everything grid(u.size() * v.size()), batch(grid.points.size());
            std::vector<ERPoint2D> places;
            for (const double y : v)
                for (const double x : u)
                    places.emplace_back(x, y);
            prepared->grid(u, v, grid.samples);
            prepared->evaluate(places, batch.samples);
            ERMinimax3D box = prepared->box();
            box.Inflate(1e-13);
            for (std::size_t k = 0; k < places.size(); ++k) {
                const ERInfoPoint3DSurf expected = surface->PtCur(places[k].x(), places[k].y());
                expect_sample(batch, k, expected, 1e-10);
                if (k % u.size() % 20 != 0) expect_sample(grid, k, expected, 1e-8);
                EXPECT_TRUE(box.contains(expected.point()));
            }
            const velm::SurfaceJet jet = prepared->jet(u[5], v[5]);
            EXPECT_TRUE(isEqual((*prepared)(u[5], v[5]), jet.point, 1e-14));
            EXPECT_EQ((*prepared)(in_u.start() - 1, v[5]).x(), (*prepared)(u[0], v[5]).x());
        }
    }
}

TEST(PreparedSurface, PatchesWithTheirBoxesAreTheSurface) {
    Random random(43);
    const ERSpoleNURBS3D surface = random_surface(random, 3, 2);
    const auto prepared = velm::prepare(surface);
    int nu = 0, nv = 0;
    surface.GetNumberOfSpans(nu, nv);
    ASSERT_TRUE(prepared->patches_u() == nu && prepared->patches_v() == nv);
    for (int i = 0; i < nu; ++i)
        for (int j = 0; j < nv; ++j) {
            const velm::SurfacePatch patch = prepared->patch(i, j);
            EXPECT_EQ(reinterpret_cast<std::uintptr_t>(patch.poles.data()) % 32, 0u);
            const double w = patch.poles[3];
            const ERPoint3D corner(patch.poles[0] / w, patch.poles[1] / w, patch.poles[2] / w);
            EXPECT_TRUE(isEqual(surface(patch.u.start(), patch.v.start()), corner, 1e-13));
            EXPECT_TRUE(patch.rational && patch.degree_u == 3 && patch.degree_v == 2);
            EXPECT_TRUE(patch.box.contains(surface(patch.u(0.4), patch.v(0.6))));
        }
    ERMatrix<ERPole3DH> negative = surface.poles();
    negative(0, 0) = negative(0, 0) * -1.0;
    EXPECT_FALSE(
        velm::prepare(ERSpoleNURBS3D(negative, surface.knotVectorU(), surface.knotVectorV())));
    EXPECT_FALSE(velm::prepare(ERSpoleNURBS3D()));
}

TEST(LimitNormal, IsThatOfASphereAtItsPolesAndBesideThem) {
    for (const double radius : {1e-3, 1.0, 1e4}) {
        const ERSpoleNURBS3D surface = sphere(radius, -pi / 2, pi / 2, 0.0, 2 * pi);
        const auto prepared = velm::prepare(surface);
        for (const double u : {0.0, 1e-12, 1e-7, 0.3, 0.5, 1.0 - 1e-9, 1.0})
            for (const double v : {0.0, 1.0, 2.2, 5.0, 2 * pi}) {
                const ERVector3D outward = ERVector3D(surface(u, v)).getnormalized();
                const ERVector3D normal = velm::limit_normal(surface, u, v);
                // U runs north and V east: the normal points inward.
                EXPECT_TRUE(isEqual(normal * -1.0, outward, 1e-6))
                    << radius << " " << u << " " << v;
                EXPECT_TRUE(isEqual(prepared->normal(u, v) * -1.0, outward, 1e-6)) << u << " " << v;
                EXPECT_NEAR(normal.norme(), 1.0, 1e-15);
            }
        Everything one(1);
        const ERPoint2D place(0.37, 1.0);
        prepared->evaluate({&place, 1}, one.samples);
        EXPECT_NEAR(one.curvatures[0].min * radius, 1.0, 1e-7); // a double root: half the digits
        EXPECT_NEAR(one.curvatures[0].max * radius, 1.0, 1e-7);
    }
    // A cone's tip, and a patch whose tangents are parallel in one corner.
    const ERCpoleNURBS3D line({ERPole3DH(0, 0, 0, 1), ERPole3DH(1, 0, 1, 1)});
    const ERSpoleNURBS3D cone = CreateSurfOfRevolutionAxeZ1(line, 0.0, 2 * pi);
    EXPECT_TRUE(
        isEqual(velm::limit_normal(cone, 0.0, 2.2), velm::limit_normal(cone, 0.5, 2.2), 1e-9));
    const ERPoint3D corner[] = {{0, 0, 0}, {1, 0, 0}, {2, 0, 0}, {0.5, 0, 0}, {1, 1, 0}, {2, 1, 0}};
    const ERSpoleBezier3D flat(ERMatrix<ERPoint3D>(2, 3, corner));
    EXPECT_TRUE(isEqual(velm::limit_normal(flat, 0.0, 0.0), ERVector3D(0, 0, 1), 1e-12));
}

TEST(PreparedSurfaceThreads, ShareOneSurface) {
    Random random(44);
    const auto prepared = velm::prepare(random_surface(random, 3, 3));
    std::vector<double> steps;
    for (int i = 0; i < 60; ++i)
        steps.push_back(i / 59.0);
    Everything expected(steps.size() * steps.size());
    prepared->grid(steps, steps, expected.samples);
    in_threads(4, [&](int) {
        Everything own(expected.points.size());
        prepared->grid(steps, steps, own.samples);
        for (std::size_t k = 0; k < own.points.size(); ++k)
            EXPECT_TRUE(own.points[k] == expected.points[k]);
    });
}

} // namespace
