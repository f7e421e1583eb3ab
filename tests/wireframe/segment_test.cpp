#include "velm/wireframe/segment.h"

#include "support/random.h"
#include "velm/frame/binary_file.h"
#include "velm/frame/point_functions.h"
#include "velm/frame/point_list.h"
#include "wireframe/allocation_count.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <sstream>
#include <string>

namespace {

constexpr int rounds = 2000;

template <class D>
class Segment : public testing::Test {
public:
    typename D::Point point() {
        return D::Point::each([&](int) { return random.uniform(-100, 100); });
    }
    typename D::Segment segment() { return {point(), point()}; }

    static inline velm_test::Random random{2024};
};

using Dimensions = testing::Types<velm::Plane, velm::Space>;
TYPED_TEST_SUITE(Segment, Dimensions);

/// Rounding at coordinates of some hundreds.
constexpr double rounding = 1e-12;

template <class Point>
void expect_near(const Point& a, const Point& b) {
    EXPECT_TRUE(isEqual(a, b, rounding)) << a << " " << b;
}

TYPED_TEST(Segment, EvaluationIsAffineAndNotClamped) {
    for (int i = 0; i < rounds; ++i) {
        auto s = this->segment();
        double t = this->random.uniform(-3, 4);
        auto expected = s.getP1() * (1 - t) + s.getP2() * t;
        expect_near(s(t), expected);
        auto info = s.PtCur(t);
        EXPECT_EQ(info.point(), s(t));
        EXPECT_EQ(info.Parametre, t);
        EXPECT_EQ(info.Sens, 1);
        EXPECT_EQ(info.tangente(), s.dirVector());
        EXPECT_EQ(info.second_derivative().norme(), 0.0);
        expect_near(s.firstPt(), s.getP1());
        expect_near(s.lastPt(), s.getP2());
    }
}

TYPED_TEST(Segment, PartsBoxAndLengthBelongTogether) {
    for (int i = 0; i < rounds; ++i) {
        auto s = this->segment();
        double t = this->random.uniform(-0.5, 1.5);
        t_SmartPtr<typename TypeParam::FiniteEntity> first, second;
        ASSERT_EQ(s.splitAt(first, second, t), 1);
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

TYPED_TEST(Segment, MovesBothEnds) {
    for (int i = 0; i < rounds; ++i) {
        auto s = this->segment();
        auto moved = s;
        auto by = this->point();
        double factor = this->random.uniform(-2, 2), t = this->random.uniform(0, 1);
        moved.scale(factor);
        expect_near(moved(t), s(t) * factor);
        moved = s;
        moved.translate(by);
        expect_near(moved(t), s(t) + by);
        moved = s;
        moved.reverse();
        EXPECT_EQ(moved.getP1(), s.getP2());
        EXPECT_EQ(moved.getP2(), s.getP1());
    }
}

TYPED_TEST(Segment, TakesItsOwnEndsAndItsOwnPointer) {
    auto s = this->segment(), moved = s;
    moved.translate(moved.getP1());
    EXPECT_EQ(moved.getP1(), s.getP1() * 2.0);
    EXPECT_EQ(moved.getP2(), s.getP2() + s.getP1());

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

TYPED_TEST(Segment, Samples) {
    auto s = this->segment();
    for (int n : {-1, 0, 1, 2, 5}) {
        auto ends = s.approxime(n);
        ASSERT_EQ(ends.size(), 2);
        EXPECT_EQ(ends[0], s.getP1());
        EXPECT_EQ(ends[1], s.getP2());
    }
    auto part = s.approxime(ERLimites(0.25, 0.75), 0.0);
    ASSERT_EQ(part.size(), 2);
    EXPECT_EQ(part[0], s(0.25));
    EXPECT_EQ(part[1], s(0.75));
    ERVec<double> jumps{1.0, 2.0};
    EXPECT_EQ(s.IsContinuous(2), 1);
    EXPECT_EQ(s.GetDiscontinuities(2, jumps), 1);
    EXPECT_EQ(jumps.size(), 0);
}

TYPED_TEST(Segment, SmashInsertsNothing) {
    typename TypeParam::Segment along_x(
        TypeParam::Point::each([](int n) { return n ? 5.0 : -3.0; }),
        TypeParam::Point::each([](int) { return 5.0; }));
    typename TypeParam::PointList list;
    list.append(along_x(0.0), 0.0);
    list.append(along_x(1.0), 1.0);
    list.Smash(along_x, 0.0);
    EXPECT_EQ(list.size(), 2);

    for (int i = 0; i < 100; ++i) {
        auto s = this->segment();
        typename TypeParam::PointList skew;
        skew.append(s(0.0), 0.0);
        skew.append(s(1.0), 1.0);
        skew.Smash(s, rounding);
        ASSERT_EQ(skew.size(), 2);
    }
}

TYPED_TEST(Segment, IsMadeByNameCopiedStoredAndPrinted) {
    constexpr bool flat = TypeParam::size == 2;
    constexpr unsigned int bytes = flat ? 32 : 48;
    const char* name = flat ? "ERSegment2D" : "ERSegment3D";
    t_SmartPtr<ERObject> object(ERClassRegistration::findCreator(name)());
    auto* made = TypeParam::Segment::castdown(object.get());
    ASSERT_TRUE(made);
    EXPECT_EQ(made->isKindOf(TypeParam::WireEntity::desc()), 1);

    typename TypeParam::Segment s(TypeParam::Point::each([](int n) { return n + 0.5; }),
                                  TypeParam::Point::each([](int n) { return -2.0 * n - 1; }));
    t_SmartPtr<ERObject> copy(s.getCopy());
    EXPECT_EQ(TypeParam::Segment::castdown(copy.get())->getP2(), s.getP2());

    std::string path = testing::TempDir() + "velm_" + name;
    ERFile file(path.c_str(), CFile::modeCreate | CFile::modeReadWrite | CFile::typeBinary);
    file << s;
    EXPECT_EQ(s.binaryStoreSize(), bytes);
    ASSERT_EQ(file.GetLength(), bytes);
    double stored[6] = {};
    file.SeekTo(0);
    ASSERT_EQ(file.Read(stored, bytes / 8), 1);
    const double in_plane[] = {0.5, 1.5, -1, -3};
    const double in_space[] = {0.5, 1.5, 2.5, -1, -3, -5};
    EXPECT_EQ(std::memcmp(stored, flat ? in_plane : in_space, bytes), 0);
    file.SeekTo(0);
    file >> *made;
    EXPECT_EQ(made->getP1(), s.getP1());
    EXPECT_EQ(made->getP2(), s.getP2());
    file.Close();
    std::remove(path.c_str());

    std::ostringstream out;
    out << *object;
    EXPECT_EQ(out.str(), flat ? "Segment 2D : P1=[0.5,1.5] P2=[-1,-3]\n"
                              : "Segment 3D : P1=[0.5,1.5,2.5] P2=[-1,-3,-5]\n");
}

TYPED_TEST(Segment, APointIsASegmentToo) {
    auto p = this->point();
    typename TypeParam::Segment s(p, p);
    EXPECT_EQ(s.isValid(), 1);
    EXPECT_EQ(s(7.5), p);
    EXPECT_EQ(s.dirVector().norme(), 0.0);
    EXPECT_EQ(s.arcLength(0.0), 0.0);
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

TYPED_TEST(Segment, EvaluationAllocatesNothing) {
    auto s = this->segment();
    auto p = this->point();
    ERVec<double> params;
    auto evaluate = [&] {
        double dist = s(0.25).x() + s.PtCur(0.5).normale().norme() + s.arcLength(1e-7);
        s.SignedMinimalDistance(p, dist);
        s.reverse();
        s.ProjectPoint(p, params, 0.0);
        params.clear();
        return dist + s.getBox().xlength();
    };
    evaluate();
    long before = velm_test::allocations();
    for (int i = 0; i < 100; ++i)
        evaluate();
    EXPECT_EQ(velm_test::allocations(), before);
    // The counter counts.
    t_SmartPtr<ERObject> copy(s.getCopy());
    EXPECT_GT(velm_test::allocations(), before);
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

    ERSegment2D degenerate({1, 1}, {1, 1});
    double dist = 0.0;
    EXPECT_EQ(degenerate.SignedMinimalDistance({4, 5}, dist), EREntity::DISTMIN_AT_END);
    EXPECT_EQ(dist, -5.0);
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
    EXPECT_EQ(s.isClosed(1e6), 0);
    EXPECT_TRUE(isEqual(s.normal(0.5), ERVector2D(-1, 0), 0));
    EXPECT_EQ(s.intersectWithAxeY(0.0, params), 0);
    EXPECT_EQ(params.size(), 4);
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

    ERSegment3D s({0, 0, 0}, {0, 0, 10});
    EXPECT_EQ(s.isClosed(1e6), 1);
    EXPECT_EQ(s.isClosed(9.9), 0);
    EXPECT_EQ(s.isClosed(), 0);
    EXPECT_EQ(s.ProjectPoint({0, 0, 5}, params, 0), 0);
}

TEST(DivVect, TiesGoToTheLaterAxis) {
    EXPECT_EQ(div_vect(ERPoint2D(0, 0), ERPoint2D(2, 2), ERPoint2D(9, 1)), 0.5);
    EXPECT_EQ(div_vect(ERPoint2D(0, 0), ERPoint2D(-3, 2), ERPoint2D(-1.5, 9)), 0.5);
    auto ratio = [](ERPoint3D b) { return div_vect(ERPoint3D(), b, ERPoint3D(1, 2, 4)); };
    EXPECT_EQ(ratio({3, 2, 2}), 1.0 / 3);
    EXPECT_EQ(ratio({2, -4, 3}), -0.5);
    EXPECT_EQ(ratio({4, 4, 2}), 0.5);
    EXPECT_EQ(ratio({1, 8, 8}), 0.5);
    EXPECT_EQ(ratio({8, 2, 8}), 0.5);
}

} // namespace
