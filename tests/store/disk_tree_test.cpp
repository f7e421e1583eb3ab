// The disk tree: the stated shapes, and random operations against std::map.
#include "velm/store/disk_tree.h"

#include "store/store_files.h"
#include "support/caught.h"

namespace {

using namespace velm_test;

std::string key_of(std::int32_t id) { return words({id}); }

struct DiskTree : StoreTest {
    std::unique_ptr<ERFileManager> file;
    std::unique_ptr<ERBTreeOnDisk> tree;
    long at = 0;

    void close() {
        tree.reset();
        file.reset();
    }
    // A new file with one tree in it.
    void make(unsigned int key_length, int binary, unsigned int order, unsigned int cached = 10) {
        close();
        std::remove(path.c_str());
        file = std::make_unique<ERFileManager>(path.c_str(), 0);
        file->allocate(20);
        tree = std::make_unique<ERBTreeOnDisk>(*file, cached, ERBTreeOnDisk::createNew, key_length,
                                               binary, -1, order, order);
        at = tree->baseLocation();
    }
    // The form of the tree is in the file.
    void open(int read_only = 0) {
        close();
        file = std::make_unique<ERFileManager>(path.c_str(), read_only);
        tree =
            std::make_unique<ERBTreeOnDisk>(*file, 10, ERBTreeOnDisk::openExisting, 1, 0, at, 1, 1);
    }
    long root() {
        std::int32_t offset = 0;
        file->read_through(tree->baseLocation(), &offset, 4);
        return offset;
    }
    std::vector<std::int32_t> node_words(long offset, std::size_t count) {
        std::vector<std::int32_t> found(count);
        file->read_through(offset, found.data(), 4 * count);
        return found;
    }
    using Pairs = std::vector<std::pair<std::string, long>>;
    Pairs walk(int flag) {
        struct Seen {
            Pairs pairs;
            std::size_t length;
        } seen{{}, tree->info().key_length};
        tree->applyToKeyAndValue(
            [](const char* key, long value, void* arg) {
                Seen& s = *static_cast<Seen*>(arg);
                s.pairs.emplace_back(std::string(key, s.length), value);
            },
            &seen, flag);
        return seen.pairs;
    }
};

TEST_F(DiskTree, RootSplitsAtTheStatedPlaces) {
    make(4, 1, 2);
    const auto insert = [&](std::int32_t id) {
        return tree->insertKeyAndValue(key_of(id).data(), 100 + id);
    };
    EXPECT_EQ(insert(10), 1);
    const long first_root = root();
    // Counter, five sons, four items, four keys; what was never assigned is zero.
    EXPECT_EQ(node_words(first_root, 14),
              (std::vector<std::int32_t>{1, -1, -1, -1, -1, -1, 110, 0, 0, 0, 10, 0, 0, 0}));
    EXPECT_EQ(insert(10), 0);
    EXPECT_EQ(tree->entries(), 1u);
    insert(20), insert(30), insert(40);
    EXPECT_EQ(root(), first_root);
    insert(25); // belongs at position M of the full root and is promoted itself
    EXPECT_NE(root(), first_root);
    const auto top = node_words(root(), 14);
    EXPECT_EQ(top[0], 1);
    EXPECT_EQ(top[1], first_root);
    EXPECT_EQ(top[6], 125);
    EXPECT_EQ(top[10], 25);
    const auto right = node_words(top[2], 14);
    EXPECT_EQ(std::vector(right.begin() + 10, right.begin() + 12),
              (std::vector<std::int32_t>{30, 40}));
    EXPECT_EQ(walk(0).size(), 5u);
    // Height falls when the root's two sons are combined; the left one becomes the root.
    tree->remove(key_of(40).data());
    EXPECT_EQ(root(), first_root);
    EXPECT_EQ(tree->entries(), 4u);
    for (const std::int32_t id : {10, 20, 25, 30})
        tree->remove(key_of(id).data());
    EXPECT_EQ(root(), -1);
    EXPECT_EQ(tree->entries(), 0u);
}

TEST_F(DiskTree, TextKeysOfFullLengthAndKeyOrder) {
    make(6, 0, 2);
    for (const char* key : {"circle", "arc", "\xE9tat", "circ", "ellipse"})
        tree->insertKeyAndValue(key, key[0]);
    EXPECT_EQ(tree->findValue("ellips"), 'e') << "cut to the key length";
    ERCString removed;
    long value = 0;
    EXPECT_EQ(tree->removeKeyAndValue("circle", removed, value), 1);
    EXPECT_EQ(removed.length(), 6);
    EXPECT_STREQ(removed, "circle");
    // Four-byte numbers stand by their bytes, not by their values.
    make(4, 1, 10);
    for (const std::int32_t id : {1, 256, 2, 257})
        tree->insertKeyAndValue(key_of(id).data(), id);
    std::vector<long> order;
    for (const auto& [key, id] : walk(0))
        order.push_back(id);
    EXPECT_EQ(order, (std::vector<long>{256, 1, 257, 2}));
}

TEST_F(DiskTree, WalkWithAFlagLeavesADeepTreeEarly) {
    make(4, 1, 2);
    for (std::int32_t id = 0; id < 4; ++id)
        tree->insertKeyAndValue(key_of(id << 24).data(), id);
    EXPECT_EQ(walk(1).size(), 4u);
    for (std::int32_t id = 4; id < 40; ++id)
        tree->insertKeyAndValue(key_of(id << 24).data(), id);
    EXPECT_EQ(walk(0).size(), 40u);
    EXPECT_LT(walk(1).size(), 40u);
}

TEST_F(DiskTree, WalkMayChangeKeysButNotOfAFileOpenedForReading) {
    make(2, 0, 2);
    for (const char* key : {"a1", "b1", "c1", "d1", "e1", "f1"})
        tree->insertKeyAndValue(key, 1);
    const auto change = [](const char* key, long, void*) { const_cast<char*>(key)[1] = '2'; };
    close();
    const std::string before = bytes();
    open(1);
    tree->applyToKeyAndValue(change, nullptr, 0);
    close();
    EXPECT_EQ(bytes(), before);
    open();
    tree->applyToKeyAndValue(change, nullptr, 0);
    EXPECT_EQ(tree->contains("c2"), 1);
    EXPECT_EQ(tree->contains("c1"), 0);
    tree->clear();
    EXPECT_EQ(tree->entries(), 0u);
    EXPECT_EQ(root(), -1);
}

TEST_F(DiskTree, UnknownInformationBlockIsAnEmptyTreeUntilItIsChanged) {
    make(4, 1, 10);
    tree->insertKeyAndValue(key_of(7).data(), 7);
    close();
    const std::string before = with_word(bytes(), static_cast<std::size_t>(at) + 8, 1366);
    folder.file("store", before);
    open();
    EXPECT_EQ(tree->entries(), 0u);
    close();
    EXPECT_EQ(bytes(), before);
    open();
    EXPECT_EQ(tree->insertKeyAndValue("abcd", 1), 1);
    EXPECT_EQ(tree->findValue("abxx"), 1) << "of the form that was asked for";
    EXPECT_EQ(node_words(tree->baseLocation(), 3)[2], -1);
    close();
    open();
    EXPECT_EQ(tree->entries(), 0u) << "its magic number is still unknown";
}

TEST_F(DiskTree, AgreesWithAMap) {
    struct Form {
        unsigned int key_length;
        int binary;
        unsigned int order;
    };
    for (const Form form : {Form{4, 1, 1}, Form{4, 1, 2}, Form{60, 0, 2}, Form{4, 1, 10},
                            Form{60, 0, 10}, Form{3, 1, 3}}) {
        SCOPED_TRACE(testing::Message() << form.key_length << ' ' << form.order);
        Random random(82 + form.order);
        make(form.key_length, form.binary, form.order, form.order == 2 ? 1 : 10);
        std::map<std::string, long> model;
        const int steps = setting("VELM_TEST_OPERATIONS", 120000) / 6;
        const int keys = 600;
        for (int step = 0; step < steps; ++step) {
            std::string key = form.binary
                                  ? key_of(static_cast<std::int32_t>(random.below(keys) * 2654435))
                                  : "key" + std::to_string(random.below(keys));
            key.resize(form.key_length);
            const bool there = model.contains(key);
            ERCString removed;
            long value = 0;
            const int chance = step / (steps / 6 + 1) % 2 ? 55 : 30; // fills, then empties
            if (const int roll = random.below(100); roll < chance) {
                ASSERT_EQ(tree->removeKeyAndValue(key.data(), removed, value), there);
                ASSERT_TRUE(!there || value == model[key]) << value;
                model.erase(key);
            } else if (roll < 85) {
                ASSERT_EQ(tree->insertKeyAndValue(key.data(), step), !there);
                model.try_emplace(key, step);
            } else if (roll < 92) {
                ASSERT_EQ(tree->replaceValue(key.data(), step, value), there);
                ASSERT_EQ(value, there ? model[key] : -1);
                if (there) model[key] = step;
            } else {
                ASSERT_EQ(tree->findValue(key.data()), there ? model[key] : -1);
            }
            ASSERT_EQ(tree->entries(), model.size());
            if (step % (steps / 12 + 1) == 0) {
                ASSERT_EQ(walk(0), Pairs(model.begin(), model.end()));
                close();
                {
                    velm::StoreImage image(path.c_str());
                    image.faults = {};
                    EXPECT_EQ(image.read_tree(at, "the tree", {form.key_length, form.binary, 0})
                                  .entries.size(),
                              model.size());
                    EXPECT_TRUE(image.faults.none()) << image.faults.list().front().what;
                }
                open();
            }
        }
    }
}

} // namespace
