// The records of values on files and in archives: their bytes, their round trips, and what damage
// does.
#include "velm/frame/box.h"
#include "velm/frame/coordinate.h"
#include "velm/frame/interval.h"
#include "velm/frame/main_direction.h"
#include "velm/frame/pole.h"
#include "velm/frame/value_archive.h"
#include "velm/frame/vec.h"

#include "support/archives.h"

namespace {

using namespace std::string_literals;
using namespace velm_test;

// The doubles 1, 2, ..., n as they stand on file.
std::string doubles(int n) { return n == 0 ? "" : doubles(n - 1) + bytes_of(double(n)); }

template <class Value>
void expect_record(const Value& value, const std::string& record) {
    MemoryFile memory;
    ERFile& file = memory;
    file << value;
    EXPECT_EQ(memory.bytes, record);
    EXPECT_EQ(value.binaryStoreSize(), record.size());
    Value back;
    memory.SeekToBegin();
    file >> back;
    EXPECT_EQ(back, value);
    EXPECT_TRUE(file.Eof());

    // A file that ends after the first double leaves the others alone.
    const std::string nine = bytes_of(9.0);
    back = value;
    EXPECT_EQ(record_of(restore(back, nine)), nine + record.substr(8));
}

TEST(StoredForms, RecordsOnAFile) {
    expect_record(ERPoint2D(1, 2), doubles(2));
    expect_record(ERPoint3D(1, 2, 3), doubles(3));
    expect_record(ERVector2D(1, 2), doubles(2));
    expect_record(ERVector3D(1, 2, 3), doubles(3));
    expect_record(ERPole2DH(1, 2, 3), doubles(3));
    expect_record(ERPole3DH(1, 2, 3, 4), doubles(4));
    expect_record(ERLimites(1, 2), doubles(2));
    expect_record(ERMinimax2D(1, 3, 2, 4), doubles(4));
    expect_record(ERMinimax3D(1, 4, 2, 5, 3, 6), doubles(6));
}

// The form gives the value back, and damaged leaves another one as it is or is refused.
template <class Value>
void expect_archived(const Value& value, const std::string& form) {
    EXPECT_EQ(archived([&](CArchive& archive) { archive << value; }), form);
    Value back;
    expect_loaded(form, back, [](CArchive& archive, Value& v) {
        archive.IsStoring() ? archive << v : archive >> v;
    });
    EXPECT_EQ(back, value);
}

TEST(StoredForms, FormsInAnArchive) {
    expect_archived(ERPoint2D(1, 2), doubles(2));
    expect_archived(ERPoint3D(1, 2, 3), doubles(3));
    expect_archived(ERVector3D(1, 2, 3), doubles(3));
    expect_archived(Coordinate(1, 2, 3), doubles(3));
    expect_archived(ERMinimax3D(1, 4, 2, 5, 3, 6), doubles(6));
}

TEST(StoredForms, AMainDirectionComesBackPositiveFromItsOwnStream) {
    for (int value = 0; value <= 5; ++value) {
        const auto direction = static_cast<ERMainDirection::TypeDir>(value);
        const std::string form =
            archived([&](CArchive& archive) { archive << ERMainDirection(direction); });
        EXPECT_EQ(form, (std::string{static_cast<char>(value / 2), value % 2 ? '\xFF' : '\1'}));
        for (const char sense : {form[1], '\0'}) {
            ERMainDirection back;
            EXPECT_EQ(load_cause({form[0], sense}, [&](CArchive& in) { in >> back; }), 0);
            EXPECT_EQ(static_cast<int>(static_cast<ERMainDirection::TypeDir>(back)),
                      value / 2 * 2 + (sense == 0 ? 1 : 0));
        }
    }
    ERMainDirection back;
    EXPECT_EQ(load_cause("\3\1", [&](CArchive& in) { in >> back; }), CArchiveException::badIndex);
}

struct PointArrays : velm::PointArrayList {
    ~PointArrays() override {
        for (ERVec<ERPoint3D>* array : *this)
            delete array;
    }
};

TEST(StoredForms, ListsOfPointArraysSurviveDamage) {
    PointArrays arrays;
    arrays.AddTail(new ERVec<ERPoint3D>{ERPoint3D(1, 2, 3), ERPoint3D(4, 5, 6)});
    arrays.AddTail(nullptr);
    arrays.AddTail(new ERVec<ERPoint3D>{ERPoint3D(1, 2, 3)});
    const std::string form =
        archived([&](CArchive& a) { a << static_cast<const velm::PointArrayList&>(arrays); });
    EXPECT_EQ(form, "\3\0\0\0\2\0\0\0"s + doubles(6) + "\0\0\0\0\1\0\0\0"s + doubles(3));

    PointArrays back;
    back.AddTail(new ERVec<ERPoint3D>);
    ASSERT_EQ(load_cause(form, [&](CArchive& in) { in >> back; }), 0);
    ASSERT_EQ(back.GetCount(), 4) << "reading appends";
    POSITION p = back.GetHeadPosition();
    back.GetNext(p);
    const ERVec<ERPoint3D>* const first = back.GetNext(p);
    ASSERT_EQ(first->size(), 2);
    EXPECT_EQ((*first)[1], ERPoint3D(4, 5, 6));
    EXPECT_EQ(back.GetNext(p)->size(), 0);

    for (std::size_t size = 0; size < form.size(); ++size) {
        PointArrays cut;
        EXPECT_EQ(load_cause(form.substr(0, size), [&](CArchive& in) { in >> cut; }),
                  CArchiveException::endOfFile)
            << size;
    }
}

TEST(StoredForms, AnArrayBodyIsReadOnlyIfItIsAllThere) {
    const ERVec<double> array{1.0, 2.0};
    const std::string record = record_of(*array.rep());
    EXPECT_EQ(record, "\x10\0\0\0"s + doubles(2));
    const auto body_of = [](const std::string& bytes) {
        MemoryFile file(bytes);
        ERVecRep* const body = ERVecRep::getRep(file);
        return body != nullptr ? std::make_unique<ERVec<char>>(body) : nullptr;
    };
    EXPECT_EQ(body_of(record)->size(), 16);
    EXPECT_EQ(body_of("\0\0\0\0"s)->size(), 0);
    for (std::size_t size = 0; size < record.size(); ++size)
        EXPECT_EQ(body_of(record.substr(0, size)), nullptr);
    EXPECT_EQ(body_of("\xFF\xFF\xFF\xFF"s + doubles(2)), nullptr);
    EXPECT_EQ(body_of("\xFF\xFF\xFF\x7F"s + doubles(2)), nullptr);
}

} // namespace
