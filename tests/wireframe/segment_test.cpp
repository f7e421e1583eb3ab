#include "velm/wireframe/segment.h"

#include "support/test.h"
#include "velm/frame/point_functions.h"
#include "velm/frame/point_list.h"

namespace {

constexpr int rounds = 2000;

template <class D>
class Segment : public testing::Test {
public:
    typename D::Point point() { return random.template value<typename D::Point>(100); }
    typename D::Segment segment() { return {point(), point()}; }

    static inline velm_test::Random random{2024};
};

using Dimensions = testing::Types<velm::Plane, velm::Space>;
TYPED_TEST_SUITE(Segment, Dimensions);

// Rounding at coordinates of some hundreds.
constexpr double rounding = 1e-12;

template <class Point>
void expect_near(const Point& a, const Point& b) {
    EXPECT_TRUE(isEqual(a, b, rounding)) << a << " " << b;
}

TYPED_TEST(Segment, PartsBoxAndLengthBelongTogether) {
    for (int i = 0; i < rounds; ++i) {
        auto s = this->segment();
        double t = this->random.uniform(-0.5, 1.5);
        t_SmartPtr<typename TypeParam::FiniteEntity> first, second;
        ASSERT_EQ(s.splitAt(first, second, t), 1);
        expect_near(s(t), s.getP1() * (1 - t) + s.getP2() * t);
        EXPECT_EQ(s.PtCur(t).point(), s(t));
        EXPECT_EQ(s.PtCur(t).tangente(), s.dirVector());
        EXPECT_EQ(TypeParam::Segment::castdown(first.get())->getP1(), s.getP1());
        EXPECT_EQ(TypeParam::Segment::castdown(first.get())->getP2(), s(t));
        EXPECT_EQ(TypeParam::Segment::castdown(second.get())->getP1(), s(t));
        EXPECT_EQ(TypeParam::Segment::castdown(second.get())->getP2(), s.getP2());
        EXPECT_EQ(first->references(), 1);

        double length = s.arcLength(1e-7);
        EXPECT_NEAR(first->arcLength(1.0), std::fabs(t) * length, rounding);
        EXPECT_NEAR(s.arcLength(ERLimites(t, 0.0), 1.0), std::fabs(t) * length, rounding);
        EXPECT_NEAR(length, distance(s.getP1(), s.getP2()), rounding);
        EXPECT_EQ(s.upperEstimate(), length);

        auto box = s.getBox();
        EXPECT_EQ(box, (typename TypeParam::Box(s.getP1(), s.getP2())));
        EXPECT_EQ(box.contains(s.getP1()) && box.contains(s.getP2()), true);
    }
}

TYPED_TEST(Segment, TakesItsOwnEndsAndItsOwnPointer) {
    auto s = this->segment(), moved = s;
    moved.translate(moved.getP1());
    EXPECT_EQ(moved.getP1(), s.getP1() * 2.0);
    EXPECT_EQ(moved.getP2(), s.getP2() + s.getP1());
    moved = s;
    moved.scale(-2.0);
    moved.reverse();
    EXPECT_EQ(moved.getP1(), s.getP2() * -2.0);
    EXPECT_EQ(moved.getP2(), s.getP1() * -2.0);

    using Curve = t_SmartPtr<typename TypeParam::FiniteEntity>;
    for (const bool own_first : {true, false}) {
        Curve first, second;
        Curve& own = own_first ? first : second;
        own = new typename TypeParam::Segment(s);
        EXPECT_EQ(own->splitAt(first, second, 0.25), 1);
        EXPECT_EQ(first->firstPt(), s.getP1());
        EXPECT_EQ(first->references() + second->references(), 2);
        EXPECT_EQ(TypeParam::Segment::castdown(second.get())->getP2(), s.getP2());
    }
}

// Straight is straight for any tolerance from 0 on, wherever in space.
TYPED_TEST(Segment, SmashInsertsNothing) {
    for (int round = 0; round < 400; ++round) {
        typename TypeParam::Segment s = this->segment();
        if (round % 4 == 0) s = {s.getP1() * 1e8, s.getP2() * 1e-3};
        typename TypeParam::PointList list;
        for (const double t : {0.0, 0.3, 0.300001, 1.0})
            list.append(s(t), t);
        list.Smash(s, 0.0);
        ASSERT_EQ(list.toVec().size(), 4) << s.getP1() << " to " << s.getP2();
    }
}

TYPED_TEST(Segment, DistanceIsTheOneToTheNearestPoint) {
    for (int i = 0; i < rounds; ++i) {
        auto s = this->segment();
        auto p = this->point();
        auto along = s.dirVector();
        double t = typename TypeParam::Vector(s.getP1(), p) * along / along.norme2();
        double expected = distance(p, s(std::clamp(t, 0.0, 1.0)));
        double dist = -1.0;
        auto kind = s.SignedMinimalDistance(p, dist);
        EXPECT_EQ(kind, t > 0 && t < 1 ? EREntity::DISTMIN_FOUND : EREntity::DISTMIN_AT_END);
        EXPECT_NEAR(std::fabs(dist), expected, 1e-10);
        if (TypeParam::size == 3) {
            EXPECT_GE(dist, 0.0);
        }
    }
}

TEST(Segment2D, DistanceTellsTheSide) {
    ERSegment2D s({1, 1}, {5, 1});
    auto is = [&](ERPoint2D p, int kind, double dist, double t) {
        double found = 99, at = 99;
        EXPECT_EQ(s.SignedMinimalDistance(p, found, at), kind) << p;
        EXPECT_DOUBLE_EQ(found, dist) << p;
        EXPECT_EQ(std::signbit(found), std::signbit(dist)) << p;
        EXPECT_DOUBLE_EQ(at, t) << p;
    };
    is({2, 4}, EREntity::DISTMIN_FOUND, -3, 0.25);
    is({2, -2}, EREntity::DISTMIN_FOUND, 3, 0.25);
    is({8, 5}, EREntity::DISTMIN_AT_END, -5, 1);
    is({8, -3}, EREntity::DISTMIN_AT_END, 5, 1);
    is({-2, -3}, EREntity::DISTMIN_AT_END, 5, 0);
    is({3, 1}, EREntity::DISTMIN_FOUND, -0.0, 0.5);
    is({8, 1}, EREntity::DISTMIN_AT_END, -3, 1);
    // Just beyond an end the foot still counts, at the end's parameter.
    is({5 + 4e-8, 0}, EREntity::DISTMIN_FOUND, 1, 1);
    is({5 + 8e-7, 0}, EREntity::DISTMIN_AT_END, std::hypot(8e-7, 1.0), 1);
    is({1 - 2e-7, 0}, EREntity::DISTMIN_FOUND, 1, 0);
}

TEST(Segment2D, ProjectsWithinItsEnds) {
    ERSegment2D s({0, 0}, {0, 8});
    ERVec<double> params{42.0};
    EXPECT_EQ(s.ProjectPoint({3, 2}, params, 1e9), 2);
    EXPECT_EQ(params[1], 0.25);
    EXPECT_EQ(s.ProjectPoint({3, 0}, params, 0), 3);
    EXPECT_EQ(s.ProjectPoint({3, 8}, params, 0), 4);
    EXPECT_EQ(s.ProjectPoint({3, 8.0001}, params, 0), 4);
    EXPECT_EQ(ERSegment2D({1, 1}, {1, 1}).ProjectPoint({3, 2}, params, 0), 4);
}

TEST(Segment3D, MeetsAPlaneWithinOneUnitOfLength) {
    ERVec<double> params;
    auto hits = [&](const ERSegment3D& s, double z) { return s.intersectWithPlanZ(z, params); };
    EXPECT_EQ(hits({{0, 0, 0}, {0, 0, 10}}, 5), 0);
    EXPECT_EQ(hits({{0, 0, 0}, {0, 0, 10}}, 1), 1);
    EXPECT_EQ(params[0], 1.0);
    EXPECT_EQ(hits({{0, 0, 3}, {4, 0, 6}}, 3.5), 2);
    EXPECT_DOUBLE_EQ(params[1], 0.5 / 0.6);
    EXPECT_EQ(hits({{0, 0, 3}, {4, 0, 6}}, 2.9), 2);
    // A parallel segment gives 0, not the size, at its own height too.
    EXPECT_EQ(hits({{0, 0, 3}, {4, 0, 3}}, 3), 0);
    EXPECT_EQ(params.size(), 2);
}

} // namespace
