// `surface`: points displaced by known amounts, against a part made by the library; scans in every
// form, damaged ones too; limits; alignments; the report again from what was kept.
#include "inspect/hostile_files.h"
#include "support/block_part.h"
#include "velm/transforms/transformed_values.h"

namespace {

using namespace velm_test;
using Json = nlohmann::json;
namespace fs = std::filesystem;

int rounds(int thorough) {
    return std::getenv("VELM_TEST_THOROUGH") != nullptr ? thorough : std::max(thorough / 100, 1);
}

struct Measured {
    std::string id;
    Block::Place place;
    double deviation = 0.0, diameter = 0.0;
    ERPoint3D centre() const { return place.point + place.normal * (deviation + diameter / 2.0); }
};

std::vector<Measured> displaced(Random& random, int count, double reach, double diameter) {
    std::vector<Measured> points;
    for (int n = 0; n < count; ++n)
        points.push_back({"p" + std::to_string(n), Block::place(random),
                          random.uniform(-reach, reach), diameter});
    return points;
}

std::string number(double value) {
    char text[32];
    std::snprintf(text, sizeof text, "%.17g", value);
    return text;
}
std::string triple(const ERPoint3D& p, const char* between = ",") {
    return number(p.x()) + between + number(p.y()) + between + number(p.z());
}

struct Part : Workshop {
    Part() { Block::save(path("block.velm")); }

    void write_table(const std::vector<Measured>& points, bool with_directions,
                     const ERPmIsometrie3D& away = ERIdentity3D(), double sense = 1.0) const {
        std::string text = with_directions ? "id,x,y,z,diameter,i,j,k\n" : "id,x,y,z,diameter\n";
        for (const Measured& point : points) {
            text += point.id + "," + triple(away >> point.centre()) + "," + number(point.diameter);
            if (with_directions)
                text += "," + triple(ERPoint3D((away >> point.place.normal) * sense));
            text += "\n";
        }
        write("p.csv", text);
    }
    Json report(const std::string& options, int code = 0) const {
        const Ended ended = run("surface block.velm " + options + " --json r.json --quiet");
        EXPECT_EQ(ended.code, code) << ended.error;
        return ended.code < 2 ? read_json("r.json") : Json();
    }
};

void expect_found(const Json& report, const std::vector<Measured>& points, double close) {
    ASSERT_EQ(report["points"].size(), points.size());
    for (std::size_t n = 0; n < points.size(); ++n) {
        const Json& found = report["points"][n];
        const Measured& point = points[n];
        SCOPED_TRACE(found.dump());
        EXPECT_EQ(found["id"], point.id);
        EXPECT_EQ(found["face"], point.place.face);
        EXPECT_EQ(found["kind"], "interior");
        EXPECT_NEAR(found["deviation"], point.deviation, close);
        EXPECT_NEAR(found["distance"], point.deviation + point.diameter / 2, close);
        for (int axis = 0; axis < 3; ++axis) {
            const auto at = static_cast<std::size_t>(axis);
            EXPECT_NEAR(found["foot"][at], point.place.point[axis], close);
            EXPECT_NEAR(found["normal"][at], point.place.normal[axis], 1e-9);
        }
    }
}

TEST(Surface, GivesFaceSideAndDeviationOfDisplacedPoints) {
    const Part shop;
    Random random(20);
    for (const double diameter : {0.0, 0.5}) {
        const auto points = displaced(random, rounds(20'000), 0.4, diameter);
        shop.write_table(points, false);
        const Json report = shop.report("p.csv --tolerance 1");
        expect_found(report, points, 1e-12 * Block::length);
        EXPECT_EQ(report["alignment"], nullptr);
        EXPECT_EQ(report["unit"], "mm");
        std::uint64_t count = 0;
        for (const Json& face : report["faces"])
            count += face["count"].get<std::uint64_t>();
        EXPECT_EQ(count, points.size());
        EXPECT_EQ(report["summary"]["unassigned"], 0);
    }
}

TEST(Surface, PointsBesideEdgesAndCornersHaveTheirNearestPlaces) {
    const Part shop;
    shop.write("p.csv", "id,x,y,z\na,-3,-4,10\nb,-2,-2,-1\nc,40,20,25\n");
    const Json points = shop.report("p.csv")["points"];
    EXPECT_EQ(points[0]["kind"], "edge");
    EXPECT_NEAR(points[0]["distance"], 5, 1e-12);
    EXPECT_EQ(points[1]["kind"], "corner");
    EXPECT_NEAR(points[1]["distance"], 3, 1e-12);
    EXPECT_NEAR(points[2]["distance"], std::hypot(5, 8), 1e-12);
}

// Probed from below, 15 above the bottom: the top is nearer.
TEST(Surface, DirectionsChooseTheWall) {
    const Part shop;
    Random random(21);
    shop.write("p.csv", "id,x,y,z,i,j,k\na,10,10,15,0,0,-1\nb,10,10,15,0,0,1\n");
    Json report = shop.report("p.csv --tolerance 1", 1);
    EXPECT_EQ(report["points"][0]["face"], "/block/bottom");
    EXPECT_EQ(report["points"][0]["distance"], -15);
    EXPECT_EQ(report["points"][1]["face"], "/block/top");
    report = shop.report("p.csv --max-distance 10 --tolerance 6");
    EXPECT_EQ(report["summary"]["unassigned"], 1);
    for (const char* const field :
         {"foot", "normal", "face", "kind", "distance", "deviation", "in_tolerance"})
        EXPECT_EQ(report["points"][0][field], nullptr) << field;

    const auto points = displaced(random, 50, 0.1, 1.0);
    shop.write_table(points, true, ERIdentity3D(), -1.0);
    shop.refused("surface block.velm p.csv --json new", 3, "--direction in");
    expect_found(shop.report("p.csv --direction in"), points, 1e-12 * Block::length);
}

TEST(Surface, LimitsOfRowsBeatThoseOfFacesWhichBeatTheGlobalOnes) {
    const Part shop;
    shop.write("p.csv", "id,x,y,z,upper,lower\ntop,5,5,20.3,,\ntop wide,5,5,20.3,0.5,-0.5\n"
                        "left,-0.3,5,10,,\nfront,10,-0.3,10,,\n");
    shop.write("limits.csv", "# first match\nface;lower;upper\n/block/to*;-0.1;0.1\n"
                             "left;0.5\nblock;0.2\nlid;1\n");
    const Ended ended = shop.run("surface block.velm p.csv --tolerance 1 --tolerances limits.csv "
                                 "--json r.json --quiet");
    EXPECT_EQ(ended.code, 1);
    EXPECT_TRUE(has(ended.error, "limits.csv, line 6: no face is 'lid'"));
    const Json points = shop.read_json("r.json")["points"];
    EXPECT_EQ(points[0]["in_tolerance"], false);
    EXPECT_EQ(points[1]["in_tolerance"], true);
    EXPECT_EQ(points[2]["in_tolerance"], true);
    EXPECT_EQ(points[3]["in_tolerance"], false);

    const Json chosen = shop.report("p.csv --faces left,bore --tolerance 0.1", 1);
    EXPECT_EQ(chosen["faces"].size(), 2);
    EXPECT_EQ(chosen["points"][0]["face"], "/block/left");
    shop.refused("surface block.velm p.csv --faces lid --json new", 3, "has no face 'lid'");
    shop.write("bad.csv", "top,2,1\n");
    shop.refused("surface block.velm p.csv --tolerances bad.csv --json new", 3,
                 "bad.csv, line 1: the lower limit is above the upper one");
}

// Scans of the same points, which are floats.
struct Scan {
    std::vector<float> values; // x, y, z, nx, ny, nz
    std::string header(const char* format) const {
        return std::string("ply\nformat ") + format + " 1.0\ncomment a scan\nelement camera 1\n" +
               "property list uchar int tags\nelement vertex " + std::to_string(values.size() / 6) +
               "\nproperty float x\nproperty float y\nproperty float z\nproperty uchar grey\n"
               "property float nx\nproperty float ny\nproperty float nz\n"
               "element face 1\nproperty list uchar int vertex_indices\nend_header\n";
    }
    std::string binary(bool big) const {
        std::string bytes = header(big ? "binary_big_endian" : "binary_little_endian");
        const auto put = [&](const auto& value) {
            std::string own(reinterpret_cast<const char*>(&value), sizeof value);
            if (big) std::reverse(own.begin(), own.end());
            bytes += own;
        };
        put(std::uint8_t{2});
        put(std::int32_t{7});
        put(std::int32_t{8});
        for (std::size_t i = 0; i < values.size(); ++i) {
            if (i % 6 == 3) put(std::uint8_t{200});
            put(values[i]);
        }
        return bytes + std::string("\3\0\0\0\0", 5);
    }
    std::string text(bool is_ply) const {
        std::string lines = is_ply ? header("ascii") + "2 7 8\n" : "";
        for (std::size_t i = 0; i < values.size(); ++i) {
            if (i % 6 == 3 && is_ply) lines += "200 ";
            lines += number(static_cast<double>(values[i])) + (i % 6 == 5 ? "\n" : " ");
        }
        return is_ply ? lines + "3 0 1 2\n" : lines;
    }
};

TEST(Surface, ReadsScansInEveryForm) {
    const Part shop;
    Random random(22);
    Scan scan;
    for (const Measured& point : displaced(random, 40, 0.3, 0.0)) {
        for (int axis = 0; axis < 3; ++axis)
            scan.values.push_back(static_cast<float>(point.centre()[axis]));
        for (int axis = 0; axis < 3; ++axis)
            scan.values.push_back(static_cast<float>(point.place.normal[axis]));
    }
    shop.write("scan.xyz", scan.text(false));
    const Json expected = shop.report("scan.xyz --tolerance 0.2", 1)["points"];
    EXPECT_EQ(expected.size(), 40);
    EXPECT_EQ(expected[7]["id"], "8");
    const std::pair<const char*, std::string> forms[] = {
        {"ascii", scan.text(true)}, {"little", scan.binary(false)}, {"big", scan.binary(true)}};
    for (const auto& [name, bytes] : forms) {
        shop.write("scan", bytes);
        EXPECT_EQ(shop.report("scan --tolerance 0.2", 1)["points"], expected) << name;
    }
    EXPECT_EQ(shop.report("- --tolerance 0.2 < scan", 1)["points"], expected);
    EXPECT_EQ(shop.report("scan --unit cm --max-distance 1e9")["points"][0]["measured"][0],
              10.0 * static_cast<double>(scan.values[0]));
}

TEST(Surface, RefusesDamagedScansInOneSentence) {
    const Part shop;
    Scan scan;
    scan.values = {10, 10, 20, 0, 0, 1, 11, 10, 20, 0, 0, 1};
    const std::string good = scan.binary(false), ascii = scan.text(true);
    const auto changed = [](std::string text, const std::string& from, const std::string& to) {
        return text.replace(text.find(from), from.size(), to);
    };
    std::string nan = good;
    const float not_a_number = std::numeric_limits<float>::quiet_NaN();
    std::memcpy(nan.data() + good.size() - 5 - 25, &not_a_number, 4);
    const std::tuple<std::string, int, const char*> damaged[] = {
        {changed(good, "vertex 2", "vertex 99999999999"), 3, "the file ends"},
        {nan, 3, "vertex 2: a coordinate isn't finite"},
        {changed(good, "vertex 2", "vertex 0"), 3, "holds no points"},
        {changed(good, "float x", "half x"), 3, "line 7: the type 'half' isn't known"},
        {changed(good, "end_header", "end"), 3, "expected a line of a PLY header"},
        {changed(good, "vertex 2", "vertex 9999999"), 3, "vertex 3"},
        {changed(good, "binary_little", "binary_middle"), 3, "isn't known"},
        {changed(ascii, "11 10", "11 x"), 3, "expected a number, found 'x'"},
        {changed(ascii, "11 10 ", "11 "), 3, "fewer numbers"},
        {changed(ascii, "11 10 ", "11 10 10 "), 3, "more numbers"},
        {"1 2\n3 4\n", 3, "scan"},
        {"1 2 3\n4 5 nan\n", 3, "line 2"},
        {"1 2 3\n4 5 1e300\n", 3, "too far"},
        {"", 3, "empty"},
    };
    for (const auto& [bytes, code, why] : damaged) {
        shop.write("scan", bytes);
        shop.refused("surface block.velm scan --json new --ply new2", code, why);
    }
    shop.run("--version; mkdir folder; mkfifo pipe");
    for (const char* const name : {"folder", "pipe"})
        shop.refused(std::string("surface ") + name + " scan --json new", 4, name);
    shop.refused("surface block.velm folder --json new", 4, "folder");
    shop.refused("surface scan block.velm --json new", 3, "scan");
}

TEST(Surface, HostileMeasuredFilesEndInASentenceOrWholeOutputs) {
    const Part shop;
    Random random(23);
    const auto points = displaced(random, 12, 0.3, 1.0);
    shop.write_table(points, true);
    Scan scan;
    for (const Measured& point : points)
        for (const ERPoint3D& values : {point.centre(), ERPoint3D(point.place.normal)})
            for (int axis = 0; axis < 3; ++axis)
                scan.values.push_back(static_cast<float>(values[axis]));
    for (const std::string& good : {shop.read("p.csv"), scan.text(false), scan.text(true),
                                    scan.binary(false), scan.binary(true)})
        for (const std::string& bytes : damaged_files(good, random, rounds(100))) {
            if (rounds(100) == 1 && random.below(4) > 0) continue;
            shop.write("scan", bytes);
            expect_defined_end(shop, "block.velm scan", bytes);
        }
}

// What the object file holds already takes its part of the room.
TEST(Surface, PointsThatTheObjectFileHasNoRoomForAreRefused) {
    const Part shop;
    shop.write("few", "1 2 3\n4 5 6\n");
    shop.write("full", "");
    fs::resize_file(shop.path("full"), (std::uintmax_t{1} << 31) - 500);
    for (const std::string from : {"few", "/dev/stdin < few", "- --align bestfit < few"})
        shop.refused("surface block.velm " + from + " --store full", 4, "room for about 1 points");
}

TEST(Surface, BestFitBringsMisplacedPointsBack) {
    const Part shop;
    Random random(24);
    const double size = std::hypot(Block::length, Block::width, Block::height);
    for (int round = 0; round < rounds(300); ++round) {
        const ERVector3D axis = random.direction<ERVector3D>();
        const ERVector3D shift =
            random.direction<ERVector3D>() * (size * random.uniform(0.02, 0.2));
        const ERPmIsometrie3D away =
            ERTranslation3D(shift) *
            ERRotation3D(axis, ERPoint3D(30, 20, 10), ERRadian(random.uniform(0.02, 0.15)));
        auto points = displaced(random, 300, 0.0, round % 2 == 0 ? 0.0 : 2.0);
        const bool has_outliers = round % 3 == 2;
        if (has_outliers)
            for (std::size_t n = 0; n < points.size(); n += 20)
                points[n].deviation = random.uniform(2, 5);
        shop.write_table(points, round % 2 == 0, away);
        const Json report = shop.report("p.csv --align bestfit --max-distance 0.5");
        SCOPED_TRACE(report["alignment"].dump());
        for (std::size_t n = 0; n < points.size(); ++n) {
            if (has_outliers && n % 20 == 0) continue;
            const Json& found = report["points"][n];
            EXPECT_EQ(found["face"], points[n].place.face);
            ASSERT_TRUE(found["deviation"].is_number()) << found.dump();
            EXPECT_NEAR(found["deviation"], 0.0, 1e-9 * size);
            EXPECT_NE(found["as_measured"], found["measured"]);
        }
        EXPECT_LE(report["alignment"]["rms_after"].get<double>(), 1e-9 * size);
    }
}

TEST(Surface, HeldFreedomsStay) {
    const Part shop;
    Random random(25);
    shop.write_table(displaced(random, 200, 0.0, 0.0), true, ERTranslation3D(ERVector3D(2, 1, 3)));
    const Json held = shop.report("p.csv --align bestfit --hold TZ,RX,RY,RZ")["alignment"];
    for (std::size_t row = 0; row < 3; ++row)
        for (std::size_t column = 0; column < 3; ++column)
            EXPECT_EQ(held["rotation"][row][column], row == column ? 1 : 0);
    EXPECT_NEAR(held["translation"][0], -2, 1e-9);
    EXPECT_NEAR(held["translation"][1], -1, 1e-9);
    EXPECT_EQ(held["translation"][2], 0);
    EXPECT_EQ(held["held"].size(), 4);
    shop.refused("surface block.velm p.csv --hold TZ --json new", 2, "--hold goes with --align");
    shop.refused("surface block.velm p.csv --align bestfit --hold UX --json new", 2, "--hold");
}

// Three points hold the top, two the front, one the left side, each less the ball: the part's frame
// as the measured points give it.
TEST(Surface, ReferencePointsGiveTheFrameThatTheyHold) {
    const Part shop;
    Random random(26);
    const ERPmIsometrie3D away = ERTranslation3D(ERVector3D(5, -7, 3)) *
                                 ERRotation3D(ERVector3D(1, 2, -1), ERPoint3D(), ERRadian(0.2));
    std::vector<Measured> points = displaced(random, 20, 0.3, 2.0);
    const Block::Place held[] = {
        {"/block/top", {5, 5, 20}, {0, 0, 1}},     {"/block/top", {55, 5, 20}, {0, 0, 1}},
        {"/block/top", {5, 35, 20}, {0, 0, 1}},    {"/block/front", {5, 0, 10}, {0, -1, 0}},
        {"/block/front", {55, 0, 10}, {0, -1, 0}}, {"/block/left", {0, 20, 10}, {-1, 0, 0}}};
    std::string by_face = "id,x,y,z,face,holds\n", by_axis = "id;x;y;z;i;j;k;holds\n";
    for (const Block::Place& place : held) {
        const std::string id = "R" + std::to_string(points.size());
        // Slips along the face change nothing.
        const ERVector3D along = place.normal ^ ERVector3D(0.3, 0.5, 0.7);
        points.push_back({id, place, 0.0, 2.0});
        points.back().place.point = place.point + along;
        by_face += id + "," + triple(place.point + 0.01 * place.normal) + "," + place.face + ",\n";
        const char letter = place.normal.k() != 0 ? 'Z' : place.normal.j() != 0 ? 'Y' : 'X';
        by_axis += id + ";" + triple(place.point, ";") + ";" +
                   triple(ERPoint3D(place.normal), ";") + ";" + letter + "\n";
    }
    shop.write_table(points, false, away);
    shop.write("faces.csv", by_face);
    shop.write("axes.csv", by_axis);
    for (const char* const table : {"faces.csv", "axes.csv"}) {
        const Json report = shop.report(std::string("p.csv --rps ") + table);
        expect_found(report, points, 1e-12 * 100);
        EXPECT_EQ(report["alignment"]["method"], "rps");
        EXPECT_EQ(report["alignment"]["held"][0],
                  table[0] == 'f' ? "R20 holds its direction" : "R20 holds z");
    }
    shop.write("few.csv", by_axis.substr(0, by_axis.rfind("R25")));
    shop.refused("surface block.velm p.csv --rps few.csv --json new", 3, "leave open: sliding");
    shop.write("much.csv", by_axis + "p1;0;0;0;1;0;0;XYZ\n");
    shop.refused("surface block.velm p.csv --rps much.csv --json new", 3, "contradict each other");
    shop.write("none.csv", by_axis + "q;0;0;0;1;0;0;X\n");
    shop.refused("surface block.velm p.csv --rps none.csv --json new", 3, "has no point 'q'");
    shop.refused("surface block.velm p.csv --rps axes.csv --align bestfit --json new", 2,
                 "exclude each other");
}

TEST(Surface, ReportGivesTheSameBytesFromWhatWasKept) {
    const Part shop;
    Random random(27);
    auto points = displaced(random, 60, 0.3, 1.0);
    points[3].deviation = 3.0;
    shop.write_table(points, true, ERTranslation3D(ERVector3D(0.5, 0.2, 0)));
    shop.write("limits.csv", "top,0.05\n");
    const std::vector<std::string> kinds{"json", "csv", "html", "ply", "vtp"};
    for (const std::string options :
         {"", " --align bestfit --max-distance 1", " --tolerances limits.csv --skip-bad"}) {
        const auto made = shop.run_with_outputs(
            "surface block.velm p.csv --tolerance 0.2 --info part=7 --store kept.velm "
            "--archive kept.arc" +
                options,
            kinds);
        EXPECT_EQ(made[0], "1") << options;
        for (const std::string file : {"kept.velm", "kept.arc"})
            EXPECT_TRUE(shop.run_with_outputs("report " + file, kinds) == made) << options << file;
    }
    EXPECT_EQ(shop.run("store kept.velm --check").code, 0);
    const std::string good = shop.read("kept.arc");
    for (int round = 0; round < rounds(1000); ++round) {
        std::string bytes = good;
        bytes[random.next() % bytes.size()] ^= static_cast<char>(1 + random.below(255));
        shop.write("bad.arc", bytes);
        EXPECT_EQ(shop.run("report bad.arc --quiet").code, 3);
    }
    shop.refused("report kept.velm --svg new", 2, "--svg");
}

TEST(Surface, ThreadsGiveTheSameBytes) {
    const Part shop;
    Random random(28);
    auto points = displaced(random, 9000, 0.3, 1.0); // more than one batch
    shop.write_table(points, true);
    shop.report("p.csv --threads 1");
    const std::string expected = shop.read("r.json");
    for (const char* const threads : {"2", "5"}) {
        shop.report(std::string("p.csv --threads ") + threads);
        EXPECT_TRUE(shop.read("r.json") == expected) << threads;
    }
}

} // namespace
