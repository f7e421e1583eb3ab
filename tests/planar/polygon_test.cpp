// Measures, projections, common points, and the position of boxes against polygons.
#include "support/geometry.h"
#include "velm/planar/polygon_intersection.h"
#include "velm/planar/polygon_measures.h"
#include "velm/planar/polygon_projection.h"

namespace {

using velm_test::Random;
using Polygon = ERVec<ERPoint2D>;

const Polygon unit_square{{0, 0}, {1, 0}, {1, 1}, {0, 1}};

bool same(const Polygon& a, const Polygon& b) {
    return std::equal(a.begin(), a.end(), b.begin(), b.end());
}

TEST(PolygonMeasures, AreaIsNegativeCounterClockwise) {
    EXPECT_EQ(PolygonArea(unit_square), -1.0);
    EXPECT_EQ(PolygonArea(Polygon()), 0.0);
    EXPECT_EQ(IsCounterClockWise(unit_square), 1);
    EXPECT_EQ(IsCounterClockWise({{0, 0}, {1, 1}, {2, 2}}), 0);

    Random random(7521);
    for (int n = 3; n < 100; ++n) { // a star about a point off the origin, by triangles from there
        Polygon star;
        double doubled = 0.0;
        for (int i = 0; i < n; ++i) {
            const double angle = 2.0 * M_PI * i / n, radius = random.uniform(1.0, 3.0);
            star.push_back({10 + radius * std::cos(angle), 20 + radius * std::sin(angle)});
        }
        for (int i = 0; i < n; ++i)
            doubled +=
                velm::cross(ERVector2D({10, 20}, star[i]), ERVector2D({10, 20}, star[(i + 1) % n]));
        EXPECT_NEAR(PolygonArea(star), -doubled / 2, 1e-12 * n);
        Polygon closed = star;
        closed.push_back(ERPoint2D(star[0]));
        EXPECT_NEAR(PolygonArea(closed), PolygonArea(star), 1e-12 * n);
    }
}

TEST(PolygonMeasures, ReversalKeepsWhatItPromises) {
    Polygon polygon = unit_square;
    ReversePolygoneKeepFirstPoint(polygon);
    EXPECT_TRUE(same(polygon, {{0, 0}, {0, 1}, {1, 1}, {1, 0}}));
    EXPECT_TRUE(same(unit_square, {{0, 0}, {1, 0}, {1, 1}, {0, 1}}))
        << "the shared body was written";
    MakePolygoneCCW(polygon);
    EXPECT_TRUE(same(polygon, {{1, 0}, {1, 1}, {0, 1}, {0, 0}}));
    MakePolygoneCCW(polygon); // now it is
    EXPECT_TRUE(same(polygon, {{1, 0}, {1, 1}, {0, 1}, {0, 0}}));

    Polygon flat{{0, 0}, {1, 1}, {2, 2}};
    MakePolygoneCCW(flat);
    EXPECT_TRUE(same(flat, {{2, 2}, {1, 1}, {0, 0}})) << "no area counts as not counter-clockwise";
    Polygon none;
    ReversePolygoneKeepFirstPoint(none);
    EXPECT_TRUE(none.empty());
}

TEST(FindProjection, ChoosesByTheWantedDistance) {
    ERPoint2D foot(9, 9);
    EXPECT_EQ(findProjection({0.5, 0.5}, unit_square, foot, 0.0), 0)
        << "a tie keeps the earlier edge";
    EXPECT_EQ(foot, ERPoint2D(0.5, 0.0));
    EXPECT_EQ(findProjection({0.4, 0.2}, unit_square, foot, 0.8), 2);
    EXPECT_EQ(foot, ERPoint2D(0.4, 1.0));
    EXPECT_EQ(findProjection({0.4, 0.2}, unit_square, foot, -0.41), 3)
        << "the sign of the wish is ignored";
    EXPECT_TRUE(isEqual(foot, ERPoint2D(0.0, 0.2), 1e-15)) << "on the closing edge";

    foot = {9, 9};
    EXPECT_EQ(findProjection({5, 5}, unit_square, foot, 0.0), -1);
    EXPECT_EQ(findProjection({5, 5}, {}, foot, 0.0), -1);
    EXPECT_EQ(findProjection({5, 5}, {{1, 1}, {1, 1}, {1, 1 + 1e-12}}, foot, 0.0), -1);
    EXPECT_EQ(foot, ERPoint2D(9, 9));
    EXPECT_EQ(findProjection({1.000004, 0.5}, unit_square, foot, 0.0), 1);
    EXPECT_EQ(findProjection({1.000004, -0.5}, unit_square, foot, 0.0), 0)
        << "a foot a little off the end counts";
}

TEST(FindProjection, FindsTheNearestFootOfRandomPolygons) {
    Random random(7522);
    for (int round = 0; round < 3000; ++round) {
        Polygon polygon;
        const int n = 2 + random.below(12);
        for (int i = 0; i < n; ++i)
            polygon.push_back({random.uniform(-5, 5), random.uniform(-5, 5)});
        const ERPoint2D p(random.uniform(-5, 5), random.uniform(-5, 5));
        double nearest = std::numeric_limits<double>::infinity();
        for (int i = 0; i < n; ++i) {
            const ERPoint2D a = polygon[i], b = polygon[(i + 1) % n];
            const ERVector2D edge(a, b), to_p(a, p);
            const double u = (edge * to_p) / edge.norme2();
            if (0 <= u && u <= 1)
                nearest = std::min(nearest, std::abs(velm::cross(edge, to_p)) / edge.norme());
        }
        ERPoint2D foot;
        const int edge = findProjection(p, polygon, foot, 0.0);
        if (edge < 0) {
            ASSERT_EQ(nearest, std::numeric_limits<double>::infinity());
            continue;
        }
        ASSERT_LE(distance(p, foot), nearest + 1e-12);
        ASSERT_NEAR(velm::cross(ERVector2D(polygon[edge], polygon[(edge + 1) % n]),
                                ERVector2D(polygon[edge], foot)),
                    0.0, 1e-12);
    }
}

void expect_feet(const ERPoint2D& p, const Polygon& polyline, double limit, const Polygon& feet,
                 const ERVec<double>& parameters) {
    Polygon found;
    ERVec<double> at;
    EXPECT_EQ(findAllProjections(p, polyline, found, at, limit), !feet.empty());
    EXPECT_TRUE(same(found, feet));
    EXPECT_TRUE(std::equal(parameters.begin(), parameters.end(), at.begin(), at.end()));
}

TEST(FindAllProjections, EdgesOfAnOpenPolyline) {
    const Polygon angle{{0, 0}, {4, 0}, {4, 4}};
    expect_feet({1, 2}, angle, 0.0, {{1, 0}, {4, 2}}, {0.25, 1.5});
    expect_feet({1, 2}, angle, 2.5, {{1, 0}}, {0.25});
    expect_feet({1, 2}, angle, -1.0, {{1, 0}, {4, 2}}, {0.25, 1.5});
    expect_feet({-1, 3}, angle, 0.0, {{4, 3}}, {1.75}); // no closing edge
    expect_feet({5, -1}, angle, 0.0, {}, {});           // a sharp corner's outer wedge
    expect_feet({1, 2}, {{0, 0}}, 0.0, {}, {});

    Polygon feet{{7, 7}};
    ERVec<double> parameters{9.0};
    EXPECT_EQ(findAllProjections({1, 2}, angle, feet, parameters, 0.0), 1);
    EXPECT_TRUE(same(feet, {{7, 7}, {1, 0}, {4, 2}}));
    EXPECT_EQ(findAllProjections({5, -1}, angle, feet, parameters, 0.0), 0);
    EXPECT_EQ(parameters.size(), 3) << "outputs are appended to";
}

TEST(FindAllProjections, NearlyStraightCornersGiveTheCorner) {
    const Polygon bent{{0, 0}, {4, 0.09}, {8, 0}};
    expect_feet({4, 3}, bent, 0.0, {{4, 0.09}}, {1.0});
    expect_feet({4, 3}, bent, 2.8, {}, {});
    expect_feet({4, 3}, {{0, 0}, {4, 0.11}, {8, 0}}, 0.0, {}, {}); // 0.11 above the chord
    Polygon both;
    ERVec<double> at;
    findAllProjections({4, -3}, bent, both, at, 0.0);
    EXPECT_EQ(both.size(), 2) << "the inner side sees both edges";
    // A repeated vertex is skipped and the corner is kept; indices still count it.
    expect_feet({4, 3}, {{0, 0}, {4, 0.09}, {4, 0.09}, {8, 0}}, 0.0, {{4, 0.09}}, {2.0});
}

TEST(BoxAgainstPolygon, FourPositions) {
    ERMinimax2D box;
    box.Garnir(0, 4, 0, 2);
    const Polygon around{{-5, -5}, {9, -5}, {9, 7}, {-5, 7}};
    const Polygon within{{1, 0.5}, {2, 0.5}, {2, 1.5}};
    const Polygon beside{{10, 0}, {12, 0}, {11, 3}};
    const Polygon across{{-1, 1}, {10, 1}, {10, 9}};
    EXPECT_EQ(box.positionRelative(around), BOX_INSIDE_POLYGONE);
    EXPECT_EQ(box.positionRelative(within), POLYGONE_INSIDE_BOX);
    EXPECT_EQ(box.positionRelative(beside), POLYGONE_DISJOINT);
    EXPECT_EQ(box.positionRelative(across), POLYGONE_CROSSES_BOX);

    Polygon closed = within;
    closed.push_back(ERPoint2D(within[0]));
    EXPECT_EQ(box.positionRelative(closed), POLYGONE_INSIDE_BOX);
    EXPECT_EQ(box.positionRelative(Polygon()), POLYGONE_DISJOINT);
    EXPECT_EQ(ERMinimax2D().positionRelative(within), POLYGONE_DISJOINT) << "an empty box";
    // Only the closing edge crosses.
    EXPECT_EQ(box.positionRelative(Polygon{{-1, 1}, {-1, 9}, {10, 9}, {10, 1}}),
              POLYGONE_CROSSES_BOX);
}

Polygon rectangle(double x0, double x1, double y0, double y1) {
    return {{x0, y0}, {x1, y0}, {x1, y1}, {x0, y1}};
}

TEST(PolygonIntersection, TouchesInsideAcrossAndOnTheBorder) {
    const auto both_ways = [](const Polygon& a, const Polygon& b) {
        EXPECT_EQ(intersect(a, b), intersect(b, a));
        return intersect(a, b);
    };
    const Polygon square = rectangle(0, 4, 0, 4);
    EXPECT_EQ(both_ways(square, rectangle(1, 2, 1, 2)), 1); // no edges meet
    EXPECT_EQ(both_ways(rectangle(-1, 5, 1, 2), rectangle(1, 2, -1, 5)),
              1); // no vertex is inside
    EXPECT_EQ(both_ways(square, rectangle(4, 5, 4, 5)), 1);
    EXPECT_EQ(both_ways(square, rectangle(4.001, 5, 0, 4)), 0);
    // Only the closing edge, from the last vertex to the first, is crossed.
    EXPECT_EQ(both_ways(square, rectangle(-1, 1, 2, 3)), 1);
    // In the notch of the other one.
    const Polygon notched{{0, 0}, {9, 0}, {9, 9}, {6, 9}, {6, 3}, {3, 3}, {3, 9}, {0, 9}};
    EXPECT_EQ(both_ways(notched, rectangle(4, 5, 4, 12)), 0);
    EXPECT_EQ(both_ways(square, Polygon()), 0);
}

} // namespace
