#include "velm/wireframe/line.h"

#include "support/geometry.h"
#include "velm/wireframe/intersections.h"

namespace {

velm_test::Random draw{41};

ERPoint2D flat_point() { return draw.value<ERPoint2D>(50); }
ERPoint3D solid_point() { return draw.value<ERPoint3D>(50); }
ERVector3D solid_vector() { return draw.value<ERVector3D>(50); }

TEST(Line, KeepsAUnitDirectionAndTheFootOfTheOrigin) {
    ERInfLine2D across(ERPoint2D(3, 4), ERPoint2D(5, 4));
    EXPECT_EQ(across.origine(), ERPoint2D(0, 4));
    EXPECT_EQ(across.dirVector(), ERVector2D(1, 0));
    for (int round = 0; round < 500; ++round) {
        const ERPoint2D p = flat_point(), q = flat_point();
        ERInfLine2D line(ERSegment2D(p, q));
        EXPECT_NEAR(line.dirVector().norme(), 1.0, 1e-15);
        EXPECT_NEAR(ERVector2D(line.origine()) * line.dirVector(), 0.0, 1e-13);
        EXPECT_LT(distance(line, p) + distance(line, q), 1e-12);

        // The normal form gives the line back, in its sense.
        const double factor = draw.uniform(-3, 3);
        const ERInfLine2D again(line.a() * factor, line.b() * factor, line.c() * factor);
        EXPECT_TRUE(isEqual(again.origine(), line.origine(), 1e-12));
        EXPECT_TRUE(
            isEqual(again.dirVector(), line.dirVector() * (factor < 0 ? -1.0 : 1.0), 1e-14));

        // The signed distance grows along the normal, which is to the right.
        const double d = draw.uniform(-9, 9);
        double found = 0;
        EXPECT_EQ(line.SignedMinimalDistance(p + line.normalVector() * d, found),
                  EREntity::DISTMIN_FOUND);
        EXPECT_NEAR(found, d, 1e-12);
        EXPECT_LT(velm::cross(line.dirVector(), line.normalVector()), 0.0);
        EXPECT_LT(distance(line.parallele(d), p + line.normalVector() * d), 1e-12);

        ERInfLine2D moved = line;
        moved.translate(q);
        moved.scale(-2.0);
        EXPECT_LT(distance(moved, (p + q) * -2.0), 1e-11);
        EXPECT_TRUE(isEqual(moved.dirVector(), -line.dirVector(), 1e-15));
        EXPECT_TRUE(moved.isParallelTo(line, 1e-7));
    }
}

TEST(Intersection, LinesMeetInAPointOfBoth) {
    for (int round = 0; round < 500; ++round) {
        const ERPoint2D meeting = flat_point();
        const ERInfLine2D a(meeting, flat_point()), b(meeting, flat_point());
        ERPoint2D found;
        ASSERT_EQ(intersect(a, b, found), 1);
        EXPECT_LT(distance(found, meeting) * std::fabs(velm::cross(a.dirVector(), b.dirVector())),
                  1e-12);
        EXPECT_EQ(intersect(a, a.parallele(2.0), found), 0);
    }
}

TEST(Intersection, LinesOfSpaceGiveTheirClosestPoints) {
    for (int round = 0; round < 500; ++round) {
        const ERInfLine3D a(solid_point(), solid_point()), b(solid_point(), solid_point());
        ERPoint3D pa, pb;
        ASSERT_EQ(intersect(a, b, pa, pb), 1);
        EXPECT_LT(distance(a, pa) + distance(b, pb), 1e-10);
        const double gap = distance(pa, pb);
        EXPECT_NEAR(ERVector3D(pa, pb) * a.dirVector(), 0.0, 1e-10);
        EXPECT_NEAR(ERVector3D(pa, pb) * b.dirVector(), 0.0, 1e-10);
        EXPECT_NEAR(distance(a, b), gap, 0.0);

        const ERPoint3D origin = solid_point();
        const ERVector3D u = solid_vector(), v = solid_vector();
        ERPoint3D hit;
        ASSERT_EQ(intersect(a, origin, u, v, hit), 1);
        EXPECT_LT(distance(a, hit), 1e-8);
        EXPECT_NEAR(ERVector3D(origin, hit) * (u ^ v).getnormalized(), 0.0, 1e-8);
    }
    ERPoint3D p(7, 7, 7), q(8, 8, 8);
    EXPECT_EQ(intersect(ERInfLine3D(), ERInfLine3D(ERVector3D(-2, 0, 0), {1, 2, 3}), p, q), 0);
    EXPECT_EQ(intersect(ERInfLine3D(), ERPoint3D(0, 0, 1), {1, 0, 0}, {0, 1, 0}, p), 0);
    EXPECT_EQ(p, ERPoint3D(7, 7, 7));
}

TEST(Intersection, CircleAndLine) {
    const ERCircle2D circle({2, 1}, 5);
    ERPoint2D p1, p2;
    ASSERT_EQ(intersect(circle, ERInfLine2D(ERPoint2D(0, 4), ERPoint2D(1, 4)), p1, p2), 1);
    EXPECT_EQ(p1, ERPoint2D(6, 4));
    EXPECT_EQ(p2, ERPoint2D(-2, 4));
    const auto at_height = [&](double y, double tol) {
        return intersect(circle, ERInfLine2D(ERVector2D(1, 0), {0, y}), p1, p2, tol);
    };
    // From the radius to the tolerance beyond it: one point, the foot.
    EXPECT_EQ(at_height(6, 0.0), 1);
    EXPECT_EQ(p1, p2);
    EXPECT_EQ(at_height(6.25, 0.25), 1);
    EXPECT_EQ(p1, ERPoint2D(2, 6.25));
    EXPECT_EQ(p1, p2);
    EXPECT_EQ(at_height(6.26, 0.25), 0);
}

TEST(Intersection, Circles) {
    ERPoint2D p1, p2;
    for (int round = 0; round < 500; ++round) {
        const ERPoint2D c1 = flat_point(), c2 = flat_point();
        const double d = distance(c1, c2), r1 = draw.uniform(0.3, 1.5) * d,
                     r2 = draw.uniform(0.3, 1.5) * d;
        const bool meet = d < r1 + r2 && std::fabs(r1 - r2) < d;
        const ERCircle2D a(c1, r1), b(c2, r2);
        ASSERT_EQ(intersect(a, b, p1, p2), meet ? 1 : 0);
        if (!meet) continue;
        const double slack = 1e-12 / std::fabs(velm::cross(ERVector2D(c1, p1).getnormalized(),
                                                           ERVector2D(c2, p1).getnormalized()));
        for (const ERPoint2D& p : {p1, p2}) {
            EXPECT_NEAR(distance(p, c1), r1, slack);
            EXPECT_NEAR(distance(p, c2), r2, slack);
        }
        EXPECT_GT(velm::cross(ERVector2D(c1, c2), ERVector2D(c1, p1)), 0.0);
        ERVec<double> ta, tb;
        ASSERT_EQ(intersect(a, b, ta, tb), 1);
        ASSERT_EQ(ta.size() + tb.size(), 4);
        EXPECT_TRUE(isEqual(a(ta[0]), p1, slack) && isEqual(b(tb[0]), p1, slack));
        EXPECT_TRUE(isEqual(a(ta[1]), p2, slack) && isEqual(b(tb[1]), p2, slack));
        EXPECT_TRUE(std::min({ta[0], ta[1], tb[0], tb[1]}) >= 0.0);
    }
}

TEST(Intersection, CirclesThatTouch) {
    // Beyond the exact limit there is no tolerance; equal circles have no points.
    const ERPoint2D none(99, 99);
    const struct {
        double x, r1, r2;
        ERPoint2D point;
    } cases[] = {{3, 1, 2, {1, 0}},         {1, 3, 2, {3, 0}},       {1, 2, 3, {-2, 0}},
                 {3 - 1e-12, 1, 2, {1, 0}}, {3 + 1e-12, 1, 2, none}, {0, 2, 2, none}};
    for (const auto& [x, r1, r2, expected] : cases) {
        ERPoint2D p1 = none, p2 = none;
        intersect(ERCircle2D({0, 0}, r1), ERCircle2D({x, 0}, r2), p1, p2);
        EXPECT_TRUE(p1 == expected && p2 == expected) << x;
    }
    ERVec<double> ta, tb;
    EXPECT_EQ(intersect(ERCircle2D({0, 0}, 2), ERCircle2D({3, 0}, 1), ta, tb), 1);
    EXPECT_EQ(ta.size(), 1);
    EXPECT_NEAR(tb[0], std::acos(-1.0), 1e-15);
}

// Moved lines are those through the moved points; both ways give the line back.
TEST(Line, MovesWithItsPoints) {
    for (int round = 0; round < 200; ++round) {
        const ERPmIsometrie3D frame = ERChgRepere3D(solid_vector(), solid_vector(), solid_point());
        const ERPmSimilitude3D similar = frame * ERScaling3D(draw.uniform(0.5, 2));
        const ERPoint3D p = solid_point(), q = solid_point();
        ERInfLine3D line(ERVector3D(p, q), p);
        const ERInfLine3D before(line);
        const double size = 1e-10;
        const auto expect_through = [&](const ERPoint3D& a, const ERPoint3D& b) {
            EXPECT_LT(distance(line, a) + distance(line, b), size);
            EXPECT_GT(line.dirVector() * ERVector3D(a, b), 0.0);
        };
        line.transformFrom(frame);
        expect_through(frame >> p, frame >> q);
        line.transformTo(frame);
        expect_through(p, q);
        line.transformFrom(similar);
        expect_through(similar >> p, similar >> q);
        line.transformTo(similar);
        expect_through(p, q);
        line.reverse();
        expect_through(q, p);

        // From the plane of a frame into space and back.
        const ERPoint2D a = flat_point(), b = flat_point();
        ERInfLine2D flat(a, b);
        const t_SmartPtr<EREntity3DWF> lifted = flat.get3DEquiv(frame);
        line = *ERInfLine3D::castdown(lifted.get());
        expect_through(frame >> a.castToPoint3D(Coord3D_Z, 0),
                       frame >> b.castToPoint3D(Coord3D_Z, 0));
        const t_SmartPtr<EREntity2DWF> back = line.get2DEntProjectedOn(frame);
        EXPECT_LT(distance(*ERInfLine2D::castdown(back.get()), a), size);
        EXPECT_TRUE(
            isEqual(ERInfLine2D::castdown(back.get())->dirVector(), flat.dirVector(), 1e-12));
    }
    ERInfLine3D upright(ERVector3D(0, 0, 2), solid_point());
    EXPECT_FALSE(upright.get2DEntProjectedOn(ERPmIsometrie3D())) << "it is a point there";
}

// The part of a line in a box is that of a segment of it that is long enough.
TEST(Line, IsCutByABoxAsALongSegmentIs) {
    for (int round = 0; round < 500; ++round) {
        ERMinimax2D box;
        box.Update(flat_point());
        box.Update(flat_point());
        const ERPoint2D p = flat_point();
        const ERVector2D way = ERVector2D(p, flat_point()).getnormalized() * 500.0;
        ERPoint2D a, b, c, d;
        const auto found = SutherCohen(ERInfLine2D(p, p + way), box, a, b);
        const auto expected = SutherCohen(p - way, p + way, box, c, d);
        EXPECT_EQ(found == SEGMENT_OUTSIDE_BOX, expected == SEGMENT_OUTSIDE_BOX) << round;
        if (expected == SEGMENT_OUTSIDE_BOX) continue;
        EXPECT_TRUE(isEqual(a, c, 1e-10)) << round;
        EXPECT_TRUE(isEqual(b, d, 1e-10)) << round;
    }
    ERPoint2D a, b;
    EXPECT_EQ(SutherCohen(ERInfLine2D(ERPoint2D(0, 0), ERPoint2D(1, 1)), ERMinimax2D(), a, b),
              SEGMENT_BOX_EMPTY);
}

} // namespace
