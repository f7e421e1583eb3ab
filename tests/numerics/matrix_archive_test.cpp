// The forms of a matrix in an archive and in a file, byte by byte, and damaged ones.
#include "velm/numerics/matrix_archive.h"

#include "support/archives.h"

namespace {

using namespace velm_test;

std::string stored(const ERMatrix<double>& matrix) {
    return archived([&](CArchive& archive) { archive << matrix; });
}
int load(const std::string& bytes, ERMatrix<double>& matrix) {
    return load_cause(bytes, [&](CArchive& archive) { archive >> matrix; });
}
std::string count(unsigned n) { return bytes_of(n); }

TEST(MatrixArchive, FormAndBack) {
    const double values[] = {1, 2, 3, 4, 5, 6};
    const ERMatrix<double> matrix(2, 3, values);
    const std::string raw(reinterpret_cast<const char*>(values), sizeof values);
    const std::string bytes =
        count(2) + count(3) + count(3) + raw.substr(0, 24) + count(3) + raw.substr(24);
    EXPECT_EQ(stored(matrix), bytes);
    ERMatrix<double> back;
    expect_loaded(bytes, back, [](CArchive& archive, ERMatrix<double>& m) {
        archive.IsStoring() ? archive << m : archive >> m;
    });
    EXPECT_TRUE(back == matrix);
    EXPECT_EQ(load(stored(ERMatrix<double>(0, 4)), back), 0);
    EXPECT_EQ(back.rows(), 0);
    EXPECT_EQ(back.columns(), 4);
    EXPECT_EQ(load(stored(ERMatrix<double>(3, 0)), back), 0);
    EXPECT_EQ(back.rows(), 3);
}

TEST(MatrixArchive, DamageIsAnExceptionAndLeavesTheMatrix) {
    const double values[] = {1, 2, 3, 4};
    const ERMatrix<double> matrix(2, 2, values);
    const std::string good = stored(matrix);
    ERMatrix<double> kept(matrix);
    const std::string rows = good.substr(8);
    EXPECT_NE(load(count(0xFFFFFFFF) + count(0) + rows, kept), 0);
    EXPECT_NE(load(count(0) + count(0xFFFFFFFF) + rows, kept), 0);
    EXPECT_NE(load(count(2) + count(0x7FFFFFFF) + rows, kept), 0);
    EXPECT_NE(load(count(5) + count(5) + rows, kept), 0);
    EXPECT_NE(load(count(2) + count(1) + rows, kept), 0); // a row that is longer than the matrix
    EXPECT_TRUE(kept == matrix);
}

TEST(MatrixRecord, ComesBackOrLeavesTheMatrix) {
    const double values[] = {1, 2, 3, 4, 5, 6};
    const ERMatrix<double> matrix(2, 3, values);
    const std::string record = record_of(matrix), body = record.substr(8);
    EXPECT_EQ(record.substr(0, 12), count(2) + count(3) + count(sizeof values));
    ERMatrix<double> back(1, 1);
    EXPECT_TRUE(restore(back, record) == matrix);
    for (const std::string& damaged :
         {count(3) + count(3) + body, count(2) + count(0x7F000003) + body, record.substr(0, 30)})
        EXPECT_TRUE(restore(back, damaged) == matrix);
}

} // namespace
