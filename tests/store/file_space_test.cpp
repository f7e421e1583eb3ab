// Blocks of a file, handed out and taken back: the stated offsets, and a model of extents.
#include "velm/store/file_space.h"

#include "store/store_files.h"
#include "support/caught.h"

namespace {

using namespace velm_test;

struct FileSpace : StoreTest {
    std::int32_t word(std::size_t offset) const { return word_at(bytes(), offset); }

    struct Node {
        std::int32_t count = 0;
        std::int32_t next = 0;
        std::vector<std::pair<std::int32_t, std::int32_t>> extents;
    };
    Node node(std::size_t offset = 12) const {
        const std::string all = bytes();
        Node found{word_at(all, offset + 260), word_at(all, offset + 264), {}};
        EXPECT_EQ(word_at(all, offset), 588);
        for (std::size_t i = 0; i < static_cast<std::size_t>(found.count); ++i)
            found.extents.emplace_back(word_at(all, offset + 4 + 4 * i),
                                       word_at(all, offset + 132 + 4 * i));
        return found;
    }
};

TEST_F(FileSpace, NewFileAndFirstBlock) {
    ERFileManager file(path.c_str(), 0);
    EXPECT_EQ(bytes(),
              words({-1, 280, 268}) + words({588}) + std::string(256, '\0') + words({0, 12}));
    EXPECT_EQ(file.allocate(20), 284);
    EXPECT_EQ(word(0), 284);
    EXPECT_EQ(word(4), 304);
    EXPECT_EQ(word(280), 24);
    EXPECT_EQ(file.allocate(40), 308);
    EXPECT_EQ(file.allocate(264), 352);
    EXPECT_EQ(word(348), 268);
    file.deallocate(284);
    EXPECT_EQ(word(4), 616) << "the first block is never freed";
    EXPECT_EQ(node().count, 0);
    EXPECT_EQ(file.allocateAtEnd(7), 616);
    EXPECT_EQ(word(4), 623);
    EXPECT_EQ(file.deallocateFromEnd(616, 6), 0);
    EXPECT_EQ(file.deallocateFromEnd(616, 7), 1);
    EXPECT_EQ(word(4), 616);
}

TEST_F(FileSpace, NeighboursJoinAndTheLastBlockIsTrimmed) {
    ERFileManager file(path.c_str(), 0);
    long block[7];
    for (long& b : block)
        b = file.allocate(20);
    using Extents = decltype(Node::extents);
    file.deallocate(block[2]);
    file.deallocate(block[1]);
    EXPECT_EQ(node().extents, (Extents{{304, 48}}));
    file.deallocate(block[4]);
    EXPECT_EQ(node().extents, (Extents{{304, 48}, {376, 24}}));
    file.deallocate(block[3]);
    EXPECT_EQ(node().extents, (Extents{{304, 96}}));
    file.deallocate(block[6]);
    EXPECT_EQ(word(4), 424);
    EXPECT_EQ(node().extents, (Extents{{304, 96}})) << "the end is trimmed, nothing is listed";
    file.deallocate(block[5]);
    EXPECT_EQ(word(4), 400);
    EXPECT_EQ(node().extents, (Extents{{304, 96}})) << "one block deep";
}

TEST_F(FileSpace, RemaindersBelowEightAreGivenAway) {
    ERFileManager file(path.c_str(), 0);
    file.allocate(4);
    const long a = file.allocate(40);
    file.allocate(4);
    const long b = file.allocate(40);
    file.allocate(4);
    file.deallocate(a);
    file.deallocate(b);
    EXPECT_EQ(file.allocate(36), a) << "4 bytes more than needed";
    EXPECT_EQ(word(static_cast<std::size_t>(a) - 4), 44);
    EXPECT_EQ(file.allocate(32), b) << "8 bytes more";
    EXPECT_EQ(word(static_cast<std::size_t>(b) - 4), 36);
    EXPECT_EQ(node().extents.front(), std::make_pair(static_cast<std::int32_t>(b + 32), 8));
}

TEST_F(FileSpace, ThirtyThirdExtentMakesANodeAndIsLost) {
    ERFileManager file(path.c_str(), 0);
    std::vector<long> blocks;
    for (int i = 0; i < 80; ++i)
        blocks.push_back(file.allocate(20));
    for (std::size_t i = 0; i < 32; ++i)
        file.deallocate(blocks[2 * i + 1]);
    EXPECT_EQ(node().count, 32);
    const std::int32_t end = word(4);
    file.deallocate(blocks[65]);
    EXPECT_EQ(word(4), end + 268);
    EXPECT_EQ(node().next, end);
    EXPECT_EQ(node().count, 32);
    EXPECT_EQ(node(static_cast<std::size_t>(end)).count, 0) << "the extent itself is lost";
    EXPECT_EQ(node(static_cast<std::size_t>(end)).next, 12);
    file.deallocate(blocks[67]);
    EXPECT_EQ(node(static_cast<std::size_t>(end)).count, 1) << "the next one goes in";
    EXPECT_EQ(file.allocate(20), blocks[67]) << "the new node is the current one";
    EXPECT_EQ(node().next, 12) << "its last extent taken, the node itself is free again";
    EXPECT_EQ(word(4), end);
    // The head, emptied while a second node exists, becomes a copy of that node.
    file.deallocate(blocks[69]);
    const auto second = static_cast<std::size_t>(end);
    file.deallocate(blocks[71]);
    EXPECT_EQ(node(second).count, 1);
    for (int i = 0; i < 33; ++i)
        file.allocate(20);
    EXPECT_EQ(node().next, 12);
}

// A node of the free list was where the large block begins: what is kept of it must be forgotten.
TEST_F(FileSpace, BlocksInThePlaceOfANode) {
    ERFileManager file(path.c_str(), 0);
    long holes[68];
    for (long& hole : holes)
        hole = file.allocate(20);
    const long room = file.allocate(8000);
    for (int i = 1; i < 67; i += 2)
        file.deallocate(holes[i]);
    file.allocate(20); // the head has room for one more
    const velm::detail::StoreStep step(file);
    const long last = file.allocate(9000);
    file.allocate(3000);
    file.deallocate(room);
    file.deallocate(last);
    EXPECT_EQ(file.allocate(9000), last) << "the node's only extent, and the node goes";
    file.deallocate(last);
    file.allocate(7996);
    int value = 0;
    file.Seek(file.allocate(6000), CFile::begin);
    EXPECT_EQ(file.CurOffset(), room + 8000) << "where the node began";
    file.Write(1);
    file.Seek(room + 8000, CFile::begin);
    EXPECT_TRUE(file.Read(value) && value == 1) << value;
}

TEST_F(FileSpace, UnknownAndDamagedHeadsAreLeftAlone) {
    {
        ERFileManager file(path.c_str(), 0);
        file.deallocate(file.allocate(10));
        file.deallocate(file.allocate(4000));
    }
    const std::string good = bytes();
    const auto damaged = [&](std::size_t offset, std::int32_t word) {
        return folder.file("damaged", with_word(good, offset, word));
    };
    const std::string unknown = damaged(8, 267);
    EXPECT_EQ(file_cause([&] {
                  ERFileManager file(unknown.c_str(), 0);
                  EXPECT_FALSE(file.has_free_list());
                  EXPECT_EQ(file.start(), 284);
                  file.deallocate(304);
                  file.allocate(10);
              }),
              CFileException::invalidFile);
    EXPECT_EQ(TemporaryFolder::bytes_of(unknown), TemporaryFolder::bytes_of(damaged(8, 267)));
    // An extent that overlaps the head, an end of data inside it, a chain that never comes home.
    std::string extent = good;
    extent.replace(16, 4, words({0})).replace(144, 4, words({1000})).replace(272, 4, words({1}));
    std::string circle = good + std::string(268, '\0');
    circle.replace(276, 4, words({280 + 8})).replace(288, 2, words({588}).substr(0, 2));
    circle.replace(288 + 264, 4, words({288}));
    for (const std::string& bad : {extent, with_word(good, 4, 100), circle}) {
        const std::string name = folder.file("bad", bad);
        ERFileManager file(name.c_str(), 0);
        EXPECT_EQ(file_cause([&] { file.allocate(500); }), CFileException::invalidFile);
    }
}

} // namespace
