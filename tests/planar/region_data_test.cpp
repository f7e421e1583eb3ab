// Real outlines with answers of another library, and published cases: Inside, area and hull.
#include "velm/frame/point_functions.h"
#include "velm/planar/convex_hull.h"
#include "velm/planar/point_in_polygon.h"
#include "velm/planar/polygon_measures.h"
#include "velm/planar/polygon_projection.h"
#include "velm/planar/region.h"
#include "velm/planar/region_grid.h"

#include "support/test.h"

namespace {

using Polygon = ERVec<ERPoint2D>;

class RegionData : public testing::Test {
protected:
    static std::ifstream open(const std::string& name) {
        return std::ifstream(std::string(VELM_REAL_DATA "/regions/") + name);
    }
    void SetUp() override {
        if (!open("SOURCE.md")) GTEST_SKIP() << "no data in " VELM_REAL_DATA "/regions";
    }
};

Polygon read_points(std::istream& in, int n) {
    Polygon points;
    for (double x, y; n > 0 && in >> x >> y; --n)
        points.push_back({x, y});
    return points;
}

std::map<std::pair<std::string, int>, Polygon> read_rings(std::istream& in) {
    std::map<std::pair<std::string, int>, Polygon> rings;
    std::string line, name;
    for (int ring = 0; std::getline(in, line);) {
        std::istringstream fields(line);
        std::string word;
        fields >> word;
        if (word == "outline") {
            fields >> name;
            ring = 0;
        } else if (word == "ring") {
            int n = 0;
            fields >> n;
            rings[{name, ring++}] = read_points(fields, n);
        }
    }
    return rings;
}

// The rows of a table by commas, without its head.
std::vector<std::vector<std::string>> read_table(std::istream& in) {
    std::vector<std::vector<std::string>> rows;
    std::string line;
    std::getline(in, line);
    while (std::getline(in, line)) {
        std::istringstream fields(line);
        rows.emplace_back();
        for (std::string field; std::getline(fields, field, ',');)
            rows.back().push_back(field);
    }
    return rows;
}

Polygon closed(const Polygon& ring) {
    Polygon with_end = ring;
    with_end.push_back(ERPoint2D(ring[0]));
    return with_end;
}

TEST_F(RegionData, InsideAgreesOnAllTestPoints) {
    const auto told = [](bool inside, bool outside) {
        return inside ? "inside" : outside ? "outside" : "boundary";
    };
    for (const std::string set : {"airfoils", "countries"}) {
        auto ring_file = open(set + ".txt"), point_file = open(set + "_pip.csv");
        const auto rings = read_rings(ring_file);
        const auto rows = read_table(point_file);
        std::map<const Polygon*, ERRegion2D> regions;
        for (const auto& row : rows) {
            const Polygon& ring = rings.at({row.at(0), std::stoi(row.at(1))});
            const ERPoint2D p(std::stod(row.at(2)), std::stod(row.at(3)));
            auto& region = regions.try_emplace(&ring, 1, 1).first->second;
            if (region.entries() == 0) region.Add(ring);
            int contour = 0;
            const PosContours place = region.CheckPoint(p, contour);
            EXPECT_EQ(told(place == REGION_INSIDE, place == REGION_OUTSIDE), row.at(4));
            for (const Polygon& form : {ring, closed(ring)}) {
                const relpos got = Inside(p, form);
                EXPECT_EQ(told(got == relpos_inside, got == relpos_outside), row.at(4))
                    << row[0] << ' ' << row[1] << ' ' << p;
            }
        }
    }
}

// The winding number of the ring about p, edge by edge, in twice the precision of the library's
// answers; none if p is nearer to an edge than `clear`.
std::optional<int> windings(const Polygon& ring, const ERPoint2D& p, double clear) {
    int windings = 0;
    for (int i = 0, n = ring.size(); i < n; ++i) {
        const ERPoint2D &a = ring.data()[i], &b = ring.data()[i + 1 == n ? 0 : i + 1];
        const long double x = b.x() - a.x(), y = b.y() - a.y();
        const long double left = x * (p.y() - a.y()) - y * (p.x() - a.x());
        if (std::fabs(left) < clear * (std::fabs(x) + std::fabs(y)) &&
            ERMinimax2D(a, b).contains(p))
            return std::nullopt;
        if (a.y() <= p.y() && b.y() > p.y() && left > 0.0L) ++windings;
        if (a.y() > p.y() && b.y() <= p.y() && left < 0.0L) --windings;
    }
    return windings;
}

// All rings of a country as one region, the first its outer contour or a hole as the others, its
// index and its raster: points all over, and at the ordinates of vertices.
TEST_F(RegionData, CountriesAgreeWithWindingNumbers) {
    constexpr int points = 6000; // a country
    auto ring_file = open("countries.txt");
    std::map<std::string, std::vector<Polygon>> countries;
    for (const auto& [key, ring] : read_rings(ring_file))
        countries[key.first].push_back(ring);
    velm_test::Random random(7304);
    int answered = 0, by_raster = 0, left_out = 0;
    for (const auto& [name, rings] : countries) {
        const int count = static_cast<int>(rings.size());
        ERRegion2D within(count, 1), beside(count, 0);
        ERMinimax2D all;
        for (const Polygon& ring : rings) {
            within.Add(ring);
            beside.Add(ring);
            all.Update(ring);
        }
        const ERRegion2DGrid raster(within);
        for (int i = 0; i < points; ++i) {
            const double x = all.xmin + random.uniform(-0.05, 1.05) * all.xlength();
            double y = all.ymin + random.uniform(-0.05, 1.05) * all.ylength();
            if (i % 8 == 0) {
                const Polygon& ring = rings[random.next() % rings.size()];
                y = ring.data()[random.below(ring.size())].y();
            }
            const ERPoint2D p(x, y);
            bool in_first = false, in_other = false, is_clear = true;
            for (const Polygon& ring : rings) {
                const auto around = windings(ring, p, 1e-7);
                is_clear &= around.has_value();
                (&ring == &rings[0] ? in_first : in_other) |= around.value_or(0) != 0;
            }
            left_out += !is_clear;
            if (!is_clear) continue;
            int contour = 0;
            const bool is_within = in_first && !in_other;
            ASSERT_EQ(within.CheckPoint(p, contour), is_within ? REGION_INSIDE : REGION_OUTSIDE)
                << name << p;
            ASSERT_EQ(beside.CheckPoint(p, contour),
                      in_first || in_other ? REGION_OUTSIDE : REGION_INSIDE)
                << name << p;
            const auto state = raster.inside(p);
            if (state != ERRegion2DGrid::STATE_CROSSING) {
                ++by_raster;
                ASSERT_EQ(state == ERRegion2DGrid::STATE_INSIDE, is_within) << name << p;
            }
            ++answered;
        }
    }
    EXPECT_TRUE(left_out < answered / 1000 && by_raster > answered / 2) << by_raster;
}

// A bound of the rounding of the answers, which are sums of products x y.
double area_error(const Polygon& ring) {
    double sum = 0.0;
    for (int i = 0; i < ring.size(); ++i) {
        const ERPoint2D a = ring[i], b = ring[(i + 1) % ring.size()];
        sum += std::abs(a.x() * b.y()) + std::abs(b.x() * a.y());
    }
    return 4e-16 * sum;
}

TEST_F(RegionData, AreaAndHullAgree) {
    for (const std::string set : {"airfoils", "countries"}) {
        auto ring_file = open(set + ".txt"), answer_file = open(set + "_ref.csv");
        const auto rings = read_rings(ring_file);
        const auto rows = read_table(answer_file);
        for (const auto& row : rows) {
            const Polygon& ring = rings.at({row.at(0), std::stoi(row.at(1))});
            ASSERT_EQ(ring.size(), std::stoi(row.at(2)));
            const double area = std::stod(row.at(3)), hull_area = std::stod(row.at(8));
            EXPECT_NEAR(PolygonArea(ring), -area, area_error(ring)) << row[0] << ' ' << row[1];
            EXPECT_EQ(IsCounterClockWise(ring), area > 0.0);
            const Polygon hull = CalculateConvexeHull(ring);
            EXPECT_NEAR(PolygonArea(hull), -hull_area, area_error(ring)) << row[0] << ' ' << row[1];
            EXPECT_EQ(hull.size(), std::stoi(row.at(7))) << row[0] << ' ' << row[1];
            for (const ERPoint2D& p : ring.view())
                EXPECT_TRUE(Inside(p, hull) != relpos_outside ||
                            std::find(hull.begin(), hull.end(), p) != hull.end())
                    << row[0] << p;
        }
    }
}

struct Part {
    int polygon;
    Polygon points;
};
struct Case {
    std::string name;
    std::vector<Part> a, b;
    std::vector<std::string> operations;
};

std::vector<Case> read_cases(std::istream& in) {
    std::vector<Case> cases;
    std::vector<Part>* geometry = nullptr;
    for (std::string line; std::getline(in, line);) {
        std::istringstream fields(line);
        std::string word, which;
        fields >> word;
        if (word == "case") {
            cases.push_back({line, {}, {}, {}});
        } else if (word == "geom") {
            fields >> which;
            geometry = which == "a" ? &cases.back().a : &cases.back().b;
        } else if (word == "part") {
            int polygon = 0, n = 0;
            fields >> polygon >> n;
            geometry->push_back({polygon, read_points(fields, n)});
        } else if (word == "op") {
            cases.back().operations.push_back(line);
        }
    }
    return cases;
}

// The place of p in an area: the rings of one polygon by even-odd, its boundary first.
char place(const ERPoint2D& p, const std::vector<Part>& rings) {
    std::map<int, bool> inside;
    for (const Part& ring : rings) {
        const relpos position = Inside(p, ring.points);
        if (position == relpos_on_vertex || position == relpos_on_edge) return 'B';
        if (position == relpos_inside) inside[ring.polygon] ^= true;
    }
    return std::any_of(inside.begin(), inside.end(), [](const auto& i) { return i.second; }) ? 'I'
                                                                                             : 'E';
}

TEST_F(RegionData, PublishedPointInAreaCasesHold) {
    auto file = open("jts_point_area.txt");
    const auto cases = read_cases(file);
    ASSERT_EQ(cases.size(), 6u);
    for (const Case& c : cases) {
        std::string wanted = "FFF", got = "FFF"; // interior, boundary, exterior
        for (const std::string& operation : c.operations) {
            std::istringstream words(operation);
            std::string op, relate, a, matrix;
            words >> op >> relate >> a >> matrix;
            if (relate == "relate") wanted = matrix.substr(0, 3);
        }
        for (const Part& point : c.a)
            got[std::string("IBE").find(place(point.points[0], c.b))] = '0';
        EXPECT_EQ(got, wanted) << c.name;
    }
}

TEST_F(RegionData, PublishedHullsHold) {
    auto file = open("jts_convexhull.txt");
    const auto cases = read_cases(file);
    ASSERT_EQ(cases.size(), 13u);
    int left_out = 0;
    for (const Case& c : cases) {
        Polygon all;
        for (const Part& part : c.a)
            for (const ERPoint2D& p : part.points.view())
                all.push_back(p);
        std::string text = c.operations.at(0).substr(c.operations[0].find('|') + 1);
        std::replace_if(
            text.begin(), text.end(),
            [](char ch) { return !std::strchr("0123456789.-+eE ", ch) || ch == 'E'; }, ' ');
        std::istringstream numbers(text);
        Polygon wanted = read_points(numbers, 1 << 20);
        if (wanted.size() > 1 && wanted[0] == wanted[wanted.size() - 1])
            wanted.resize(wanted.size() - 1);
        const Polygon hull = CalculateConvexeHull(all);
        const auto holds = [](const Polygon& points, const ERPoint2D& p) {
            return std::find(points.begin(), points.end(), p) != points.end();
        };
        for (const ERPoint2D& p : hull.view())
            EXPECT_TRUE(holds(wanted, p)) << c.name << ' ' << p;
        for (const ERPoint2D& p : wanted.view()) {
            if (holds(hull, p)) continue;
            ++left_out;
            ERPoint2D foot;
            ASSERT_GE(findProjection(p, hull, foot, 0.0), 0) << c.name << ' ' << p;
            EXPECT_LT(distance(p, foot), 1e-13) << c.name << ' ' << p;
        }
    }
    // A vertex that only exact arithmetic distinguishes from a point on the hull's edge.
    EXPECT_EQ(left_out, 1);
}

} // namespace
