// Measured tables as the programs of measuring machines export them.
#include "inspect/workshop.h"

namespace {

using namespace velm_test;

// The same two points in thirteen forms.
constexpr std::tuple<const char*, const char*> forms[] = {
    {"plain", "id,x,y,z\na,5,-0.02,1\nb,10.5,4,1\n"},
    {"german", "Punkt;X-Wert;Y-Wert;Z-Wert\na;5;-0,02;1\nb;10,5;4;1\n"},
    {"actual", "PointName,X_ACT,Y_ACT,Z_ACT\na,5,-0.02,1\nb,10.5,4,1\n"},
    {"french", "Rep\xC3\xA8re;X mesur\xC3\xA9;Y mesur\xC3\xA9;Z mesur\xC3\xA9\na;5;-0,02;1\n"
               "b;10,5;4;1\n"},
    {"units", "Name\tX [mm]\tY [mm]\tZ [mm]\na\t5\t-0.02\t1\nb\t10.5\t4\t1\n"},
    {"measured", "Id,MeasX,MeasY,MeasZ,Nom X,Nom Y\na,5,-0.02,1,5,0\nb,10.5,4,1,10,4\n"},
    {"titled", "Report of 3 May\n# machine 7\n\nid,x,y,z\na,5,-0.02,1\nb,10.5,4,1\n"},
    {"separator", "sep=;\nNr;X;Y;Z\na;5;-0.02;1\nb;10.5;4;1\n"},
    {"quoted",
     "\"id\",\"x\",\"y\",\"z\"\n\"a\",\"5,0\",\"-0,02\",\"1,0\"\n\"b\",\"10,5\",\"4,0\",\"1\"\n"},
    {"blanks", "Id    X      Y   Z\na     5  -0.02   1\nb  10.5      4   1\n"},
    {"three", "5 -0.02 1\n10.5 4 1\n"},
    {"six", "5  -0.02  1  0 -1 0\n10.5 4 1 1 0 0\n"},
    {"axes", "FEATURE,AXIS,NOMINAL,MEAS,+TOL,-TOL\na,X,5,5,.1,.1\na,Y,0,-0.02,.1,.1\n"
             "a,Z,1,1,.1,.1\nb,X,10,10.5,.1,.1\nb,Y,4,4,.1,.1\nb,D,1,1,.1,.1\n"}};

TEST(Exports, AreReadAsTheyAreFound) {
    const Workshop shop;
    shop.write("square.dat", "m 0 0\nl 10 0\nl 10 10\nl 0 10\nz\n"); // small letters
    for (const auto& [name, text] : forms) {
        SCOPED_TRACE(name);
        const std::string file = std::string(name) + ".csv";
        shop.write(file, text);
        const Ended run = shop.run("section square.dat " + file + " --tolerance .1 --json j.json");
        EXPECT_EQ(run.code, 1) << run.error;
        const auto report = shop.read_json("j.json");
        ASSERT_EQ(report["points"].size(), 2u);
        const bool has_ids = name != std::string("three") && name != std::string("six");
        EXPECT_EQ(report["points"][1]["id"], has_ids ? "b" : "2");
        EXPECT_NEAR(report["points"][0]["deviation"], 0.02, 1e-12);
        EXPECT_NEAR(report["points"][1]["deviation"], 0.5, 1e-12);
        if (name == std::string("units")) {
            EXPECT_EQ(report["unit"], "mm");
        } else {
            EXPECT_TRUE(report["unit"].is_null());
        }
        if (name == std::string("axes")) {
            const std::vector<std::string> unused{"NOMINAL", "+TOL", "-TOL", "AXIS D"};
            EXPECT_EQ(report["ignored_columns"], unused);
        }
        if (name == std::string("german")) {
            EXPECT_TRUE(has(run.out, "read as: id = Punkt, x = X-Wert"));
        }
    }
}

// A column names the features, or the ids do: a repeated one is a feature itself.
TEST(Exports, IdsNameFeatures) {
    const Workshop shop;
    shop.write("square.dat", "0 0\n10 0\n10 10\n0 10\n");
    const std::tuple<const char*, std::vector<std::string>> tables[] = {
        {"bore 1,5,0\nbore 2,6,0\nedge 1,7,-.2\nedge 02,8,0\nx,1,0\n", {"bore", "edge"}},
        {"bore 1,5,0\nbore 1,6,0\nbore 2,7,-.2\nbore 2,8,0\n", {"bore 1", "bore 2"}},
        {"point 1,5,0\npoint 2,6,0\npoint 3,7,-.2\n", {}},
        {"a 1,5,0\nb 1,6,0\nc 1,7,-.2\n12 3,7,0\n", {}}};
    for (const auto& [rows, features] : tables) {
        shop.write("p.csv", std::string("id,x,y\n") + rows);
        const Ended run = shop.run("section square.dat p.csv --tolerance .1 --json j.json");
        EXPECT_EQ(run.code, 1) << rows;
        std::vector<std::string> found;
        const auto report = shop.read_json("j.json");
        for (const auto& feature : report.value("features", nlohmann::json::array())) {
            found.push_back(feature["feature"]);
            EXPECT_EQ(feature["in_tolerance"], feature["out_of_tolerance"] == 0) << rows;
        }
        EXPECT_EQ(found, features) << rows;
        EXPECT_EQ(report["points"][0].contains("feature"), false);
    }
    shop.write("far.csv", "id,x,y\na,50,50\nb,60,50\nc,70,50\n");
    const Ended far = shop.run("section square.dat far.csv --tolerance .1");
    EXPECT_TRUE(has(far.error, "--align bestfit"));
    EXPECT_EQ(shop.run("section square.dat p.csv --tolerance .1").error, "");
    shop.write("l.csv", "id,x,y,upper,part\na,0,0,1,p\nb,1,0,1,q\n");
    EXPECT_TRUE(has(shop.run("fit line l.csv").error, "not used: upper, part"));
}

// What could be read in two ways is refused, by a sentence with this in it; the rest is read.
TEST(Exports, AreNeverReadWrongly) {
    const Workshop shop;
    shop.write("square.dat", "0 0\n10 0\n10 10\n0 10\n");
    const std::tuple<std::string, const char*> tables[] = {
        {"Nr;X;Y;\n;mm;mm;\na;5,0;-0,02;\nNr;X;Y;\n;mm;mm;\nb;10,5;4;;;\n", ""},
        {"\xEF\xBB\xBFid\tx\ty\r\na\t5\t-.02\r\nb\t1.05e1\t4\r\n", ""},
        {"Rep\xE8re;X mesur\xE9;Y mesur\xE9;oberes Abma\xDF\na;5;-0,02;0,4\nb;10,5;4;0,4\n", ""},
        {"id,x,y,upper\na,5,-.02,.4\nb,\"10,500\",4,.4\n", "separates decimals"},
        {"id;x;y\na;1.234;5,5\n", "line 2: column y: '5,5' has a comma, but '1.234' in line 2"},
        {"id,x,y\na,5,4\nb,\"1,234\",5\n", "line 3: the number '1,234' may"},
        {"id,x,y\na,\"1,234.5\",5\n", "found '1,234.5'"},
        {"id,X [mm],Y [mm],Upper [um]\na,5,-20,50\n", "line 1: the column 'Upper [um]' has a unit"},
        {"id,X [mm],Y [mm]\n,mm,inch\na,5,0\n", "line 1: the columns 'X [mm]' and 'Y [mm]'"},
        {"Axis,Nominal,Meas\nX,5,5\nY,0,1\nX,7,7\nX,8,8\nY,0,1\n", "names of the features"},
        {"Id,Axis,Meas\na,X,5\nb,X,7\nb,Y,1\n", "column y: expected a number, found nothing"},
        {"5 -.02 1 255 128 0\n", "no direction of length 1"},
        {"id,x,y\na,5,NaN\n", "found 'NaN'"},
        {"id,x,y\na,5,---\n", "found '---'"},
        {"id,x,y\na,5,1D-1\n", "found '1D-1'"}};
    for (const auto& [table, complaint] : tables) {
        SCOPED_TRACE(table);
        shop.write("t.csv", table);
        const Ended run = shop.run("section square.dat t.csv --tolerance .1 --json j.json");
        if (*complaint != '\0') {
            EXPECT_EQ(run.code, 3);
            EXPECT_TRUE(has(run.error, complaint));
            continue;
        }
        ASSERT_EQ(run.code, 1) << run.error;
        const auto points = shop.read_json("j.json")["points"];
        ASSERT_EQ(points.size(), 2u);
        EXPECT_NEAR(points[0]["deviation"], 0.02, 1e-12);
        EXPECT_NEAR(points[1]["deviation"], 0.5, 1e-12);
    }
}

TEST(Exports, TargetsWithOneAxisARow) {
    const Workshop shop;
    shop.write("t.csv", "Feature;Axis;Nominal;Meas;+Tol;-Tol\np;X;1;1,1;1;1\np;Y;2;2;1;1\n"
                        "p;Z;3;3;1;1\np;D;5;5;1;1\nq;X;4;4;1;1\nq;Y;5;5,2;1;1\nq;Z;6;6;1;1\n");
    const Ended run = shop.run("targets t.csv --tolerance .15 --json j.json");
    EXPECT_EQ(run.code, 1) << run.error;
    const auto points = shop.read_json("j.json")["points"];
    ASSERT_EQ(points.size(), 2u);
    EXPECT_EQ(points[1]["id"], "q");
    EXPECT_NEAR(points[0]["distance"], 0.1, 1e-12);
    EXPECT_NEAR(points[1]["distance"], 0.2, 1e-12);
}

TEST(Exports, ByHandInUnitsAndWhatIsAmbiguous) {
    const Workshop shop;
    shop.write("square.dat", "0 0\n10 0\n10 10\n0 10\n");
    shop.write("odd.csv", "alpha,beta,gamma\n5,a,-0.02\n");
    EXPECT_EQ(shop.run("section square.dat odd.csv").code, 3);
    EXPECT_EQ(shop.run("section square.dat odd.csv --columns x=1,y=3,id=2 --json j.json").code, 0);
    EXPECT_EQ(shop.read_json("j.json")["points"][0]["id"], "a");
    EXPECT_EQ(shop.run("section square.dat odd.csv --columns q=1").code, 2);

    shop.write("inch.csv", "id,x,y\na,.2,-.001\n");
    EXPECT_EQ(shop.run("section square.dat inch.csv --unit inch").code, 2) << "and NOMINAL?";
    EXPECT_EQ(
        shop.run("section square.dat inch.csv --unit inch --nominal-unit mm --json j.json").code,
        0);
    const auto report = shop.read_json("j.json");
    EXPECT_EQ(report["unit"], "mm");
    EXPECT_NEAR(report["points"][0]["deviation"], 0.0254, 1e-15);

    shop.write("two.csv", "id,X-Wert,X_IST,y\na,5,5,0\n");
    shop.refused("section square.dat two.csv", 3, "'X-Wert' and 'X_IST'");
    EXPECT_EQ(shop.run("section square.dat two.csv --columns x=2").code, 0);
    shop.write("mixed.csv", "id,X [mm],Y [inch]\na,5,0\n");
    EXPECT_EQ(shop.run("section square.dat mixed.csv").code, 3);
}

TEST(Head, StandsInEveryOutputAndList) {
    const Workshop shop;
    shop.write("square.dat", "0 0\n10 0\n10 10\n0 10\n");
    shop.write("p.csv", "id,X [mm],Y [mm]\na,5,-.0123456\n");
    shop.write("head.txt", "part = blade\nnote = a=b, \\c\n# no\n");
    const auto made = shop.run_with_outputs(
        "section square.dat p.csv --info head.txt --decimals 5 --store s.velm");
    EXPECT_EQ(made[0], "0");
    EXPECT_TRUE(has(made[1], "0.01235"));
    EXPECT_EQ(nlohmann::json::parse(made[2])["info"],
              (nlohmann::json{{"part", "blade"}, {"note", "a=b, \\c"}}));
    EXPECT_EQ(made[3].substr(0, 39), "# part=blade\n# note=a=b, \\c\nid,measured");
    EXPECT_TRUE(has(made[4], "blade") && has(made[5], "blade"));
    EXPECT_EQ(
        shop.run("section square.dat p.csv --quiet --store s.velm --info part=vane,date=file").code,
        0);
    const std::string listed = shop.run("store s.velm").out;
    EXPECT_TRUE(has(listed, "part vane; date 20"));
    EXPECT_TRUE(has(listed, "part blade"));
}

} // namespace
