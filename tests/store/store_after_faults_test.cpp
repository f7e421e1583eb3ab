// Histories in which one failed call used to lose objects later, when everything went well again.
#include "store/store_files.h"
#include "support/caught.h"
#include "support/faulty_files.h"
#include "velm/store/store_salvage.h"

namespace {

using namespace velm_test;

// A store of objects, each known by the number of its content.
struct AfterAFault : StoreTest {
    std::string rebuilt = folder.path("rebuilt");
    std::unique_ptr<ERObjectDataBase> store;
    std::map<long, int> numbers;

    static Sample sample(int number) { return Sample(number, number % 61); }
    void begin(int objects) {
        std::remove(path.c_str());
        numbers.clear();
        store = std::make_unique<ERObjectDataBase>();
        ASSERT_EQ(store->Open(path.c_str(), 0), 1);
        for (int i = 1; i <= objects; ++i)
            put(i);
    }
    void put(int number) {
        Sample object = sample(number);
        file_cause([&] { numbers[store->Store(object)] = number; });
    }
    void put_again(long id, int number) {
        Sample object;
        file_cause([&] {
            if (!store->Retrieve(id, object)) return;
            object.number = number;
            object.content = sample(number).content;
            store->Store(object);
            numbers[id] = number;
        });
    }
    bool remove(long id) {
        const auto removal = [&] {
            if (store->Delete(id)) numbers.erase(id);
        };
        return file_cause(removal) == CFileException::none;
    }
    off_t length() const { return static_cast<off_t>(bytes().size()); }

    // What is wrong in memory, and, once it is closed without a report, in the file and in one
    // that is rebuilt of it.
    std::string wrong() {
        std::string text;
        for (const auto& [id, number] : numbers) {
            Sample object;
            if (!store->Retrieve(id, object) || !(object == sample(number)))
                text += "memory " + std::to_string(id) + "\n";
        }
        if (file_cause([&] { store->Close(); }) != CFileException::none) return text;
        std::remove(rebuilt.c_str());
        velm::salvage_store(path.c_str(), rebuilt.c_str(), false);
        for (const std::string& name : {path, rebuilt}) {
            text += faults_of(name);
            velm::StoredObjects stored(name.c_str());
            for (const auto& [id, number] : numbers) {
                const t_SmartPtr<ERObject> object = stored.create(id);
                if (!object || !(Sample::castdown(*object) == sample(number)))
                    text += name + " " + std::to_string(id) + "\n";
            }
            if (velm::StoreImage(name.c_str()).records.size() != numbers.size())
                text += name + " has others\n";
        }
        return text;
    }
};

TEST_F(AfterAFault, OneFailedWriteInARemovalLosesNothing) {
    for (const long removed : {3, 15, 20})
        for (int k = 1; k <= 7; ++k) {
            begin(21);
            {
                FaultyFiles files;
                files.fail(FaultyFiles::writing, k, EIO);
                remove(removed);
            }
            for (int id = 12; id <= 21; ++id)
                put_again(id, 1000 + id);
            put(2000);
            EXPECT_EQ(wrong(), "") << "removal of " << removed << ", write " << k;
        }
}

TEST_F(AfterAFault, AFullDiskInARemovalLosesNothing) {
    begin(900);
    for (int id = 3; id <= 900; id += 3) {
        {
            FaultyFiles files;
            files.limit(length());
            EXPECT_TRUE(remove(id)) << id << ": a removal needs no room";
        }
        if (id % 4 == 0) put(id + 1000);
    }
    EXPECT_EQ(wrong(), "");
}

TEST_F(AfterAFault, AFullDiskWhileTheFreeListGrowsLosesNothing) {
    for (std::uint64_t seed = 1; seed <= 24; ++seed) {
        Random random = Random::fixed(seed);
        begin(160);
        {
            FaultyFiles files;
            files.limit(length() + 300 * static_cast<off_t>(seed % 4));
            for (int i = 0; i < 150; ++i) {
                const long id = 1 + random.below(160);
                if (random.below(3) == 0)
                    remove(id);
                else if (numbers.contains(id))
                    put_again(id, 1000 + i);
            }
        }
        for (int i = 0; i < 60; ++i)
            put(2000 + i);
        EXPECT_EQ(wrong(), "") << "seed " << seed;
    }
}

TEST_F(AfterAFault, HalfAWriteAndAFullDiskLoseNothing) {
    for (int k = 1; k <= 66; ++k) {
        begin(200);
        {
            FaultyFiles files;
            files.begin_with_half();
            files.fail(FaultyFiles::writing, k, ENOSPC, FaultyFiles::for_ever);
            for (int id = 5; id < 120; id += 2)
                remove(id);
            for (int i = 0; i < 20; ++i)
                put(1000 + i);
        }
        for (int i = 0; i < 20; ++i)
            put(2000 + i);
        EXPECT_EQ(wrong(), "") << "write " << k;
    }
}

} // namespace
