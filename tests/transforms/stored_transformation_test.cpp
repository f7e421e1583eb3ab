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

TEST(StoredTransformation, EveryHandleHasTheSameForm) {
    RandomTransformations make(51);
    for (const char kind : std::string(velm_test::kinds)) {
        const ERPmSimilitude3D t = make.handle(kind);
        const std::string form = stored(t);
        EXPECT_EQ(form, record(t.getMatrix()) + bytes(t.getTrans(), t.getFactHomo()));
        EXPECT_EQ(form.size(), 116u);
        const ERPmSimilitude3D again = restored<ERPmSimilitude3D>(form);
        EXPECT_STREQ(again.body()->className(), t.body()->className());
        EXPECT_TRUE(again == t);
        // Cut short anywhere, it fails in a defined way.
        for (std::size_t n = 0; n < form.size(); ++n) {
            const ERPmSimilitude3D cut = restored<ERPmSimilitude3D>(form.substr(0, n));
            EXPECT_EQ(cut.getMatrix().size(), 9);
            EXPECT_TRUE(n >= 84 || cut == ERPmSimilitude3D());
        }
    }
}

TEST(StoredTransformation, BodiesStoreTheirOwnFields) {
    RandomTransformations make(52);
    for (const char kind : std::string(velm_test::kinds)) {
        const ERPmSimilitude3D t = make.handle(kind);
        std::string expected;
        if (std::string("RWYM").find(kind) != std::string::npos) expected = record(t.getMatrix());
        if (std::string("TWM").find(kind) != std::string::npos) expected += bytes(t.getTrans());
        if (std::string("SM").find(kind) != std::string::npos) expected += bytes(t.getFactHomo());
        EXPECT_EQ(stored(*t.body()), expected) << kind;

        const t_SmartPtr<ERObject> made(ERClassRegistration::findCreator(t.body()->className())());
        const auto* const body = ERTr3DRevRep::castdown(made.get());
        ERPoint3D p = make.point(), q = p;
        EXPECT_EQ(body->TransFrom(p), q) << "a new body leaves everything in its place";
        MemoryFile file(expected);
        file >> *made;
        EXPECT_TRUE(*body == t);
    }
}

TEST(StoredTransformation, DamagedMatrices) {
    RandomTransformations make(53);
    const ERPmIsometrie3D before = make.body('W');
    std::string form = stored(make.handle('M'));
    velm_test::Random random(54);
    for (int i = 0; i < 2000; ++i) {
        std::string damaged = form;
        damaged[static_cast<std::size_t>(random.below(i % 2 ? 12 : 116))] =
            static_cast<char>(random.next());
        const ERPmIsometrie3D t = restored(damaged, before);
        ERPoint3D p = make.point();
        t.TransTo(t.TransFrom(p)); // no matter what, but defined
        EXPECT_LE(t.isValid(), 1);
    }
    const ERPmIsometrie3D odd =
        restored(record(ERMatrix<double>(2, 2)) + bytes(ERPoint3D(), 1.0), before);
    EXPECT_EQ(odd.isValid(), 0);
}

TEST(StoredTransformation, OfThePlane) {
    ERTransfo2D t(ERVector2D(3, 4), ERPoint2D(5, 6));
    EXPECT_EQ(stored(t), bytes(0.6, -0.8, 0.8, 0.6, 5.0, 6.0));
    EXPECT_EQ(stored(restored<ERTransfo2D>(stored(t))), stored(t));
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

TEST(ArchivedTransformation, Isometries) {
    RandomTransformations make(55);
    for (const char kind : std::string("ITRW")) {
        const ERPmIsometrie3D t = make.body(kind);
        const std::string form = archived(t);
        EXPECT_EQ(form, bytes(t.getVector(Coord3D_X), t.getVector(Coord3D_Y), t.getTrans()));
        ERPmIsometrie3D again = make.body('W');
        EXPECT_EQ(load(form, again), 0);
        EXPECT_TRUE(again == t);
        EXPECT_STREQ(again.body()->className(), t.body()->className());

        const ERTr3DRevRep* const kept = again.body();
        for (const std::size_t n : {0u, 23u, 48u, 71u})
            EXPECT_EQ(load(form.substr(0, n), again), CArchiveException::endOfFile);
        EXPECT_EQ(again.body(), kept);
    }
}

TEST(ArchivedTransformation, Similitudes) {
    RandomTransformations make(56);
    for (const char kind : std::string(velm_test::kinds)) {
        const ERPmSimilitude3D t = make.handle(kind);
        const std::string m = numbers(t.getMatrix());
        std::string expected = bytes(3, 3);
        for (const std::size_t row : {0u, 24u, 48u})
            expected += bytes(3) + m.substr(row, 24);
        expected += bytes(t.getTrans(), t.getFactHomo());
        const std::string form = archived(t);
        EXPECT_EQ(form, expected);
        ERPmSimilitude3D again = make.handle('M');
        EXPECT_EQ(load(form, again), 0);
        EXPECT_TRUE(again == t);
        EXPECT_STREQ(again.body()->className(), t.body()->className());
        const ERTr3DRevRep* const kept = again.body();
        for (std::size_t n = 0; n < form.size(); ++n)
            EXPECT_NE(load(form.substr(0, n), again), 0);
        EXPECT_EQ(load(bytes(1, 1, 1, 2.0) + expected.substr(92), again),
                  CArchiveException::badIndex);
        EXPECT_EQ(again.body(), kept);
    }
}

} // namespace
