// The transformation of the plane, and the conversions of coordinates.
#include "support/geometry.h"
#include "velm/transforms/coordinate_conversions.h"

namespace {

constexpr double rounding = 1e-12;

velm_test::Random draw{71};

ERPoint2D point() { return draw.value<ERPoint2D>(10); }
ERVector2D vector() { return draw.value<ERVector2D>(10); }

void expect_near(const ERPoint2D& a, const ERPoint2D& b, double tolerance = rounding) {
    EXPECT_TRUE(isEqual(a, b, tolerance)) << a << " " << b;
}

TEST(PlaneTransformation, MapsAsItIsMade) {
    for (int i = 0; i < 300; ++i) {
        const ERPoint2D p = point(), c = point();
        const ERVector2D v = vector();
        const double angle = draw.uniform(-3, 3), k = draw.uniform(-3, 3);
        expect_near(ERTransfo2D() >> p, p);
        expect_near(ERTransfo2D(v) >> p, p + v);
        expect_near(ERTransfo2D(k, c) >> p, c + ERVector2D(c, p) * k);
        expect_near(ERTransfo2D::Scaling(k) >> p, p * k);
        const ERTransfo2D turn = ERTransfo2D::rotation(angle);
        expect_near(turn >> p, {std::cos(angle) * p.x() - std::sin(angle) * p.y(),
                                std::sin(angle) * p.x() + std::cos(angle) * p.y()});
        EXPECT_NEAR(turn.angle(), angle, rounding);
        const ERTransfo2D frame(v * 3.0, c);
        expect_near(frame >> ERPoint2D(2, 0), c + v.getnormalized() * 2.0);
        expect_near(frame >> ERPoint2D(0, 2), c + ERVector2D(-v.j(), v.i()).getnormalized() * 2.0);
        EXPECT_EQ(frame.origine(), c);
        const ERTransfo2D both = frame * ERTransfo2D(k, p) * ERTransfo2D(Coord2D_X);
        expect_near(both >> c, frame >> (ERTransfo2D(k, p) >> (ERTransfo2D(Coord2D_X) >> c)));
        EXPECT_EQ(both.isDirect(), 0);
    }
}

TEST(PlaneTransformation, GoesBackExceptThroughMirrors) {
    for (int i = 0; i < 300; ++i) {
        const ERPoint2D p = point(), c = point();
        const ERTransfo2D t = ERTransfo2D(vector(), c) * ERTransfo2D(draw.uniform(0.2, 3), point());
        expect_near(t << (t >> p), p, 1e-11);
        expect_near(t >> (t << p), p, 1e-11);
        const ERVector2D v = vector();
        EXPECT_TRUE(isEqual(t << (t >> v), v, rounding));
    }
    // The transpose over the determinant: a mirror maps back to the other side.
    EXPECT_EQ(ERTransfo2D(Coord2D_X) >> ERPoint2D(3, 4), ERPoint2D(3, -4));
    EXPECT_EQ(ERTransfo2D(Coord2D_X) << ERPoint2D(3, 4), ERPoint2D(-3, 4));
    ERTransfo2D skew;
    skew.a = 2, skew.b = 3, skew.c = 5, skew.d = 7; // determinant -1
    EXPECT_EQ(skew << ERPoint2D(1, 10), ERPoint2D(-52, -73));
}

// ---- coordinates ----

void expect_near(const Coordinate& a, const Coordinate& b, double tolerance = 1e-10) {
    for (int n = 0; n < 3; ++n)
        EXPECT_NEAR(a[n], b[n], tolerance) << n;
}

TEST(CoordinateConversions, ComeBack) {
    for (int i = 0; i < 2000; ++i) {
        const Coordinate c(draw.uniform(-9, 9), draw.uniform(-9, 9), draw.uniform(-9, 9));
        expect_near(Cylindrical2Cartesian(Cartesian2Cylindrical(c)), c);
        expect_near(Spherical2Cartesian(Cartesian2Spherical(c)), c);
        const Coordinate unit = IJK2IJK(c);
        EXPECT_NEAR(unit[0] * unit[0] + unit[1] * unit[1] + unit[2] * unit[2], 1.0, 1e-15);
        expect_near(unit, Coordinate(ERPoint3D(c[0], c[1], c[2]) *
                                     (1 / ERVector3D(c[0], c[1], c[2]).norme())));
        expect_near(AZ_EL2IJK(IJK2AZ_EL(unit)), unit, 1e-8);
        expect_near(ABC2IJK(IJK2ABC(unit)), unit);
    }
    const double half = std::sqrt(0.5);
    expect_near(ABC2IJK({90, 45, 45}), {half, 0, half});
    expect_near(IJK2ABC({0, 0, 1}), {90, 0, 0});
}

} // namespace
