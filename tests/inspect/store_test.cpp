// velm-inspect: results kept in an object file, and what the subcommand `store` makes of it.
#include "inspect/workshop.h"
#include "velm/inspection/record_keys.h"
#include "velm/store/database.h"
#include "velm/store/db_object.h"
#include "velm/store/store_image.h"
#include "velm/wireframe/segment.h"

#include <filesystem>
#include <gtest/gtest.h>
#include <string>
#include <sys/stat.h>

namespace {

using velm::RecordKey;
using velm_test::Ended;
using velm_test::plate;
using velm_test::Workshop;

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
    nlohmann::json told(const std::string& arguments) const {
        return nlohmann::json::parse(run("store " + arguments + " --json -").out);
    }
};

t_SmartPtr<ERDBObject> record(ERDataBase& store, long index) {
    gmErrorCode code = gmSuccess;
    return t_SmartPtr<ERDBObject>(ERDBObject::castdown(store.restore(index, code).get()));
}

double number(const ERDBObject& from, RecordKey key) {
    return double(from.property(static_cast<long>(key)));
}
std::string text(const ERDBObject& from, RecordKey key) {
    const ERDBObjProperty property = from.property(static_cast<long>(key));
    return static_cast<const char*>(property);
}

TEST(InspectStore, KeepsWhatTheReportSays) {
    const Kept kept;
    EXPECT_EQ(kept.inspect("--json again.json").code, 1);
    const nlohmann::json report = kept.read_json("again.json");
    ERDataBase store;
    ASSERT_EQ(store.Open(kept.path("parts.velm").c_str(), 1), gmSuccess);
    const int records = 1 + 3 + 8; // the section, its points, the plate's and the hole's edges
    ASSERT_EQ(store.getNbEnt(), 2 * records) << "the second run joins the first";

    for (int run = 0; run < 2; ++run) {
        const t_SmartPtr<ERDBObject> section = record(store, run * records);
        ASSERT_TRUE(section);
        EXPECT_EQ(std::string(section->name()), "plate");
        EXPECT_EQ(text(*section, RecordKey::worst_id), "B");
        EXPECT_EQ(number(*section, RecordKey::rms), report["summary"]["rms"]);
        EXPECT_EQ(number(*section, RecordKey::out_of_tolerance), 1);
        for (int i = 0; i < 3; ++i) {
            const t_SmartPtr<ERDBObject> point = record(store, run * records + 1 + i);
            const nlohmann::json& row = report["points"][std::size_t(i)];
            EXPECT_EQ(text(*point, RecordKey::point_id), row["id"]);
            EXPECT_EQ(number(*point, RecordKey::deviation), row["deviation"]);
            EXPECT_EQ(number(*point, RecordKey::foot_y), row["foot"][1]);
            EXPECT_EQ(number(*point, RecordKey::section), section->getObjectID());
        }
        const t_SmartPtr<ERDBObject> right_edge = record(store, run * records + 1 + 3 + 1);
        EXPECT_EQ(right_edge->color(), 1) << "red: its point is out of tolerance";
        EXPECT_EQ(std::string(right_edge->level_name()), "outer");
        const ERSegment2D* const segment = ERSegment2D::castdown(right_edge->object().get());
        ASSERT_NE(segment, nullptr);
        EXPECT_EQ(segment->getP2().y(), 10.0);
    }
}

TEST(InspectStore, ListsChecksExportsAndRebuilds) {
    const Kept kept;
    const std::string before = kept.read("parts.velm");
    const nlohmann::json list = kept.told("parts.velm");
    EXPECT_EQ(list["objects"], 1 + 12 + 8 + 3) << "index, records, edges, targets";
    EXPECT_EQ(list["faults"], 0);
    EXPECT_EQ(list["inspections"][0]["title"], "probed.csv against plate.dat");
    EXPECT_EQ(list["inspections"][0]["out_of_tolerance"], 1);
    EXPECT_EQ(kept.run("store parts.velm --check").code, 0);

    EXPECT_EQ(kept.run("store parts.velm --export texts").code, 0);
    const std::string point = kept.read("texts/7-ERDBObject.txt");
    EXPECT_NE(point.find("property 119: text <b>\n"), std::string::npos) << point;
    const std::string segment = kept.read("texts/10-ERSegment2D.txt");
    EXPECT_NE(segment.find("Segment 2D : P1=[0,0] P2=[10,0]"), std::string::npos) << segment;

    for (const std::string mode : {"--salvage", "--compact"}) {
        EXPECT_EQ(kept.run("store parts.velm " + mode + " new" + mode).code, 0) << mode;
        EXPECT_EQ(kept.run("store ./new" + mode + " --check").code, 0) << mode;
        EXPECT_EQ(kept.told("./new" + mode)["objects"], list["objects"]) << mode;
        EXPECT_NE(kept.run("store parts.velm " + mode + " new" + mode).code, 0) << "it exists";
    }
    EXPECT_NE(kept.run("store parts.velm --export texts").code, 0) << "it exists";
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
    EXPECT_NE(checked.out.find("offset "), std::string::npos) << checked.out;

    // Counters as a killed process leaves them: the last identifier is behind.
    std::string stale = whole;
    stale[284 + 12] = 1;
    kept.write("stale.velm", stale);
    const Ended refused = kept.run("section plate.dat probed.csv --store stale.velm");
    EXPECT_EQ(refused.code, 3);
    EXPECT_NE(refused.error.find("--salvage"), std::string::npos) << refused.error;
    EXPECT_EQ(kept.read("stale.velm"), stale);
    EXPECT_EQ(kept.run("store stale.velm --salvage mended.velm").code, 0);
    EXPECT_EQ(kept.run("store mended.velm --check").code, 0);

    EXPECT_EQ(kept.run("store nothing.velm").code, 4);
    EXPECT_EQ(kept.run("store parts.velm --check --compact x").code, 2);
    EXPECT_EQ(kept.run("section plate.dat probed.csv --store -").code, 2);
    EXPECT_EQ(kept.run("section plate.dat probed.csv --store plate.dat").code, 2);
    EXPECT_EQ(kept.run("store parts.velm --json parts.velm").code, 2);
    EXPECT_EQ(kept.read("parts.velm"), whole);
}

TEST(InspectStore, NamesWhatIsNoLongerAsItWasDigested) {
    const Kept kept;
    EXPECT_EQ(kept.run("store parts.velm --digest parts.digests").code, 0);
    EXPECT_EQ(kept.run("store parts.velm --compact new.velm").code, 0);
    for (const char* const same : {"parts.velm", "new.velm"})
        EXPECT_EQ(kept.run(std::string("store ") + same + " --verify parts.digests").code, 0);

    // A coordinate of the fourth object, which no check can see; the last one lost; two new ones.
    std::string changed = kept.read("new.velm");
    long last = 0;
    {
        const velm::StoreImage image(kept.path("new.velm").c_str());
        const auto& fourth = image.records[3];
        changed[static_cast<std::size_t>(fourth.location) + 40] ^= 1;
        last = image.records.back().identifier;
    }
    kept.write("new.velm", changed);
    {
        ERDataBase store;
        ASSERT_EQ(store.Open(kept.path("new.velm").c_str(), 0), gmSuccess);
        EXPECT_EQ(store.objects()->Delete(last), 1);
        for (int i = 0; i < 2; ++i)
            EXPECT_EQ(store.save(t_SmartPtr<ERObject>(new ERDBObject)), gmSuccess);
        EXPECT_EQ(store.Close(), gmSuccess);
    }
    EXPECT_EQ(kept.run("store new.velm --check").code, 0);
    const nlohmann::json found = kept.told("new.velm --verify parts.digests");
    std::vector<std::string> told;
    for (const nlohmann::json& one : found["differences"])
        told.push_back(one["identifier"].dump() + " " + one["what"].get<std::string>());
    const std::vector<std::string> expected = {
        "1 differs", "4 differs", std::to_string(last) + " is missing",
        std::to_string(last + 1) + " is new", std::to_string(last + 2) + " is new"};
    EXPECT_EQ(told, expected);
    const Ended verified = kept.run("store new.velm --verify parts.digests");
    EXPECT_EQ(verified.code, 3);
    EXPECT_NE(verified.out.find("object 4, "), std::string::npos) << verified.out;

    EXPECT_EQ(kept.run("store parts.velm --verify probed.csv").code, 3);
    EXPECT_EQ(kept.run("store parts.velm --verify nothing").code, 4);
    EXPECT_EQ(kept.run("store parts.velm --verify x --check").code, 2);
    EXPECT_EQ(kept.run("store parts.velm --verify new.velm --json new.velm").code, 2);
}

TEST(InspectStore, SalvageNamesWhatItLeavesOut) {
    const Kept kept;
    std::string damaged = kept.read("parts.velm");
    long lost = 0;
    {
        const velm::StoreImage image(kept.path("parts.velm").c_str());
        const auto& record = image.records[4];
        lost = record.identifier;
        damaged.replace(static_cast<std::size_t>(record.location) + 4, 20, 20, '\x7F');
    }
    kept.write("damaged.velm", damaged);
    const Ended ended = kept.run("store damaged.velm --salvage mended.velm");
    EXPECT_EQ(ended.code, 3);
    EXPECT_NE(ended.out.find("left out: object " + std::to_string(lost) + ", "), std::string::npos)
        << ended.out;
    EXPECT_EQ(kept.run("store mended.velm --check").code, 0) << "what is left is sound";
}

TEST(InspectStore, WritesNoFileWithADamagedTree) {
    const Kept kept;
    for (const long magic_at : {308 + 8, 352 + 8}) { // of the class tree, of the object tree
        std::string damaged = kept.read("parts.velm");
        damaged[static_cast<std::size_t>(magic_at)] ^= 1;
        kept.write("damaged.velm", damaged);
        const Ended ended = kept.run("section plate.dat probed.csv --store damaged.velm --sync");
        EXPECT_EQ(ended.code, 3);
        EXPECT_NE(ended.error.find("--salvage"), std::string::npos) << ended.error;
        EXPECT_EQ(kept.read("damaged.velm"), damaged);
    }
    EXPECT_EQ(kept.inspect("--sync").code, 1);
    EXPECT_EQ(kept.told("parts.velm")["inspections"].size(), 2u);
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

} // namespace
