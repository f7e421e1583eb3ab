// velm-inspect section from end to end: what it computes, its outputs and its exit codes.
#include "inspect/base/number_text.h"
#include "inspect/input/measured_reader.h"
#include "inspect/input/outline_reader.h"
#include "inspect/workshop.h"
#include "velm/frame/vector.h"

namespace {

using velm::inspect::shortest;
using namespace velm_test;

// A small checker of well-formed XML: tags balance, attributes are quoted, entities are known.
bool is_well_formed(const std::string& text) {
    std::vector<std::string> open;
    for (std::size_t at = 0; at < text.size(); ++at) {
        const auto byte = static_cast<unsigned char>(text[at]);
        if (byte < 0x20 && byte != '\n') return false;
        if (text[at] == '&' && text.find(';', at) > at + 8) return false;
        if (text[at] == '>') return false;
        if (text[at] != '<') continue;
        std::string tag;
        char quote = 0;
        for (++at; at < text.size() && (quote != 0 || text[at] != '>'); ++at) {
            if (text[at] == '<') return false;
            if (quote != 0 ? text[at] == quote : text[at] == '"') quote = quote != 0 ? 0 : text[at];
            tag += text[at];
        }
        if (at == text.size()) return false;
        if (tag[0] == '?') continue;
        const std::string name = tag.substr(0, tag.find_first_of(" \n/", 1));
        if (tag[0] == '/') {
            if (open.empty() || "/" + open.back() != tag) return false;
            open.pop_back();
        } else if (tag.back() != '/') {
            open.push_back(name);
        }
    }
    return open.empty();
}

// Centres over the middles of an outline's edges, moved outwards by known amounts and half a ball.
struct Probing {
    std::string csv = "id,x,y,diameter\n";
    std::vector<double> expected;

    void add(const ERPoint2D& a, const ERPoint2D& b, double part, double deviation, double diameter,
             double side) {
        const ERVector2D along = ERVector2D(a, b).getnormalized();
        const double off = side * (deviation + diameter / 2.0);
        const ERPoint2D p = a + ERVector2D(a, b) * part + ERVector2D(along.j(), -along.i()) * off;
        csv += std::to_string(expected.size()) + "," + shortest(p.x()) + "," + shortest(p.y()) +
               "," + shortest(diameter) + "\n";
        expected.push_back(deviation);
    }
};

void expect_deviations(const nlohmann::json& report, const std::vector<double>& expected,
                       double tolerance) {
    ASSERT_EQ(report["points"].size(), expected.size());
    for (std::size_t i = 0; i < expected.size(); ++i) {
        EXPECT_EQ(report["points"][i]["id"], std::to_string(i));
        EXPECT_NEAR(report["points"][i]["deviation"], expected[i], tolerance);
    }
}

TEST(Section, KnownDisplacementsComeBackToLastDigits) {
    Workshop shop;
    Random random(3);
    constexpr int count = 240;
    constexpr double size = 80.0;
    std::string nominal = "ellipse\n";
    std::vector<ERPoint2D> vertices;
    for (int i = 0; i < count; ++i) {
        const double t = 2.0 * std::numbers::pi * i / count;
        vertices.emplace_back(40.0 * std::cos(t) + 300.0, 15.0 * std::sin(t) - 20.0);
        nominal += shortest(vertices.back().x()) + " " + shortest(vertices.back().y()) + "\n";
    }
    Probing probing;
    for (int i = 0; i < count; ++i)
        probing.add(vertices[static_cast<std::size_t>(i)],
                    vertices[static_cast<std::size_t>((i + 1) % count)], random.uniform(0.3, 0.7),
                    random.uniform(-0.1, 0.1), i % 2 == 0 ? 2.0 : 0.0, 1.0);
    shop.write("n.dat", nominal);
    shop.write("m.csv", probing.csv);
    EXPECT_EQ(shop.run("section n.dat m.csv --json j.json --tolerance 0.11 --diameter 7").code, 0);
    expect_deviations(shop.read_json("j.json"), probing.expected, 1e-12 * size);
}

TEST(Section, FiguresAndRowsAreThoseOfTheClosedForm) {
    Workshop shop;
    shop.write("n.dat", plate);
    shop.write("m.csv", "y,id,x\n-1.5,a,5\n5,b,5.5\n11.25,\"c\",5\n");
    EXPECT_EQ(shop.run("section n.dat m.csv --diameter 2 --tolerance -1.5 .5 --json j.json").code,
              0);
    const auto summary = shop.read_json("j.json")["summary"];
    EXPECT_DOUBLE_EQ(summary["mean"], 0.25 / 3.0);
    EXPECT_DOUBLE_EQ(summary["rms"], std::sqrt(0.5625 / 3.0));
    EXPECT_DOUBLE_EQ(summary["standard_deviation"], std::sqrt((0.5625 - 0.0625 / 3.0) / 2.0));
    EXPECT_EQ(summary["worst"], nlohmann::json::parse("{\"id\":\"a\",\"deviation\":0.5}"));

    // Without a band: nulls, and of equal absolute deviations the first is the worst.
    EXPECT_EQ(shop.run("section n.dat m.csv --diameter 2 --json j.json").code, 0);
    const auto open = shop.read_json("j.json");
    for (const char* name : {"in_tolerance", "out_of_tolerance"})
        EXPECT_TRUE(open["summary"][name].is_null());
    EXPECT_TRUE(open["tolerance"].is_null() && open["points"][0]["in_tolerance"].is_null());
    EXPECT_EQ(open["summary"]["worst"]["id"], "a");
    shop.write("one.csv", "id,x,y\n1,5,-1\n");
    EXPECT_EQ(shop.run("section n.dat one.csv --json -").code, 0);
    const auto one = nlohmann::json::parse(shop.read("_out"))["summary"];
    EXPECT_EQ(one["standard_deviation"], 0);
    EXPECT_EQ(one["rms"], 1);
}

// A round plate in a tilted plane of the machine, known displacements and heights.
TEST(Section, AFrameBringsPointsOfTheMachineIntoTheSection) {
    Workshop shop;
    Random random(7);
    const ERVector3D normal = ERVector3D(1, 2, 3).getnormalized();
    const ERVector3D first = (normal ^ (ERVector3D(1, 1, 0) ^ normal)).getnormalized();
    const ERVector3D second = normal ^ first;
    std::string csv = "id,x,y,z\n";
    std::vector<double> expected, heights;
    for (int i = 0; i < 60; ++i) {
        expected.push_back(random.uniform(-0.1, 0.1));
        heights.push_back(i == 40 ? -1.5 : random.uniform(-1.0, 1.0));
        const double t = random.uniform(-3.0, 3.0), r = 30.0 + expected.back();
        const ERVector3D v = first * (4.0 + r * std::cos(t)) + second * (r * std::sin(t) - 2.0) +
                             normal * heights.back();
        csv += std::to_string(i) + "," + shortest(v.i() + 100.0) + "," + shortest(v.j() - 20.0) +
               "," + shortest(v.k() + 7.0) + "\n";
    }
    shop.write("m.csv", csv);
    shop.write("n.txt", "C 4 -2 30\n");
    const std::string run = "section n.txt m.csv --frame 100 -20 7  1e-200 2e-200 3e-200  5 5 0 ";
    EXPECT_EQ(shop.run(run + "--json j.json --quiet").code, 0);
    const nlohmann::json report = shop.read_json("j.json");
    expect_deviations(report, expected, 1e-12 * 200.0);
    for (std::size_t i = 0; i < heights.size(); ++i) {
        EXPECT_NEAR(report["points"][i]["height"], heights[i], 1e-12);
        EXPECT_EQ(report["points"][i]["measured"].size(), 3u);
    }
    shop.refused(run + "--max-height 1", 3,
                 "velm-inspect: m.csv: a point is more than 1 off the plane of the section: '40' "
                 "(line 42, height -1.500)\n");
}

TEST(Section, ToleranceValuesAreNoOptionsAndTheirLimitsBelongToTheBand) {
    Workshop shop;
    shop.write("n.dat", plate);
    shop.write("m.csv", "id,x,y\n1,5,-.05\n2,5,.05\n");
    const std::tuple<const char*, int> runs[] = {{"n.dat m.csv", 0},
                                                 {"n.dat m.csv --tolerance .05", 0},
                                                 {"--tolerance -5e-2 +.05 n.dat m.csv", 0},
                                                 {"n.dat --tolerance=-.05 .05 m.csv", 0},
                                                 {"n.dat m.csv --tolerance -.05 .04", 1},
                                                 {"n.dat m.csv --tolerance .04 --diameter 0", 1}};
    for (const auto& [run, code] : runs)
        EXPECT_EQ(shop.run("section " + std::string(run)).code, code) << run;
}

TEST(Section, OutputsAppearWholeAndTogetherOrNotAtAll) {
    Workshop shop;
    shop.write("n.dat", plate);
    shop.write("m.csv", "id,x,y\n1,5,0\n");
    shop.write("late.csv", "id,x,y\n1,5,0\n2,5,oops\n");
    shop.write("kept.json", "old");
    std::filesystem::create_symlink("kept.json", shop.path("link.json"));
    std::filesystem::create_symlink("new.csv", shop.path("dangling.csv"));
    std::filesystem::permissions(shop.path("kept.json"), std::filesystem::perms(0640));
    std::filesystem::create_directory(shop.path("folder"));
    const auto before = shop.names();

    for (const char* options :
         {"late.csv --json kept.json --csv c.csv --svg s.svg",
          "m.csv --json kept.json --csv nowhere/c.csv", "m.csv --json link.json --csv folder",
          "m.csv --json kept.json --csv /dev/full", "m.csv --json kept.json >/dev/full",
          "m.csv --json kept.json >&-"}) {
        const Ended ended = shop.run("section n.dat " + std::string(options));
        EXPECT_EQ(ended.code, options[0] == 'l' ? 3 : 4) << options;
        EXPECT_EQ(shop.names(), before) << options;
        EXPECT_EQ(shop.read("kept.json"), "old") << options;
    }

    EXPECT_EQ(shop.run("section n.dat m.csv --json link.json --csv dangling.csv").code, 0);
    EXPECT_TRUE(std::filesystem::is_symlink(shop.path("link.json")));
    EXPECT_TRUE(std::filesystem::is_symlink(shop.path("dangling.csv")));
    EXPECT_EQ(shop.read_json("kept.json")["summary"]["count"], 1);
    EXPECT_EQ(std::filesystem::status(shop.path("kept.json")).permissions(),
              std::filesystem::perms(0640));
    EXPECT_NE(shop.read("new.csv"), "");

    // Pipes and open files are written directly, from where they stand; --quiet says nothing.
    for (int round = 0; round < 2; ++round)
        EXPECT_EQ(shop.run("section n.dat m.csv --csv /dev/fd/3 --quiet 3>>log").code, 0);
    EXPECT_EQ(shop.read("log"), shop.read("new.csv") + shop.read("new.csv"));
    EXPECT_EQ(shop.run("section n.dat m.csv --csv /dev/stdout --quiet | grep -c ^1,").out, "1\n");
    EXPECT_EQ(shop.run("section n.dat - --json - <m.csv | grep -c summary").out, "1\n");
    const Ended quiet = shop.run("section n.dat m.csv --quiet");
    EXPECT_EQ(quiet.out + quiet.error, "");
}

TEST(Section, HostileIdsHarmNoOutputAndRepeatedOnesStay) {
    Workshop shop;
    const std::string hostile = "<script>alert(\"1\")</script>\n\x1b[2J&'";
    shop.write("n.dat", "<title> & \x1b\n0 0\n10 0\n10 10\n0 10\n");
    shop.write("m.csv", "id,x,y\n\"<script>alert(\"\"1\"\")</script>\n\x1b[2J&'\",5,-2\n"
                        "7,5,-1\n7,5,-.5\n7,5,.5\n\xff,5,1\n");
    const Ended ended = shop.run("section n.dat m.csv --tolerance 1 --json j.json --csv c.csv "
                                 "--svg '<s>&.svg'");
    EXPECT_EQ(ended.code, 1);
    EXPECT_EQ(ended.out.find('\x1b'), std::string::npos);
    EXPECT_EQ(ended.error,
              "velm-inspect: warning: m.csv, line 5, id '7': the id came before; 2 rows "
              "repeat an id; all rows are kept\n");
    const auto report = shop.read_json("j.json");
    EXPECT_EQ(report["points"].size(), 5u);
    EXPECT_EQ(report["summary"]["worst"]["id"], hostile);
    const std::string picture = shop.read("<s>&.svg");
    EXPECT_TRUE(is_well_formed(picture));
    EXPECT_EQ(picture.find("<script"), std::string::npos);
    const std::string csv = shop.read("c.csv");
    velm::inspect::TextSource source("c.csv", csv);
    std::string_view line;
    for (int lines = 0; lines < 3; ++lines)
        source.next_line(line);
    EXPECT_EQ(line, "\x1b[2J&'\",5,-2,5,0,0,2,2,false,outside,0,0.5,0")
        << "the row goes on after the line break";
}

TEST(Section, AboveThousandPointsTheWorstAndAboveFiveThousandTheEnvelope) {
    Workshop shop;
    shop.write("n.dat", plate);
    std::string csv = "id,x,y\n";
    constexpr int count = 6000;
    for (int i = 0; i < count; ++i)
        csv += std::to_string(i) + "," + shortest(1.0 + 8.0 * i / count) + "," +
               shortest(i % 2000 == 77 ? -0.5 : 0.001 * (i % 10)) + "\n";
    shop.write("m.csv", csv);
    // An envelope alone: without a tolerance, or with all points in tolerance.
    for (const char* tolerance : {"", " --tolerance 1"}) {
        ASSERT_EQ(shop.run(std::string("section n.dat m.csv --svg s.svg") + tolerance).code, 0);
        EXPECT_TRUE(is_well_formed(shop.read("s.svg"))) << tolerance;
    }
    const Ended ended = shop.run("section n.dat m.csv --tolerance 0.1 --svg s.svg");
    EXPECT_EQ(ended.code, 1);
    EXPECT_TRUE(has(ended.out, "(the 20 worst of 6,000 points)"));
    EXPECT_LT(std::count(ended.out.begin(), ended.out.end(), '\n'), 45);
    EXPECT_LT(ended.out.find("\n77 "), ended.out.find("\n2077 "));
    EXPECT_LT(ended.out.find("\n2077 "), ended.out.find("\n4077 "));
    const std::string picture = shop.read("s.svg");
    EXPECT_TRUE(is_well_formed(picture));
    EXPECT_TRUE(has(picture, "envelope"));
    EXPECT_TRUE(has(picture, ">above the upper limit: 3<"));
    EXPECT_LT(picture.size(), 100000u);
}

TEST(Section, PicturesOfExtremePartsStayFinite) {
    Workshop shop;
    for (const double size : {1e-200, 1e-9, 1.0, 1e9, 1e100}) {
        const auto at = [&](double x, double y) {
            return shortest(x * size) + "," + shortest(y * size) + "\n";
        };
        shop.write("n.dat", at(0, 0) + at(1, 0) + at(1, .001) + at(0, .001));
        shop.write("m.csv", "id,x,y\n1," + at(.5, -.0001) + "2," + at(.2, 0) + "3," + at(.1, 90));
        for (const std::string tolerance : {"", " --tolerance 0", " --tolerance 1e99"}) {
            const Ended ended = shop.run("section n.dat m.csv --svg s.svg" + tolerance);
            EXPECT_EQ(ended.code,
                      tolerance == " --tolerance 0" || (size > 1e99 && tolerance != "") ? 1 : 0)
                << ended.error;
            const std::string picture = shop.read("s.svg");
            EXPECT_TRUE(is_well_formed(picture));
            EXPECT_EQ(picture.find("<title>1: 0.0"), std::string::npos) << size;
            for (const char* strange : {"nan", "inf\"", " inf", "-inf"})
                EXPECT_EQ(picture.find(strange), std::string::npos) << size << tolerance;
        }
    }
}

// Real profiles as they are found, displaced by known amounts.
TEST(Section, RealProfilesGiveTheirDisplacementsBack) {
    const std::filesystem::path folder = std::filesystem::path(VELM_REAL_DATA) / "regions/airfoils";
    if (!std::filesystem::exists(folder)) GTEST_SKIP() << "no real data here";
    Random random(17);
    int profiles = 0;
    for (const auto& entry : std::filesystem::directory_iterator(folder)) {
        velm::inspect::TextSource source(entry.path().string());
        const auto contour = velm::inspect::read_outline(source).contours.at(0);
        Probing probing; // the profiles run counter-clockwise from the trailing edge
        for (int i = 0; i < contour.size(); ++i)
            probing.add(contour[i], contour[(i + 1) % contour.size()], 0.5,
                        random.uniform(0.0, 1e-5), 0.0, 1.0);
        Workshop shop;
        shop.write("m.csv", probing.csv);
        EXPECT_EQ(shop.run("section '" + entry.path().string() + "' m.csv --json j.json").code, 0);
        SCOPED_TRACE(entry.path().filename().string());
        expect_deviations(shop.read_json("j.json"), probing.expected, 1e-12);
        ++profiles;
    }
    EXPECT_EQ(profiles, 8);
}

} // namespace
