// Regions against their rules gone through one by one, and lengths that add up.
#include "velm/planar/region.h"

#include "support/records.h"
#include "support/threads.h"
#include "velm/frame/box_clipping.h"
#include "velm/frame/point_functions.h"
#include "velm/frame/typed_ptr_vector.h"
#include "velm/planar/orientation.h"
#include "velm/planar/polyline_offset.h"
#include "velm/planar/region_grid.h"
#include "velm/wireframe/intersections.h"
#include "velm/wireframe/segment.h"

#include <deque>

namespace {

using velm_test::Random;
using Polygon = ERVec<ERPoint2D>;
using Pieces = ERTValVector<Polygon>;

ERRegion2D region_of(const std::vector<Polygon>& contours, bool outer) {
    ERRegion2D region(static_cast<int>(contours.size()), outer);
    for (const Polygon& contour : contours)
        region.Add(contour);
    return region;
}

// The rules, step by step, with nothing kept or skipped.
struct ByRules {
    std::vector<Polygon> contours;
    bool outer;

    PosContours check(const ERPoint2D& p, int& contour) const {
        if (contours.empty()) return REGION_INSIDE;
        contour = 0;
        if (outer && !ERMinimax2D(contours[0]).contains(p)) return REGION_OUTSIDE;
        for (int i = 0; i < static_cast<int>(contours.size()); ++i) {
            contour = i;
            const relpos r = Inside(p, contours[static_cast<std::size_t>(i)]);
            if (r == relpos_on_vertex) return REGION_ON_VERTEX;
            if (r == relpos_on_edge) return REGION_ON_EDGE;
            if (r == (outer && i == 0 ? relpos_outside : relpos_inside)) return REGION_OUTSIDE;
        }
        return REGION_INSIDE;
    }
    int in_domain(const ERMinimax2D& box) const {
        if (contours.empty()) return 3;
        int counted = 0, holes = static_cast<int>(contours.size()) - outer;
        for (std::size_t i = 0; i < contours.size(); ++i) {
            const int r = box.positionRelative(contours[i]);
            if (r == 1) return 1;
            if (outer && i == 0) {
                if (r == 0 || r == 3) return r;
                continue;
            }
            if (r == 2) return 0;
            counted += r == 0;
        }
        return outer && counted == holes ? 2 : 1;
    }
    void cross(const _Intersect& from, const _Intersect& to, int contour, const ERPoint2D& c,
               const ERPoint2D& d, std::deque<_Intersect>& pool,
               ERTPtrSortedVector<_Intersect>& sorted) const {
        const ERPoint2D &a = from.point, &b = to.point;
        const ERMinimax2D ab(a, b), cd(c, d);
        if (c == d || (ab | cd) || !cd.positionRelative(a, b) || !ab.positionRelative(c, d)) return;
        ERPoint2D p;
        if (!Intersect(c, d, a, b) || !intersect(ERInfLine2D(c, d), ERInfLine2D(a, b), p)) return;
        const double t = div_vect(a, b, p), u = div_vect(c, d, p);
        const bool vertex = std::abs(u) <= 1e-9 || std::abs(u - 1.0) <= 1e-9;
        if (!(t >= 0.0 && t <= 1.0)) return;
        pool.emplace_back(p, from.parameter + t, vertex ? REGION_ON_VERTEX : REGION_ON_EDGE,
                          contour);
        sorted.insert(&pool.back());
    }
    void intersect_into(const Polygon& polyline, std::vector<_Intersect>& stops,
                        std::vector<Polygon>& pieces) const {
        if (!contours.empty() && outer && (ERMinimax2D(polyline) | ERMinimax2D(contours[0])))
            return;
        std::deque<_Intersect> pool;
        ERTPtrSortedVector<_Intersect> sorted;
        for (int i = 0; i < polyline.size(); ++i) {
            if (i > 0 && polyline[i] == polyline[i - 1]) continue;
            int contour = 0;
            const PosContours where = check(polyline[i], contour);
            pool.emplace_back(polyline[i], static_cast<double>(pool.size()), where, contour);
            sorted.insert(&pool.back());
        }
        const std::vector<_Intersect> points(pool.begin(), pool.end());
        if (points.size() < 2) return;
        for (std::size_t k = 0; k + 1 < points.size(); ++k) {
            for (int i = 0; i < static_cast<int>(contours.size()); ++i) {
                const Polygon& v = contours[static_cast<std::size_t>(i)];
                if (ERMinimax2D(v) | ERMinimax2D(points[k].point, points[k + 1].point)) continue;
                const int n = v.size() - (v.size() > 0 && v[0] == v[v.size() - 1]);
                for (int e = 0; n >= 3 && e < n; ++e)
                    cross(points[k], points[k + 1], i, v[e], v[(e + 1) % n], pool, sorted);
            }
        }
        for (const _Intersect* stop : sorted)
            stops.push_back(*stop);
        walk(stops, pieces);
    }
    void walk(const std::vector<_Intersect>& s, std::vector<Polygon>& pieces) const {
        bool fresh = true;
        for (std::size_t i = 0; i + 1 < s.size(); ++i) {
            int where = s[i].position, contour = 0;
            if (where >= 2) {
                where = i == 0 && s[1].position < 2
                            ? int{s[1].position}
                            : int{check(milieu(s[i].point, s[i + 1].point), contour)};
                where = where == REGION_INSIDE || where == REGION_ON_EDGE ? 0 : 1;
            }
            if (where == 0) {
                if (fresh) pieces.push_back({s[i].point});
                pieces.back().push_back(s[i + 1].point);
            }
            fresh = where != 0;
        }
    }
};

struct Recorder : ERDebugIntersect {
    std::vector<_Intersect> stops;
    void onIntersect(_Intersect const* stop) override { stops.push_back(*stop); }
};

std::string bits(const Polygon& polygon) {
    std::string bytes;
    for (const ERPoint2D& p : polygon.view())
        bytes += velm_test::bytes_of(p);
    return bytes;
}
std::string bits(const _Intersect& s) {
    return velm_test::bytes_of(s.point, s.parameter, static_cast<int>(s.position), s.contour);
}
template <class Range>
std::vector<std::string> all_bits(const Range& range) {
    std::vector<std::string> all;
    for (const auto& item : range)
        all.push_back(bits(item));
    return all;
}

// A contour about c: a star of random spikes, a smooth one, or sites of a lattice in any order;
// the last vertex may repeat the first, a coordinate may be odd.
Polygon contour(Random& random, const ERPoint2D& c, double size, int vertices, int shape,
                bool may_be_odd = false) {
    Polygon v;
    for (int i = 0; i < vertices; ++i) {
        const double angle = 2.0 * std::numbers::pi * i / vertices;
        const double r =
            size * (shape == 0 ? random.uniform(0.4, 1.0) : 1.0 + 0.2 * std::sin(7.0 * angle));
        v.push_back(shape == 2 ? ERPoint2D(c.x() + random.below(7) * size / 4.0,
                                           c.y() + random.below(7) * size / 4.0)
                               : c + ERPoint2D(r * std::cos(angle), r * std::sin(angle)));
    }
    if (random.below(3) == 0) v.push_back(ERPoint2D(v[0]));
    if (may_be_odd && random.below(12) == 0) {
        const double odd[] = {NAN, INFINITY, -0.0, 5e-324, 1e12};
        v[random.below(v.size())].x() = odd[random.below(5)];
    }
    return v;
}

class RegionByRules : public testing::Test {
protected:
    // A random region, its rules, and places worth asking about.
    void make(Random& random) {
        const double size = random.below(5) == 0 ? 1e-4 : random.below(2) ? 4.0 : 1e3;
        rules = {{}, random.below(3) > 0};
        for (int i = 0, n = random.below(5); i < n; ++i)
            rules.contours.push_back(contour(
                random, i == 0 ? ERPoint2D() : ERPoint2D(size * random.uniform(-0.6, 0.6), 0.0),
                i == 0 ? size : 0.3 * size, 1 + random.below(random.below(2) ? 8 : 300),
                random.below(3), true));
        reach = 1.5 * size;
    }
    ERPoint2D place(Random& random) const {
        if (!rules.contours.empty() && random.below(2) == 0) {
            const Polygon& v = rules.contours[random.next() % rules.contours.size()];
            const int i = random.below(v.size());
            const ERPoint2D on = milieu(v[i], random.below(2) ? v[i] : v[(i + 1) % v.size()]);
            return on + ERPoint2D(random.below(3) - 1, random.below(3) - 1) * (random.below(2) ? 0.0
                                                                               : random.below(2)
                                                                                   ? 1e-6
                                                                                   : 1e-10);
        }
        return {random.uniform(-reach, reach),
                random.below(9) ? random.uniform(-reach, reach) : reach * random.below(3) / 4.0};
    }
    ByRules rules;
    double reach = 0.0;
};

TEST_F(RegionByRules, PointsBoxesAndPiecesAreTheSameBitForBit) {
    Random random(7301);
    int seen[3][4] = {};
    std::size_t crossings = 0;
    for (int round = 0; round < 250; ++round) {
        make(random);
        const ERRegion2D region = region_of(rules.contours, rules.outer);
        const ERRegion2DGrid raster(region);
        for (int k = 0; k < 60; ++k) {
            const ERPoint2D p = place(random), q = place(random);
            int contour = -1, wanted_contour = -1;
            const PosContours wanted = rules.check(p, wanted_contour);
            ASSERT_EQ(region.CheckPoint(p, contour), wanted) << "round " << round << ' ' << p;
            ASSERT_EQ(contour, wanted_contour);
            const ERMinimax2D box(p, random.below(3) ? p + (q - p) * 0.02 : q);
            const int in_domain = rules.in_domain(box);
            ASSERT_EQ(region.IsInDomain(box), in_domain) << "round " << round << ' ' << p << q;
            ASSERT_EQ(raster.find_relative_position(box), (raster.getBox() | box) ? 0
                                                          : in_domain == 0        ? 0
                                                          : in_domain == 2        ? 1
                                                                                  : 2);
            ++seen[0][wanted], ++seen[1][in_domain];
        }
        for (int k = 0; k < 3; ++k) {
            Polygon line;
            for (int i = 0, n = random.below(40); i < n; ++i)
                line.push_back(random.below(8) || i == 0 ? place(random) : ERPoint2D(line[i - 1]));
            Recorder got;
            std::vector<_Intersect> stops;
            std::vector<Polygon> pieces;
            Pieces result{Polygon{{7, 7}}};
            region.Intersect(line, result, &got);
            rules.intersect_into(line, stops, pieces);
            pieces.insert(pieces.begin(), Polygon{{7, 7}});
            ASSERT_EQ(all_bits(got.stops), all_bits(stops)) << "round " << round;
            ASSERT_EQ(all_bits(result), all_bits(pieces)) << "round " << round;
            crossings += stops.size();
        }
    }
    for (int i = 0; i < 4; ++i)
        EXPECT_TRUE(seen[0][i] > 150 && seen[1][i] > 150) << i;
    EXPECT_GT(crossings, 8000u);
}

double length(const Polygon& line) {
    double sum = 0.0;
    for (int i = 1; i < line.size(); ++i)
        sum += distance(line[i - 1], line[i]);
    return sum;
}
double clipped_length(const ERRegion2D& region, const Polygon& line) {
    Pieces pieces;
    region.Intersect(line, pieces);
    double sum = 0.0;
    for (const Polygon& piece : pieces)
        sum += length(piece);
    return sum;
}

TEST(Region, InsideAndOutsideLengthsAddUp) {
    Random random(7303);
    for (int round = 0; round < 200; ++round) {
        const std::vector<Polygon> contours{contour(random, {}, 10.0, 500, 0),
                                            contour(random, {-2.0, 0.0}, 1.5, 200, 1),
                                            contour(random, {2.0, 0.0}, 1.5, 30, 0)};
        if (!std::isfinite(ERMinimax2D(contours[0]).xmax + contours[1][0].x())) continue;
        Polygon line;
        for (int i = 0; i < 200; ++i)
            line.push_back(ERPoint2D(random.uniform(-12, 12), random.uniform(-12, 12)));
        double outside = clipped_length(region_of({contours[0]}, false), line);
        for (std::size_t i = 1; i < 3; ++i)
            outside += clipped_length(region_of({contours[i]}, true), line);
        EXPECT_NEAR(clipped_length(region_of(contours, true), line) + outside, length(line),
                    1e-9 * length(line));
    }
}

TEST(Region, RasterSaysWhatThePolygonsSay) {
    Random random(7304);
    int answered = 0;
    for (int round = 0; round < 20; ++round) {
        const std::vector<Polygon> contours{contour(random, {}, 10.0, 300, 1),
                                            contour(random, {2.0, 1.0}, 3.0, 100, 0)};
        const ERRegion2D region = region_of(contours, true);
        const ERRegion2DGrid raster(region);
        for (int k = 0; k < 3000; ++k) {
            const ERPoint2D p(random.uniform(-13, 13), random.uniform(-13, 13));
            const ERMinimax2D box(p, p + ERPoint2D(random.uniform(0, 2), random.uniform(0, 2)));
            int contour = 0;
            const int cell = raster.inside(p), boxed = raster.relative_position(box);
            ASSERT_TRUE(cell == 2 || region.CheckPoint(p, contour) == 1 - cell) << p;
            ASSERT_TRUE(boxed == 1 || region.IsInDomain(box) == 2 - boxed) << p;
            answered += (cell != 2) + (boxed != 1);
        }
    }
    EXPECT_GT(answered, 60000);
}

TEST(Grid, CellsAreWhatAPlainArrayHolds) {
    Random random(7305);
    for (const int bit_count : {1, 2, 3, 5, 16, 32}) {
        const int nx = 1 + random.below(40), ny = 1 + random.below(70);
        const ERMinimax2D whole(-1.0, 2.0, 5.0, 9.0);
        ERGrid2D grid(nx, ny, bit_count, whole);
        const unsigned mask = bit_count == 32 ? ~0u : (1u << bit_count) - 1;
        std::vector<unsigned> cells(static_cast<std::size_t>(nx * ny), mask);
        const auto plain = [&](int x, int y) -> unsigned& {
            return cells[static_cast<std::size_t>(x * ny + y)];
        };
        grid.set_outside_value(1);
        for (int round = 0; round < 400; ++round) {
            int i[2] = {random.below(nx), random.below(nx)},
                j[2] = {random.below(ny), random.below(ny)};
            std::sort(i, i + 2), std::sort(j, j + 2);
            const unsigned value =
                static_cast<unsigned>(random.next()) & mask & (round % 2 ? 1 : ~0u);
            if (round % 3 == 0) grid.set(i[0], j[0], i[1], j[1], value);
            bool same = true;
            for (int x = i[0]; x <= i[1]; ++x)
                for (int y = j[0]; y <= j[1]; ++y) {
                    if (round % 3 == 0) plain(x, y) = value;
                    same &= plain(x, y) == plain(i[0], j[0]);
                    ASSERT_EQ(grid.get(x, y), plain(x, y));
                }
            ERPoint2D low, high, unused;
            grid.get_cell_dims(i[0], j[0], low, unused);
            grid.get_cell_dims(i[1], j[1], unused, high);
            const ERPoint2D p = milieu(low, high), in = (high - low) * 0.01;
            unsigned got = 0;
            const ERMinimax2D box(low + in * (1.0 / nx), high - in * (1.0 / nx));
            ASSERT_EQ(grid.check_box(box, got), same);
            ASSERT_TRUE(!same || got == plain(i[0], j[0]));
            int a = -1, b = -1;
            ASSERT_TRUE(grid.indices(p, a, b) && i[0] <= a && a <= i[1] && j[0] <= b && b <= j[1]);
            ASSERT_EQ(grid.check_point(p), plain(a, b));
        }
        int i = 0, j = 0;
        EXPECT_TRUE(grid.indices(whole.MaxPoint(), i, j) && i == nx - 1 && j == ny - 1);
        grid.set(0, 0, nx - 1, ny - 1, 0);
        unsigned value = 7;
        EXPECT_EQ(grid.check_box(ERMinimax2D(-2.0, 3.0, 6.0, 7.0), value), 0); // sticks out
        EXPECT_TRUE(grid.check_box(ERMinimax2D(4.0, 5.0, 6.0, 7.0), value) == 1 && value == 1);
    }
}

TEST(Region, WithoutContoursAndCopiesAndTexts) {
    const ERRegion2D none(0, 1);
    int contour = 5;
    EXPECT_TRUE(none.CheckPoint({1, 1}, contour) == REGION_INSIDE && contour == 5);
    Pieces pieces;
    none.Intersect({{0, 0}, {0, 0}, {1, 0}, {1, 0}}, pieces);
    none.Intersect({{3, 3}, {3, 3}}, pieces);
    ASSERT_EQ(pieces.length(), 1);
    EXPECT_EQ(bits(pieces[0]), bits(Polygon{{0, 0}, {1, 0}}));

    ERRegion2D square = region_of({{{0, 0}, {4, 0}, {4, 4}, {0, 4}}}, true);
    EXPECT_EQ(square.getCopy(), nullptr);
    const ERRegion2D copy(square);
    square.Add({{1, 1}, {2, 1}, {2, 2}});
    EXPECT_TRUE(copy.entries() == 1 && copy.CheckPoint({1.75, 1.25}, contour) == REGION_INSIDE);
    EXPECT_EQ(square.CheckPoint({1.75, 1.25}, contour), REGION_OUTSIDE);
    std::ostringstream out;
    copy.printOn(out);
    EXPECT_EQ(out.str(), "// contour :  1 loops , first is outer 1\n//  contour 0\n"
                         "(4)[[0,0],[4,0],[4,4],[0,4]]\n\n");
}

TEST(Region, SnapKeepsALineAlongAnEdgeOnly) {
    const Polygon corner{{0, 0}, {2, 0}, {2, 1e-9}, {2, 2}};
    EXPECT_EQ(bits(OffsetPolyline({{0, 0}, {2, 0}, {2, 0}, {0, 0}}, 1.0)),
              bits(Polygon{{0, 1}, {2, 0}, {0, -1}})); // the way turns back
    const Polygon moved = OffsetPolyline(corner, std::sqrt(2.0));
    EXPECT_EQ(moved.size(), 3);
    EXPECT_NEAR(distance(moved[1], {1, 1}), 0.0, 1e-15);

    const ERRegion2D square = region_of({{{0, 0}, {100, 0}, {100, 100}, {0, 100}}}, true);
    const auto snapped = [&](double y, double snap) {
        Pieces pieces;
        square.IntersectWithSnap({{10, y}, {90, y}}, pieces, snap);
        return pieces;
    };
    ASSERT_EQ(snapped(-0.5, 1.0).length(), 1); // just outside: moved in, and left there
    EXPECT_EQ(bits(snapped(-0.5, 1.0)[0]), bits(Polygon{{10, 0.5}, {90, 0.5}}));
    EXPECT_EQ(bits(snapped(50.0, 1.0)[0]), bits(Polygon{{10, 50}, {90, 50}}));
    EXPECT_EQ(snapped(-0.5, 8.5).length(), 0); // not longer by more than ten times snap
}

TEST(Region, ThreadsMayAskOneRegion) {
    Random random(7306);
    const ERRegion2D region = region_of({contour(random, {}, 10.0, 2000, 1)}, true);
    const Polygon line{{-20, 1}, {20, 2}, {3, -9}};
    const double wanted = clipped_length(region, line);
    velm_test::in_threads(4, [&](int) {
        for (int k = 0; k < 50; ++k)
            EXPECT_EQ(clipped_length(region, line), wanted);
    });
}

} // namespace
