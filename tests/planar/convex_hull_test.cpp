#include "velm/planar/convex_hull.h"

#include "support/test.h"
#include "velm/frame/point_functions.h"

namespace {

using velm_test::Random;
using Points = std::vector<ERPoint2D>;

ERVec<ERPoint2D> array(const Points& points) {
    return ERVec<ERPoint2D>(std::span<const ERPoint2D>(points));
}
Points hull_of(const Points& points) {
    const ERVec<ERPoint2D> hull = CalculateConvexeHull(array(points));
    return {hull.begin(), hull.end()};
}
bool before(const ERPoint2D& a, const ERPoint2D& b) {
    return a.x() < b.x() || (a.x() == b.x() && a.y() < b.y());
}

// The two passes taken step by step, with normalised edges throughout.
Points by_rules(Points points) {
    if (points.size() < 2) return points;
    Points sorted = points, chains[2];
    std::sort(sorted.begin(), sorted.end(), before);
    for (int pass = 0; pass < 2; ++pass) {
        std::reverse(sorted.begin(), sorted.end());
        Points& chain = chains[pass];
        chain.push_back(sorted[0]);
        std::size_t next = 1;
        while (next < sorted.size() && !(distance(sorted[0], sorted[next]) > 1e-7))
            ++next;
        if (next == sorted.size()) continue;
        chain.push_back(sorted[next]);
        for (++next; next < sorted.size(); ++next) {
            const ERPoint2D q = sorted[next];
            while (chain.size() >= 2) {
                const ERVector2D e1 =
                    ERVector2D(chain[chain.size() - 2], chain.back()).getnormalized();
                ERVector2D e2(chain.back(), q);
                if (e2.norme() < 1e-7) break;
                e2.normalize();
                const double cross = e1.i() * e2.j() - e1.j() * e2.i();
                if (cross > 0.0 && e1 * e2 > 0.0) break;
                if (cross > 0.0 && (pass == 0 ? e1.j() >= 0.0 : e1.j() <= 0.0)) break;
                chain.pop_back();
            }
            if (distance(chain.back(), q) > 1e-7) chain.push_back(q);
        }
    }
    const std::size_t second = chains[1].size();
    points.resize(std::max(points.size(), chains[0].size() + second));
    std::copy(chains[0].begin(), chains[0].end(), points.begin());
    if (second > 2)
        std::copy(chains[1].begin() + 1, chains[1].end() - 1,
                  points.begin() + static_cast<std::ptrdiff_t>(chains[0].size()));
    points.resize(chains[0].size() + second - (second < 2 ? 0 : 2));
    return points;
}

// One set of points of some awkward sort.
Points sample(Random& random, int sort, int n) {
    Points points(static_cast<std::size_t>(n));
    const double scale = std::ldexp(1.0, random.below(40) - 20);
    const ERPoint2D place = random.value<ERPoint2D>(1e6);
    const auto power = [&] { return std::ldexp(1.0, random.below(600) - 300); };
    const std::function<ERPoint2D(double)> sorts[] = {
        [&](double) { return random.value<ERPoint2D>(1); },
        [&](double) { return random.value<ERPoint2D>(1) * scale + place; },
        [&](double t) { return ERPoint2D(std::cos(4 * t), std::sin(4 * t)) * scale; },
        [&](double) { return ERPoint2D(random.below(9), random.below(9)); },
        [&](double) {
            return ERPoint2D(random.below(3) * 1e-7 + random.below(2), random.below(7) * 5e-8);
        },
        [&](double) { return random.value<ERPoint2D>(3e-7); },
        [&](double) {
            return ERPoint2D(0.1 * random.below(50),
                             0.3 * random.below(50) + 1e-9 * random.below(3));
        },
        [&](double) { return ERPoint2D(power(), power()); },
        [&](double t) { return ERPoint2D(1.0 / 3.0, t); },
        // On one oblique line, up to the rounding.
        [&](double t) { return ERPoint2D(0.1 + t * 0.7, 0.2 + t * 0.9); },
    };
    for (ERPoint2D& p : points)
        p = sorts[sort](random.uniform(-1, 1));
    return points;
}

TEST(ConvexHull, KeepsToTheStepsBitForBit) {
    Random random(7511);
    for (int round = 0; round < 6000; ++round) {
        const int n =
            round % 40 == 0 ? 200 + random.below(20000 / (1 + round / 40)) : random.below(60);
        const Points points = sample(random, round % 10, n);
        const Points got = hull_of(points), wanted = by_rules(points);
        ASSERT_EQ(got.size(), wanted.size()) << "round " << round;
        ASSERT_TRUE(got.empty() ||
                    std::memcmp(got.data(), wanted.data(), got.size() * sizeof got[0]) == 0)
            << "round " << round;
    }
}

// A set of whole numbers that doubles hold and products don't: scattered, near one line, near a
// circle, with repeats.
Points wide_sample(Random& random, int n) {
    const int sort = random.below(4);
    const double size = std::ldexp(1.0, 10 + random.below(42));
    Points points;
    for (int i = 0; i < n; ++i) {
        const double t = std::round(random.uniform(-1.0, 1.0) * size);
        const double near = random.below(5) - 2;
        points.push_back(sort == 0   ? ERPoint2D(t, std::round(random.uniform(-1.0, 1.0) * size))
                         : sort == 1 ? ERPoint2D(t, t + (i % 2 == 0 ? 0.0 : near))
                         : sort == 2
                             ? ERPoint2D(t, std::round(std::sqrt(size * size - t * t)) + near)
                             : random.one_of(points.empty() ? (points = {{t, near}}) : points));
        if (sort == 3 && random.below(2) == 0) points.push_back({near, t});
    }
    return points;
}

// Against whole-number arithmetic of 128 bits: the turns are strict and no point is outside, which
// only the hull fulfils.
TEST(ConvexHull, ExactOneIsExact) {
    __extension__ using Wide = __int128;
    const auto turn = [](const ERPoint2D& a, const ERPoint2D& b, const ERPoint2D& c) {
        const auto times = [](double u, double v) { return Wide(u) * Wide(v); };
        const Wide area = times(b.x() - a.x(), c.y() - a.y()) - times(c.x() - a.x(), b.y() - a.y());
        return (area > 0) - (area < 0);
    };
    Random random(7514);
    for (int round = 0; round < 3000; ++round) {
        const Points points = wide_sample(random, 1 + random.below(round % 100 == 0 ? 1000 : 30));
        const Points hull = velm::convex_hull(points);
        SCOPED_TRACE(testing::Message() << "round " << round << " of " << points.size());
        ASSERT_EQ(hull.front(), *std::max_element(points.begin(), points.end(), before));
        const std::size_t n = hull.size();
        for (std::size_t i = 0; i < n; ++i) {
            const ERPoint2D &a = hull[i], &b = hull[(i + 1) % n];
            ASSERT_NE(std::find(points.begin(), points.end(), a), points.end());
            ASSERT_TRUE(n < 3 || turn(a, b, hull[(i + 2) % n]) > 0);
            ASSERT_TRUE(n < 2 || (a != b && std::all_of(points.begin(), points.end(), [&](auto& p) {
                                      return turn(a, b, p) >= 0;
                                  })));
            ASSERT_TRUE(n > 1 ||
                        std::count(points.begin(), points.end(), a) == long(points.size()));
        }
    }
    EXPECT_EQ(velm::convex_hull({}), Points());
    const Points odd{{NAN, 0}, {0, INFINITY}, {2, 3}, {1, 3}, {2, 3}};
    EXPECT_EQ(velm::convex_hull(odd), Points({{2, 3}, {1, 3}}));
}

TEST(ConvexHull, OddCases) {
    // All within the tolerance: the greatest point, and the argument's point at index 1.
    const Points close{{0, 0}, {2e-8, 0}, {5e-8, 1e-8}, {1e-8, 0}};
    EXPECT_EQ(hull_of(close), Points({{5e-8, 1e-8}, {2e-8, 0}}));

    const ERVec<ERPoint2D> kept{{0, 0}, {1, 0}, {1, 1}, {0, 1}, {0.5, 0.5}};
    EXPECT_EQ(CalculateConvexeHull(kept).size(), 4);
    EXPECT_EQ(kept[0], ERPoint2D(0, 0)) << "the argument is taken by value";

    ERVec<ERPoint2D> many(100000);
    for (int i = 0; i < many.size(); ++i)
        many[i] = ERPoint2D(i % 7, i % 11);
    EXPECT_LT(CalculateConvexeHull(many).capacity(), 1000) << "a body of all points is kept";
    EXPECT_LT(CalculateConvexeHull(std::move(many)).capacity(), 1000);
}

TEST(ConvexHull, OfNumbersOutOfRangeEnds) {
    Random random(7513);
    constexpr double odd[] = {NAN, INFINITY, -INFINITY, 1.7e308, -1.7e308, 0.0, 1.0};
    for (int round = 0; round < 2000; ++round) {
        Points points(static_cast<std::size_t>(2 + random.below(300)));
        for (ERPoint2D& p : points)
            p = {odd[random.below(7)], odd[random.below(7)]};
        EXPECT_GE(hull_of(points).size(), 1u);
    }
}

} // namespace
