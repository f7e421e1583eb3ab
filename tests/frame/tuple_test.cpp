// Points, vectors and poles: one set of identities over both dimensions, then what differs.
#include "support/test.h"
#include "velm/frame/box.h"
#include "velm/frame/coordinate.h"
#include "velm/frame/dimension.h"
#include "velm/frame/interval.h"
#include "velm/frame/main_direction.h"
#include "velm/frame/point_functions.h"
#include "velm/frame/pole.h"
#include "velm/frame/radian.h"
#include "velm/frame/vec.h"

#include <iomanip>

namespace {

using velm_test::Random;

constexpr double not_a_number = std::numeric_limits<double>::quiet_NaN();

template <class T, std::size_t size>
constexpr bool plain = std::is_trivially_copyable_v<T>&& std::is_standard_layout_v<T> &&
                       sizeof(T) == size;
static_assert(plain<ERPoint2D, 16> && plain<ERPoint3D, 24> && plain<ERVector2D, 16> &&
              plain<ERVector3D, 24> && plain<ERPole2DH, 24> && plain<ERPole3DH, 32> &&
              plain<ERMinimax2D, 32> && plain<ERMinimax3D, 48> && plain<ERLimites, 16> &&
              plain<ERRadian, 8> && plain<ERMainDirection, 4> && plain<Coordinate, 24>);
static_assert(std::is_same_v<decltype(ERVector2D() / 2.0), ERPoint2D> &&
              std::is_same_v<decltype(ERVector3D() / 2.0), ERPoint3D>);

template <class Dimension>
class Tuples : public testing::Test {};
using Dimensions = testing::Types<velm::Plane, velm::Space>;
TYPED_TEST_SUITE(Tuples, Dimensions);

TYPED_TEST(Tuples, PointsAndVectorsObeyTheLawsOfAnAffineSpace) {
    using Point = typename TypeParam::Point;
    using Vector = typename TypeParam::Vector;
    Random random(11);
    for (int round = 0; round < 500; ++round) {
        const Point p = random.value<Point>(10), q = random.value<Point>(10),
                    r = random.value<Point>(10);
        const Vector v(p, q);
        const double s = random.uniform(0.1, 5.0);

        EXPECT_TRUE(isEqual(p + v, q, 1e-14 * 20));
        EXPECT_EQ(p - v, p + -v);
        EXPECT_EQ(Point(v), q - p);
        EXPECT_EQ(-(p - q), q - p);
        EXPECT_EQ(s * p, p * s);
        EXPECT_TRUE(isEqual((p * s) / s, p, 1e-14));
        Point moved = p;
        moved += q;
        moved -= p;
        moved *= s;
        moved /= s;
        EXPECT_TRUE(isEqual(moved, q, 1e-13));

        EXPECT_DOUBLE_EQ(distance(p, q) * distance(p, q), distance2(q, p));
        EXPECT_EQ(norme2(v), v * v);
        EXPECT_LE(distance(p, r), distance(p, q) + distance(q, r) + 1e-13);
        EXPECT_NEAR(distance(milieu(p, q), p), distance(milieu(p, q), q), 1e-13);
        EXPECT_NEAR(v.getnormalized().norme(), 1.0, 1e-15);
        EXPECT_NEAR(anglePI(v, Vector(p, r)) + anglePI(-v, Vector(p, r)), std::numbers::pi, 1e-7);
        EXPECT_EQ(p.weigth(), 1.0);
    }
    EXPECT_EQ(Vector().getnormalized(), Vector());
    EXPECT_EQ(Vector::each([](int) { return 1e-200; }).getnormalized(),
              Vector::each([](int) { return 1e-200; })); // the squares vanish, so does the length
}

TYPED_TEST(Tuples, CombinationsOfPolesLieOnTheRationalLine) {
    using Point = typename TypeParam::Point;
    using Vector = typename TypeParam::Vector;
    using Pole = typename TypeParam::Pole;
    Random random(12);
    for (int round = 0; round < 200; ++round) {
        const Point p = random.value<Point>(10), q = random.value<Point>(10);
        const double wp = random.uniform(0.5, 2.0), wq = random.uniform(0.5, 2.0);
        const Pole a(p * wp, wp), b(q * wq, wq); // coordinates come in multiplied
        EXPECT_TRUE(isEqual(a.castToPoint(), p, 1e-13));

        const double t = random.uniform(0.0, 1.0);
        const Point on_line = ((1.0 - t) * a + t * b).castToPoint();
        const double part = t * wq / ((1.0 - t) * wp + t * wq);
        EXPECT_TRUE(isEqual(on_line, p + Vector(p, q) * part, 1e-12));

        const Pole moved = Pole(a).translate(q);
        EXPECT_TRUE(isEqual(moved.castToPoint(), p + q, 1e-13));
        EXPECT_EQ(moved.weigth(), wp);
        EXPECT_NE(moved, a);
        EXPECT_FALSE(isEqual(a, Pole(p * wp, wp + 1e-3), 1e-4)); // the weight counts
    }
}

TYPED_TEST(Tuples, EqualityAndTolerance) {
    using Point = typename TypeParam::Point;
    const Point p = Point::each([](int n) { return n + 1.0; });
    for (int n = 0; n < TypeParam::size; ++n) {
        Point q = p;
        q[n] += 0.5;
        EXPECT_NE(p, q);
        EXPECT_TRUE(isEqual(p, q, 0.5)); // closed
        EXPECT_FALSE(isEqual(p, q, 0.49));
        q[n] = not_a_number;
        EXPECT_NE(q, q);
        EXPECT_FALSE(isEqual(p, q, 1e300));
    }
}

TYPED_TEST(Tuples, TheTextFormIsReadBack) {
    Random random(14);
    const auto round_trip = [&](auto value) {
        for (int width : {0, 3, 40}) {
            std::stringstream text;
            text << std::setprecision(17) << std::setw(width) << value << '\n'
                 << std::setw(width) << -value;
            decltype(value) first, second;
            text >> first >> second;
            EXPECT_TRUE(text) << text.str();
            EXPECT_EQ(first, value) << text.str();
            EXPECT_EQ(second, -value) << text.str();
        }
        std::istringstream cut("[1.5,x");
        decltype(value) kept = value;
        cut >> kept;
        EXPECT_FALSE(cut);
        EXPECT_EQ(kept, value);
    };
    for (int round = 0; round < 20; ++round) {
        round_trip(random.value<typename TypeParam::Point>(10));
        round_trip(random.value<typename TypeParam::Vector>(10));
        round_trip(random.value<typename TypeParam::Pole>(10));
    }
}

TEST(Tuple, TextForms) {
    const auto text = [](const auto& value, int width) {
        std::ostringstream out;
        out << std::setw(width) << value << '|';
        return out.str();
    };
    EXPECT_EQ(text(ERPoint2D(1, -2.5), 0), "[1,-2.5]|");
    EXPECT_EQ(text(ERPoint3D(1, 2, 3), 3), "[  1,  2,  3]|");
    EXPECT_EQ(text(ERVector2D(1, 2), 2), "{ 1, 2}|");
    EXPECT_EQ(text(ERVector3D(1, 2, 3), 0), "<1,2,3>|");
    EXPECT_EQ(text(ERPole2DH(1, 2, 0.5), 4), "[   1,   2]( 0.5)|");
    EXPECT_EQ(text(ERPole3DH(1, 2, 3, 4), 0), "[1,2,3](4)|");
}

TEST(Tuple, DroppingAndLiftingAxes) {
    const ERPoint2D flat(1, 2);
    const ERPoint3D lifted[] = {{9, 1, 2}, {1, 9, 2}, {1, 2, 9}};
    for (int a = 0; a < 3; ++a) {
        const Coord3D axis = static_cast<Coord3D>(a);
        const ERPoint3D& p = lifted[a];
        EXPECT_EQ(flat.castToPoint3D(axis, 9), p);
        EXPECT_EQ(p.castToPoint2D(axis), flat);
        EXPECT_EQ(ERVector2D(flat).castToVector3D(axis, 9), p.asVector3D());
        EXPECT_EQ(p.asVector3D().castToVector2D(axis), ERVector2D(flat));
        EXPECT_EQ(ERPole2DH(flat, 7).castToPole3D(axis, 9), ERPole3DH(p, 7));
        EXPECT_EQ(ERPole3DH(p, 7).castToPole2D(axis), ERPole2DH(flat, 7));
    }
}

TEST(Vector3D, AxesSignsAndPerpendiculars) {
    EXPECT_EQ(ERVector3D(Coord3D_X) ^ ERVector3D(Coord3D_Y), ERVector3D(Coord3D_Z));
    EXPECT_EQ(ERVector3D(-2, 0, -0.0).signes(), ERVector3D(-1, 1, 1));
    // Ties go to the later axis.
    EXPECT_EQ(ERVector3D(1, 1, 1).axeOptimum(), Coord3D_Z);
    EXPECT_EQ(ERVector3D(-2, 1, 1).axeOptimum(), Coord3D_X);

    EXPECT_EQ(ERVector3D().find_perpendicular(), ERVector3D());
    EXPECT_EQ(ERVector3D(0, 2, 0).find_perpendicular(), ERVector3D(0, 0, 1)); // X crossed with it
    EXPECT_EQ(ERVector3D(2, 0, 0).find_perpendicular(), ERVector3D(0, 0, -1));
    EXPECT_EQ(ERVector3D(1, 1, 0).find_perpendicular(), ERVector3D(0, 0, -1)); // a tie takes Y
    Random random(15);
    for (int round = 0; round < 200; ++round) {
        const ERVector3D v = random.value<ERVector3D>(10), w = v.find_perpendicular();
        EXPECT_NEAR(v * w, 0.0, 1e-14);
        EXPECT_NEAR(w.norme(), 1.0, 1e-15);
    }
}

TEST(Limits, TheMapClampsInOneOrder) {
    const ERLimites l(2, 6), reversed(6, 2);
    EXPECT_EQ(l(0.25), 3.0);
    EXPECT_EQ(l(-0.5), 0.0); // outside [0, 1] nothing is clamped
    EXPECT_EQ(l(1.5), 8.0);
    EXPECT_EQ(reversed(0.0), 2.0); // the end, for every t in [0, 1]
    EXPECT_EQ(reversed(0.5), 2.0);
    EXPECT_EQ(reversed(1.5), 0.0);
    EXPECT_EQ(l(ERLimites(0.25, 0.5)), ERLimites(3, 4));
    EXPECT_TRUE(l.inBound(2) && l.inBound(6) && !reversed.inBound(4));
    EXPECT_TRUE(!l.strictlyInBound(2) && !l.strictlyInBound(6) && l.strictlyInBound(4));
    EXPECT_TRUE(ERLimites(2, 1).isEmpty(1) && !ERLimites(2, 1).isEmpty(0.5));

    Random random(16);
    for (int round = 0; round < 1000; ++round) {
        const double start = random.uniform(-1, 1);
        const ERLimites any(start, start + random.uniform(0.0, 1e-3));
        EXPECT_TRUE(any.inBound(any(random.uniform(0, 1)))); // what the clamps are for
    }
}

TEST(MainDirection, AxesAndSenses) {
    const char* texts[] = {"X+", "X-", "Y+", "Y-", "Z+", "Z-"};
    for (int n = 0; n < 6; ++n) {
        const ERMainDirection d = static_cast<ERMainDirection::TypeDir>(n);
        EXPECT_EQ(ERMainDirection(texts[n]), d);
        EXPECT_EQ(d.axe(), n / 2);
        EXPECT_EQ(ERMainDirection(d.axe(), d.sens()), d);
        EXPECT_EQ(d.vector().mainDirection(), d);
        EXPECT_EQ(ERMainDirection(d.vector(), 0).sens(), 0);
        EXPECT_EQ((-d).vector(), -d.vector());
        ERMainDirection swapped = d;
        swapped.swap();
        EXPECT_EQ(swapped, n ^ 1);
    }
    // An infinite component off the axis makes the dot product NaN, which isn't above 0.
    constexpr double infinity = std::numeric_limits<double>::infinity();
    EXPECT_EQ(ERVector3D(infinity, infinity, 0).mainDirection(), ERMainDirection::MinusY);
}

} // namespace
