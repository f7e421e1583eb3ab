// The constrained Delaunay triangulation: whole, exact, Delaunay where nothing is fixed, with all
// constraints as sides.
#include "velm/planar/detail/triangulation.h"

#include "support/test.h"
#include "velm/planar/detail/exact_turn.h"

namespace {

using namespace velm_test;
using velm::detail::exact_turn;
using velm::detail::Triangulation;

// Neighbours agree, triangles turn left, and their areas add up to the rectangle's.
void expect_whole(const Triangulation& of) {
    const auto& p = of.points();
    double area = 0.0;
    for (std::size_t t = 0; t < of.all().size(); ++t) {
        const auto& tri = of.all()[t];
        const ERPoint2D &a = p[std::size_t(tri.vertex[0])], &b = p[std::size_t(tri.vertex[1])],
                        &c = p[std::size_t(tri.vertex[2])];
        ASSERT_EQ(exact_turn(a, b, c), 1);
        area += 0.5 * ((b.x() - a.x()) * (c.y() - a.y()) - (b.y() - a.y()) * (c.x() - a.x()));
        for (std::size_t i = 0; i < 3; ++i) {
            const int u = tri.next[i];
            if (u == Triangulation::none) continue;
            const auto& other = of.all()[std::size_t(u)];
            const auto back = std::ranges::find(other.next, int(t)) - other.next.begin();
            ASSERT_LT(back, 3);
            EXPECT_EQ(other.fixed[std::size_t(back)], tri.fixed[i]);
            EXPECT_EQ(other.vertex[std::size_t(back + 1) % 3], tri.vertex[(i + 2) % 3]);
            EXPECT_EQ(other.vertex[std::size_t(back + 2) % 3], tri.vertex[(i + 1) % 3]);
        }
    }
    const double whole = (p[2].x() - p[0].x()) * (p[2].y() - p[0].y());
    EXPECT_NEAR(area, whole, 1e-12 * whole);
}

// No vertex of a neighbour is inside the circle of a triangle, by more than rounding.
void expect_delaunay(const Triangulation& of) {
    const auto& p = of.points();
    for (const auto& tri : of.all())
        for (std::size_t i = 0; i < 3; ++i) {
            if (tri.next[i] == Triangulation::none || tri.fixed[i]) continue;
            const auto& other = of.all()[std::size_t(tri.next[i])];
            for (const int vertex : other.vertex) {
                if (std::ranges::find(tri.vertex, vertex) != tri.vertex.end()) continue;
                long double m[3][3];
                for (std::size_t k = 0; k < 3; ++k) {
                    const ERPoint2D &a = p[std::size_t(tri.vertex[k])], &d = p[std::size_t(vertex)];
                    m[k][0] = (long double)a.x() - d.x();
                    m[k][1] = (long double)a.y() - d.y();
                    m[k][2] = m[k][0] * m[k][0] + m[k][1] * m[k][1];
                }
                const long double in = m[0][2] * (m[1][0] * m[2][1] - m[2][0] * m[1][1]) +
                                       m[1][2] * (m[2][0] * m[0][1] - m[0][0] * m[2][1]) +
                                       m[2][2] * (m[0][0] * m[1][1] - m[1][0] * m[0][1]);
                EXPECT_LE(in, 1e-13L * (m[0][2] + m[1][2] + m[2][2]) * (m[0][2] + m[1][2]));
            }
        }
}

bool joined(Triangulation& of, int a, int b) {
    Triangulation::Side crossed;
    return of.constrain(a, b, crossed) == b;
}

using Sides = std::set<std::pair<int, int>>;
Sides fixed_sides(const Triangulation& of) {
    Sides sides;
    for (const auto& tri : of.all())
        for (std::size_t i = 0; i < 3; ++i)
            if (tri.fixed[i])
                sides.insert(std::minmax(tri.vertex[(i + 1) % 3], tri.vertex[(i + 2) % 3]));
    return sides;
}

TEST(Triangulation, OfPointsIsDelaunayAlsoWhereTheyAreOnLinesAndCircles) {
    Random draw{31};
    for (int round = 0; round < 60; ++round) {
        Triangulation of(ERMinimax2D(0, 10, 0, 10));
        // General places, a grid, a circle about a middle: all of them several times.
        for (int i = 0; i < 300; ++i) {
            ERPoint2D p(draw.uniform(0, 10), draw.uniform(0, 10));
            if (round % 3 == 1) p = {std::floor(p.x()), std::floor(p.y())};
            if (round % 3 == 2)
                p = {5 + 4 * std::cos(std::floor(p.x() * 3)),
                     5 + 4 * std::sin(std::floor(p.x() * 3))};
            const int n = of.insert(p);
            ASSERT_NE(n, Triangulation::none);
            EXPECT_EQ(of.insert(p), n);
            EXPECT_EQ(of.points()[std::size_t(n)], p);
        }
        expect_whole(of);
        expect_delaunay(of);
        EXPECT_EQ(of.insert({1e9, 0}), Triangulation::none);
        EXPECT_EQ(of.insert({NAN, 0}), Triangulation::none);
    }
}

// Polygons that don't cross themselves, one in another, among other points.
TEST(Triangulation, KeepsConstraintsAndNumbersRegions) {
    Random draw{32};
    for (int round = 0; round < 60; ++round) {
        Triangulation of(ERMinimax2D(-10, 10, -10, 10));
        for (int i = 0; i < 200; ++i)
            of.insert({draw.uniform(-10, 10), draw.uniform(-10, 10)});
        for (const double size : {9.0, 3.0}) {
            std::vector<int> star;
            for (int i = 0; i < 40; ++i) {
                const double angle = i * 6.283185307179586 / 40, r = size * draw.uniform(0.5, 1);
                star.push_back(of.insert({r * std::cos(angle), r * std::sin(angle)}));
            }
            for (std::size_t i = 0; i < star.size(); ++i)
                ASSERT_TRUE(joined(of, star[i], star[(i + 1) % star.size()]));
        }
        expect_whole(of);
        expect_delaunay(of);
        int regions = 1;
        of.label(1, [&](const ERPoint2D&) { return ++regions; });
        EXPECT_EQ(regions, 3); // the outer polygon may not cut off the middle: 4.5 beats 3
        // Splits and insertions keep constraints and regions.
        const std::size_t sides = fixed_sides(of).size();
        int split = 0;
        for (int i = 0; i < 300; ++i) {
            const int t = int(draw.uniform(0, double(of.all().size()) - 1e-9));
            const auto& tri = of.all()[std::size_t(t)];
            for (int side = 0; side < 3; ++side) {
                if (!tri.fixed[std::size_t(side)]) continue;
                const ERPoint2D a = of.points()[std::size_t(tri.vertex[std::size_t(side + 1) % 3])];
                const ERPoint2D b = of.points()[std::size_t(tri.vertex[std::size_t(side + 2) % 3])];
                if (of.split(t, side, {0.5 * (a.x() + b.x()), 0.5 * (a.y() + b.y())}) >= 0) ++split;
                break;
            }
            of.insert({draw.uniform(-10, 10), draw.uniform(-10, 10)});
        }
        EXPECT_GT(split, 10);
        EXPECT_GE(fixed_sides(of).size(), sides + std::size_t(split));
        expect_whole(of);
        for (const auto& tri : of.all()) {
            EXPECT_TRUE(tri.region >= 1 && tri.region <= 3);
            for (std::size_t i = 0; i < 3; ++i)
                EXPECT_TRUE(tri.next[i] == Triangulation::none || tri.fixed[i] ||
                            of.all()[std::size_t(tri.next[i])].region == tri.region);
        }
    }
}

TEST(Triangulation, AConstraintGoesThroughVerticesAndStopsAtAnother) {
    Triangulation of(ERMinimax2D(0, 8, 0, 8));
    int row[9], column[9];
    for (int i = 0; i <= 8; ++i)
        for (int j = 0; j <= 8; ++j) {
            const int n = of.insert({double(i), double(j)});
            if (j == 4) row[i] = n;
            if (i == 4) column[j] = n;
        }
    EXPECT_TRUE(joined(of, row[0], row[8])); // eight sides in a line
    EXPECT_EQ(fixed_sides(of).size(), 8u);
    EXPECT_TRUE(joined(of, column[8], column[0])); // through a vertex of the other
    EXPECT_EQ(fixed_sides(of).size(), 16u);
    const int a = of.insert({0.5, 3.5}), b = of.insert({0.6, 4.5});
    Triangulation::Side crossed;
    EXPECT_EQ(of.constrain(a, b, crossed), a); // across the row
    const auto& met = of.all()[std::size_t(crossed.triangle)].vertex;
    EXPECT_EQ(
        std::minmax(met[std::size_t(crossed.side + 1) % 3], met[std::size_t(crossed.side + 2) % 3]),
        std::minmax(row[0], row[1]));
    expect_whole(of);
}

} // namespace
