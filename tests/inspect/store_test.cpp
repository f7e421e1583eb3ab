// velm-inspect: results kept in an object file, and what the subcommand `store` makes of it.
#include "inspect/workshop.h"
#include "velm/inspection/record_keys.h"
#include "velm/store/database.h"
#include "velm/store/db_object.h"
#include "velm/store/store_image.h"

#include <sys/stat.h>

namespace {

using namespace velm_test;

constexpr const char* probed = "id,x,y\nA,5,-0.02\nB,10.08,5\n<b>,5,5.99\n";

// A folder with an inspection of the plate that is kept in parts.velm.
struct Kept : Workshop {
    Kept() {
        write("plate.dat", plate);
        write("probed.csv", probed);
        EXPECT_EQ(inspect().code, 1);
    }
    Ended inspect(const std::string& more = "") const {
        return run("section plate.dat probed.csv --tolerance .05 --quiet --store parts.velm " +
                   more);
    }
    nlohmann::json listed(const std::string& arguments) const {
        return nlohmann::json::parse(run("store " + arguments + " --json -").out);
    }
};

TEST(InspectStore, WritesOverNothing) {
    const Kept kept;
    const std::string before = kept.read("parts.velm");
    for (const std::string made : {"--export texts", "--salvage new", "--compact newer"}) {
        EXPECT_EQ(kept.run("store parts.velm " + made).code, 0) << made;
        EXPECT_NE(kept.run("store parts.velm " + made).code, 0) << made << ": it exists";
    }
    for (const std::string name : {"new", "newer"})
        EXPECT_EQ(kept.listed("./" + name)["objects"], kept.listed("parts.velm")["objects"])
            << name;
    EXPECT_EQ(kept.read("parts.velm"), before);
}

TEST(InspectStore, RefusesWhatIsNoSoundStore) {
    const Kept kept;
    const std::string whole = kept.read("parts.velm");
    kept.write("text.velm", plate);
    for (const char* arguments : {"store text.velm", "store text.velm --check",
                                  "section plate.dat probed.csv --store text.velm"})
        EXPECT_EQ(kept.run(arguments).code, 3) << arguments;
    EXPECT_EQ(kept.read("text.velm"), plate) << "a refused file stays as it is";

    // The object tree's root leads elsewhere: a fault with its offset.
    std::string damaged = whole;
    damaged[352] = '\xFF';
    kept.write("damaged.velm", damaged);
    const Ended checked = kept.run("store damaged.velm --check");
    EXPECT_EQ(checked.code, 3);
    EXPECT_TRUE(has(checked.out, "offset "));

    // Counters as a killed process leaves them: the last identifier is behind.
    std::string stale = whole;
    stale[284 + 12] = 1;
    kept.write("stale.velm", stale);
    kept.refused("section plate.dat probed.csv --store stale.velm", 3, "--salvage");
    EXPECT_EQ(kept.read("stale.velm"), stale);
    EXPECT_EQ(kept.run("store stale.velm --salvage mended.velm").code, 0);
    EXPECT_EQ(kept.run("store mended.velm --check").code, 0);

    EXPECT_EQ(kept.run("store nothing.velm").code, 4);
    EXPECT_EQ(kept.run("store parts.velm --check --compact x").code, 2);
    for (const std::string to : {"-", "plate.dat", "./probed.csv", "j.json --json j.json"})
        EXPECT_EQ(kept.run("section plate.dat probed.csv --store " + to).code, 2) << to;
    EXPECT_EQ(kept.run("section plate.dat probed.csv --store nowhere/s.velm --json j.json").code,
              4);
    EXPECT_FALSE(std::filesystem::exists(kept.path("j.json")));
    EXPECT_EQ(kept.run("store parts.velm --json parts.velm").code, 2);
    EXPECT_EQ(kept.read("parts.velm"), whole);
}

TEST(InspectStore, NamesWhatIsNoLongerAsItWasDigested) {
    const Kept kept;
    EXPECT_EQ(kept.run("store parts.velm --digest parts.digests").code, 0);
    EXPECT_EQ(kept.run("store parts.velm --compact new.velm").code, 0);

    // A coordinate of the fourth object, which no check can see.
    std::string changed = kept.read("new.velm");
    {
        const velm::StoreImage image(kept.path("new.velm").c_str());
        changed[static_cast<std::size_t>(image.records[3].location) + 40] ^= 1;
    }
    kept.write("new.velm", changed);
    EXPECT_EQ(kept.run("store new.velm --check").code, 0);
    const Ended verified = kept.run("store new.velm --verify parts.digests");
    EXPECT_EQ(verified.code, 3);
    EXPECT_TRUE(has(verified.out, "object 4, "));

    EXPECT_EQ(kept.run("store parts.velm --verify probed.csv").code, 3);
    EXPECT_EQ(kept.run("store parts.velm --verify nothing").code, 4);
    EXPECT_EQ(kept.run("store parts.velm --verify x --check").code, 2);
    EXPECT_EQ(kept.run("store parts.velm --verify new.velm --json new.velm").code, 2);
}

TEST(InspectStore, WritesNoFileWithADamagedTree) {
    const Kept kept;
    for (const long magic_at : {308 + 8, 352 + 8}) { // of the class tree, of the object tree
        std::string damaged = kept.read("parts.velm");
        damaged[static_cast<std::size_t>(magic_at)] ^= 1;
        kept.write("damaged.velm", damaged);
        kept.refused("section plate.dat probed.csv --store damaged.velm --sync", 3,
                     "store damaged.velm --salvage NEW");
        EXPECT_EQ(kept.read("damaged.velm"), damaged);
    }
    EXPECT_EQ(kept.inspect("--sync").code, 1);
    EXPECT_EQ(kept.listed("parts.velm")["inspections"].size(), 2u);
    EXPECT_EQ(kept.run("section plate.dat probed.csv --sync").code, 2);
}

TEST(InspectStore, LeavesNothingBehindWhenTheRunFails) {
    const Kept kept;
    const auto names = kept.names();
    const std::string whole = kept.read("parts.velm");
    kept.write("probed.csv", "id,x,y\nA,5,-0.02\nB,oops,5\n");
    EXPECT_EQ(kept.inspect().code, 3);
    for (const char* mode : {"--export", "--salvage", "--compact"}) {
        EXPECT_EQ(kept.run(std::string("store parts.velm --json no/where ") + mode + " new").code,
                  4);
    }
    EXPECT_EQ(kept.run("store probed.csv --salvage new").code, 3);
    EXPECT_EQ(kept.names(), names);
    EXPECT_EQ(kept.read("parts.velm"), whole);
    ASSERT_EQ(::mkfifo(kept.path("pipe").c_str(), 0600), 0);
    EXPECT_EQ(kept.run("section plate.dat probed.csv --store pipe").code, 4) << "not waited for";
}

// A tilted normal of no round length, a point of the surface, a direct target, a row of letters and
// ids that are no names.
constexpr const char* table = "id,nom_x,nom_y,nom_z,nom_i,nom_j,nom_k,x,y,z,diameter,act_x,act_y,"
                              "act_z\n"
                              "\"a \"\"b\"\" / \\, \xC3\xA9\xFF\",1,2,3,.1,.2,.7,1.3,2.5,4.7,3,,,\n"
                              ",-.1,0,1e9,0,-4,0,,,,,0.1,1e-300,1e9\n"
                              "</td>,1,2,3,,,,1,2,3.3,5,,,\n"
                              "bad,1,2,x,,,,1,2,3,5,,,\n"
                              ",1,2,3,0,0,1,1,2,4.04,2,,,\n";

TEST(InspectStore, GivesTheReportOfTargetsAgainUnlessARecordWasChanged) {
    Workshop shop;
    shop.write("t.csv", table);
    ASSERT_EQ(shop.run("targets t.csv --skip-bad --store s.velm --json j --html h").code, 0);
    ASSERT_EQ(shop.run("report s.velm --json j2 --html h2").code, 0);
    EXPECT_TRUE(shop.read("j") == shop.read("j2") && shop.read("h") == shop.read("h2"));
    ERDataBase store;
    ASSERT_EQ(store.Open(shop.path("s.velm").c_str(), 0), gmSuccess);
    gmErrorCode code = gmSuccess;
    const t_SmartPtr<ERObject> row = store.restore(store.getNbEnt() - 1, code);
    ERDBObject::castdown(*row).property(static_cast<long>(velm::RecordKey::deviation), 0.25);
    ASSERT_TRUE(row->Save(nullptr));
    ASSERT_EQ(store.Close(), gmSuccess);
    shop.refused("report s.velm --json new", 3, "what was found contradicts the target");
}

} // namespace
