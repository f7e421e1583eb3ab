// Boxes of surfaces, lofts, ruled and bilinear surfaces, surfaces through and near grids of points.
#include "support/surfaces.h"
#include "velm/surfaces/loft.h"
#include "velm/surfaces/surface_box.h"
#include "velm/surfaces/surface_fit.h"

namespace {

using namespace velm_test;
using Surface = t_SmartPtr<ERAnyBoundedSurface>;
Random draw{91};

double difference(const ERMinimax3D& a, const ERMinimax3D& b) {
    double most = 0.0;
    for (int axis = 0; axis < 3; ++axis)
        most = std::max({most, std::fabs(a.lower(axis) - b.lower(axis)),
                         std::fabs(a.upper(axis) - b.upper(axis))});
    return most;
}

// Holds the points of a grid, and is no larger than theirs by more than the excess and what the
// grid misses: an eighth of the second derivatives' bound times the squared step, generously taken.
velm::TightBox expect_tight(const ERAnyBoundedSurface& surface, double tolerance, double missed) {
    const auto prepared = velm::prepare(surface);
    const velm::TightBox found = velm::tight_box(*prepared, tolerance);
    const double size = prepared->box().diagonal();
    EXPECT_LE(found.excess, tolerance > 0 ? tolerance : 0x1p-30 * size);
    ERMinimax3D sampled, grown = found.box;
    grown.Inflate(1e-14 * (size + prepared->box().MaxPoint().x()));
    constexpr int n = 100;
    for (int i = 0; i <= n; ++i)
        for (int j = 0; j <= n; ++j) {
            const ERPoint3D p =
                surface(surface.getBoundU()(double(i) / n), surface.getBoundV()(double(j) / n));
            EXPECT_TRUE(grown.contains(p)) << surface.className() << i << " " << j;
            sampled.Update(p);
        }
    EXPECT_LE(difference(sampled, found.box), found.excess + missed) << surface.className();
    return found;
}

TEST(TightBox, HoldsEachSurfaceAndIsTheLeast) {
    for (int round = 0; round < 6; ++round) {
        const ERPmIsometrie3D frame = ERChgRepere3D(
            draw.direction<ERVector3D>(), draw.direction<ERVector3D>(), draw.value<ERPoint3D>(5));
        const ERLimites a(draw.uniform(-4, 0), draw.uniform(0.5, 2)),
            b(draw.uniform(-1.5, 0), draw.uniform(0.1, 1.5));
        const ERBoundedCylinder cylinder(frame, 2.0, b, a);
        ERBoundedCone cone(frame, 0.4, -1.0, 3.0);
        cone.setBound(cone.getBoundU(), a);
        const ERBoundedSphere sphere(frame, 2.0, a, b);
        const ERBoundedTorus torus(frame, 3.0, 1.0, a.start(), a.end(), b.start(), b.end());
        const double missed = 8e-3;
        const auto expect_pair = [&](const auto& shape) {
            const velm::TightBox exact = expect_tight(shape, 0.0, missed);
            EXPECT_EQ(exact.excess, 0.0);
            const velm::TightBox nurbs = velm::tight_box(*velm::prepare(*velm::to_nurbs(shape)));
            EXPECT_LE(difference(exact.box, nurbs.box), nurbs.excess + 1e-13);
        };
        expect_pair(cylinder);
        expect_pair(cone);
        expect_pair(sphere);
        expect_pair(torus);
        expect_tight(
            EROffsetSurface(*velm::to_nurbs(torus), 0.3, torus.PtCur(a(0.5), b(0.5)).normale()),
            1e-4, missed);
        const t_SmartPtr<ERFiniteEntity3DWF> arc =
            static_cast<ERFiniteEntity3DWF*>(new ERArc3D(frame, 2.0, a.start(), a.end()));
        expect_tight(ERSurOfRevolution(arc, ERInfLine3D(draw.direction<ERVector3D>(), ERPoint3D()),
                                       b.start(), b.end()),
                     1e-7, 2 * missed);
    }
}

ERCpoleNURBS3D random_curve(int degree, int poles, bool rational) {
    ERVec<ERPole3DH> list;
    for (int i = 0; i < poles; ++i)
        list.push_back(ERPole3DH(ERPoint3D(i, 0, 0) + draw.value<ERPoint3D>(0.4), 1.0) *
                       (rational ? draw.uniform(0.8, 1.25) : 1.0));
    ERCpoleNURBS3D curve(list, degree);
    for (int k = 0; k < 3; ++k)
        curve.insertKnot(draw.uniform(0.1, 0.9), 1);
    return curve;
}

TEST(Loft, PassesThroughItsSectionsAtTheirParameters) {
    for (int round = 0; round < 20; ++round) {
        std::vector<ERCpoleNURBS3D> sections;
        for (int k = 0; k < 2 + round % 5; ++k) {
            ERCpoleNURBS3D curve = random_curve(1 + (round + k) % 4, 6, round % 3 == 0);
            if (k == 1) curve.setBound({0.2, 0.7});
            if (k == 2) curve.reparametrize({-3, 5});
            curve.translate({0, 0, 2.0 * k});
            sections.push_back(curve);
        }
        const auto loft = velm::loft(sections, 3);
        ASSERT_TRUE(loft && loft->surface.isValid()) << round;
        EXPECT_EQ(loft->surface.degreeV(), std::min(3, int(sections.size()) - 1));
        for (std::size_t k = 0; k < sections.size(); ++k)
            for (const double u : {0.0, 0.13, 0.5, 0.77, 1.0}) {
                const ERLimites bound(sections[k].udeb(), sections[k].ufin());
                EXPECT_TRUE(isEqual(loft->surface(u, loft->v[k]), sections[k](bound(u)), 1e-8))
                    << round << " " << k << " " << u;
            }
        const auto strip = velm::ruled(sections[0], sections[1]);
        ASSERT_TRUE(strip);
        if (round % 3 != 0) {
            const ERLimites bound(sections[1].udeb(), sections[1].ufin());
            const ERPoint3D middle = (sections[0](0.3) + sections[1](bound(0.3))) * 0.5;
            EXPECT_TRUE(isEqual((*strip)(0.3, 0.5), middle, 1e-8));
        }
    }
    // Circles, as rational curves: each section of the loft is one.
    std::vector<ERCpoleNURBS3D> circles;
    for (int k = 0; k < 4; ++k) {
        ERCpoleNURBS3D circle = ERArc3D(ERPmIsometrie3D(), 1.0 + k * k, 0, 2 * pi).ConvertToNurbs();
        circle.translate({0, 0, 3.0 * k});
        circles.push_back(circle);
    }
    const auto horn = velm::loft(circles, 3);
    for (const double v : {0.1, 0.5, 0.9}) {
        const ERPoint3D p = horn->surface(0.0, v), q = horn->surface(0.37, v);
        EXPECT_NEAR(std::hypot(p.x(), p.y()), std::hypot(q.x(), q.y()), 1e-12);
    }
    const ERSpoleNURBS3D corners = velm::bilinear({0, 0, 0}, {2, 0, 0}, {0, 3, 0}, {2, 3, 4});
    EXPECT_TRUE(isEqual(corners(0.5, 0.25), ERPoint3D(1, 0.75, 0.5), 1e-15));

    EXPECT_FALSE(velm::loft({circles.data(), 1}, 3));
    EXPECT_FALSE(velm::loft(std::vector{circles[0], circles[0]}, 3));
    EXPECT_FALSE(velm::loft(std::vector{circles[0], ERCpoleNURBS3D()}, 3));
    EXPECT_FALSE(velm::loft(circles, 0));
}

TEST(SurfaceFit, PassesThroughPointsAndFindsSplines) {
    const int n = 12, m = 9;
    std::vector<ERPoint3D> points;
    for (int j = 0; j < m; ++j)
        for (int i = 0; i < n; ++i)
            points.push_back(j == m - 1 ? ERPoint3D(5, 8, 0) // as at a pole
                                        : ERPoint3D(i, j, 0) + draw.value<ERPoint3D>(0.3));
    const velm::PointGrid grid{points, n, m};
    for (const auto kind : {velm::PointParameters::chord_length, velm::PointParameters::centripetal,
                            velm::PointParameters::even}) {
        const auto fit = velm::approximate(grid, 3, 2, n, m, kind);
        ASSERT_TRUE(fit);
        EXPECT_LE(fit->deviation, 1e-12);
        const auto surface = velm::interpolate(grid, 3, 2, kind);
        EXPECT_TRUE(isEqual((*surface)(fit->u[4], fit->v[3]), points[3 * n + 4], 1e-12));
        const auto loose = velm::approximate(grid, 3, 2, 7, 5, kind);
        ASSERT_TRUE(loose);
        EXPECT_TRUE(loose->deviation > 0.01 && loose->deviation < 2.0);
        EXPECT_TRUE(isEqual(loose->surface(1, 0), points[n - 1], 1e-12)); // corners stay
    }
    // Points of one polynomial surface at even parameters: it is in the space, so it is found.
    points.clear();
    for (int j = 0; j < m; ++j)
        for (int i = 0; i < n; ++i) {
            const double u = double(i) / (n - 1), v = double(j) / (m - 1);
            points.emplace_back(u + 0.3 * u * u * v, 2 * v - v * v * v, u * u * u * v * v - u);
        }
    const auto found = velm::approximate({points, n, m}, 3, 3, 6, 5, velm::PointParameters::even);
    ASSERT_TRUE(found);
    EXPECT_LE(found->deviation, 1e-13);

    EXPECT_FALSE(velm::interpolate({points, n, m + 1}, 3, 3)); // not as many points
    EXPECT_FALSE(velm::interpolate({points, n, m}, 3, 9));
    EXPECT_FALSE(velm::approximate({points, n, m}, 3, 3, 3, 5));
    points[7] = ERPoint3D(NAN, 0, 0);
    EXPECT_FALSE(velm::interpolate({points, n, m}, 3, 3));
    const std::vector<ERPoint3D> same(std::size_t(n * m), ERPoint3D(1, 2, 3));
    EXPECT_FALSE(velm::interpolate({same, n, m}, 3, 3));
}

} // namespace
