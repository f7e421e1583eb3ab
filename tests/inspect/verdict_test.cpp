// Verdicts that must not be false, and inspections that must not be lost.
#include "inspect/workshop.h"

namespace {

using namespace velm_test;

const std::string kept_folder = std::string(VELM_TEST_FOLDER) + "/inspect/kept/";

TEST(Verdict, OfAFitIsByItsFormUnlessABandIsGiven) {
    const Workshop shop;
    shop.write("saddle.xyz", "0 0 .009\n10 0 -.009\n0 10 -.009\n10 10 .009\n");
    shop.write("zigzag.xyz", "0 .009\n1 -.009\n2 -.009\n3 .009\n");
    shop.write("oval.xyz", "10.009 0\n-10.009 0\n0 9.991\n0 -9.991\n");
    const std::tuple<const char*, int> runs[] = {
        {"plane saddle.xyz --tolerance .01", 1},
        {"plane saddle.xyz --tolerance .018", 0},
        {"plane saddle.xyz --band .01", 0},
        {"plane saddle.xyz --band -.01 .008", 1},
        {"line zigzag.xyz --tolerance .01", 1},
        {"line zigzag.xyz --tolerance .02", 0},
        {"circle oval.xyz --tolerance .01", 1},
        {"circle oval.xyz --tolerance .018", 0},
        {"circle oval.xyz --size 20 -.01 .01", 0},
        {"circle oval.xyz --size 20.02 -.01 .01", 1},
        {"circle oval.xyz --at .03,-.04 --position .1", 0},
        {"circle oval.xyz --at .03,-.04 --position .09", 1},
        {"circle oval.xyz --at 0,0,0 --position .1", 2},
        {"plane saddle.xyz --size 20 0 1", 2},
        {"plane saddle.xyz --tolerance -.01 .01", 2}};
    for (const auto& [run, code] : runs) {
        const Ended ended = shop.run("fit " + std::string(run) + " --json j.json --svg p.svg");
        EXPECT_EQ(ended.code, code) << run << ended.error;
        if (code != 1) continue;
        EXPECT_TRUE(has(ended.out, {"out of tolerance"})) << run;
        EXPECT_TRUE(has(shop.read("p.svg"), {"out of tolerance"})) << run;
    }
}

TEST(Outputs, NeverReplaceKeptInspections) {
    const Workshop shop;
    shop.write("plate.dat", plate);
    shop.write("p.csv", "id,x,y\na,5,-.01\n");
    const std::string section = "section plate.dat p.csv --quiet ";
    EXPECT_EQ(shop.run(section + "--store keep.velm --archive keep.arc").code, 0);
    const std::string store = shop.read("keep.velm"), archive = shop.read("keep.arc");
    for (const char* option : {"--json", "--csv", "--svg", "--html"})
        for (const char* file : {"keep.velm", "keep.arc"}) {
            const Ended ended = shop.run(section + option + " " + file);
            EXPECT_EQ(ended.code, 2) << option << file;
            EXPECT_TRUE(has(ended.error, {file, "would be lost"}));
        }
    EXPECT_EQ(shop.run(section + "--archive keep.velm").code, 2);
    EXPECT_EQ(shop.run(section + "--store keep.arc").code, 3);
    EXPECT_EQ(shop.run("store keep.velm --digest keep.arc").code, 2);
    EXPECT_EQ(shop.read("keep.velm"), store);
    EXPECT_EQ(shop.read("keep.arc"), archive);
    EXPECT_EQ(shop.run(section + "--archive keep.arc").code, 0) << "its own kind replaces it";
}

// A sheet 0.8 thick, 40 long.
struct Sheet : Workshop {
    Sheet() { write("sheet.dat", "0 0\n40 0\n40 .8\n0 .8\n"); }
    Ended probe(const std::string& rows, const std::string& options = "") const {
        write("p.csv", "id,x,y,i,j,k,diameter\n" + rows);
        return run("section sheet.dat p.csv --tolerance .35 --json j.json " + options);
    }
};

TEST(Directions, DecideOnWhichWallOfASheetAPointLies) {
    const Sheet shop;
    EXPECT_EQ(shop.probe("a,20,.5,0,-1,0,\n").code, 1);
    auto report = shop.read_json("j.json");
    EXPECT_NEAR(report["points"][0]["deviation"], -0.5, 1e-15);
    EXPECT_EQ(report["points"][0]["foot"], (std::vector<double>{20, 0}));
    EXPECT_EQ(report["summary"]["unassigned"], 0);
    // Through the other wall it is still inside of this one; a ball is taken off outwards.
    EXPECT_EQ(shop.probe("a,20,.9,0,-1,0,\nb,20,-.5,0,-2,0,1\nc,20,1.3,0,1,0,1\n").code, 1);
    report = shop.read_json("j.json");
    EXPECT_NEAR(report["points"][0]["deviation"], -0.9, 1e-15);
    EXPECT_NEAR(report["points"][1]["deviation"], 0.0, 1e-15);
    EXPECT_NEAR(report["points"][2]["deviation"], 0.0, 1e-15);

    const Ended some = shop.probe("a,20,.5,0,-.1,1,\nb,20,0,0,-1,0,\n");
    EXPECT_EQ(some.code, 0) << "what has no place isn't judged";
    EXPECT_TRUE(has(some.error, {"1 point is not assigned"}));
    report = shop.read_json("j.json");
    for (const char* name : {"foot", "deviation", "in_tolerance", "distance"})
        EXPECT_TRUE(report["points"][0][name].is_null()) << name;
    EXPECT_EQ(report["points"][0]["place"], "unassigned");
    EXPECT_EQ(report["summary"]["unassigned"], 1);
    EXPECT_EQ(report["summary"]["count"], 2);

    const Ended reversed = shop.probe("a,10,-.01,0,1,0,\nb,20,.81,0,-1,0,\nc,5,0,0,-1,0,\n");
    EXPECT_EQ(reversed.code, 3);
    EXPECT_TRUE(has(reversed.error, {"--direction in"}));
    EXPECT_EQ(shop.probe("a,10,-.01,0,1,0,\nb,20,.81,0,-1,0,\n", "--direction in").code, 0);
    EXPECT_EQ(shop.probe("a,20,.5,1,-1,0,\nb,2,0,0,-1,0,\n", "--max-angle 30").code, 0);
    EXPECT_EQ(shop.read_json("j.json")["summary"]["unassigned"], 1);
}

TEST(Outline, ADamagedFirstVertexIsNoTitle) {
    const Workshop shop;
    shop.write("p.csv", "id,x,y\na,5,-.01\n");
    const std::tuple<const char*, int> first[] = {{"0 0 0", 3},
                                                  {"0;0", 3},
                                                  {"O 0", 3},
                                                  {"0 l.5", 3},
                                                  {"7", 3},
                                                  {"NACA 2412", 0},
                                                  {"20-32C AIRFOIL", 0},
                                                  {"plate 7 of 9", 0},
                                                  {"rev B", 0},
                                                  {"0 0", 0}};
    for (const auto& [line, code] : first) {
        shop.write("o.dat", std::string(line) + "\n10 0\n10 10\n0 10\n0 5\n");
        const Ended ended = shop.run("section o.dat p.csv --json j.json");
        EXPECT_EQ(ended.code, code) << line;
        if (code == 3) {
            EXPECT_TRUE(has(ended.error, {"o.dat, line 1:"})) << line;
        } else if (line != std::string("0 0")) {
            EXPECT_EQ(shop.read_json("j.json")["title"], line);
        }
    }
}

TEST(Columns, ThatAreNotUnderstoodAreNamed) {
    const Workshop shop;
    shop.write("plate.dat", plate);
    shop.write("p.csv", "id,x,y,dia,colour,upper_tol,lower_tol\na,5,-1.02,2,red,.03,\n"
                        "b,6,-1.02,2,,.01,-.5\nc,7,-1.02,2,,,\nd,8,.5,2,,,-2\n");
    const Ended run = shop.run("section plate.dat p.csv --tolerance .015 --json j.json --svg p.svg "
                               "--html p.html --store s.velm --archive s.arc");
    EXPECT_EQ(run.code, 1);
    EXPECT_TRUE(has(run.error, {"p.csv", "'colour'"}));
    for (const std::string& text : {run.out, shop.read("p.svg"), shop.read("p.html")})
        EXPECT_TRUE(has(text, {"olumns not understood", "colour"}));
    const auto report = shop.read_json("j.json");
    EXPECT_EQ(report["ignored_columns"], std::vector<std::string>{"colour"});
    const bool expected[] = {true, false, false, true};
    for (std::size_t n = 0; n < 4; ++n)
        EXPECT_EQ(report["points"][n]["in_tolerance"], expected[n]) << n;
    EXPECT_EQ(report["points"][0]["lower"], -0.015) << "completed by the global one";
    EXPECT_TRUE(report["points"][2]["upper"].is_null());
    for (const std::string file : {"s.velm", "s.arc"}) {
        EXPECT_EQ(shop.run("report " + file + " --json a.json").out, run.out);
        EXPECT_EQ(shop.read("a.json"), shop.read("j.json"));
    }
    shop.write("r.csv", "id,x,y,radius\na,5,-1,1\n");
    EXPECT_EQ(shop.run("section plate.dat r.csv --tolerance 0").code, 0);
}

TEST(Outline, PartsThatShareAnEdgeAreRefused) {
    const Workshop shop;
    shop.write("p.csv", "id,x,y\na,5,-.01\n");
    const std::tuple<const char*, int> outlines[] = {
        {"0 0\n4 0\n4 4\n0 4\n\n4 1\n8 1\n8 3\n4 3\n", 3},
        {"0 0\n4 0\n4 4\n0 4\n\n4 4\n8 4\n8 8\n4 8\n", 0}, // a corner
        {"0 0\n4 0\n4 4\n0 4\n\n0 0\n2 0\n2 2\n0 2\n", 0}, // a hole at the border
        {"M 0 0\nA 4 0 2 0 cw\nL 0 0\nZ\nM 0 0\nL 0 5\nL 4 5\nL 4 0\nA 0 0 2 0 ccw\nZ\n", 3},
        {"C 0 0 2\nC 4 0 2\n", 0}};
    for (const auto& [outline, code] : outlines) {
        shop.write("o.dat", outline);
        const Ended ended = shop.run("section o.dat p.csv");
        EXPECT_EQ(ended.code, code) << outline << ended.error;
        if (code == 3) {
            EXPECT_TRUE(has(ended.error, {"o.dat, line", "shares an edge with"}));
        }
    }
    shop.write("o.dat", std::get<0>(outlines[0]));
    EXPECT_TRUE(has(shop.run("section o.dat p.csv").error, {"line 6", "line 1", "4 1", "4 3"}));
}

TEST(Targets, WithoutANormalAreAGroupOfTheirOwn) {
    const Workshop shop;
    shop.write("t.csv", "id,nom_x,nom_y,nom_z,nom_i,nom_j,nom_k,x,y,z,diameter\n"
                        "s,0,0,0,0,0,1,0,0,.98,2\nd,5,0,0,,,,5,0,1,2\ne,6,0,0,,,,6,0,.01,0\n");
    const Ended run = shop.run("targets t.csv --tolerance .05 --json j.json --html p.html");
    EXPECT_EQ(run.code, 1);
    EXPECT_TRUE(has(run.out, {"without a normal:", "ball not taken off: 1 point"}));
    const auto summary = shop.read_json("j.json")["summary"];
    EXPECT_NEAR(summary["mean"], -0.02, 1e-15);
    EXPECT_EQ(summary["count"], 3);
    EXPECT_EQ(summary["distances"]["count"], 2);
    EXPECT_EQ(summary["distances"]["maximum"], 1);
    EXPECT_TRUE(has(shop.read("p.html"), {"<h2>Points</h2>", "<h2>Points without a normal</h2>"}));
}

TEST(Alignment, IsSaidAtTheVerdictOfEveryOutput) {
    const Workshop shop;
    shop.write("plate.dat", plate);
    shop.write("p.csv", "id,x,y,z\na,5,-.01,0\nb,10.02,3,0\nc,4,10,0\nd,-.02,5,0\ne,8,0,.4\n");
    const Ended run = shop.run("section plate.dat p.csv --tolerance .3 --align bestfit --svg p.svg "
                               "--html p.html");
    EXPECT_EQ(run.code, 0) << run.error;
    EXPECT_TRUE(has(run.error, {"column z", "is not used"}));
    for (const std::string& text : {run.out, shop.read("p.svg"), shop.read("p.html")})
        EXPECT_TRUE(has(text, {"ligned by best fit", "urned by", "root mean square after"}));
    EXPECT_LT(shop.read("p.html").find("ligned by best fit"), shop.read("p.html").find("<table>"));
    const Ended steep = shop.run("section plate.dat p.csv --tolerance .1 --align bestfit");
    EXPECT_EQ(steep.code, 3);
    EXPECT_TRUE(has(steep.error, {"z spreads from 0 to 0.4", "--frame"}));
}

TEST(Limits, AreIncludedWhateverTheCoordinates) {
    const Workshop shop;
    shop.write("square.dat", "0 0\n10 0\n10 10\n0 10\n");
    shop.write("p.csv", "id,x,y\na,5,-.05\nb,5,10.05\nc,10.05,5\nd,10.0500000001,5\n");
    EXPECT_EQ(shop.run("section square.dat p.csv --tolerance .05 --json j.json --svg p.svg").code,
              1);
    const auto report = shop.read_json("j.json");
    for (std::size_t n = 0; n < 4; ++n)
        EXPECT_EQ(report["points"][n]["in_tolerance"], n < 3) << n;
    EXPECT_TRUE(has(shop.read("p.svg"), {"above the upper limit: 1"}));
}

// The program of before judged by the exact limits; what it kept gives its numbers and verdicts.
TEST(KeptBefore, GivesItsOldVerdicts) {
    const Workshop shop;
    const std::tuple<const char*, int, int> kept[] = {
        {"section", 1, 1}, {"targets", 2, 1}, {"frame", 3, 1}, {"fitted", 4, 1}, {"lens", 5, 0}};
    for (const auto& [name, record, code] : kept) {
        const auto before =
            nlohmann::json::parse(TemporaryFolder::bytes_of(kept_folder + name + ".json"));
        for (const std::string& from :
             {kept_folder + name + ".arc",
              kept_folder + "kept.velm --record " + std::to_string(record)}) {
            EXPECT_EQ(shop.run("report " + from + " --quiet --json j.json --html p.html").code,
                      code)
                << from;
            auto now = shop.read_json("j.json");
            EXPECT_EQ(now["points"], before["points"]) << from;
            EXPECT_EQ(now["info"], nlohmann::json::object());
            EXPECT_EQ(now["tolerance"], before["tolerance"]);
            for (const char* figure : {"count", "in_tolerance", "out_of_tolerance", "worst"})
                EXPECT_EQ(now["summary"][figure], before["summary"][figure]) << from << figure;
            if (!now["summary"].contains("distances")) {
                EXPECT_EQ(now["summary"], before["summary"]) << from;
            }
        }
    }
    shop.write("old.velm", TemporaryFolder::bytes_of(kept_folder + "kept.velm"));
    EXPECT_EQ(shop.run("store old.velm --check").code, 0);
}

// Each byte of the numbers in a record, flipped: what contradicts the other values is a fault.
TEST(StoreCheck, ReadsTheValues) {
    const Workshop shop;
    shop.write("plate.dat", plate);
    shop.write("p.csv", "id,x,y\na,5,-.75\n");
    EXPECT_EQ(shop.run("section plate.dat p.csv --tolerance .5 --store s.velm --quiet").code, 1);
    const Ended sound = shop.run("store s.velm --check");
    EXPECT_EQ(sound.code, 0);
    EXPECT_TRUE(has(sound.out, {"looked at:", "1 inspection with 1 point ", "no checksums"}));
    const std::string whole = shop.read("s.velm");
    for (const double value : {-0.75, 0.75, 5.0}) { // measured y; distance and deviation; x
        const std::string bytes(reinterpret_cast<const char*>(&value), sizeof value);
        int found = 0;
        for (std::size_t at = whole.find(bytes); at != std::string::npos;
             at = whole.find(bytes, at + 1)) {
            std::string flipped = whole;
            flipped[at + 6] = static_cast<char>(flipped[at + 6] ^ 4);
            shop.write("bad.velm", flipped);
            if (shop.run("store bad.velm --check").code == 3) ++found;
        }
        EXPECT_GT(found, 0) << value;
    }
}

} // namespace
