// The stored form of the small values: their doubles in field order, and nothing else.
#include "velm/frame/box.h"
#include "velm/frame/interval.h"
#include "velm/frame/pole.h"
#include "velm/frame/vector.h"

#include "support/memory_file.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

using velm_test::MemoryFile;

std::string bytes_of(const std::vector<double>& numbers) {
    return {reinterpret_cast<const char*>(numbers.data()), 8 * numbers.size()};
}

template <class Value>
void expect_form(const Value& value, const std::vector<double>& fields) {
    MemoryFile file;
    value.saveGuts(file);
    EXPECT_EQ(file.bytes, bytes_of(fields));
    EXPECT_EQ(value.binaryStoreSize(), 8 * fields.size());

    file.Seek(0, CFile::begin);
    Value read;
    read.restoreGuts(file);
    EXPECT_EQ(read, value);
    EXPECT_TRUE(file.Eof());

    // A file that ends after the first double leaves the others alone.
    MemoryFile cut(bytes_of({-1.0}));
    read.restoreGuts(cut);
    MemoryFile again;
    read.saveGuts(again);
    std::vector<double> mixed = fields;
    mixed[0] = -1.0;
    EXPECT_EQ(again.bytes, bytes_of(mixed));
}

TEST(StoredValue, IsTheDoublesInFieldOrder) {
    expect_form(ERPoint2D(1.5, 2), {1.5, 2});
    expect_form(ERPoint3D(1.5, 2, 3), {1.5, 2, 3});
    expect_form(ERVector2D(1.5, 2), {1.5, 2});
    expect_form(ERVector3D(1.5, 2, 3), {1.5, 2, 3});
    expect_form(ERPole2DH(1.5, 2, 3), {1.5, 2, 3});
    expect_form(ERPole3DH(1.5, 2, 3, 4), {1.5, 2, 3, 4});
    expect_form(ERLimites(1.5, 2), {1.5, 2});
    expect_form(ERMinimax2D(1.5, 3, 2, 4), {1.5, 2, 3, 4}); // minima first
    expect_form(ERMinimax3D(1, 4, 2, 5, 3, 6), {1, 2, 3, 4, 5, 6});
}

} // namespace
