// GetMediumLine, GetMediumPlane and the tools for sets of points against their declarations.
#include "velm/measure/best_fit.h"
#include "velm/measure/orthogonal_fit.h"
#include "velm/measure/point_sets.h"

#include "support/geometry.h"
#include "velm/numerics/matrix.h"
#include "velm/surfaces/plane.h"

namespace {

velm_test::Random draw{92};

ERPoint3D point(double size) { return draw.value<ERPoint3D>(size); }

// The steps one by one, with the library's elimination.
ERPlane stepwise(const ERVec<ERPoint3D>& points) {
    double mean[9] = {};
    for (int i = 0; i < points.size(); ++i) {
        const double n = i, x = points[i].x(), y = points[i].y(), z = points[i].z();
        const double values[9] = {x, y, z, x * x, y * y, z * z, x * y, x * z, y * z};
        for (int k = 0; k < 9; ++k)
            mean[k] = mean[k] * (n / (n + 1)) + values[k] / (n + 1);
    }
    ERMatrix<double> c(3, 3);
    const int at[3][3] = {{3, 6, 7}, {6, 4, 8}, {7, 8, 5}};
    for (int k = 0; k < 3; ++k)
        for (int l = 0; l < 3; ++l)
            c(k, l) = mean[at[k][l]] - mean[k] * mean[l];
    const ERVec<double> null = ResolveHyperPlan(c);
    const ERVector3D n = ERVector3D(null[0], null[1], null[2]).getnormalized();
    ERPlane plane(n.i(), n.j(), n.k(), -(n.i() * mean[0] + n.j() * mean[1] + n.k() * mean[2]));
    const ERVector3D w = ERVector3D(points[0], points[1]) ^ ERVector3D(points[0], points[2]);
    if (w * plane.normalVector() < 1.0) plane.reverse();
    return plane;
}

TEST(BestFit, APlaneToTheLastBitOfItsSteps) {
    for (int round = 0; round < 300; ++round) {
        ERVec<ERPoint3D> points;
        const ERVector3D normal = ERVector3D(point(1)).getnormalized();
        const ERPoint3D through = point(30);
        const double noise = round % 3 == 0 ? 0.0 : 0.1, size = round % 2 ? 10.0 : 0.1;
        for (int n = 3 + draw.below(40); n > 0; --n) {
            const ERPoint3D p = point(size);
            points.append(through + p - normal * (ERVector3D(p) * normal) +
                          normal * draw.uniform(-noise, noise));
        }
        ERPlane plane;
        ASSERT_EQ(GetMediumPlane(points, plane, 0.0), 1);
        double found[4], expected[4];
        plane.getCoefficients(found[0], found[1], found[2], found[3]);
        stepwise(points).getCoefficients(expected[0], expected[1], expected[2], expected[3]);
        for (int k = 0; k < 4; ++k)
            EXPECT_EQ(found[k], expected[k]);
        double worst = 0.0;
        for (const ERPoint3D& p : points.view())
            worst = std::max(worst, plane.distancePt(p));
        EXPECT_LT(worst, noise == 0.0 ? 1e-8 : 0.2);
        EXPECT_EQ(GetMediumPlane(points, plane, worst * 1.01 + 1e-300), 1);
        EXPECT_EQ(GetMediumPlane(points, plane, worst * 0.99), worst > 0.0 ? 0 : 1);
    }
}

TEST(BestFit, SmallTurnsReverseAPlaneAndSenseIsKeptByALine) {
    const auto normal_z = [](double side, double turn) {
        ERPlane plane;
        GetMediumPlane({{0, 0, 1}, {side, 0, 1}, {0, side * turn, 1}, {side, side, 1}}, plane, 0.0);
        return plane.normalVector().k();
    };
    // Counter-clockwise and clockwise from above; the elimination itself gives +z.
    EXPECT_EQ(normal_z(2, 1), 1.0);
    EXPECT_EQ(normal_z(2, -1), -1.0);
    EXPECT_EQ(normal_z(0.5, 1), -1.0);
    EXPECT_EQ(normal_z(0.5, -1), -1.0);

    ERInfLine2D line;
    for (const double way : {1.0, -1.0}) {
        const ERVec<ERPoint2D> points = {
            {0, 1}, {way * 1e-3, 1 + way * 2e-3}, {way, 1 + way * 2}, {way * 2, 1 + way * 4}};
        EXPECT_EQ(GetMediumLine(points, line, 1e-9), 1);
        EXPECT_TRUE(isEqual(line.dirVector(), ERVector2D(way, 2 * way).getnormalized(), 1e-12));
        EXPECT_LT(distance(line, {0, 1}), 1e-12);
    }
    const ERInfLine2D before = line;
    for (const ERVec<ERPoint2D>& bad : {ERVec<ERPoint2D>(), {{3, 4}}, {{3, 4}, {3, 4}, {3, 4}}}) {
        EXPECT_EQ(GetMediumLine(bad, line, 0.0), 0);
        EXPECT_EQ(line.dirVector(), before.dirVector());
    }
    EXPECT_EQ(GetMediumLine({{0, 0}, {1, 0.25}, {2, -0.25}, {3, 0}}, line, 0.2), 0);
    EXPECT_GT(line.dirVector().i(), 0.9); // still set
    ERPlane plane;
    for (const ERVec<ERPoint3D>& few : {ERVec<ERPoint3D>(), {{1, 2, 3}}, {{1, 2, 3}, {2, 3, 5}}})
        EXPECT_EQ(GetMediumPlane(few, plane, 0.0), 1);
}

// The figures of the entry in docs/behaviour.md.
TEST(BestFit, IsNotExactlyOrthogonalOnNoisyPoints) {
    const ERVec<ERPoint2D> points = {{0, 0}, {1, 1.5}, {2, 0.5}, {3, 2.5}, {4, 1.5}};
    ERInfLine2D given;
    ASSERT_EQ(GetMediumLine(points, given, 0.0), 1);
    const velm::LineFit2D best = velm::fit_line(points.view());
    double given_squares = 0, best_squares = 0;
    for (const ERPoint2D& p : points.view()) {
        given_squares += std::pow(distance(given, p), 2);
        best_squares += std::pow(best.residual(p), 2);
    }
    EXPECT_NEAR(given.dirVector().j() / given.dirVector().i(), 0.4, 1e-15);
    EXPECT_NEAR(best.direction.j() / best.direction.i(), 0.490158, 5e-7);
    EXPECT_NEAR(given_squares, 1.896552, 5e-7);
    EXPECT_NEAR(best_squares, 1.839368, 5e-7);
}

TEST(PointSets, DeviationCornersAndNormals) {
    const ERVec<ERPoint3D> a = {{1, 0, 0}, {0, 1, 0}, {0, 0, 1}};
    const ERVec<ERPoint3D> b = {{1, 1, 0}, {0, 2, 3}, {0, 1, 1}};
    const ERPmIsometrie3D up = ERTranslation3D(ERPoint3D(0, 1, 0));
    EXPECT_EQ(gm_square_deviation(a, b, up), 3.0); // 0, 9, 0
    EXPECT_TRUE(std::isnan(gm_square_deviation(a, {{1, 1, 0}}, up)));
    EXPECT_TRUE(std::isnan(gm_square_deviation({}, b, up)));

    const auto corner = [](const ERVec<ERPoint3D>& points, double tolerance) {
        int i = 9, j = 9, k = 9;
        gm_find_perpendicular_points(points, i, j, k, tolerance);
        return i * 100 + j * 10 + k;
    };
    EXPECT_EQ(corner({{0, 0, 0}, {1, 0, 0}}, 0.1), 12);
    const ERVec<ERPoint3D> corners = {{0, 0, 0}, {4, 0, 0}, {4, 1, 0}, {0, 1, 0}, {2, 5, 0}};
    for (const double tolerance : {0.0, 0.4, 0.98, 2.0}) // from 0.98 on 0, 1, 2 is good enough
        EXPECT_EQ(corner(corners, tolerance), tolerance < 0.5 ? 13 : 12);

    const ERVector3D cases[][2] = {{{3, -1, 2}, {-2, 0, 3}}, // y is the smallest
                                   {{1, 1, 1}, {0, 1, -1}},  // x, the first of equal ones
                                   {{2, -2, 0}, {-2, -2, 0}}};
    for (const auto& c : cases)
        EXPECT_EQ(gm_find_plane_normal(c[0]), c[1]);
}

TEST(PointSets, Collinear) {
    const ERVector3D along(1, 2, 2);
    const ERPoint3D start(4, 0, 0);
    const auto state = [&](double aside, ERInfLine3D* line) {
        ERVec<ERPoint3D> points = {start + along, start - along, start + along * 3.0, start};
        points[3].z() += aside * 1.5 / std::sqrt(1.25); // aside from the line
        return gmCollinearUtils::are_collinear(points, line);
    };
    ERInfLine3D line;
    EXPECT_EQ(state(0.0, &line), gmCollinear);
    EXPECT_TRUE(isEqual(line.dirVector(), along.getnormalized() * -1.0, 1e-15)); // from b to a
    EXPECT_EQ(state(3e-4, nullptr), gmCollinear);
    EXPECT_EQ(state(3.3e-4, &line), gmNotCollinear);
    const ERInfLine3D kept = line;
    EXPECT_EQ(gmCollinearUtils::are_collinear({start, start, start}, &line), 1);
    EXPECT_EQ(gmCollinearUtils::are_collinear({}, &line), 1);
    EXPECT_EQ(line.dirVector(), kept.dirVector());
    EXPECT_EQ(gmCollinearUtils::are_collinear({start, start + along}, &line), 1);
    EXPECT_EQ(distance(line, start), 0.0);
}

} // namespace
