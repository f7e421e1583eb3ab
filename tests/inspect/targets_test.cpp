// velm-inspect targets from end to end.
#include "inspect/base/number_text.h"
#include "inspect/workshop.h"

namespace {

using namespace velm_test;

// A ball of 2 against a plane, a point of the surface, and a direct target, in columns of any
// order.
constexpr const char* table = "name;act_z;nom_x;nom_y;nom_z;nom_i;nom_j;nom_k;x;y;z;diameter;"
                              "act_x;act_y\n"
                              "ball;;1;2;3;0;0;1e-200;4;6;4,25;2;;\n"
                              "<skin>;3;1;2;3;0;-4;0;;;;;1;2,5\n"
                              "direct;7;1;2;3;;;;;;;;1;2\n";

TEST(Targets, BallsSurfacesAndDirectTargetsAreJudged) {
    Workshop shop;
    shop.write("t.csv", table);
    EXPECT_EQ(shop.run("targets t.csv --tolerance -.5 4 --json j.json --csv c.csv").code, 0);
    const auto points = shop.read_json("j.json")["points"];
    const char* const expected[] = {
        R"({"target":[1,2,3],"measured":[4,6,4.25],"calculated":[4,6,3.25],"normal":[0,0,1],
            "deviation":0.25,"distance_on_plane":5,"in_tolerance":true,"ball_diameter":2})",
        R"({"target":[1,2,3],"measured":[1,2.5,3],"calculated":[1,2.5,3],"normal":[0,-1,0],
            "deviation":-0.5,"distance_on_plane":0,"in_tolerance":true,"ball_diameter":0})",
        R"({"target":[1,2,3],"measured":[1,2,7],"calculated":[1,2,7],"normal":null,
            "deviation":null,"distance_on_plane":null,"in_tolerance":true,"ball_diameter":0})"};
    for (std::size_t n = 0; n < 3; ++n) {
        const auto wanted = nlohmann::json::parse(expected[n]);
        for (const auto& [name, value] : wanted.items())
            EXPECT_EQ(points[n][name], value) << points[n]["id"] << " " << name;
    }
    EXPECT_DOUBLE_EQ(points[0]["distance"], std::hypot(5.0, 0.25));
    EXPECT_TRUE(has(shop.read("c.csv"), "\ndirect,1,2,3,1,2,7,1,2,7,,,,,,4,true,0\n"));
    EXPECT_EQ(shop.run("targets t.csv --tolerance -.4 3.9").code, 1);
}

TEST(Targets, BadRowsAreNamedAndRefusedOrSkipped) {
    Workshop shop;
    shop.write("t.csv", "id,nom_x,nom_y,nom_z,nom_i,nom_j,nom_k,x,y,z,diameter\n"
                        "good,0,0,0,0,0,1,0,0,1,2\na,0,x,0,0,0,1,0,0,1,2\nb,0,0,0,0,,1,0,0,1,2\n"
                        "c,0,0,0,0,0,0,0,0,1,2\nd,0,0,0,,,,0,0,1,\ne,0,0,0,,,,0,0,1,-1\n"
                        "f,0,0,0,,,,0,0,1e200,1\n");
    const Ended refused = shop.run("targets t.csv --json j.json");
    EXPECT_EQ(refused.code, 3);
    for (const char* why :
         {"t.csv: 6 rows can't be used: line 3, id 'a': column nom_y: expected a number, found "
          "'x'; line 4, id 'b': column nom_j: expected a number",
          "line 5, id 'c': columns nom_i, "
          "nom_j, nom_k: the normal has no length",
          "'d': column diameter: expected a number", "'e': column diameter: expected no negative",
          "'f': the point is too far"})
        EXPECT_TRUE(has(refused.error, why));
    EXPECT_FALSE(std::filesystem::exists(shop.path("j.json")));
    const Ended skipped = shop.run("targets t.csv --skip-bad --json j.json");
    EXPECT_EQ(skipped.code, 0);
    EXPECT_TRUE(has(skipped.error, "warning: skipped: t.csv: 6 rows"));
    EXPECT_EQ(shop.read_json("j.json")["points"].size(), 1u);
    EXPECT_EQ(shop.read_json("j.json")["skipped"], 6);
    shop.write("h.csv", "id,nom_x,nom_y,nom_z,x,y,z\n");
    EXPECT_TRUE(has(shop.run("targets h.csv").error, "missing: x, y, z, diameter or act_x"));
}

// A box turned and shifted against its nominal comes back; what its top alone determines is moved
// alone.
TEST(Targets, BestFitTakesTheMotionAwayAndThePageEscapesIds) {
    Workshop shop;
    std::string box = "id,nom_x,nom_y,nom_z,nom_i,nom_j,nom_k,act_x,act_y,act_z\n", top = box;
    for (int n = 0; n < 24; ++n) {
        const int axis = n % 3;
        double p[] = {7.0 * (n % 5), 5.0 * (n % 7), 3.0 * (n % 4)};
        const double x = p[0] - 4.0, y = p[1] + 2.0, c = std::cos(0.02), s = std::sin(0.02);
        std::string row = "\"<b>&" + std::to_string(n) + "\"";
        for (const double value : {p[0], p[1], p[2], 1.0 * (axis == 0), 1.0 * (axis == 1),
                                   1.0 * (axis == 2), c * x + s * y, c * y - s * x, p[2] - 0.5})
            row += "," + velm::inspect::shortest(value);
        box += row + "\n";
        if (axis == 2) top += row + "\n";
    }
    shop.write("box.csv", box);
    shop.write("top.csv", top);
    EXPECT_EQ(shop.run("targets box.csv --tolerance 1e-9 --html p.html --json b.json").code, 1);
    const auto before = shop.read_json("b.json");
    EXPECT_EQ(
        shop.run("targets box.csv --tolerance 1e-9 --align bestfit --json j.json --html p.html")
            .code,
        0);
    const auto found = shop.read_json("j.json")["alignment"];
    EXPECT_NEAR(found["rotation"][1][0], std::sin(0.02), 1e-11);
    EXPECT_NEAR(found["translation"][0], 4.0, 1e-9);
    EXPECT_NEAR(found["translation"][1], -2.0, 1e-9);
    EXPECT_NEAR(found["translation"][2], 0.5, 1e-9);
    EXPECT_NEAR(found["angle"], 0.02, 1e-11);
    EXPECT_TRUE(found["held"].empty());
    for (const char* figure : {"rms", "minimum", "maximum"}) {
        EXPECT_EQ(found[figure + std::string("_before")], before["summary"][figure]);
        EXPECT_EQ(found[figure + std::string("_after")],
                  shop.read_json("j.json")["summary"][figure]);
    }
    for (std::size_t n = 0; n < 24; ++n)
        EXPECT_EQ(shop.read_json("j.json")["points"][n]["deviation_before"],
                  before["points"][n]["deviation"]);
    const std::string page = shop.read("p.html");
    EXPECT_TRUE(has(page, ">&lt;b&gt;&amp;23</th>"));
    EXPECT_EQ(page.find("<b>"), std::string::npos);
    EXPECT_EQ(page.find(" src="), std::string::npos);
    EXPECT_EQ(shop.run("targets top.csv --tolerance 1e-9 --align bestfit --json j.json").code, 0);
    EXPECT_EQ(shop.read_json("j.json")["alignment"]["held"].size(), 3u);
}

// Six car panels with the deviations that the measuring software published, from the object file.
TEST(Targets, TheCarPanelsPublishedDeviationsComeOut) {
    const std::string stem = std::string(VELM_REAL_DATA) + "/cmm/SheetMetal_6_samples_";
    if (!std::filesystem::exists(stem + "features.csv")) GTEST_SKIP() << "no real data here";
    Workshop shop;
    EXPECT_EQ(
        shop.run("targets '" + stem + "features.csv' --json run.json --store s.velm --quiet").code,
        0);
    EXPECT_EQ(shop.run("report s.velm --json j.json --quiet").code, 0);
    EXPECT_EQ(shop.read("j.json"), shop.read("run.json"));
    const auto rows = [&](const char* file, const std::vector<std::string>& columns) {
        std::ifstream lines(stem + file);
        std::vector<std::string> titles;
        std::vector<std::array<std::string, 3>> found;
        for (std::string line, field; std::getline(lines, line);) {
            std::vector<std::string> fields;
            for (std::istringstream rest(line); std::getline(rest, field, ',');)
                fields.push_back(field);
            if (titles.empty()) {
                titles = fields;
                continue;
            }
            auto& row = found.emplace_back();
            for (std::size_t n = 0; n < 3; ++n)
                row[n] = fields.at(static_cast<std::size_t>(
                    std::find(titles.begin(), titles.end(), columns[n]) - titles.begin()));
        }
        return found;
    };
    std::map<std::string, double> deviations;
    const auto report = shop.read_json("j.json");
    for (const auto& [measurement, name, unused] :
         rows("features.csv", {"measurement", "name", "kind"})) {
        EXPECT_EQ(report["points"][deviations.size()]["id"], name);
        const auto& deviation = report["points"][deviations.size()]["deviation"];
        deviations[measurement] = deviation.get<double>();
    }
    int compared = 0;
    for (const auto& [measurement, value, kind] :
         rows("characteristics.csv", {"feature_measurements", "value", "kind"}))
        if (kind == "PointProfile" && std::stod(value) != 0.0) {
            EXPECT_NEAR(deviations[measurement], std::stod(value), 1e-11);
            ++compared;
        }
    EXPECT_EQ(compared, 102);
}

// Very many points are all in the map of colours, seen from two sides; the page and its report
// don't depend on where the rows came from.
TEST(Targets, VeryManyAreAllShown) {
    const Workshop shop;
    std::string rows = "id,nom_x,nom_y,nom_z,nom_i,nom_j,nom_k,act_x,act_y,act_z\n";
    for (int n = 0; n < 6000; ++n) {
        const int x = n % 100, y = n / 100;
        const std::string place = std::to_string(x) + "," + std::to_string(y) + ",";
        const char* height = x < 50 ? "1.03" : n == 5999 ? "2" : "0.97";
        rows += "p" + std::to_string(n) + "," + place + "1,0,0,1," + place + height + "\n";
    }
    shop.write("t.csv", rows);
    const std::vector<std::string> kinds{"html", "svg"};
    const auto made =
        shop.run_with_outputs("targets t.csv --tolerance .05 --store s.velm --quiet", kinds);
    EXPECT_EQ(made[0], "1");
    const std::string& picture = made[3];
    for (const std::string& text : {made[2], picture})
        for (const char* words : {"6,000 points in ", "x to the right, y upwards",
                                  "x to the right, z upwards", "p5999\u2002+1.0000"})
            EXPECT_TRUE(has(text, words));
    // Each half of the grid in its colour: 60 rows of 50 places at least 7 units from each other.
    const auto squares = [&](const char* color) {
        const std::size_t end = picture.find(std::string("fill=\"") + color + "\"/>");
        const std::size_t start = picture.rfind("<path d=\"", end);
        return std::count(picture.begin() + static_cast<std::ptrdiff_t>(start),
                          picture.begin() + static_cast<std::ptrdiff_t>(end), 'M');
    };
    EXPECT_GT(squares("#e07b53"), 2000);
    EXPECT_GT(squares("#5a9fd0"), 2000);
    EXPECT_EQ(shop.run_with_outputs("report s.velm --quiet", kinds), made);
}

} // namespace
