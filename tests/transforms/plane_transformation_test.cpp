// The transformation of the plane, and the conversions of coordinates.
#include "support/random.h"
#include "velm/frame/point_functions.h"
#include "velm/transforms/coordinate_conversions.h"
#include "velm/transforms/transformed_values.h"

#include <cmath>
#include <gtest/gtest.h>
#include <sstream>

namespace {

constexpr double rounding = 1e-12;

class PlaneTransformation : public testing::Test {
public:
    ERPoint2D point() { return {random.uniform(-10, 10), random.uniform(-10, 10)}; }
    ERVector2D vector() { return ERVector2D(point()); }

    velm_test::Random random{71};
};

void expect_near(const ERPoint2D& a, const ERPoint2D& b, double tolerance = rounding) {
    EXPECT_TRUE(isEqual(a, b, tolerance)) << a << " " << b;
}

TEST_F(PlaneTransformation, MapsAsItIsMade) {
    for (int i = 0; i < 300; ++i) {
        const ERPoint2D p = point(), c = point();
        const ERVector2D v = vector();
        const double angle = random.uniform(-3, 3), k = random.uniform(-3, 3);
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
        expect_near((both * ERTransfo2D()) >> c, both >> c, 0.0);
        expect_near((ERTransfo2D() * both) >> c, both >> c, 0.0);
        EXPECT_NEAR(both.factHomo(), std::fabs(k), rounding);
        EXPECT_EQ(both.isDirect(), 0);
    }
    const ERTransfo2D nowhere(ERVector2D(0, 0), ERPoint2D(1, 2));
    EXPECT_EQ(nowhere >> ERPoint2D(7, 8), ERPoint2D(1, 2));
}

TEST_F(PlaneTransformation, GoesBackExceptThroughMirrors) {
    for (int i = 0; i < 300; ++i) {
        const ERPoint2D p = point(), c = point();
        const ERTransfo2D t =
            ERTransfo2D(vector(), c) * ERTransfo2D(random.uniform(0.2, 3), point());
        expect_near(t << (t >> p), p, 1e-11);
        expect_near(t >> (t << p), p, 1e-11);
        const ERVector2D v = vector();
        EXPECT_TRUE(isEqual(t << (t >> v), v, rounding));
        ERVec<ERPoint2D> points{p, c};
        ERVec<ERPole2DH> poles{ERPole2DH(p * 0.5, 0.5)};
        t.TransFrom(points);
        t.TransFrom(poles);
        EXPECT_EQ(points[1], t >> c);
        EXPECT_EQ(poles[0], ERPole2DH((t >> p) * 0.5, 0.5));
        EXPECT_EQ((t << points)[0], t << (t >> p));
        EXPECT_EQ((t << poles)[0], ERPole2DH((t << (t >> p)) * 0.5, 0.5));
    }
    // The transpose over the determinant: a mirror goes back to the other side.
    EXPECT_EQ(ERTransfo2D(Coord2D_X) >> ERPoint2D(3, 4), ERPoint2D(3, -4));
    EXPECT_EQ(ERTransfo2D(Coord2D_X) << ERPoint2D(3, 4), ERPoint2D(-3, 4));
    EXPECT_EQ(ERTransfo2D(Coord2D_Y) >> ERPoint2D(3, 4), ERPoint2D(-3, 4));
    EXPECT_EQ(ERTransfo2D(Coord2D_Y) << ERPoint2D(3, 4), ERPoint2D(3, -4));
    EXPECT_EQ(ERTransfo2D(static_cast<Coord2D>(7)) << ERPoint2D(3, 4), ERPoint2D(-3, -4));
    ERTransfo2D skew;
    skew.a = 2, skew.b = 3, skew.c = 5, skew.d = 7; // determinant -1
    EXPECT_EQ(skew << ERPoint2D(1, 10), ERPoint2D(-52, -73));
}

TEST_F(PlaneTransformation, Text) {
    std::ostringstream out;
    out << ERTransfo2D(ERVector2D(0, 1), ERPoint2D(3, 4)) * ERTransfo2D(Coord2D_X);
    EXPECT_EQ(out.str(), "Transfo2D definie par :  T*H*Sym*R :\n"
                         "    Rotation d'angle  :                  :  -90\n"
                         "    Symetrie par rapport a l'axe 'Ox' ?  :  Oui\n"
                         "    Homothetie de rapport                :  1\n"
                         "    Translation de vecteur               :  {3,4}\n"
                         "    Matrice de transfo                   :  \n"
                         "    [  0  1 ] \n"
                         "    [  1  0 ] \n");
}

// ---- coordinates ----

void expect_near(const Coordinate& a, const Coordinate& b, double tolerance = 1e-10) {
    for (int n = 0; n < 3; ++n)
        EXPECT_NEAR(a[n], b[n], tolerance) << n;
}

TEST(CoordinateConversions, ComeBack) {
    velm_test::Random random(72);
    for (int i = 0; i < 2000; ++i) {
        const Coordinate c(random.uniform(-9, 9), random.uniform(-9, 9), random.uniform(-9, 9));
        expect_near(Cylindrical2Cartesian(Cartesian2Cylindrical(c)), c);
        expect_near(Spherical2Cartesian(Cartesian2Spherical(c)), c);
        const Coordinate unit = IJK2IJK(c);
        EXPECT_NEAR(unit[0] * unit[0] + unit[1] * unit[1] + unit[2] * unit[2], 1.0, 1e-15);
        expect_near(unit, Coordinate(ERPoint3D(c[0], c[1], c[2]) *
                                     (1 / ERVector3D(c[0], c[1], c[2]).norme())));
        expect_near(AZ_EL2IJK(IJK2AZ_EL(unit)), unit, 1e-8);
    }
}

TEST(CoordinateConversions, DirectionsOfThreeAngles) {
    velm_test::Random random(73);
    for (int i = 0; i < 2000; ++i) {
        const Coordinate unit = IJK2IJK(
            Coordinate(random.uniform(-1, 1), random.uniform(-1, 1), random.uniform(-1, 1)));
        expect_near(ABC2IJK(IJK2ABC(unit)), unit);
    }
    const double half = std::sqrt(0.5);
    expect_near(ABC2IJK({90, 45, 45}), {half, 0, half});
    expect_near(ABC2IJK({-90, 30, 45}), {0.5, 0, std::sqrt(0.75)});
    expect_near(ABC2IJK({30, 270, 30}), {std::sqrt(0.75), 0.5, 0});
    expect_near(ABC2IJK({30, 45, 90}), {0, std::sqrt(0.75), 0.5});
    expect_near(IJK2ABC({0, 0, 1}), {90, 0, 0});
}

TEST(CoordinateConversions, SpecialPlaces) {
    EXPECT_EQ(Cartesian2Spherical(Coordinate()), Coordinate());
    expect_near(Cartesian2Cylindrical({0, -2, 7}), {-90, 2, 7});
    expect_near(Cartesian2Spherical({0, 0, -4}), {0, -90, 4});
    EXPECT_EQ(IJK2AZ_EL(Coordinate()), Coordinate(0, 0, 1));
    EXPECT_EQ(IJK2IJK(Coordinate()), Coordinate());
    // The third component is divided by the length twice.
    expect_near(IJK2AZ_EL({2, 0, 0}), {0, 0, 1});
    expect_near(IJK2AZ_EL({0, 0, 2}), {0, 30, 1});
    EXPECT_TRUE(std::isnan(IJK2AZ_EL({0, 0, 0.5})[1]));
    expect_near(AZ_EL2IJK({90, 30, 1e9}), {0, std::sqrt(0.75), 0.5});
}

} // namespace
