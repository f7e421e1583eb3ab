// Stored and archive forms of transformations, byte by byte, and the results of damaged ones.
#include "support/archives.h"
#include "transforms/kinds.h"
#include "velm/frame/value_archive.h"
#include "velm/transforms/plane_transformation.h"
#include "velm/transforms/transformation_archive.h"

namespace {

using namespace velm_test;

std::string numbers(const ERMatrix<double>& m) {
    return std::string(reinterpret_cast<const char*>(m.view().data()), m.view().size_bytes());
}

// A matrix in a stored form: rows, columns, bytes of the body, elements.
std::string record(const ERMatrix<double>& m) {
    return bytes_of(m.rows(), m.columns(), 8 * m.size()) + numbers(m);
}

template <class Object>
Object restored(const std::string& record, Object object = Object()) {
    return restore(object, record);
}

TEST(StoredTransformation, HandlesHaveOneFormAndBodiesTheirOwnFields) {
    RandomTransformations make(51);
    for (const char kind : std::string(kinds)) {
        const ERPmSimilitude3D t = make.handle(kind);
        const std::string form = record_of(t), matrix = record(t.getMatrix());
        EXPECT_EQ(form, matrix + bytes_of(t.getTrans(), t.getFactHomo()));
        const ERPmSimilitude3D again = restored<ERPmSimilitude3D>(form);
        EXPECT_STREQ(again.body()->className(), t.body()->className());
        EXPECT_TRUE(again == t);
        // Cut short anywhere, it fails in a defined way.
        for (std::size_t n = 0; n < form.size(); ++n) {
            const ERPmSimilitude3D cut = restored<ERPmSimilitude3D>(form.substr(0, n));
            EXPECT_EQ(cut.getMatrix().size(), 9);
            EXPECT_TRUE(n >= 84 || cut == ERPmSimilitude3D());
        }

        std::string fields;
        if (std::string("RWYM").find(kind) != std::string::npos) fields = matrix;
        if (std::string("TWM").find(kind) != std::string::npos) fields += bytes_of(t.getTrans());
        if (std::string("SM").find(kind) != std::string::npos) fields += bytes_of(t.getFactHomo());
        EXPECT_EQ(record_of(*t.body()), fields) << kind;
        const t_SmartPtr<ERObject> made(ERClassRegistration::findCreator(t.body()->className())());
        EXPECT_TRUE(*ERTr3DRevRep::castdown(&restore(*made, fields)) == t);
    }
    const ERTransfo2D plane(ERVector2D(3, 4), ERPoint2D(5, 6));
    EXPECT_EQ(record_of(plane), bytes_of(0.6, -0.8, 0.8, 0.6, 5.0, 6.0));
    EXPECT_EQ(record_of(restored<ERTransfo2D>(record_of(plane))), record_of(plane));
}

TEST(StoredTransformation, DamagedMatrices) {
    RandomTransformations make(53);
    const ERPmIsometrie3D before = make.body('W');
    const std::string odd = record(ERMatrix<double>(2, 2)) + bytes_of(ERPoint3D(), 1.0);
    EXPECT_EQ(restored(odd, before).isValid(), 0);
}

// ---- archives ----

template <class Value>
int load(const std::string& form, Value& value) {
    return load_cause(form, [&](CArchive& archive) { archive >> value; });
}

// The archive's bytes give the value back, and cut short anywhere they leave `again` unchanged.
template <class Value>
void expect_archived(const Value& t, const std::string& form, Value again) {
    EXPECT_EQ(archived([&](CArchive& archive) { archive << t; }), form);
    EXPECT_EQ(load(form, again), 0);
    EXPECT_TRUE(again == t);
    EXPECT_STREQ(again.body()->className(), t.body()->className());
    const ERTr3DRevRep* const kept = again.body();
    for (std::size_t n = 0; n < form.size(); ++n)
        EXPECT_EQ(load(form.substr(0, n), again), CArchiveException::endOfFile);
    EXPECT_EQ(again.body(), kept);
}

TEST(ArchivedTransformation, OfEveryKind) {
    RandomTransformations make(55);
    for (const char kind : std::string("ITRW")) {
        const ERPmIsometrie3D t = make.body(kind);
        expect_archived<ERPmIsometrie3D>(
            t, bytes_of(t.getVector(Coord3D_X), t.getVector(Coord3D_Y), t.getTrans()),
            make.body('W'));
    }
    for (const char kind : std::string(kinds)) {
        const ERPmSimilitude3D t = make.handle(kind);
        const std::string m = numbers(t.getMatrix());
        std::string expected = bytes_of(3, 3);
        for (const std::size_t row : {0u, 24u, 48u})
            expected += bytes_of(3) + m.substr(row, 24);
        expected += bytes_of(t.getTrans(), t.getFactHomo());
        expect_archived(t, expected, make.handle('M'));
        ERPmSimilitude3D kept = t;
        EXPECT_EQ(load(bytes_of(1, 1, 1, 2.0) + expected.substr(92), kept),
                  CArchiveException::badIndex);
        EXPECT_EQ(kept.body(), t.body());
    }
}

} // namespace
