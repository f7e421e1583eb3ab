// velm-inspect targets --store: what the object file holds.
#include "inspect/workshop.h"
#include "velm/inspection/record_keys.h"
#include "velm/store/database.h"
#include "velm/store/db_object.h"

namespace {

using velm::RecordKey;
using namespace velm_test;

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
TEST(TargetStore, GivesTheReportAgainUnlessARecordWasChanged) {
    Workshop shop;
    shop.write("t.csv", table);
    ASSERT_EQ(shop.run("targets t.csv --skip-bad --store s.velm --json j --html h").code, 0);
    ASSERT_EQ(shop.run("report s.velm --json j2 --html h2").code, 0);
    EXPECT_TRUE(shop.read("j") == shop.read("j2") && shop.read("h") == shop.read("h2"));
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
