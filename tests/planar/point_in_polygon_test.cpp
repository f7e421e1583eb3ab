#include "velm/planar/point_in_polygon.h"

#include "support/test.h"
#include "velm/planar/orientation.h"

namespace {

using velm_test::Random;
using Polygon = std::vector<ERPoint2D>;

struct Site {
    int x, y;
};

ERPoint2D point(Site s) { return {static_cast<double>(s.x), static_cast<double>(s.y)}; }

long long area(Site a, Site b, Site c) {
    return static_cast<long long>(b.x - a.x) * (c.y - a.y) -
           static_cast<long long>(c.x - a.x) * (b.y - a.y);
}
bool within_edge(Site p, Site a, Site b) {
    return area(a, b, p) == 0 && std::min(a.x, b.x) <= p.x && p.x <= std::max(a.x, b.x) &&
           std::min(a.y, b.y) <= p.y && p.y <= std::max(a.y, b.y);
}

// The results that Inside may give for a lattice point, in exact arithmetic. A point on a vertex
// and on an edge elsewhere may give either result.
std::vector<relpos> allowed(Site p, const std::vector<Site>& polygon) {
    bool on_vertex = false, on_edge = false, odd = false;
    for (std::size_t i = 0; i < polygon.size(); ++i) {
        const Site a = polygon[i], b = polygon[(i + 1) % polygon.size()];
        const bool at_end = (p.x == a.x && p.y == a.y) || (p.x == b.x && p.y == b.y);
        on_vertex |= at_end;
        on_edge |= !at_end && within_edge(p, a, b);
        if ((a.y > p.y) != (b.y > p.y) && (area(a, b, p) > 0) == (b.y > a.y)) odd = !odd;
    }
    if (on_vertex && on_edge) return {relpos_on_vertex, relpos_on_edge};
    if (on_vertex) return {relpos_on_vertex};
    if (on_edge) return {relpos_on_edge};
    return {odd ? relpos_inside : relpos_outside};
}

TEST(Inside, AgreesWithExactArithmeticOnLatticePolygons) {
    Random random(7501);
    int seen[4] = {};
    for (int round = 0; round < 1500; ++round) {
        const int size = 2 + random.below(9);
        const int sites = 3 + random.below(200);
        std::vector<Site> polygon(static_cast<std::size_t>(sites));
        for (Site& s : polygon)
            s = {random.below(size), random.below(size)};
        Polygon open, closed;
        for (Site s : polygon)
            open.push_back(point(s));
        closed = open;
        closed.push_back(open.front());
        for (int k = 0; k < 30; ++k) {
            const Site p{random.below(size + 2) - 1, random.below(size + 2) - 1};
            const std::vector<relpos> answers = allowed(p, polygon);
            for (const Polygon& form : {open, closed}) {
                const relpos got = Inside(point(p), form.data(), static_cast<int>(form.size()), 0);
                ++seen[got];
                ASSERT_TRUE(got == answers.front() || got == answers.back())
                    << "round " << round << " p " << p.x << ' ' << p.y << " got " << got;
            }
        }
    }
    for (int count : seen)
        EXPECT_GT(count, 500);
}

// The rules taken one by one, edge by edge.
relpos by_rules(const ERPoint2D& p, const Polygon& points) {
    bool odd = false;
    const auto edge = [&](const ERPoint2D& a, const ERPoint2D& b) {
        if ((p.y() > a.y() && p.y() > b.y()) || (p.y() < a.y() && p.y() < b.y()) ||
            (p.x() > a.x() && p.x() > b.x()))
            return relpos_outside;
        if (p == b) return relpos_on_vertex;
        if (ccw(a, b, p, 1e-10) == 0) return relpos_on_edge;
        if (a.y() == b.y()) return relpos_outside;
        if (p.y() > std::min(a.y(), b.y()) && Intersect(a, b, p, {1e12, p.y()})) odd = !odd;
        return relpos_outside;
    };
    if (p == points[0]) return relpos_on_vertex;
    for (std::size_t i = 0; i + 1 < points.size(); ++i)
        if (const relpos r = edge(points[i], points[i + 1]); r != relpos_outside) return r;
    if (!(points.back() == points[0]))
        if (const relpos r = edge(points.back(), points[0]); r != relpos_outside) return r;
    return odd ? relpos_inside : relpos_outside;
}

// Coordinates that meet each other and the limits of every shortcut: few values, near misses of
// the edge tolerance, abscissae beyond the ray's end, extremes, infinities and NaN.
double awkward(Random& random) {
    constexpr double special[] = {0.0,     -0.0,     1e-10,    -1e-10,   1e-300, 5e-324,
                                  1e12,    1e12 - 1, 1e12 + 1, 2e12,     1e155,  -1e155,
                                  1.7e308, -1.7e308, INFINITY, -INFINITY};
    const int sort = random.below(12);
    if (sort == 0) return random.one_of(special);
    if (sort == 1) return random.below(40) == 0 ? std::nan("") : 0.5;
    if (sort == 2) return random.uniform(-1.0, 1.0);
    return sort == 3 ? random.below(4) + random.uniform(-3e-10, 3e-10) : random.below(5);
}

TEST(Inside, KeepsToTheRulesOnAwkwardCoordinates) {
    Random random(7502);
    int seen[4] = {};
    for (int round = 0; round < 40000; ++round) {
        Polygon polygon(static_cast<std::size_t>(1 + random.below(round % 50 == 0 ? 300 : 12)));
        for (ERPoint2D& v : polygon)
            v = {awkward(random), awkward(random)};
        for (int k = 0; k < 5; ++k) {
            const ERPoint2D p(awkward(random), awkward(random));
            const relpos got = Inside(p, polygon.data(), static_cast<int>(polygon.size()), -1);
            ++seen[got];
            ASSERT_EQ(got, by_rules(p, polygon)) << "round " << round << " p " << p << " polygon "
                                                 << testing::PrintToString(polygon);
        }
    }
    for (int count : seen)
        EXPECT_GT(count, 500);
    EXPECT_EQ(Inside({0, 0}, nullptr, 0, -1), relpos_outside);
    EXPECT_EQ(Inside({0, 0}, ERVec<ERPoint2D>()), relpos_outside);
}

TEST(Orientation, WithoutToleranceIsThreeWay) {
    const ERPoint2D a(0, 0), b(2, 1);
    EXPECT_EQ(ccw(a, b, {-2, -1}, 0.0), -1); // before a
    EXPECT_EQ(ccw(a, b, {4, 2}, 0.0), 1);    // beyond b
    EXPECT_EQ(ccw(a, b, a, 0.0), 0);
    EXPECT_EQ(ccw(a, b, b, 0.0), 0);
    EXPECT_EQ(ccw(a, b, {1, 0.5}, 0.0), 0);
    EXPECT_EQ(ccw(a, b, {0, 1}, 0.0), 1);
    EXPECT_EQ(ccw(a, b, {1, 0}, 0.0), -1);
    EXPECT_EQ(ccw(a, b, {1, 0.5 + 1e-6}, 1e-5), 0); // an area, not a distance
}

TEST(Orientation, SegmentsMeetByExactArithmetic) {
    Random random(7503);
    for (int round = 0; round < 20000; ++round) {
        Site s[4];
        for (Site& site : s)
            site = {random.below(5), random.below(5)};
        // A degenerate segment has its own rules.
        if ((s[0].x == s[1].x && s[0].y == s[1].y) || (s[2].x == s[3].x && s[2].y == s[3].y))
            continue;
        const auto side = [&](int i, int j, int k) {
            const long long a = area(s[i], s[j], s[k]);
            return (a > 0) - (a < 0);
        };
        const bool crossing =
            side(0, 1, 2) * side(0, 1, 3) < 0 && side(2, 3, 0) * side(2, 3, 1) < 0;
        const bool touching = within_edge(s[2], s[0], s[1]) || within_edge(s[3], s[0], s[1]) ||
                              within_edge(s[0], s[2], s[3]) || within_edge(s[1], s[2], s[3]);
        ASSERT_EQ(Intersect(point(s[0]), point(s[1]), point(s[2]), point(s[3])),
                  crossing || touching);
    }
}

} // namespace
