#include "velm/frame/info_point.h"

#include "velm/frame/point_functions.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace {

constexpr double no_curvature = std::numeric_limits<double>::max();

ERInfoPoint2D in_plane(ERVector2D tangent, ERVector2D second) {
    return ERInfoPoint2D(0.25, -1, ERPoint2D(1, 2), tangent, second);
}

ERInfoPoint3DWF in_space(ERVector3D tangent, ERVector3D second) {
    return ERInfoPoint3DWF(0.25, -1, ERPoint3D(1, 2, 3), tangent, second);
}

TEST(InfoPoint, CurvatureOfACircleAtAnySpeed) {
    for (double radius : {1e-3, 1.0, 250.0}) {
        for (double speed : {0.1, 1.0, 7.0}) {
            for (double angle : {0.0, 1.0, 2.5, 4.0}) {
                double c = std::cos(angle), s = std::sin(angle);
                double first = radius * speed, second = first * speed;
                ERInfoPoint2D flat = in_plane({-s * first, c * first}, {-c * second, -s * second});
                EXPECT_NEAR(flat.radius() / radius, 1.0, 1e-12);
                EXPECT_TRUE(isEqual(flat.normale(), ERVector2D(-c, -s), 1e-14));
                ERInfoPoint3DWF raised =
                    in_space({-s * first, 0, c * first}, {-c * second, 0, -s * second});
                EXPECT_NEAR(raised.radius() / radius, 1.0, 1e-12);
                EXPECT_TRUE(isEqual(raised.normale(), ERVector3D(-c, 0, -s), 1e-14));
            }
        }
    }
}

TEST(InfoPoint, NoCurvatureUpToTheTolerance) {
    EXPECT_EQ(in_plane({1, 0}, {5, 1e-11}).radius(), no_curvature);
    EXPECT_EQ(in_plane({1, 0}, {5, -1e-11}).radius(), no_curvature);
    EXPECT_EQ(in_plane({1, 0}, {5, 1.25e-11}).radius(), 1 / 1.25e-11);
    EXPECT_EQ(in_space({1, 0, 0}, {5, 0, 1e-11}).radius(), no_curvature);
    EXPECT_EQ(in_space({1, 0, 0}, {5, 0, 1.25e-11}).radius(), 1 / 1.25e-11);
}

TEST(InfoPoint, SingularitiesAreExact) {
    auto is = [](ERVector3D t, ERVector3D a, int tangent, int normal) {
        EXPECT_EQ(in_space(t, a).isTgteSingular(), tangent);
        EXPECT_EQ(in_space(t, a).isNormSingular(), normal);
    };
    is({0, 0, 0}, {0, 1, 0}, 1, 1);
    is({1, 0, 0}, {0, 0, 0}, 0, 1);
    is({1, 2, 3}, {-2, -4, -6}, 0, 1);
    is({1, 0, 0}, {1, 1e-100, 0}, 0, 0);
    EXPECT_EQ(in_space({1, 2, 3}, {-2, -4, -6}).normale(), ERVector3D());
    EXPECT_EQ(in_plane({0, 0}, {1, 0}).normale(), ERVector2D());
    ERInfoPoint2D fresh;
    EXPECT_EQ(fresh.Sens, 1);
    EXPECT_EQ(fresh.radius(), no_curvature);
}

} // namespace
