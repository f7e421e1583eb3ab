// velm-inspect fit from end to end: entities, residuals, the ball, the reports and the refusals.
#include "inspect/base/number_text.h"
#include "inspect/workshop.h"

namespace {

using velm::inspect::shortest;
using namespace velm_test;

// Points on a circle about (3, -4) with a residual of 0.01 cos 3t; bare, or rows with an id.
std::string circle_rows(double radius, const std::string& header, const std::string& end) {
    std::string text = header;
    for (int n = 0; n < 60; ++n) {
        const double t = 2.0 * std::numbers::pi * n / 60, r = radius + 0.01 * std::cos(3.0 * t);
        if (!header.empty()) text += "p" + std::to_string(n) + ",";
        text += shortest(3.0 + r * std::cos(t)) + "," + shortest(-4.0 + r * std::sin(t)) + end;
    }
    return text;
}

TEST(Fit, ACircleWithItsBall) {
    Workshop shop;
    shop.write("bore.csv", circle_rows(5, "id,x,y,diameter\n", ",2\n"));
    shop.write("bare.txt", "# centres\n" + circle_rows(5, "", "\n"));
    shop.write("raised.txt", circle_rows(5, "", ",7.5\n"));
    const struct {
        const char* arguments;
        double radius;
        int code;
    } cases[] = {{"bore.csv --inside --tolerance 0.02", 6, 0},
                 {"bore.csv --outside --band -0.02 0.005", 4, 1},
                 {"bare.txt --tolerance 0.02", 5, 0},
                 {"bare.txt --diameter 2 --inside", 6, 0},
                 {"- --diameter 1 --outside < raised.txt", 4.5, 0}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.arguments);
        const Ended ended = shop.run("fit circle " + std::string(c.arguments) + " --json out.json");
        EXPECT_EQ(ended.code, c.code) << ended.error;
        const nlohmann::json report = shop.read_json("out.json");
        const auto& entity = report["entity"];
        EXPECT_EQ(entity["kind"], "circle");
        EXPECT_NEAR(entity["radius"], c.radius, 1e-12);
        EXPECT_NEAR(entity["centre"][0], 3.0, 1e-4); // the lobes shift nothing
        EXPECT_NEAR(entity["centre"][1], -4.0, 1e-4);
        EXPECT_EQ(entity["normal"], nlohmann::json({0, 0, 1}));
        EXPECT_EQ(entity["centre"].size() == 3 ? entity["centre"][2].get<double>() : 7.5, 7.5);
        ASSERT_EQ(report["points"].size(), 60u);
        std::size_t out_of_tolerance = 0;
        for (int n = 0; n < 60; ++n) {
            const auto& point = report["points"][static_cast<std::size_t>(n)];
            EXPECT_NEAR(point["residual"], 0.01 * std::cos(6.0 * std::numbers::pi * n / 60), 1e-4);
            out_of_tolerance += point["in_tolerance"] == false;
        }
        EXPECT_EQ(out_of_tolerance > 0, c.code == 1);
        const auto& summary = report["summary"];
        EXPECT_EQ(summary.value("out_of_tolerance", nlohmann::json()).is_null(),
                  report["tolerance"].is_null());
        EXPECT_NEAR(summary["rms"], 0.01 / std::sqrt(2.0), 1e-6);
    }
}

TEST(Fit, PlanesAndLines) {
    Workshop shop;
    // 2 x - y + 2 z = 9 with residuals of +-0.3 at the corners of a square, their ball outside.
    shop.write("plane.xyz", "2.2 -0.1 2.7\n4.2 3.9 2.3\n0.2 3.9 6.7\n-1.8 -0.1 6.3\n");
    shop.write("line.txt", "0 0.1\n1 0.9\n2 2.1\n3 2.9\n");
    shop.write("space.txt", "0 0 0.5\n1 0 -0.5\n2 0 -0.5\n3 0 0.5\n");
    const auto report = [&](const std::string& arguments) {
        const Ended ended = shop.run("fit " + arguments + " --json -");
        EXPECT_EQ(ended.code, 0) << ended.error;
        return nlohmann::json::parse(ended.out);
    };
    const nlohmann::json plane = report("plane plane.xyz --diameter 3 --outside");
    const auto normal = plane["entity"]["normal"].get<std::vector<double>>();
    const auto point = plane["entity"]["point"].get<std::vector<double>>();
    const auto bare = report("plane plane.xyz")["entity"]["point"].get<std::vector<double>>();
    double shift = 0;
    for (std::size_t k = 0; k < 3; ++k)
        shift += (point[k] - bare[k]) * normal[k];
    EXPECT_NEAR(shift, -1.5, 1e-14);
    double sum = 0, squares = 0;
    for (const auto& p : plane["points"]) {
        double height = 0;
        for (std::size_t k = 0; k < 3; ++k)
            height += (p["measured"][k].get<double>() - bare[k]) * normal[k];
        EXPECT_NEAR(p["residual"], height, 1e-14);
        sum += height;
        squares += height * height;
    }
    EXPECT_NEAR(sum, 0, 1e-14);
    EXPECT_NEAR(plane["summary"]["rms"], std::sqrt(squares / 4), 1e-14);

    const nlohmann::json line = report("line line.txt");
    EXPECT_EQ(line["entity"]["direction"].size(), 2u);
    EXPECT_GT(line["entity"]["direction"][0].get<double>(), 0.7); // from the first to the last
    const double angle = std::atan2(2 * 4.8, 5.0 - 4.64) / 2;     // of the moments 5, 4.8, 4.64
    EXPECT_NEAR(line["points"][0]["residual"], 1.5 * std::sin(angle) - 1.4 * std::cos(angle),
                1e-15);
    const nlohmann::json space = report("line space.txt");
    EXPECT_EQ(space["entity"]["direction"], nlohmann::json({1, 0, 0}));
    EXPECT_EQ(space["summary"]["peak_to_valley"], 1.0); // the cylinder that holds the points
    EXPECT_EQ(space["points"][1]["residual"], 0.5);
}

// The machine's own bore: its centre and its diameter, from the centres of its ball.
TEST(Fit, ARealBore) {
    std::ifstream in(VELM_REAL_DATA "/cmm/QIF_PTS_SAMPLE_points.csv");
    if (!in) GTEST_SKIP() << "no data in " VELM_REAL_DATA "/cmm";
    Workshop shop;
    std::string rows = "id,x,y\n";
    for (std::string line; std::getline(in, line);) {
        std::vector<std::string> field;
        std::istringstream cells(line);
        for (std::string cell; std::getline(cells, cell, ',');)
            field.push_back(cell);
        if (field[0] == "29") rows += "b," + field[4] + "," + field[5] + "\n";
    }
    shop.write("bore.csv", rows);
    const Ended ended = shop.run("fit circle bore.csv --diameter 4.99956542208 --inside --json -");
    EXPECT_EQ(ended.code, 0) << ended.error;
    const nlohmann::json entity = nlohmann::json::parse(ended.out)["entity"];
    EXPECT_NEAR(2 * entity["radius"].get<double>(), 12.091599179226, 2e-9);
    EXPECT_NEAR(entity["centre"][0], 0.00080940233, 2e-9);
    EXPECT_NEAR(entity["centre"][1], 0.00031692348, 2e-9);
}

// Each kind of entity, from an object file and from an archive; a residual that isn't that of its
// point is refused by both.
TEST(Fit, IsReportedAgainAsItsRunDid) {
    const Workshop shop;
    shop.write("bore.csv", "id,x,y,diameter\na,14,0,2\nb,0,14.02,2\nc,-14,0,2\nd,0,-14,2\n");
    shop.write("table.xyz", "0 0 5.01\n10 0 5\n0 10 4.99\n10 10 5.02\n5 5 5\n");
    shop.write("edge.xyz", "0 0\n5 .01\n10 -.01\n");
    const std::tuple<const char*, int> runs[] = {
        {"circle bore.csv --inside --tolerance .001 --size 30 0 .1 --at 0,0 --position .1", 1},
        {"circle table.xyz --band .01", 1},
        {"plane table.xyz --outside --diameter 3 --band 1 --tolerance 1 --info part=x", 0},
        {"line table.xyz --unit inch --decimals 5", 0},
        {"line edge.xyz --tolerance .1", 0}};
    int record = 0;
    for (const auto& [run, code] : runs) {
        const auto made =
            shop.run_with_outputs("fit " + std::string(run) + " --store s.velm --archive s.arc");
        EXPECT_EQ(made[0], std::to_string(code)) << run;
        for (const std::string& file :
             {"s.velm --record " + std::to_string(++record), std::string("s.arc")})
            EXPECT_EQ(shop.run_with_outputs("report " + file), made) << run << file;
    }
    EXPECT_EQ(shop.run("store s.velm --check").code, 0);
    shop.write("counted.ds", "3\n0 0\n5 .01\n10 -.01\n");
    EXPECT_EQ(shop.run("fit line counted.ds --tolerance .1").code, 0);
    shop.write("counted.ds", "4\n0 0\n5 .01\n10 -.01\n");
    EXPECT_EQ(shop.run("fit line counted.ds --tolerance .1").code, 3);
    const double moved = 5.01;
    std::string bytes = shop.read("s.velm");
    const std::size_t at = bytes.find(std::string(reinterpret_cast<const char*>(&moved), 8));
    ASSERT_NE(at, std::string::npos);
    bytes[at + 6] = static_cast<char>(bytes[at + 6] ^ 1);
    shop.write("s.velm", bytes);
    EXPECT_EQ(shop.run("store s.velm --check").code, 3);
    shop.refused("report s.velm --record 2", 3, "the residual is not that of the point");
}

} // namespace
