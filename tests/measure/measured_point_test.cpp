// Measured points and persistent values: their records and archive forms byte by byte, and how they
// move.
#include "velm/measure/measured_point.h"
#include "velm/measure/persistent_values.h"

#include "support/archives.h"
#include "velm/transforms/transformation_factories.h"
#include "velm/transforms/transformed_values.h"

#include <gtest/gtest.h>
#include <memory>
#include <sstream>

namespace {

using namespace velm_test;

const ERCMMPoint sample(ERPoint3D(1, 2, 3), ERVector3D(0, 0, 4), 0x12345);

template <class T>
std::string text(const T& value) {
    std::ostringstream out;
    out << value;
    return out.str();
}

TEST(MeasuredPoint, Forms) {
    EXPECT_EQ(sample.pretouch, ERPoint3D(1, 2, 7));
    EXPECT_EQ(text(sample), "CMM Point  [1,2,3] pretouch=[1,2,7]\n");
    EXPECT_TRUE(sample == ERCMMPoint(ERPoint3D(), ERPoint3D(), 0x12345) &&
                !(sample == ERCMMPoint()));
    const double numbers[] = {1, 2, 3, 0, 0, 4};
    MemoryFile file;
    static_cast<ERFile&>(file) << sample;
    EXPECT_EQ(file.bytes, bytes_of(0x12345, numbers));
    EXPECT_EQ(file.bytes.size(), sample.binaryStoreSize());
    ERCMMPoint point;
    file.Seek(0, CFile::begin);
    static_cast<ERFile&>(file) >> point;
    EXPECT_TRUE(point == sample && point.point == sample.point &&
                point.pretouch == sample.pretouch);

    // In an archive the identifier loses its upper half, and its sign.
    const ERCMMPointWithDiameter ball(1, 2, 3, 0, 0, 4, 2.5, -2);
    const std::string bytes = bytes_of(WORD{0xFFFE}, numbers, 2.5);
    EXPECT_EQ(archived([&](CArchive& a) { a << static_cast<const ERCMMPoint&>(ball); }).size(),
              50u);
    EXPECT_EQ(archived([&](CArchive& a) { ERCMMPointWithDiameter(ball).Serialize(a); }), bytes);
    ERCMMPointWithDiameter loaded;
    EXPECT_EQ(load_cause(bytes, [&](CArchive& a) { loaded.Serialize(a); }), 0);
    EXPECT_TRUE(loaded.id() == 0xFFFE && loaded.pretouch == ball.pretouch &&
                loaded.diameter == 2.5);
    expect_damage_refused(bytes, ball, [](CArchive& a, auto& p) { p.Serialize(a); });
}

TEST(MeasuredPoint, IsKnownUnderOldNames) {
    for (const char* name :
         {"ERCMMPointWithDiameter", "CMMPointWithDiameter", "PointMesureDegauSurForme"}) {
        const CRuntimeClass* const record = CRuntimeClass::FromName(name);
        ASSERT_NE(record, nullptr) << name;
        EXPECT_EQ(record->m_wSchema, 0x80000001);
        EXPECT_EQ(record->m_nObjectSize, static_cast<int>(sizeof(ERCMMPointWithDiameter)));
        const std::unique_ptr<CObject> made(record->CreateObject());
        EXPECT_EQ(made->GetRuntimeClass(), ERCMMPointWithDiameter::GetThisClass());
    }
}

TEST(MeasuredPoint, ListsAreAppendedAndPurged) {
    velm::MeasuredPointList list;
    list.AddTail(new ERCMMPointWithDiameter(sample, 6));
    const std::string bytes = archived([&](CArchive& archive) { archive << list; });
    EXPECT_EQ(bytes.substr(0, 6), bytes_of(DWORD{1}, WORD{0x2345}));
    EXPECT_EQ(load_cause(bytes, [&](CArchive& archive) { archive >> list; }), 0);
    ASSERT_EQ(list.GetCount(), 2);
    EXPECT_EQ(list.GetTail()->probe_diameter(), 6);
    EXPECT_NE(load_cause(bytes_of(DWORD{2}, bytes.substr(4)),
                         [&](CArchive& archive) { archive >> list; }),
              0);
    Purge(list);
    EXPECT_TRUE(list.IsEmpty());
}

TEST(MeasuredPoint, Moves) {
    ERCMMPointWithDiameter ball(sample, 6);
    ball.compensate(2);
    EXPECT_TRUE(ball.point == ERPoint3D(2, 4, 6) && ball.IJK() == ERVector3D(0, 0, 8) &&
                ball.diameter == 6);
    ball.scale(0.5);
    EXPECT_TRUE(ball.point == sample.point && ball.pretouch == sample.pretouch &&
                ball.diameter == 3);
    ERSimpleVec<ERCMMPoint> points(2, sample);
    const ERSimpleVec<ERCMMPoint> before(points);
    TransformFrom(points, ERTranslation3D(ERVector3D(1, 0, 0)));
    scale(points, 2);
    EXPECT_EQ(points[1].point, ERPoint3D(4, 4, 6));
    EXPECT_EQ(points[1].pretouch, ERPoint3D(4, 4, 14));
    EXPECT_EQ(before[1].point, sample.point);
}

/// Stores the object, restores another one from it, and gives the record.
template <class T>
std::string through_a_file(const T& object, T& other) {
    MemoryFile file;
    object.saveGuts(file);
    EXPECT_EQ(file.bytes.size(), object.binaryStoreSize());
    file.Seek(0, CFile::begin);
    other.restoreGuts(file);
    return file.bytes;
}

TEST(PersistentValues, StoreAndMoveAsTheirValues) {
    const ERPersistentPoint2D flat(ERPoint2D(1, 2));
    const ERPersistentPoint3D solid(ERPoint3D(1, 2, 3));
    const ERPersistentVector3D vector(ERVector3D(1, 2, 3));
    const gmPersistentPoint3DPair pair(ERPoint3D(1, 2, 3), ERPoint3D(4, 5, 6));
    ERPersistentPoint2D flat_back;
    ERPersistentPoint3D solid_back;
    ERPersistentVector3D vector_back;
    gmPersistentPoint3DPair pair_back;
    const double numbers[] = {1, 2, 3, 4, 5, 6};
    const std::string six = bytes_of(numbers);
    EXPECT_EQ(through_a_file(flat, flat_back), six.substr(0, 16));
    EXPECT_EQ(through_a_file(solid, solid_back), six.substr(0, 24));
    EXPECT_EQ(through_a_file(vector, vector_back), "");
    EXPECT_EQ(through_a_file(pair, pair_back), six);
    EXPECT_EQ(text(flat_back) + text(solid_back) + text(vector), "(P) [1,2](P) [1,2,3](P) <1,2,3>");
    EXPECT_EQ(text(pair_back), "(P) [1,2,3](P) [4,5,6]");

    const ERPmIsometrie3D shift = ERTranslation3D(ERVector3D(1, 1, 1));
    EXPECT_EQ((shift >> solid).value(), ERPoint3D(2, 3, 4));
    EXPECT_EQ((shift << solid).value(), ERPoint3D(0, 1, 2));
    EXPECT_EQ((ERTransfo2D(ERVector2D(1, 1)) << flat).value(), ERPoint2D(0, 1));
    pair_back.translate(pair_back.get_first_point());
    pair_back.scale(2);
    EXPECT_EQ(text(shift >> pair_back), "(P) [5,9,13](P) [11,15,19]");
    solid_back = ERPoint3D(7, 8, 9);
    const std::unique_ptr<ERObject> copy(solid_back.getCopy());
    EXPECT_STREQ(copy->className(), "ERPersistentPoint3D");
    EXPECT_EQ(ERPersistentPoint3D::castdown(copy.get())->value(), ERPoint3D(7, 8, 9));
}

} // namespace
