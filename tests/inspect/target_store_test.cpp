// velm-inspect targets --store: what the object file holds.
#include "inspect/workshop.h"
#include "velm/inspection/record_keys.h"
#include "velm/measure/target_point.h"
#include "velm/store/database.h"
#include "velm/store/db_object.h"

#include <filesystem>
#include <gtest/gtest.h>
#include <string>
#include <vector>

namespace {

using velm::RecordKey;
using velm_test::Ended;
using velm_test::Workshop;

// A tilted normal of no round length, a point of the surface, a direct target, a row of letters and
// ids that are no names.
constexpr const char* table = "id,nom_x,nom_y,nom_z,nom_i,nom_j,nom_k,x,y,z,diameter,act_x,act_y,"
                              "act_z\n"
                              "\"a \"\"b\"\" / \\, \xC3\xA9\xFF\",1,2,3,.1,.2,.7,1.3,2.5,4.7,3,,,\n"
                              ",-.1,0,1e9,0,-4,0,,,,,0.1,1e-300,1e9\n"
                              "</td>,1,2,3,,,,1,2,3.3,5,,,\n"
                              "bad,1,2,x,,,,1,2,3,5,,,\n"
                              ",1,2,3,0,0,1,1,2,4.04,2,,,\n";

t_SmartPtr<ERDBObject> record(ERDataBase& store, long index) {
    gmErrorCode code = gmSuccess;
    return t_SmartPtr<ERDBObject>(ERDBObject::castdown(store.restore(index, code).get()));
}
ERDBObjProperty property(const ERDBObject& record, RecordKey key) {
    return record.property(static_cast<long>(key));
}
std::string text(const ERDBObject& record, RecordKey key) {
    const ERDBObjProperty value = property(record, key);
    return static_cast<const char*>(value);
}

TEST(TargetStore, HoldsWhatTheReportSaysAndTheBall) {
    Workshop shop;
    shop.write("t.csv", table);
    const std::string run = "targets t.csv --tolerance -.1 .05 --skip-bad --quiet --store s.velm ";
    ASSERT_EQ(shop.run(run + "--json j.json").code, 1);
    ASSERT_EQ(shop.run(run).code, 1) << "a second inspection joins the first";
    const nlohmann::json report = shop.read_json("j.json");
    ERDataBase store;
    ASSERT_EQ(store.Open(shop.path("s.velm").c_str(), 1), gmSuccess);
    ASSERT_EQ(store.getNbEnt(), 2 * 5);
    const t_SmartPtr<ERDBObject> head = record(store, 5);
    EXPECT_EQ(text(*head, RecordKey::kind), "targets");
    EXPECT_EQ(text(*head, RecordKey::table), "t.csv");
    EXPECT_EQ(int(property(*head, RecordKey::skipped)), 1);
    EXPECT_EQ(text(*head, RecordKey::group_path), "/t.csv");
    EXPECT_EQ(text(*head, RecordKey::type), "ERPoint3D");
    EXPECT_EQ(double(property(*head, RecordKey::rms)), report["summary"]["rms"]);
    const double diameters[] = {3, 0, 5, 2};
    for (int row = 0; row < 4; ++row) {
        const t_SmartPtr<ERDBObject> found = record(store, 6 + row);
        const nlohmann::json& told = report["points"][std::size_t(row)];
        EXPECT_EQ(text(*found, RecordKey::kind), "target");
        EXPECT_EQ(long(property(*found, RecordKey::targets)), head->getObjectID());
        EXPECT_EQ(double(property(*found, RecordKey::diameter)), diameters[row]);
        EXPECT_EQ(int(property(*found, RecordKey::within)) != 0, told["in_tolerance"]);
        EXPECT_EQ(found->color(), told["in_tolerance"] ? 3 : 1);
        EXPECT_EQ(double(property(*found, RecordKey::distance)), told["distance"]);
        const auto* const target = gmTargetPoint::castdown(found->object().get());
        ASSERT_NE(target, nullptr);
        const auto same = [](const ERPoint3D& p, const nlohmann::json& q) {
            return q == nlohmann::json{p.x(), p.y(), p.z()};
        };
        EXPECT_TRUE(same(target->target_point(), told["target"]));
        EXPECT_TRUE(same(target->measured_point().probe_center(), told["measured"]));
        EXPECT_TRUE(same(target->calculated_point(), told["calculated"]));
        EXPECT_EQ(target->measured_point().id(), row + 1);
        ERVector3D n;
        EXPECT_EQ(target->get_surface_normal(n) == 0, told["normal"].is_null());
        const bool has_deviation =
            property(*found, RecordKey::deviation).getType() == ERDBObjProperty::double_value;
        EXPECT_EQ(has_deviation, !told["deviation"].is_null());
        if (!has_deviation) continue;
        EXPECT_EQ((nlohmann::json{n.i(), n.j(), n.k()}), told["normal"]);
        EXPECT_EQ(double(property(*found, RecordKey::deviation)), told["deviation"]);
        EXPECT_EQ(double(property(*found, RecordKey::distance_on_plane)),
                  told["distance_on_plane"]);
    }
}

// Each run of targets, and between them a section, in one file, and each in an archive; then a
// fresh process for each.
TEST(TargetStore, ReportsComeBackByteForByte) {
    Workshop shop;
    shop.write("t.csv", table);
    shop.write("plate.dat", velm_test::plate);
    shop.write("probed.csv", "id,x,y\nA,5,-0.02\n");
    const char* const runs[] = {
        "targets t.csv --skip-bad", "targets t.csv --skip-bad --tolerance -.1 .05",
        "section plate.dat probed.csv --tolerance .01", "targets - --skip-bad --tolerance 4 <t.csv",
        "targets t.csv --skip-bad --align bestfit --tolerance .01"};
    const auto reports = [](const std::string& run) {
        return " --json j --csv c --" + std::string(run[0] == 's' ? "svg" : "html") + " h";
    };
    std::vector<std::vector<std::string>> kept;
    const auto bytes = [&](const Ended& end) {
        return std::vector{std::to_string(end.code), end.out, shop.read("j"), shop.read("c"),
                           shop.read("h")};
    };
    for (const std::string run : runs)
        kept.push_back(bytes(shop.run(run + reports(run) + " --store s.velm --archive " +
                                      std::to_string(kept.size() + 1) + ".arc")));
    for (std::size_t n = 0; n < kept.size(); ++n) {
        EXPECT_LE(std::stoi(kept[n][0]), 1) << runs[n] << kept[n][1];
        const std::string number = std::to_string(n + 1);
        for (const std::string& file : {"s.velm --record " + number, number + ".arc"})
            EXPECT_EQ(bytes(shop.run("report " + file + reports(runs[n]))), kept[n]) << runs[n];
    }
    // A record that was changed is found out, and nothing is written.
    ERDataBase store;
    ASSERT_EQ(store.Open(shop.path("s.velm").c_str(), 0), gmSuccess);
    const t_SmartPtr<ERDBObject> row = record(store, store.getNbEnt() - 1);
    row->property(static_cast<long>(RecordKey::deviation), 0.25);
    ASSERT_TRUE(row->Save(nullptr));
    ASSERT_EQ(store.Close(), gmSuccess);
    const Ended end = shop.run("report s.velm --json new");
    EXPECT_EQ(end.code, 3);
    EXPECT_NE(end.error.find("what was found contradicts the target"), std::string::npos)
        << end.error;
    EXPECT_FALSE(std::filesystem::exists(shop.path("new")));
}

TEST(TargetStore, IsRefusedBesideItsInput) {
    Workshop shop;
    shop.write("t.csv", table);
    shop.write("no.velm", "no store");
    struct {
        const char *arguments, *why;
        int code;
    } const refused[] = {{"--store no.velm --json j.json", "no.velm: is no object file", 3},
                         {"--store nowhere/s.velm --json j.json", "nowhere/s.velm", 4},
                         {"--store ./t.csv --json j.json", "t.csv", 2},
                         {"--store j.json --json j.json", "j.json", 2},
                         {"--store -", "--store: an object file can't go to standard output", 2}};
    for (const auto& [arguments, why, code] : refused) {
        const Ended end = shop.run("targets t.csv --skip-bad " + std::string(arguments));
        EXPECT_EQ(end.code, code) << arguments << end.error;
        EXPECT_NE(end.error.find(why), std::string::npos) << end.error;
    }
    EXPECT_EQ(shop.names(), (std::vector<std::string>{"no.velm", "t.csv"}));
    EXPECT_EQ(shop.read("no.velm"), "no store");
}

} // namespace
