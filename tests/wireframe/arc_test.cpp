#include "velm/wireframe/arc.h"

#include "support/random.h"
#include "velm/frame/point_functions.h"
#include "velm/transforms/plane_transformation.h"
#include "velm/wireframe/closest_point.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <numbers>

namespace {

constexpr double pi = std::numbers::pi;
velm_test::Random draw{45};

ERPoint2D point(double reach = 9) {
    return {draw.uniform(-reach, reach), draw.uniform(-reach, reach)};
}

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

    // Counter-clockwise from the first to the last, wherever the middle one lies.
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

TEST(Arc, BoxPiecesAndDerivatives) {
    for (int round = 0; round < 300; ++round) {
        ERArc2D arc = random_arc();
        const ERLimites bound = arc.getBound();
        ERMinimax2D sampled;
        for (int n = 0; n <= 3000; ++n)
            sampled.Update(arc(bound(n / 3000.0)));
        const ERMinimax2D box = arc.getBox();
        EXPECT_TRUE(isEqual(box.MinPoint(), sampled.MinPoint(), 1e-5));
        EXPECT_TRUE(isEqual(box.MaxPoint(), sampled.MaxPoint(), 1e-5));
        sampled.Inflate(-1e-13);
        EXPECT_EQ(Union(box, sampled), box);

        const double t = bound(draw.uniform(0, 1)), h = 1e-5;
        const ERInfoPoint2D info = arc.PtCur(t);
        EXPECT_TRUE(isEqual(info.tangente(), ERVector2D(arc(t - h), arc(t + h)) * (0.5 / h), 1e-8));
        EXPECT_NEAR(info.radius(), arc.radius(), 1e-13);
        EXPECT_TRUE(isEqual(arc.normal(t), info.second_derivative().getnormalized(), 1e-15));

        t_SmartPtr<ERFiniteEntity2DWF> first, second;
        ASSERT_EQ(arc.splitAt(first, second, t), 1);
        EXPECT_EQ(first->firstPt(), arc.firstPt());
        EXPECT_EQ(first->lastPt(), second->firstPt());
        EXPECT_EQ(second->lastPt(), arc.lastPt());
        EXPECT_NEAR(first->arcLength(0) + second->arcLength(0), arc.arcLength(0), 1e-13);

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
        for (int n = 0; n <= 100; ++n)
            ASSERT_GE(distance(arc(bound(n / 100.0)), p), std::fabs(dist) - 1e-13);
        const velm::ClosestPoint<ERPoint2D> closest = velm::closest_point(arc, p);
        EXPECT_NEAR(closest.distance, std::fabs(dist), 1e-13);
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

TEST(Arc, TransformationsMoveEveryPoint) {
    for (int round = 0; round < 500; ++round) {
        ERArc2D arc = random_arc();
        if (round % 7 == 0) arc.setLimites(0.0, 2 * pi);
        ERTransfo2D t = ERTransfo2D(ERVector2D(draw.uniform(-1, 1), draw.uniform(-1, 1)), point()) *
                        ERTransfo2D::Scaling(draw.uniform(0.5, 2));
        if (draw.below(2)) t = t * ERTransfo2D(Coord2D_Y);
        ERArc2D image(arc);
        image.transformFrom(t);
        EXPECT_NEAR(image.arcLength(0), arc.arcLength(0) * t.factHomo(), 1e-11);
        EXPECT_EQ(image.isDirect(), arc.isDirect());
        for (int n = 0; n <= 10; ++n) {
            const ERPoint2D p = t.TransFrom(arc(arc.getBound()(n / 10.0)));
            EXPECT_NEAR(velm::closest_point(image, p).distance, 0.0, 1e-11);
        }
        if (!t.isDirect()) continue;
        image.transformTo(t);
        EXPECT_TRUE(isEqual(image.firstPt(), arc.firstPt(), 1e-11));
        EXPECT_TRUE(isEqual(image.lastPt(), arc.lastPt(), 1e-11));
    }
}

} // namespace
