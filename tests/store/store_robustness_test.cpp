// Damaged files, failing system calls, and random operations against a model:
// what an object file goes through, and that the check or the rebuilding reports and mends it.
#include "store/store_files.h"
#include "support/faulty_files.h"
#include "support/store_use.h"
#include "velm/store/db_object.h"
#include "velm/store/store_digest.h"

namespace {

using namespace velm_test;

const bool thorough = setting("VELM_TEST_THOROUGH", 0) != 0;

struct Robustness : StoreTest {
    // Rebuilds the file; what comes out is sound.
    velm::SalvageReport salvaged(const std::string& from) {
        const std::string to = folder.path("salvaged");
        std::remove(to.c_str());
        const velm::SalvageReport report = velm::salvage_store(from.c_str(), to.c_str(), false);
        EXPECT_EQ(faults_of(to), "");
        return report;
    }

    // A small file with objects of several classes, a reference, a deleted and a moved object.
    std::string small_file() {
        ERDataBase data;
        EXPECT_EQ(data.Open(path.c_str(), 0), gmSuccess);
        t_SmartPtr<ERDBObject> record(new ERDBObject);
        record->object(new ERSegment2D(ERPoint2D(0, 0), ERPoint2D(3, 4)));
        record->name("rim");
        record->property(100, 0.5);
        data.save(t_SmartPtr<ERObject>(record.get()));
        t_SmartPtr<Sample> moved(new Sample(1, 40));
        t_SmartPtr<Sample> removed(new Sample(2, 60));
        t_SmartPtr<Link> link(new Link);
        link->several.append(moved);
        data.save(t_SmartPtr<ERObject>(moved.get()));
        data.save(t_SmartPtr<ERObject>(removed.get()));
        data.save(t_SmartPtr<ERObject>(link.get()));
        moved->number = 3;
        data.objects()->Store(*moved);
        removed->Delete();
        EXPECT_EQ(data.Close(), gmSuccess);
        EXPECT_EQ(faults_of(path), "");
        return bytes();
    }
};

TEST_F(Robustness, WritesAndReadsAFileOfOld) {
    const std::string old = golden("several_objects");
    EXPECT_EQ(small_file(), old);
    ERDataBase data;
    gmErrorCode code;
    ASSERT_EQ(data.Open(folder.file("old", old).c_str(), 0), gmSuccess);
    const t_SmartPtr<ERObject> record = data.restore(0, code);
    EXPECT_STREQ(ERDBObject::castdown(*record).name(), "rim");
    const t_SmartPtr<ERObject> rim = ERDBObject::castdown(*record).object();
    EXPECT_EQ(ERSegment2D::castdown(*rim).getP2(), ERPoint2D(3, 4));
    EXPECT_EQ(Sample::castdown(*data.restore(1, code)).number, 3);
    EXPECT_EQ(Link::castdown(*data.restore(3, code)).several.entries(), 1);
}

// ---- damage ----

TEST_F(Robustness, EveryTruncation) {
    const std::string good = small_file();
    const std::size_t step = thorough ? 1 : 29;
    for (std::size_t length = 0; length < good.size(); length += length < 400 ? 1 : step)
        use_store(folder.file("damaged", good.substr(0, length)), folder.path("new"));
}

TEST_F(Robustness, EveryByteOverwritten) {
    const std::string good = small_file();
    Random random(5);
    const std::size_t last_used = good.find_last_not_of('\0');
    for (std::size_t i = 0; i <= last_used; ++i) {
        // Long runs of zeros are unused places of nodes: a few of them will do for every day.
        if (!thorough && good[i] == '\0' && random.below(24) != 0) continue;
        const char flipped = static_cast<char>(good[i] ^ (1 << random.below(8)));
        const std::string values = {'\0', '\xFF', flipped};
        for (const char value : thorough ? values : values.substr(i % 3, 1)) {
            if (value == good[i]) continue;
            std::string damaged = good;
            damaged[i] = value;
            use_store(folder.file("damaged", damaged), folder.path("new"));
        }
    }
}

TEST_F(Robustness, TheCheckNamesDamageWithItsOffset) {
    const std::string good = small_file();
    const velm::StoreImage image(path.c_str());
    const velm::RecordImage record = image.records.back();
    const auto faults = [&](std::size_t offset, std::int32_t word) {
        return faults_of(folder.file("bad", with_word(good, offset, word)));
    };
    EXPECT_NE(faults(4, 300).find("beyond the end of data"), std::string::npos);
    EXPECT_NE(faults(12, 0).find("12: the free list has a node without"), std::string::npos);
    EXPECT_NE(faults(316, 1).find("308: the class tree has no information"), std::string::npos);
    EXPECT_NE(faults(296, 1).find("296: the last identifier is behind"), std::string::npos);
    EXPECT_NE(faults(364, 77).find("364: the number of objects"), std::string::npos);
    const auto at = static_cast<std::size_t>(record.location);
    EXPECT_NE(faults(at, 77).find(std::to_string(at) + ": object"), std::string::npos);
    EXPECT_NE(faults(at - 4, 1000).find("overlaps"), std::string::npos);
}

TEST_F(Robustness, CompactingKeepsAllButTheSpace) {
    small_file();
    const std::string compact = folder.path("compact");
    const velm::SalvageReport report = velm::compact_store(path.c_str(), compact.c_str());
    EXPECT_EQ(faults_of(compact), "");
    EXPECT_EQ(report.objects, 5);
    const velm::StoreReport before = velm::check_store(path.c_str());
    const velm::StoreReport after = velm::check_store(compact.c_str());
    EXPECT_EQ(after.free_bytes + after.waste_bytes, 0);
    EXPECT_LT(after.file_length, before.file_length);
    EXPECT_EQ(after.indices, before.indices);
    EXPECT_EQ(after.last_identifier, before.last_identifier);
    EXPECT_EQ(file_cause([&] { velm::compact_store(path.c_str(), compact.c_str()); }),
              CFileException::accessDenied);
}

TEST_F(Robustness, SalvageLeavesDamagedRecordsOutAndSaysSo) {
    {
        ERDataBase data;
        ASSERT_EQ(data.Open(path.c_str(), 0), gmSuccess);
        for (int i = 0; i < 53; ++i)
            data.save(new Sample(i, 260));
    }
    const velm::StoreImage image(path.c_str());
    const velm::RecordImage record = image.records[20];
    std::string damaged = bytes();
    damaged.replace(static_cast<std::size_t>(record.location) + 4, 268, 268, '\0');
    const velm::SalvageReport report = salvaged(folder.file("damaged", damaged));
    EXPECT_EQ(report.objects, 53);
    EXPECT_FALSE(report.complete);
    ASSERT_EQ(report.missing.size(), 1u);
    EXPECT_EQ(report.missing[0].identifier, record.identifier);
    EXPECT_EQ(report.missing[0].class_name, "Sample");
    EXPECT_TRUE(salvaged(path).complete);
}

TEST_F(Robustness, HolesOfASparseFileAreSkipped) {
    small_file();
    {
        CFile file(path.c_str(), UINT(CFile::modeReadWrite) | CFile::shareExclusive);
        const std::int32_t end = 0x7ffffff0;
        file.Seek(4, CFile::begin);
        file.Write(&end, sizeof end);
        file.SetLength(0x7ffffff0);
    }
    const FaultyFiles files;
    EXPECT_EQ(salvaged(path).objects, 5);
    EXPECT_LT(files.bytes_read(), 1 << 24) << "of 2 GiB";
}

TEST_F(Robustness, DigestsFindWhatHasChanged) {
    EXPECT_EQ(velm::detail::sha256("abc"),
              "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad");
    EXPECT_EQ(velm::detail::sha256(std::string(1000000, 'a')),
              "cdc76e5c9914fb9281a1c7e284d73e67f1809a48a497200e046d39ccc7112cd0");
    const std::string good = small_file();
    const auto kept = velm::digest_store(path.c_str());
    std::vector<velm::ObjectDigest> parsed;
    EXPECT_TRUE(velm::parse_digests(velm::digest_text(kept), parsed));
    EXPECT_EQ(parsed, kept);
    for (const char* const text : {"x", "1 00 a\n", "1", "\n"})
        EXPECT_FALSE(velm::parse_digests(text, parsed)) << text;
    const std::string compact = folder.path("compact");
    velm::compact_store(path.c_str(), compact.c_str());
    EXPECT_EQ(velm::digest_store(compact.c_str()), kept);
    // A changed byte, which no check can find; an object that is gone, and one that is new.
    const velm::RecordImage last = velm::StoreImage(path.c_str()).records.back();
    std::string changed = good;
    changed[static_cast<std::size_t>(last.location) + 4] ^= 1;
    const std::string name = folder.file("changed", changed);
    {
        ERDataBase data;
        data.Open(name.c_str(), 0);
        data.save(new Sample(1, 1));
        data.objects()->Delete(3);
        data.Close();
    }
    std::string found;
    for (const auto& d : velm::compare_digests(kept, velm::digest_store(name.c_str())))
        found += std::to_string(d.identifier) + " " + std::to_string(d.kind) + "; ";
    EXPECT_EQ(found, "1 0; 3 1; " + std::to_string(last.identifier) + " 0; " +
                         std::to_string(last.identifier + 1) + " 2; ");
}

TEST_F(Robustness, ShortAndInterruptedTransfersChangeNothing) {
    const std::string whole = small_file();
    std::remove(path.c_str());
    FaultyFiles files;
    files.fall_short(3);
    EXPECT_EQ(small_file(), whole);
}

TEST_F(Robustness, NodesThatNoParentNamesAreFound) {
    // A split as another writer makes it: the left node is cut before the parent names the right
    // one.
    ERDataBase data;
    ASSERT_EQ(data.Open(path.c_str(), 0), gmSuccess);
    for (int i = 0; i < 60; ++i)
        data.save(new Sample(i, 10));
    data.Close();
    const auto root =
        static_cast<std::size_t>(velm::StoreImage(path.c_str()).objects.information.root);
    const std::int32_t keys = word_at(bytes(), root);
    ASSERT_GE(keys, 2);
    // The last key of the root and the son after it are not named yet.
    const velm::SalvageReport report =
        salvaged(folder.file("split", with_word(bytes(), root, keys - 1)));
    EXPECT_GT(report.from_lost_nodes, 5);
    EXPECT_EQ(report.objects, 61) << "with the index, and the key that only the parent held";
    EXPECT_EQ(report.orphans.size(), 0u);
}

} // namespace
