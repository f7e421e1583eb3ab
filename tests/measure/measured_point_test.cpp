// Measured points and persistent values: their records and archive forms byte by byte, and how they
// move.
#include "velm/measure/measured_point.h"
#include "velm/measure/persistent_values.h"

#include "support/archives.h"
#include "velm/transforms/transformation_factories.h"
#include "velm/transforms/transformed_values.h"

namespace {

using namespace velm_test;

const ERCMMPoint sample(ERPoint3D(1, 2, 3), ERVector3D(0, 0, 4), 0x12345);

// Stores the object, restores another one from it, and gives the record.
template <class T>
std::string through_a_file(const T& object, T& other) {
    const std::string record = record_of(object);
    restore(other, record);
    return record;
}

TEST(MeasuredPoint, Forms) {
    const double numbers[] = {1, 2, 3, 0, 0, 4};
    ERCMMPoint point;
    EXPECT_EQ(through_a_file(sample, point), bytes_of(0x12345, numbers));
    EXPECT_EQ(text_of(point), "CMM Point  [1,2,3] pretouch=[1,2,7]\n");
    EXPECT_TRUE(point == ERCMMPoint(ERPoint3D(), ERPoint3D(), 0x12345) && !(point == ERCMMPoint()));
    // In an archive the identifier loses its upper half, and its sign.
    ERCMMPointWithDiameter ball(1, 2, 3, 0, 0, 4, 2.5, -2), loaded;
    const std::string bytes = bytes_of(WORD{0xFFFE}, numbers, 2.5);
    EXPECT_EQ(archived([&](CArchive& archive) { ball.Serialize(archive); }), bytes);
    expect_loaded(bytes, loaded, [](CArchive& archive, auto& p) { p.Serialize(archive); });
    EXPECT_TRUE(loaded.id() == 0xFFFE && loaded.IJK() == ball.IJK() && loaded.diameter == 2.5);
    velm::MeasuredPointList list;
    list.AddTail(new ERCMMPointWithDiameter(ball));
    EXPECT_EQ(load_cause(bytes_of(DWORD{1}, bytes), [&](CArchive& a) { a >> list; }), 0);
    EXPECT_EQ(archived([&](CArchive& a) { a << list; }), bytes_of(DWORD{2}, bytes, bytes));
    EXPECT_NE(load_cause(bytes_of(DWORD{2}, bytes), [&](CArchive& a) { a >> list; }), 0);
    Purge(list);
    EXPECT_TRUE(list.IsEmpty());
    for (const char* name :
         {"ERCMMPointWithDiameter", "CMMPointWithDiameter", "PointMesureDegauSurForme"}) {
        const CRuntimeClass* const record = CRuntimeClass::FromName(name);
        ASSERT_TRUE(record != nullptr && record->m_wSchema == 0x80000001) << name;
        const std::unique_ptr<CObject> made(record->CreateObject());
        EXPECT_EQ(made->GetRuntimeClass(), ERCMMPointWithDiameter::GetThisClass());
    }
}

TEST(MeasuredPoint, Moves) {
    ERCMMPointWithDiameter ball(sample, 6);
    ball.compensate(2);
    EXPECT_EQ(text_of(ball), "CMM Point  [2,4,6] pretouch=[2,4,14]\n");
    EXPECT_EQ(ball.diameter, 6);
    ball.scale(0.5);
    EXPECT_TRUE(text_of(ball) == text_of(sample) && ball.diameter == 3);
    ERSimpleVec<ERCMMPoint> points(2, sample);
    TransformFrom(points, ERTranslation3D(ERVector3D(1, 0, 0)));
    scale(points, 2);
    EXPECT_EQ(text_of(points[1]), "CMM Point  [4,4,6] pretouch=[4,4,14]\n");
}

TEST(PersistentValues, StoreAndMoveAsTheirValues) {
    const double numbers[] = {1, 2, 3, 4, 5, 6};
    const std::string six = bytes_of(numbers);
    ERPersistentPoint2D flat;
    ERPersistentPoint3D solid;
    ERPersistentVector3D vector;
    gmPersistentPoint3DPair pair;
    EXPECT_EQ(through_a_file({ERPoint2D(1, 2)}, flat), six.substr(0, 16));
    EXPECT_EQ(through_a_file({ERPoint3D(1, 2, 3)}, solid), six.substr(0, 24));
    EXPECT_EQ(through_a_file({ERVector3D(1, 2, 3)}, vector), "");
    EXPECT_EQ(through_a_file({ERPoint3D(1, 2, 3), ERPoint3D(4, 5, 6)}, pair), six);
    EXPECT_EQ(text_of(flat) + text_of(solid) + text_of(vector), "(P) [1,2](P) [1,2,3](P) <0,0,0>");
    EXPECT_EQ(text_of(pair), "(P) [1,2,3](P) [4,5,6]");
    const ERPmIsometrie3D shift = ERTranslation3D(ERVector3D(1, 1, 1));
    EXPECT_EQ(text_of(shift >> solid) + text_of(shift << solid), "(P) [2,3,4](P) [0,1,2]");
    EXPECT_EQ(text_of(ERTransfo2D(ERVector2D(1, 1)) << flat), "(P) [0,1]");
    pair.translate(pair.get_first_point());
    pair.scale(2);
    EXPECT_EQ(text_of(shift >> pair), "(P) [5,9,13](P) [11,15,19]");
    solid = ERPoint3D(7, 8, 9);
    const std::unique_ptr<ERObject> copy(solid.getCopy());
    EXPECT_EQ(text_of(ERPersistentPoint3D::castdown(*copy)), "(P) [7,8,9]");
}

} // namespace
