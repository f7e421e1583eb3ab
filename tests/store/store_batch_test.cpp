// Many objects as one operation: the same objects as without, all of them or none.
#include "velm/store/store_batch.h"

#include "store/store_files.h"
#include "support/caught.h"
#include "support/faulty_files.h"
#include "velm/store/store_salvage.h"

namespace {

using namespace velm_test;

struct StoreBatchTest : StoreTest {
    ERDataBase data;
    std::vector<t_SmartPtr<Sample>> old_ones;

    // A store of 600 objects with free space in it.
    void begin() {
        ASSERT_EQ(data.Open(path.c_str(), 0), gmSuccess);
        for (int i = 0; i < 700; ++i) {
            old_ones.emplace_back(new Sample(i, i % 90));
            ASSERT_EQ(data.save(t_SmartPtr<ERObject>(old_ones.back().get())), gmSuccess);
        }
        for (int i = 0; i < 100; ++i)
            ASSERT_EQ(old_ones[static_cast<std::size_t>(7 * i)]->Delete(), 1);
    }
    // New objects, objects with references, and old ones stored again.
    void fill() {
        for (int i = 0; i < 1500; ++i) {
            t_SmartPtr<ERObject> object(new Sample(10000 + i, i % 50));
            if (i % 5 == 0) {
                t_SmartPtr<Link> link(new Link);
                link->one = object;
                object = t_SmartPtr<ERObject>(link.get());
            }
            data.save(object);
        }
        for (std::size_t i = 1; i < 700; i += 14) {
            old_ones[i]->number = 5000;
            data.objects()->Store(*old_ones[i]);
        }
    }
    Sample restored(long index) {
        gmErrorCode code;
        t_SmartPtr<ERObject> object = data.restore(index, code);
        if (object && object->isMemberOf(Link::desc())) object = Link::castdown(*object).one;
        return object ? Sample::castdown(*object) : Sample();
    }
    void expect_all() {
        for (int i = 0; i < 1500; ++i)
            ASSERT_EQ(restored(700 + i), Sample(10000 + i, i % 50)) << i;
        EXPECT_EQ(restored(15).number, 5000);
        EXPECT_EQ(restored(16), Sample(16, 16));
    }
    void expect_none() {
        EXPECT_EQ(data.getNbEnt(), 700);
        EXPECT_EQ(restored(15), Sample(15, 15));
        EXPECT_EQ(restored(16), Sample(16, 16));
    }
};

TEST_F(StoreBatchTest, IsReadInMemoryAndOnFileAsAWhole) {
    begin();
    const std::string before = bytes();
    {
        velm::StoreBatch batch(data);
        fill();
        expect_all();
        EXPECT_EQ(bytes().substr(4, 4), before.substr(4, 4)) << "nothing leads to it yet";
        EXPECT_EQ(file_cause([&] { data.objects()->Delete(17); }),
                  CFileException::genericException);
        EXPECT_EQ(file_cause([&] { velm::StoreBatch inner(data); }),
                  CFileException::genericException);
        batch.commit();
    }
    expect_all();
    data.save(new Sample(1, 1));
    EXPECT_EQ(data.Close(), gmSuccess);
    expect_sound();
    ASSERT_EQ(data.Open(path.c_str(), 1), gmSuccess);
    expect_all();
}

TEST_F(StoreBatchTest, LeavesNothingWithoutCommit) {
    begin();
    const int last = data.objects()->getNbObj();
    {
        velm::StoreBatch batch(data);
        fill();
    }
    expect_none();
    EXPECT_EQ(data.objects()->getNbObj(), last);
    t_SmartPtr<Sample> next(new Sample(1, 1));
    data.save(t_SmartPtr<ERObject>(next.get()));
    EXPECT_GT(next->getObjectID(), 701 + 1500) << "identifiers are not given out again";
    EXPECT_EQ(restored(700), *next);
    EXPECT_EQ(data.Close(), gmSuccess);
    expect_sound();
}

// Calls that write fail once.
TEST_F(StoreBatchTest, IsThereOrNotWhateverFails) {
    begin();
    ASSERT_EQ(data.Close(), gmSuccess);
    const std::string before = bytes();
    for (int k = 1;; k += 5) {
        folder.file("store", before);
        bool met = false;
        {
            FaultyFiles files;
            ASSERT_EQ(data.Open(path.c_str(), 0), gmSuccess);
            for (std::size_t i = 0; i < old_ones.size(); ++i) {
                gmErrorCode code;
                const t_SmartPtr<ERObject> object = data.restore(static_cast<long>(i), code);
                if (object) old_ones[i] = t_SmartPtr<Sample>(&Sample::castdown(*object));
            }
            files.fail(FaultyFiles::writing, k, EIO);
            const int cause = file_cause([&] {
                velm::StoreBatch batch(data);
                fill();
                batch.commit();
            });
            met = files.calls(FaultyFiles::writing) >= k;
            files.fail_no_more();
            EXPECT_TRUE(met ||
                        cause == 0); // blocks that are freed after the commit may become waste
            const std::string killed = bytes(); // now, with the file put back or complete
            cause != 0 ? expect_none() : expect_all();
            EXPECT_EQ(data.Close(), gmSuccess);
            expect_sound();
            if (!met) break;
            const std::string rebuilt = folder.path("rebuilt");
            std::remove(rebuilt.c_str());
            velm::salvage_store(folder.file("killed", killed).c_str(), rebuilt.c_str(), false);
            EXPECT_EQ(velm::check_store(rebuilt.c_str()).objects, cause != 0 ? 601 : 601 + 1800);
        }
        ASSERT_FALSE(HasFailure()) << "at call " << k;
    }
}

} // namespace
