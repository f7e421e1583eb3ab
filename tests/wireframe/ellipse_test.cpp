#include "velm/wireframe/ellipse.h"

#include "support/text_fields.h"
#include "velm/platform/ellipse_kernel.h"
#include "wireframe/curve_checks.h"

namespace {

using namespace velm_test;
Random draw{43};

EREllipse2D random_ellipse() {
    const double big = draw.uniform(1, 9);
    return EREllipse2D(big, big * draw.uniform(0.05, 1), draw.uniform(-4, 4),
                       {draw.uniform(-9, 9), draw.uniform(-9, 9)});
}

// The sum of the distances to the foci less the big axis: 0 on the ellipse.
double off_ellipse(const EREllipse2D& e, const ERPoint2D& p) {
    return distance(p, e.focus1()) + distance(p, e.focus2()) - e.getBigAxe();
}

TEST(EllipseKernel, AgreesWithTheReferencesToTheLastBits) {
    std::ifstream file(VELM_TEST_FOLDER "/wireframe/data/ellipse.txt");
    std::string line;
    int cases = 0;
    while (std::getline(file, line)) {
        if (line[0] == '#') continue;
        const std::vector<double> v = TextFields(line).rest();
        // All four quadrants, either axis the longer one.
        for (int mirror = 0; mirror < 8; ++mirror) {
            const double sx = mirror & 1 ? -1 : 1, sy = mirror & 2 ? -1 : 1;
            const bool upright = mirror & 4;
            const tqkEllipse2 ellipse(v[upright], v[!upright]);
            tqkCurvePointList2 points;
            ASSERT_GE(ellipse.global_closest_point(sx * v[upright ? 3 : 2], sy * v[upright ? 2 : 3],
                                                   points),
                      tqkEllipse2::closest_unique);
            constexpr double ulps = 3 * std::numeric_limits<double>::epsilon();
            ASSERT_NEAR(std::fabs(points[0].x), v[upright ? 5 : 4], ulps * v[upright ? 5 : 4])
                << line;
            ASSERT_NEAR(std::fabs(points[0].y), v[upright ? 4 : 5], ulps * v[upright ? 4 : 5])
                << line;
            ASSERT_TRUE(points[0].x * sx >= 0 || v[upright ? 3 : 2] == 0) << line;
            ASSERT_TRUE(points[0].y * sy >= 0 || v[upright ? 2 : 3] == 0) << line;
            ASSERT_NEAR(std::cos(points[0].parameter) * v[upright], points[0].x, 1e-15 * v[0]);
        }
        ++cases;
    }
    EXPECT_GT(cases, 1000);
}

TEST(EllipseKernel, TellsTiesAndDegenerateShapes) {
    tqkCurvePointList2 points;
    const double high = 3 * std::sqrt(0.75);
    const auto query = [&](double a, double b, double x, double y) {
        return tqkEllipse2(a, b).global_closest_point(x, y, points);
    };
    const struct {
        double a, b, x, y;
        int answer;
        ERPoint2D first, second;
    } cases[] = {{5, 3, 0, 0, tqkEllipse2::closest_two, {0, 3}, {0, -3}},
                 {3, 5, 0, 0, tqkEllipse2::closest_two, {3, 0}, {-3, 0}},
                 // Between the centres of curvature (16/5, 0) and beyond them.
                 {5, 3, 1.6, 0, tqkEllipse2::closest_two, {2.5, high}, {2.5, -high}},
                 {5, 3, -3.2, 0, tqkEllipse2::closest_unique, {-5, 0}, {}},
                 {2, 2, 0, 0, tqkEllipse2::closest_everywhere, {2, 0}, {}},
                 {2, 0, 1.25, 7, tqkEllipse2::closest_unique, {1.25, 0}, {}},
                 {2, 0, -7, 7, tqkEllipse2::closest_unique, {-2, 0}, {}},
                 {0, 0, 1, 1, tqkEllipse2::closest_unique, {0, 0}, {}}};
    for (const auto& [a, b, x, y, answer, first, second] : cases) {
        EXPECT_EQ(query(a, b, x, y), answer) << a << ' ' << b << ' ' << x;
        EXPECT_TRUE(isEqual({points[0].x, points[0].y}, first, 1e-15)) << a << ' ' << b << ' ' << x;
        EXPECT_NEAR(std::cos(points[0].parameter) * a, points[0].x, 1e-14);
        EXPECT_NEAR(std::sin(points[0].parameter) * b, points[0].y, 1e-14);
        if (answer == tqkEllipse2::closest_two) {
            EXPECT_TRUE(isEqual({points[1].x, points[1].y}, second, 1e-15)) << a << ' ' << b;
        }
    }
    EXPECT_EQ(query(2, 1, NAN, 1), tqkEllipse2::closest_invalid);
    EXPECT_EQ(query(2, 1, 1, HUGE_VAL), tqkEllipse2::closest_invalid);
    EXPECT_EQ(points.size(), 0);
    // Nothing overflows or vanishes on the way.
    EXPECT_EQ(query(2, 1, 1e308, 1e308), tqkEllipse2::closest_unique);
    EXPECT_NEAR(points[0].x * points[0].x / 4 + points[0].y * points[0].y, 1.0, 1e-15);
    EXPECT_EQ(query(1e300, 1e299, 1e-300, 1e-300), tqkEllipse2::closest_unique);
    EXPECT_EQ(points[0].y, 1e299);
}

TEST(Ellipse, ConstructionsAgree) {
    for (int round = 0; round < 500; ++round) {
        const double a = draw.uniform(1, 9), b = a * draw.uniform(0.05, 1),
                     turn = draw.uniform(0, 6);
        const ERPoint2D center(draw.uniform(-9, 9), draw.uniform(-9, 9));
        EREllipse2D e(a, b, turn, center);
        EXPECT_EQ(e.getBigAxe(), 2 * a);
        EXPECT_NEAR(e.getSmallAxe(), 2 * b, 1e-12);
        EXPECT_TRUE(isEqual(e.center(), center, 1e-14));
        EXPECT_NEAR(std::cos(e.getAngle()), std::cos(turn), 1e-9);
        EXPECT_NEAR(e.getAngle(), turn, 2e-7);
        const EREllipse2D again(e.focus1(), e.focus2(), e.getBigAxe());
        EXPECT_EQ(again.getSmallAxe(), e.getSmallAxe());

        // The conic (x - u)^2 / p^2 + (y - v)^2 / q^2 = 1.
        const double p = draw.uniform(1, 5), q = draw.uniform(1, 5), f = draw.uniform(-3, 3);
        const double u = center.x(), v = center.y(), A = f / (p * p), B = f / (q * q);
        const EREllipse2D conic(A, B, 0, -2 * A * u, -2 * B * v, A * u * u + B * v * v - f);
        EXPECT_NEAR(conic.getBigAxe(), 2 * std::max(p, q), 1e-11);
        EXPECT_NEAR(conic.getSmallAxe(), 2 * std::min(p, q), 1e-8);
        EXPECT_TRUE(isEqual(conic.center(), center, 1e-11));
        EXPECT_NEAR(std::fabs(conic.getBigAxisDirection().i()), p > q ? 1 : 0, 1e-9);
    }
    // Flat, and still exact to the last bit for the given foci.
    EXPECT_DOUBLE_EQ(EREllipse2D({-0.999999, 0}, {0.999999, 0}, 2).getSmallAxe(),
                     0.0028284264176799871429);
    // Foci too far from each other: a segment. No ellipse with a term in x y, through the origin,
    // or of another conic.
    EXPECT_EQ(EREllipse2D({0, 0}, {3, 4}, 2).getBigAxe(), 5);
    EXPECT_EQ(EREllipse2D({0, 0}, {3, 4}, 2).getSmallAxe(), 0);
    for (const EREllipse2D& none :
         {EREllipse2D(1, 2, 0.1, 0, 0, -1), EREllipse2D(1, 2, 0, 1, 1, 0),
          EREllipse2D(1, -2, 0, 0, 0, -1), EREllipse2D(1, 2, 0, 0, 0, 1)}) {
        EXPECT_EQ(none.getBigAxe(), 0);
        EXPECT_EQ(none.focus1(), ERPoint2D());
    }
    EXPECT_GE(EREllipse2D(1, 5, 0, {0, 0}).getSmallAxe(), 0); // swapped: no NaN
    EXPECT_EQ(EREllipse2D(2, 1, 0, {3, 3}).get_closest({NAN, 0}), ERPoint2D());
}

TEST(EllipticalArc, ParametersFollowTheCentralAngles) {
    for (int round = 0; round < 500; ++round) {
        ERArcEllipse2D arc(random_ellipse(), 0.0, 1.0);
        const double central = draw.uniform(-12, 6.28);
        const double t = arc.central_to_param(central);
        EXPECT_NEAR(t, central, pi / 2);
        EXPECT_NEAR(arc.param_to_central(t), central, 1e-9);
        const ERVector2D seen(arc.center(), arc(t));
        EXPECT_NEAR(std::remainder(std::atan2(seen * arc.getSmallAxisDirection(),
                                              seen * arc.getBigAxisDirection()) -
                                       central,
                                   2 * pi),
                    0.0, 1e-9);
    }
    const ERArcEllipse2D shape(2, 1, 0, {0, 0}, 0.0, 2 * pi);
    EXPECT_EQ(shape.central_to_param(2 * pi), 2 * pi);
    EXPECT_NEAR(shape.central_to_param(-1e-17), 0.0, 1e-15);
    EXPECT_NEAR(shape.central_to_param(5 * pi), pi, 1e-14);
    const auto bound = [](double start, double end) {
        return ERArcEllipse2D(2, 1, 0, {0, 0}, start, end).getBound();
    };
    EXPECT_EQ(bound(1, 1), ERLimites(0, 2 * pi));
    EXPECT_EQ(bound(1, 2), bound(2, 1));
    EXPECT_LT(bound(-1, 1).start(), 0);
    EXPECT_EQ(ERArcEllipse2D({0, 0}, {2, 0}, 2, 1.0, 2.0).getBound(), ERLimites(0, 2 * pi));
}

TEST(EllipticalArc, HangsTogether) {
    for (int round = 0; round < 200; ++round) {
        ERArcEllipse2D arc(random_ellipse(), draw.uniform(-6, 0), draw.uniform(0, 6));
        if (draw.below(2)) arc.reverse();
        expect_tight_box(arc);
        expect_derivatives_and_parts(arc, arc.getBound()(draw.uniform(0, 1)));
        expect_image(arc, draw);
        EXPECT_NEAR(off_ellipse(arc, arc.get_closest(arc.center() + ERVector2D(9, 4))), 0.0, 1e-12);
        for (int n = 0; n < 8; ++n) { // within the evolute the arc may hold the other minimum only
            const double reach = n % 2 ? 3 : 18;
            const ERVector2D off = arc.getSmallAxisDirection() * draw.uniform(-reach, reach);
            expect_closest(arc, arc.center() +
                                    arc.getBigAxisDirection() * draw.uniform(-reach, reach) +
                                    off * (n % 5 ? 1.0 : 0.0));
        }
        double chords = 0;
        const double length = arc.arcLength(0.0);
        const ERVec<ERPoint2D> points = arc.approxime(arc.getBound(), 1e-6);
        for (int n = 1; n < points.size(); ++n)
            chords += distance(points[n - 1], points[n]);
        EXPECT_NEAR(chords, length, 1e-4 * length);
        EXPECT_LE(chords, length + 1e-12);
    }
    // Ramanujan's second formula is right to 1e-16 here.
    const double a = 2, b = 1.8, h = std::pow((a - b) / (a + b), 2);
    const double around = pi * (a + b) * (1 + 3 * h / (10 + std::sqrt(4 - 3 * h)));
    EXPECT_NEAR(ERArcEllipse2D(a, b, 0.7, {0, 0}, 0.0, 2 * pi).arcLength(0.0), around, 1e-12);
}

} // namespace
