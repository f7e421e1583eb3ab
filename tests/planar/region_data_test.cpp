// Real outlines with answers of another library, and published cases: Inside, area and hull.
#include "velm/frame/point_functions.h"
#include "velm/planar/convex_hull.h"
#include "velm/planar/point_in_polygon.h"
#include "velm/planar/polygon_measures.h"
#include "velm/planar/region.h"

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
            const char* const words[] = {"inside", "outside", "boundary", "boundary"};
            EXPECT_EQ(words[region.CheckPoint(p, contour)], row.at(4)) << row[0] << ' ' << p;
            for (const Polygon& form : {ring, closed(ring)}) {
                const relpos got = Inside(p, form);
                const int told = got == relpos_inside ? 0 : got == relpos_outside ? 1 : 2;
                EXPECT_EQ(words[told], row.at(4)) << row[0] << ' ' << row[1] << ' ' << p;
            }
        }
        std::printf("%s: %zu points\n", set.c_str(), rows.size());
    }
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
        std::printf("%s: %zu rings\n", set.c_str(), rows.size());
    }
}

} // namespace
