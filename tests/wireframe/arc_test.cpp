#include "velm/wireframe/arc.h"

#include "wireframe/curve_checks.h"

namespace {

using velm_test::pi;
velm_test::Random draw{45};

ERPoint2D point(double reach = 9) { return draw.value<ERPoint2D>(reach); }

ERArc2D random_arc() {
    const double start = draw.uniform(-7, 7);
    return ERArc2D(point(), draw.uniform(0.5, 9), start, start + draw.uniform(-2 * pi, 2 * pi));
}

TEST(Circle, ThroughThreePoints) {
    ERPoint2D center;
    double radius = 0;
    for (int round = 0; round < 500; ++round) {
        const ERPoint2D a = point(), b = point(), c = point();
        ASSERT_EQ(GetCircle(a, b, c, center, radius), 1);
        const double slack = 1e-12 * radius * radius;
        EXPECT_NEAR(distance(center, a), radius, slack);
        EXPECT_NEAR(distance(center, b), radius, slack);
        EXPECT_NEAR(distance(center, c), radius, slack);
    }
    const ERPoint2D before = center;
    EXPECT_EQ(GetCircle({0, 0}, {1, 0}, {3, 0}, center, radius), 0);
    EXPECT_EQ(radius, std::numeric_limits<double>::max());
    EXPECT_EQ(center, before);
    ERArc2D arc({5, 5}, 1, 0.0, 1.0);
    EXPECT_EQ(Arc3Points(arc, {0, 0}, {1, 1}, {2, 2}), 0);
    EXPECT_EQ(arc.center(), ERPoint2D(5, 5));

    // Counter-clockwise from the first to the last, regardless of where the middle one is.
    for (const ERPoint2D& middle : {ERPoint2D(0, 1), ERPoint2D(0, -1)}) {
        ASSERT_EQ(Arc3Points(arc, {1, 0}, middle, {-1, 0}), 1);
        EXPECT_EQ(arc.isDirect(), 1);
        EXPECT_TRUE(isEqual(arc(pi / 2), ERPoint2D(0, 1), 1e-15));
        EXPECT_NEAR(arc.arcLength(0.0), pi, 1e-15);
    }
}

TEST(Arc, FromTwoPointsAndTheCenter) {
    for (int round = 0; round < 500; ++round) {
        const ERPoint2D center = point();
        const ERCircle2D circle(center, draw.uniform(1, 5));
        const ERPoint2D p1 = circle(draw.uniform(0, 6)), p2 = circle(draw.uniform(0, 6));
        for (const int reversed : {0, 1}) {
            ERArc2D arc;
            ASSERT_EQ(Arc2PointsCenter(arc, p1, p2, center, reversed), 1);
            EXPECT_TRUE(isEqual(arc.firstPt(), p1, 1e-13));
            EXPECT_TRUE(isEqual(arc.lastPt(), p2, 1e-13));
            EXPECT_EQ(arc.isDirect(), 1 - reversed);
            EXPECT_LE(arc.getBound().amplitude(), 2 * pi);
        }
    }
    ERArc2D arc;
    EXPECT_EQ(Arc2PointsCenter(arc, {1, 0}, {0, 1.0001}, {0, 0}, 0), 0);
    EXPECT_EQ(arc.radius(), 0);
    EXPECT_EQ(Arc2PointsCenter(arc, {1, 0}, {1, 0}, {0, 0}, 0), 1);
    EXPECT_EQ(arc.getBound(), ERLimites(0, 2 * pi));
}

TEST(Arc, HangsTogether) {
    for (int round = 0; round < 300; ++round) {
        ERArc2D arc = random_arc();
        const ERLimites bound = arc.getBound();
        const double t = bound(draw.uniform(0, 1));
        velm_test::expect_tight_box(arc);
        velm_test::expect_derivatives_and_parts(arc, t);
        velm_test::expect_image(arc, draw);
        velm_test::expect_image(ERArc2D(arc.center(), arc.radius(), 0.0, 2 * pi), draw);
        const ERInfoPoint2D info = arc.PtCur(t);
        EXPECT_NEAR(info.radius(), arc.radius(), 1e-13);
        EXPECT_TRUE(isEqual(arc.normal(t), info.second_derivative().getnormalized(), 1e-15));

        // A polyline within the tolerance, and not much finer.
        const ERVec<ERPoint2D> polyline = arc.approxime(bound, 1e-3);
        const double step = 2 * std::acos(1 - 1e-3 / arc.radius());
        EXPECT_GE(polyline.size() - 1, bound.amplitude() / step * 0.99);
        EXPECT_LE(polyline.size() - 1, 2 * bound.amplitude() / step + 2);
    }
}

TEST(Arc, DistanceBeatsAllSamplesAndTellsTheSide) {
    for (int round = 0; round < 2000; ++round) {
        ERArc2D arc = random_arc();
        const ERPoint2D p = point(15);
        const ERLimites bound = arc.getBound();
        double dist = 0, t = 99;
        const EREntity::DISTMINRES kind = arc.SignedMinimalDistance(p, dist, t);
        ASSERT_TRUE(bound.inBound(t));
        EXPECT_NEAR(std::fabs(dist), distance(arc(t), p), 1e-13);
        EXPECT_EQ(dist < 0, distance(p, arc.center()) < arc.radius());
        EXPECT_EQ(kind == EREntity::DISTMIN_AT_END, t == bound.start() || t == bound.end());
        EXPECT_NEAR(velm_test::expect_closest(arc, p).distance, std::fabs(dist), 1e-13);
    }
    ERArc2D arc({1, 1}, 2, 1.0, 2.0);
    double dist, t;
    EXPECT_EQ(arc.SignedMinimalDistance({1, 1}, dist, t), EREntity::DISTMIN_EVERYWHERE);
    EXPECT_EQ(dist, -2);
    EXPECT_EQ(t, 1);
}

TEST(Arc, ProjectsAndCrossesWithinItsLimits) {
    const ERArc2D wide({0, 0}, 2, pi / 2, 3 * pi / 2);
    ERVec<double> params{7.0};
    EXPECT_EQ(wide.ProjectPoint({0, 0}, params, 0), -1);
    EXPECT_EQ(wide.ProjectPoint({-3, -3}, params, 0), 2); // beyond pi: raised by a turn
    EXPECT_DOUBLE_EQ(params[1], 1.25 * pi);
    EXPECT_EQ(wide.ProjectPoint({3, 3}, params, 0), 2);
    EXPECT_EQ(ERArc2D({0, 0}, 2, -1.0, 1.0).ProjectPoint({1, -0.5}, params, 0), 3);
    EXPECT_DOUBLE_EQ(params[2], std::atan2(-0.5, 1));

    params.clear();
    const ERArc2D whole({1, 5}, 5, -pi, pi);
    EXPECT_EQ(whole.intersectWithAxeY(4, params), 2);
    EXPECT_DOUBLE_EQ(params[0], std::atan2(4, 3));
    EXPECT_DOUBLE_EQ(params[1], std::atan2(-4, 3));
    EXPECT_EQ(whole.intersectWithAxeY(7, params), 0);
    EXPECT_EQ(whole.intersectWithAxeY(-4, params), 3);
    EXPECT_EQ(params[2], pi);
    EXPECT_EQ(ERArc2D({1, 5}, 5, 0.0, pi).intersectWithAxeY(4, params), 4);
}

} // namespace
