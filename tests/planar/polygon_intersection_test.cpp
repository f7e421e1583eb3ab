#include "velm/planar/polygon_intersection.h"

#include <gtest/gtest.h>

namespace {

ERVec<ERPoint2D> rectangle(double x0, double x1, double y0, double y1) {
    return {{x0, y0}, {x1, y0}, {x1, y1}, {x0, y1}};
}

TEST(PolygonIntersection, TouchesInsideAcrossAndOnTheBorder) {
    const auto both_ways = [](const ERVec<ERPoint2D>& a, const ERVec<ERPoint2D>& b) {
        EXPECT_EQ(intersect(a, b), intersect(b, a));
        return intersect(a, b);
    };
    const ERVec<ERPoint2D> square = rectangle(0, 4, 0, 4);
    EXPECT_EQ(both_ways(square, rectangle(1, 2, 1, 2)), 1); // no edges meet
    EXPECT_EQ(both_ways(rectangle(-1, 5, 1, 2), rectangle(1, 2, -1, 5)),
              1); // no vertex lies inside
    EXPECT_EQ(both_ways(square, rectangle(4, 5, 4, 5)), 1);
    EXPECT_EQ(both_ways(square, rectangle(4.001, 5, 0, 4)), 0);
    // Only the closing edge, from the last vertex to the first, is crossed.
    EXPECT_EQ(both_ways(square, rectangle(-1, 1, 2, 3)), 1);
    // In the notch of the other one.
    const ERVec<ERPoint2D> notched{{0, 0}, {9, 0}, {9, 9}, {6, 9}, {6, 3}, {3, 3}, {3, 9}, {0, 9}};
    EXPECT_EQ(both_ways(notched, rectangle(4, 5, 4, 12)), 0);
    EXPECT_EQ(both_ways(square, ERVec<ERPoint2D>()), 0);
}

} // namespace
