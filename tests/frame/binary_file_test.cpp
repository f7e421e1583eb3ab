// ERFile: the bytes of each primitive form, and the results that may surprise.

#include "support/caught.h"
#include "support/faulty_files.h"
#include "support/memory_file.h"
#include "support/temporary_folder.h"

#include <gtest/gtest.h>

namespace {

using namespace std::string_literals;
using namespace velm_test;

// Writes a value and an array of two, compares the bytes and reads both back; a file that is a
// byte short gives 0.
template <class T>
void expect_form(T value, T back, const std::string& form) {
    MemoryFile memory;
    ERFile& file = memory;
    const T both[2] = {value, T(1)};
    EXPECT_EQ(file.Write(value), 1);
    EXPECT_EQ(file.Write(both, 2), 1);
    ASSERT_EQ(memory.bytes.size(), 3 * form.size());
    EXPECT_EQ(memory.bytes.substr(0, 2 * form.size()), form + form);

    T one = T(), array[3] = {};
    memory.SeekToBegin();
    EXPECT_EQ(file.Read(one), 1);
    EXPECT_EQ(file.Read(array, 2), 1);
    EXPECT_TRUE(one == back && array[0] == back && array[1] == T(1));
    memory.bytes.pop_back();
    memory.Seek(-static_cast<LONGLONG>(form.size()) + 1, CFile::end);
    EXPECT_EQ(file.Read(one), 0);
    memory.SeekToBegin();
    EXPECT_EQ(file.Read(array, 3), 0);
}

TEST(BinaryFile, EachNumberStandsInItsForm) {
    expect_form<char>('A', 'A', "A");
    expect_form<unsigned char>(0xFE, 0xFE, "\xFE");
    expect_form<short>(-2, -2, "\xFE\xFF");
    expect_form<unsigned short>(0x1234, 0x1234, "\x34\x12");
    expect_form<int>(-2, -2, "\xFE\xFF\xFF\xFF");
    expect_form<unsigned int>(0x12345678, 0x12345678, "\x78\x56\x34\x12");
    expect_form<float>(1.5f, 1.5f, "\0\0\xC0\x3F"s);
    expect_form<double>(-2.5, -2.5, "\0\0\0\0\0\0\x04\xC0"s);
    // A long is 32 bits and saturated.
    expect_form<long>(-2, -2, "\xFE\xFF\xFF\xFF");
    expect_form<long>(LONG_MAX, INT32_MAX, "\xFF\xFF\xFF\x7F");
    expect_form<long>(LONG_MIN, INT32_MIN, "\0\0\0\x80"s);
    expect_form<unsigned long>(ULONG_MAX, UINT32_MAX, "\xFF\xFF\xFF\xFF");
}

TEST(BinaryFile, LongArraysOfLongsAreConvertedInBlocks) {
    std::vector<long> values(5000);
    for (std::size_t i = 0; i < values.size(); ++i)
        values[i] = static_cast<long>(i) - 2500;
    MemoryFile memory;
    ERFile& file = memory;
    file.Write(values.data(), values.size());
    EXPECT_EQ(memory.bytes.size(), 20000u);
    std::vector<long> back(5001, 77);
    memory.SeekToBegin();
    EXPECT_EQ(file.Read(back.data(), 5001), 0) << "one more than there is";
    EXPECT_EQ(back[5000], 77);
    back.pop_back();
    EXPECT_EQ(back, values);
    EXPECT_EQ(file.Read(back.data(), SIZE_MAX / 2), 0);
    EXPECT_EQ(file_cause([&] { file.Write(values.data(), SIZE_MAX / 2); }),
              CFileException::diskFull);
}

TEST(BinaryFile, AnArrayThatWouldPassTheLongestFileIsNotBegun) {
    const TemporaryFolder folder;
    ERFile file(folder.path("file").c_str(), CFile::modeCreate | CFile::modeReadWrite);
    const std::vector<long> longs(1025);
    const std::vector<double> doubles(513);
    file.Seek(static_cast<LONGLONG>(CFile::longest) - 4096, CFile::begin);
    EXPECT_EQ(file_cause([&] { file.Write(longs.data(), 1025); }), CFileException::diskFull);
    EXPECT_EQ(file_cause([&] { file.Write(doubles.data(), 513); }), CFileException::diskFull);
    EXPECT_EQ(file.GetLength(), 0u);
}

TEST(BinaryFile, TextEndsAtNulAtFFAndAtTheEnd) {
    MemoryFile memory;
    ERFile& file = memory;
    EXPECT_EQ(file.Write("abc"), 1);
    EXPECT_EQ(memory.bytes, "abc\0"s);
    memory.bytes += "d\xFFg";
    memory.SeekToBegin();
    for (const char* const expected : {"abc", "d", "g", ""}) {
        char text[8] = "zzzzzzz";
        EXPECT_EQ(file.Read(text), 1);
        EXPECT_STREQ(text, expected);
    }
}

} // namespace
