// Quaternions by the identities of rotations, and the placings of Exp and Log that differ from the
// textbook.
#include "velm/numerics/quaternion.h"

#include "support/test.h"

namespace {

constexpr double pi = std::numbers::pi;

void expect_near(const ERVector3D& a, const ERVector3D& b, double tolerance) {
    EXPECT_LE((a - b).norme(), tolerance);
}

void expect_near(const ERQuaternion& a, const ERQuaternion& b, double tolerance) {
    for (int i = 0; i < 4; ++i)
        EXPECT_NEAR(a[i], b[i], tolerance) << i;
}

// Rodrigues' formula.
ERVector3D turned(const ERVector3D& v, const ERVector3D& axis, double angle) {
    return v * std::cos(angle) + (axis ^ v) * std::sin(angle) +
           axis * ((axis * v) * (1.0 - std::cos(angle)));
}

TEST(Quaternion, TurnsComposesAndComesBackFromItsMatrix) {
    velm_test::Random random(21);
    for (int round = 0; round < 2000; ++round) {
        const ERVector3D axis = random.direction<ERVector3D>();
        const ERVector3D v = random.direction<ERVector3D>();
        const double angle = random.uniform(1e-6, 2 * pi - 1e-6);
        const ERQuaternion q(axis * 3.0, angle);
        const ERQuaternion p(random.direction<ERVector3D>(), random.uniform(0.0, pi));
        expect_near(q * v, turned(v, axis, angle), 1e-14);
        expect_near((p * q) * v, p * (q * v), 1e-14);
        expect_near(q.Inverse() * (q * v), v, 1e-14);
        EXPECT_NEAR(q.Angle(), angle, 1e-9);
        expect_near(q.Axis(), axis, 1e-9);

        // The same rotation has two quaternions; the matrix gives one of them.
        const ERQuaternion back(q.GetMatrix());
        expect_near(back.Dot(q) < 0.0 ? -back : back, q, 1e-14);
        if (angle < 3.0) expect_near(ERQuaternion(axis * std::tan(angle / 2)), q, 1e-12);
    }
    // Half turns take the branches without a trace, one for each axis.
    for (int i = 0; i < 3; ++i) {
        const ERQuaternion half(ERVector3D(static_cast<Coord3D>(i)), pi);
        expect_near(ERQuaternion(half.GetMatrix()), half, 1e-15);
    }
}

TEST(Quaternion, InterpolatesOnTheArcAsItLies) {
    const ERVector3D z(0, 0, 1);
    const ERQuaternion p(z, 0.2);
    const ERQuaternion q(z, 1.4);
    expect_near(ERQuaternion::Slerp(0.25, p, q), ERQuaternion(z, 0.5), 1e-15);
    expect_near(ERQuaternion::Slerp(0.5, p, p), p, 0.0);
    expect_near(ERQuaternion::Squad(0.5, p, p, q, q), ERQuaternion(z, 0.8), 1e-15);
    // No shortening: towards the other quaternion of the same rotation the long way is taken.
    expect_near(ERQuaternion::Slerp(0.5, p, -q), ERQuaternion(z, 0.8 - pi), 1e-14);
    // A whole extra spin adds 2 pi on the way and ends at the same orientation.
    expect_near(ERQuaternion::SlerpExtraSpins(1.0, p, q, 2), q, 1e-14);
    expect_near(ERQuaternion::SlerpExtraSpins(0.5, p, q, 2), -ERQuaternion(z, 0.8), 1e-14);
    // The cosine is not clamped.
    const ERQuaternion too_long(1.0000001, 0, 0, 0);
    EXPECT_TRUE(std::isnan(ERQuaternion::Slerp(0.5, too_long, too_long)[0]));
}

TEST(Quaternion, ExpAndLogPlaceTheFirstComponentInTheirOwnWay) {
    const double s = std::sin(0.3) / 0.3;
    expect_near(ERQuaternion(9, 0.3, 0, 0).Exp(), ERQuaternion(0.3 * s, 0, 0, 0), 1e-16);
    expect_near(ERQuaternion(9, 0, 0.3, 0).Exp(), ERQuaternion(0, 0, 0.3 * s, 0), 1e-16);
    expect_near(ERQuaternion(0, 0, 0, 0).Exp(), ERQuaternion(0, 0, 0, 0), 0.0);
    expect_near(ERQuaternion(1, 0, 0, 0).Log(), ERQuaternion(0, 0, 0, 0), 0.0);
    expect_near(ERQuaternion(0, 1, 0, 0).Log(), ERQuaternion(pi / 2, 0, 0, 0), 1e-15);
    expect_near(ERQuaternion(2, 3, 4, 5).Log(), ERQuaternion(0, 3, 4, 5), 0.0);
    expect_near(ERQuaternion(0, 0, 0, 0).Inverse(), ERQuaternion(0, 0, 0, 0), 0.0);

    // Control points depend only on the second and third components: about x they are q1.
    const ERVector3D x(1, 0, 0);
    ERQuaternion a;
    ERQuaternion b;
    const ERQuaternion middle(x, 0.5);
    ERQuaternion::Intermediate(ERQuaternion(x, 0.1), middle, ERQuaternion(x, 1.9), a, b);
    expect_near(a, middle * ERQuaternion(0, 0, 0, 0), 1e-15);
}

} // namespace
