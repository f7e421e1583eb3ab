// Stored and archive forms of transformations, byte by byte, and what damaged ones give.
#include "support/caught.h"
#include "support/memory_file.h"
#include "transforms/kinds.h"
#include "velm/frame/smart_pointer.h"
#include "velm/frame/value_archive.h"
#include "velm/platform/archive.h"
#include "velm/transforms/plane_transformation.h"
#include "velm/transforms/transformation_archive.h"

#include <gtest/gtest.h>
#include <string>

namespace {

using velm_test::archive_cause;
using velm_test::MemoryFile;
using velm_test::RandomTransformations;

template <class... Values>
std::string bytes(const Values&... values) {
    std::string result;
    (result.append(reinterpret_cast<const char*>(&values), sizeof values), ...);
    return result;
}

std::string numbers(const ERMatrix<double>& m) {
    return std::string(reinterpret_cast<const char*>(m.view().data()), m.view().size_bytes());
}

/// A matrix in a stored form: rows, columns, bytes of the body, elements.
std::string record(const ERMatrix<double>& m) {
    return bytes(m.rows(), m.columns(), 8 * m.size()) + numbers(m);
}

std::string stored(const ERObject& object) {
    MemoryFile file;
    file << object;
    EXPECT_EQ(file.bytes.size(), object.binaryStoreSize());
    return file.bytes;
}

template <class Object>
Object restored(const std::string& record, Object object = Object()) {
    MemoryFile file(record);
    file >> object;
    return object;
}

TEST(StoredTransformation, HandlesHaveOneFormAndBodiesTheirOwnFields) {
    RandomTransformations make(51);
    for (const char kind : std::string(velm_test::kinds)) {
        const ERPmSimilitude3D t = make.handle(kind);
        const std::string form = stored(t), matrix = record(t.getMatrix());
        EXPECT_EQ(form, matrix + bytes(t.getTrans(), t.getFactHomo()));
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
        if (std::string("TWM").find(kind) != std::string::npos) fields += bytes(t.getTrans());
        if (std::string("SM").find(kind) != std::string::npos) fields += bytes(t.getFactHomo());
        EXPECT_EQ(stored(*t.body()), fields) << kind;
        const t_SmartPtr<ERObject> made(ERClassRegistration::findCreator(t.body()->className())());
        MemoryFile file(fields);
        file >> *made;
        EXPECT_TRUE(*ERTr3DRevRep::castdown(made.get()) == t);
    }
    const ERTransfo2D plane(ERVector2D(3, 4), ERPoint2D(5, 6));
    EXPECT_EQ(stored(plane), bytes(0.6, -0.8, 0.8, 0.6, 5.0, 6.0));
    EXPECT_EQ(stored(restored<ERTransfo2D>(stored(plane))), stored(plane));
}

TEST(StoredTransformation, DamagedMatrices) {
    RandomTransformations make(53);
    const ERPmIsometrie3D before = make.body('W');
    const std::string form = stored(make.handle('M'));
    for (int i = 0; i < 2000; ++i) {
        std::string damaged = form;
        damaged[static_cast<std::size_t>(make.random.below(i % 2 ? 12 : 116))] =
            static_cast<char>(make.random.next());
        const ERPmIsometrie3D t = restored(damaged, before);
        ERPoint3D p = make.point();
        t.TransTo(t.TransFrom(p)); // no matter what, but defined
        EXPECT_LE(t.isValid(), 1);
    }
    const std::string odd = record(ERMatrix<double>(2, 2)) + bytes(ERPoint3D(), 1.0);
    EXPECT_EQ(restored(odd, before).isValid(), 0);
}

// ---- archives ----

template <class Value>
std::string archived(const Value& value) {
    MemoryFile file;
    CArchive archive(&file, CArchive::store);
    archive << value;
    archive.Close();
    return file.bytes;
}

template <class Value>
int load(const std::string& form, Value& value) {
    return archive_cause([&] {
        MemoryFile file(form);
        CArchive archive(&file, CArchive::load);
        archive >> value;
    });
}

/// The archive's bytes give the value back, and cut short anywhere leave `again` as it is.
template <class Value>
void expect_archived(const Value& t, const std::string& form, Value again) {
    EXPECT_EQ(archived(t), form);
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
            t, bytes(t.getVector(Coord3D_X), t.getVector(Coord3D_Y), t.getTrans()), make.body('W'));
    }
    for (const char kind : std::string(velm_test::kinds)) {
        const ERPmSimilitude3D t = make.handle(kind);
        const std::string m = numbers(t.getMatrix());
        std::string expected = bytes(3, 3);
        for (const std::size_t row : {0u, 24u, 48u})
            expected += bytes(3) + m.substr(row, 24);
        expected += bytes(t.getTrans(), t.getFactHomo());
        expect_archived(t, expected, make.handle('M'));
        ERPmSimilitude3D kept = t;
        EXPECT_EQ(load(bytes(1, 1, 1, 2.0) + expected.substr(92), kept),
                  CArchiveException::badIndex);
        EXPECT_EQ(kept.body(), t.body());
    }
}

} // namespace
