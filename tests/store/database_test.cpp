// The store as a host uses it: indices, codes, properties.
#include "store/store_files.h"
#include "support/caught.h"
#include "support/records.h"
#include "velm/store/db_object.h"

#include <sys/stat.h>

namespace {

using namespace velm_test;

struct DataBase : StoreTest {
    void TearDown() override { expect_sound(); }
};

TEST_F(DataBase, NumbersObjectsInTheOrderOfSaving) {
    gmErrorCode code = gmGenericError;
    t_SmartPtr<ERObject> first(new Sample(1, 10));
    {
        ERDataBase data;
        EXPECT_EQ(data.Open(path.c_str(), 1), gmAccessDenied);
        EXPECT_FALSE(ERFile::Exists(path.c_str()));
        ASSERT_EQ(data.Open(path.c_str(), 0), gmSuccess);
        EXPECT_EQ(data.getNbEnt(), 0);
        EXPECT_EQ(data.save(first), gmSuccess);
        EXPECT_EQ(first->getObjectID(), 2) << "the index is object 1";
        EXPECT_EQ(data.save(new Sample(2, 20)), gmSuccess);
        EXPECT_EQ(data.save(first), gmSuccess);
        EXPECT_EQ(data.getNbEnt(), 3);
        EXPECT_EQ(data.restore(2, code)->getObjectID(), 2) << "saved twice, it has two indices";
        EXPECT_EQ(data.save(nullptr), gmGenericError);
        ERDataBase copy(data);
        EXPECT_EQ(copy.save(new Sample(3, 1)), gmSuccess);
        EXPECT_EQ(data.getNbEnt(), 4);
        EXPECT_EQ(copy.Close(), gmSuccess);
        EXPECT_EQ(data.save(first), gmInvalidFile) << "closed for all";
        EXPECT_FALSE(data.restore(0, code));
        EXPECT_EQ(code, gmInvalidFile);
    }
    ERDataBase data;
    ASSERT_EQ(data.Open(path.c_str(), 1), gmSuccess);
    EXPECT_EQ(data.getNbEnt(), 4);
    EXPECT_EQ(Sample::castdown(*data.restore(1, code)), Sample(2, 20));
    EXPECT_FALSE(data.restore(4, code));
    EXPECT_EQ(code, gmSuccess);
    EXPECT_FALSE(data.restore(-1, code));
    EXPECT_EQ(data.save(first), gmAccessDenied);
    EXPECT_EQ(data.get_db_version(), 1001u);
}

TEST_F(DataBase, RefusesByCode) {
    ERDataBase data;
    ASSERT_EQ(data.Open(path.c_str(), 0), gmSuccess);
    EXPECT_EQ(data.Open(folder.path("missing").c_str(), 1), gmAccessDenied);
    EXPECT_EQ(data.save(new Sample(1, 1)), gmSuccess) << "what was open stays open";
    EXPECT_EQ(data.Close(), gmSuccess);
    const std::string later = folder.file("later", with_word(bytes(), 284, 1002));
    EXPECT_EQ(data.Open(later.c_str(), 0), gmFileRefused);
    EXPECT_EQ(data.Open(folder.path("no/file").c_str(), 0), gmBadPath);
    EXPECT_EQ(data.Open(folder.path("").c_str(), 0), gmAccessDenied) << "a folder";
    const std::string pipe = folder.path("pipe");
    ASSERT_EQ(::mkfifo(pipe.c_str(), 0600), 0);
    EXPECT_EQ(data.Open(pipe.c_str(), 0), gmInvalidFile) << "refused, not waited for";
    EXPECT_EQ(data.Open(pipe.c_str(), 1), gmInvalidFile);
    EXPECT_EQ(data.getNbEnt(), 1);
    for (int cause = -1; cause <= 17; ++cause) {
        const bool known = cause == 0 || (cause >= 2 && cause <= 14);
        EXPECT_EQ(ERDataBase::exception_to_error_code(new CFileException(cause)),
                  known ? cause : gmGenericError);
    }
}

TEST_F(DataBase, ReadersShareAndAWriterIsAlone) {
    const auto opened_beside = [&](int read_only) {
        ERDataBase other;
        return other.Open(path.c_str(), read_only);
    };
    ERDataBase data;
    ASSERT_EQ(data.Open(path.c_str(), 0), gmSuccess);
    EXPECT_EQ(opened_beside(0), gmSharingViolation);
    EXPECT_EQ(opened_beside(1), gmSharingViolation);
    data.Close();
    ASSERT_EQ(data.Open(path.c_str(), 1), gmSuccess);
    EXPECT_EQ(opened_beside(1), gmSuccess);
    EXPECT_EQ(opened_beside(0), gmSharingViolation);
    data.Close();
    EXPECT_EQ(opened_beside(0), gmSuccess);
}

// Twenty-one classes fill more than one node of the class tree: the opening misses some of them.
TEST_F(DataBase, ClassesThatTheOpeningMisses) {
    // Raw records of many classes, made by name only.
    struct Named : Sample {
        explicit Named(std::string n) : name(std::move(n)) {}
        char const* className() const override { return name.c_str(); }
        std::string name;
    };
    gmErrorCode code;
    {
        ERDataBase data;
        data.Open(path.c_str(), 0);
        data.save(new Sample(1, 1));
        for (char c = 'A'; c <= 'Z'; ++c) { // names before and after "Sample"
            data.save(new Named(std::string(1, c) + "class"));
            data.save(new Named(std::string("Sa") + c));
        }
    }
    ERDataBase data;
    data.Open(path.c_str(), 0);
    EXPECT_FALSE(data.restore(0, code)) << "its class is not known yet";
    EXPECT_EQ(code, gmSuccess);
    data.save(new Sample(2, 2));
    EXPECT_TRUE(data.restore(0, code));
    data.Close();
    EXPECT_TRUE(velm::StoredObjects(path.c_str()).create(2)) << "the tools know them all";
}

TEST(DBObject, HasFixedKeysAndTwoKindsOfGetters) {
    ERDBObject record;
    EXPECT_EQ(record.binaryStoreSize(), 8u);
    EXPECT_EQ(record.color(), 0);
    EXPECT_EQ(record.binaryStoreSize(), 8u);
    EXPECT_STREQ(record.name(), "");
    EXPECT_EQ(record.binaryStoreSize(), 13u) << "looking for a name enters it";
    EXPECT_EQ(record.isDirty(), 0);
    record.name("rim");
    EXPECT_EQ(record.isDirty(), 1);
    record.color_rgb(0xFFEEDDCCul);
    record.set_faults(2);
    record.level_name("outer");
    record.property(100, 0.05).property(-1, 5).property(100, "0.05 mm");
    EXPECT_EQ(record.property(100).getType(), ERDBObjProperty::string_value);
    ERDBObject read;
    restore(read, record_of(record));
    EXPECT_STREQ(read.level_name(), "outer");
    const ERDBObject copy(read);
    EXPECT_STREQ(copy.name(), "rim");
    EXPECT_NE(copy.name(), read.name());
    EXPECT_EQ(copy.color_rgb(), 0xFFEEDDCCul);
    EXPECT_EQ(static_cast<int>(copy.property(6)), 2) << "the faults";
    EXPECT_EQ(read.getCopy(), nullptr);
}

} // namespace
