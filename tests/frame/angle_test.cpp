// Angles, separations and frames.
#include "velm/frame/point_functions.h"

#include "support/random.h"

#include <gtest/gtest.h>

#include <cmath>
#include <numbers>

namespace {

using velm_test::Random;

constexpr double pi = std::numbers::pi;

ERVector3D random_direction(Random& random) {
    ERVector3D v;
    do {
        v = ERVector3D::each([&](int) { return random.uniform(-1, 1); });
    } while (v.norme() < 0.1);
    return v;
}

TEST(Angles, AgreeWithTheAngleTheyAreMadeFrom) {
    Random random(21);
    for (int round = 0; round < 2000; ++round) {
        const ERVector3D n = random_direction(random);
        ERVector3D u, v;
        GetOrthogonalDirections(n, u, v);
        const double theta = random.uniform(0.0, 2.0 * pi);
        const ERVector3D a = u * random.uniform(0.1, 9.0);
        const ERVector3D b = (std::cos(theta) * u + std::sin(theta) * v) * random.uniform(0.1, 9);
        const double unsigned_theta = std::min(theta, 2.0 * pi - theta);

        EXPECT_NEAR(angle2PI(a, b, n), theta, 1e-14);
        EXPECT_NEAR(anglePI(a, b), unsigned_theta, 1e-14);
        EXPECT_NEAR(acute_angle(a, b), std::min(unsigned_theta, pi - unsigned_theta), 1e-14);
        EXPECT_EQ(isParallel(a, b, 0.3), std::fabs(std::sin(theta)) <= std::sin(0.3));
        EXPECT_EQ(isPerpendicular(a, b, 0.3), std::fabs(a * b) <= 0.3); // no angle
        // The arc sine folds obtuse angles: the negative of the supplement.
        const double turn = theta > pi ? theta - 2.0 * pi : theta;
        const double folded = std::fabs(turn) <= pi / 2.0 ? turn
                              : turn > 0.0                ? turn - pi
                                                          : turn + pi;
        const ERPoint3D apex(1, 2, 3);
        EXPECT_NEAR(angle(apex + a, apex, apex + b, n), folded, 1e-7);

        const ERVector2D p(a.norme(), 0), q(b * u, b * v);
        EXPECT_NEAR(anglePI(p, q), unsigned_theta, 3e-8);
        EXPECT_NEAR(acute_angle(p, q), acute_angle(a, b), 3e-8);
        EXPECT_LT(anglePI(q, q * 3.0), 3e-8); // a dot product above 1 is cut
    }
}

TEST(Angles, EndsOfTheRange) {
    const ERVector3D a(0.3, 0.7, -2), n(0, 0, 1);
    EXPECT_EQ(angle2PI(a, a, n), 0.0);
    EXPECT_EQ(anglePI(ERVector2D(), ERVector2D(1, 0)), pi / 2.0);
    EXPECT_EQ(anglePI(ERVector3D(), a), 0.0);
    // Far below what an arc cosine resolves.
    EXPECT_NEAR(anglePI(ERVector3D(1, 0, 0), ERVector3D(1, 1e-12, 0)), 1e-12, 1e-26);
    EXPECT_TRUE(isParallel(a, -a, 1e-15));
    EXPECT_EQ(velm::cross(ERVector2D(1, 0), ERVector2D(0, 1)), 1.0);
}

TEST(PseudoTheta, GrowsWithTheAngle) {
    const ERPoint2D o(3, -1);
    EXPECT_EQ(PseudoTheta(o, o), 0.0);
    const double along_axes[][3] = {{1, 0, 0}, {0, 1, 90}, {-1, 0, 180}, {0, -1, 270}, {1, 1, 45}};
    for (const auto& [dx, dy, expected] : along_axes)
        EXPECT_EQ(PseudoTheta(o, o + ERPoint2D(dx, dy)), expected);
    double previous = -1.0;
    for (int n = 0; n < 10000; ++n) {
        const double theta = 2.0 * pi * n / 10000.0;
        const double radius = 1.0 + n % 7;
        const double here =
            PseudoTheta(o, o + ERPoint2D(std::cos(theta), std::sin(theta)) * radius);
        EXPECT_GT(here, previous);
        previous = here;
    }
    EXPECT_LT(previous, 360.0);
}

TEST(SignedSeparation, TakesItsSignFromTheDirection) {
    const ERPoint3D p(1, 1, 1), q(1, 4, 5);
    EXPECT_EQ(signed_separation(p, q, ERVector3D(0, 0, 9)), 5.0);
    EXPECT_EQ(signed_separation(p, q, ERVector3D(0, -1, 0)), -5.0);
    EXPECT_EQ(signed_separation(p, q, ERVector3D(1, 0, 0)), 0.0);
    EXPECT_EQ(signed_separation(p, p + ERPoint3D(1e-11, 0, 0) * 0.5, ERVector3D(1, 0, 0)), 0.0);
    EXPECT_EQ(signed_separation(ERPoint2D(0, 0), ERPoint2D(-3, 4), ERVector2D(1, 0)), -5.0);
}

TEST(OrthogonalDirections, MakeARightHandedFrame) {
    Random random(22);
    const auto check = [](const ERVector3D& direction) {
        ERVector3D u, v;
        GetOrthogonalDirections(direction, u, v);
        const ERVector3D n = direction.getnormalized();
        EXPECT_NEAR(u.norme(), 1.0, 1e-15);
        EXPECT_NEAR(v.norme(), 1.0, 1e-15);
        EXPECT_TRUE(isEqual(u ^ v, n, 1e-15)) << direction;
    };
    for (int code = 0; code < 27; ++code) { // all ties between components
        if (code == 13) continue;           // the zero vector
        check(ERVector3D(code % 3 - 1, code / 3 % 3 - 1, code / 9 - 1));
    }
    for (int round = 0; round < 500; ++round)
        check(random_direction(random));
}

} // namespace
