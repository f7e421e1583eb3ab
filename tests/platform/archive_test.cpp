#include "velm/platform/archive.h"

#include "support/caught.h"
#include "support/memory_file.h"
#include "support/random.h"

#include <gtest/gtest.h>

namespace {

using namespace velm_test;

// Numbers of every width through a buffer that they don't fit evenly, in two runs that take
// different paths: one by one, and as blocks larger than the buffer.
TEST(Archive, GivesBackWhatWasStoredAcrossBufferEnds) {
    Random random(11);
    std::string expected;
    MemoryFile file("head");
    file.SeekToEnd();
    CArchive out(&file, CArchive::store, 130);
    EXPECT_TRUE(out.IsStoring());
    const auto put = [&](auto value) {
        out << value;
        expected.append(reinterpret_cast<const char*>(&value), sizeof value);
    };
    for (int i = 0; i < 200; ++i) {
        put(static_cast<BYTE>(random.next()));
        put(static_cast<WORD>(random.next()));
        put(static_cast<short>(random.next()));
        put(static_cast<DWORD>(random.next()));
        put(static_cast<int>(random.next()));
        put(random.uniform(-1.0, 1.0));
        put(static_cast<float>(random.uniform(-1.0, 1.0)));
        const std::string block(static_cast<std::size_t>(random.below(300)), static_cast<char>(i));
        out.Write(block.data(), static_cast<UINT>(block.size()));
        expected += block;
    }
    out.Close();
    EXPECT_EQ(file.bytes, "head" + expected);

    file.Seek(4, CFile::begin);
    CArchive in(&file, CArchive::load, 130);
    std::string loaded;
    while (in.bytes_left() > 0) {
        EXPECT_EQ(in.bytes_left(), expected.size() - loaded.size());
        std::string part(static_cast<std::size_t>(random.below(300) + 1), '\0');
        part.resize(in.Read(part.data(), static_cast<UINT>(part.size())));
        loaded += part;
    }
    EXPECT_EQ(loaded, expected);
}

TEST(Archive, NumbersHaveTheirWidthsAndLongsAreSaturated) {
    MemoryFile file;
    CArchive out(&file, CArchive::store);
    out << true << 'c' << -2L << (1L << 40) << -(1L << 40) << ~0UL << -1LL;
    out.WriteCount(0xFFFE);
    out.WriteCount(0xFFFF);
    out.Close();
    using namespace std::string_literals;
    EXPECT_EQ(file.bytes, "\1c\xFE\xFF\xFF\xFF\xFF\xFF\xFF\x7F\0\0\0\x80\xFF\xFF\xFF\xFF"s +
                              "\xFF\xFF\xFF\xFF\xFF\xFF\xFF\xFF\xFE\xFF\xFF\xFF\xFF\xFF\0\0"s);
    file.SeekToBegin();
    CArchive in(&file, CArchive::load);
    bool truth;
    char letter;
    long small, most, least;
    unsigned long greatest;
    LONGLONG wide;
    in >> truth >> letter >> small >> most >> least >> greatest >> wide;
    EXPECT_TRUE(truth && letter == 'c' && small == -2 && most == INT32_MAX && least == INT32_MIN);
    EXPECT_TRUE(greatest == 0xFFFFFFFF && wide == -1);
    EXPECT_EQ(in.ReadCount(), 0xFFFEu);
    EXPECT_EQ(in.ReadCount(), 0xFFFFu);
}

TEST(Archive, RefusesTheWrongDirectionAndWhatLiesPastTheEnd) {
    MemoryFile file("abc");
    CArchive in(&file, CArchive::load);
    DWORD number = 7;
    EXPECT_EQ(archive_cause([&] { in << number; }), CArchiveException::readOnly);
    EXPECT_EQ(archive_cause([&] { in.Write("x", 1); }), CArchiveException::readOnly);
    EXPECT_EQ(archive_cause([&] { in >> number; }), CArchiveException::endOfFile);
    CArchive out(&file, CArchive::store);
    EXPECT_EQ(archive_cause([&] { out >> number; }), CArchiveException::writeOnly);
    EXPECT_EQ(archive_cause([&] { out.Read(&number, 4); }), CArchiveException::writeOnly);
    // After Close there is no file: nothing is loaded and nothing stored.
    in.Close();
    out.Close();
    EXPECT_EQ(archive_cause([&] { in >> number; }), CArchiveException::endOfFile);
    EXPECT_EQ(archive_cause([&] { out << number; }), CArchiveException::readOnly);
}

TEST(Archive, LeavesTheFileWhereLoadingStands) {
    MemoryFile file("0123456789");
    {
        CArchive in(&file, CArchive::load);
        BYTE byte;
        in >> byte >> byte;
        EXPECT_EQ(file.GetPosition(), 10u) << "the buffer took it all";
    }
    EXPECT_EQ(file.GetPosition(), 2u);
    {
        CArchive out(&file, CArchive::store | CArchive::bNoFlushOnDelete);
        out << 'x';
    }
    EXPECT_EQ(file.bytes, "0123456789");
}

} // namespace
