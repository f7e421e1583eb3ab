// An object in a store of its own whose record is overwritten.
#pragma once

#include "support/records.h"
#include "support/temporary_folder.h"
#include "velm/store/database.h"

namespace velm_test {

template <class Object>
class StoredRecord {
public:
    explicit StoredRecord(Object* object) : kept(object) {
        ERDataBase data;
        EXPECT_EQ(data.Open(path.c_str(), 0), gmSuccess);
        EXPECT_EQ(data.save(kept.get()), gmSuccess);
        record = record_of(*kept);
        data.Close();
        bytes_ = TemporaryFolder::bytes_of(path);
        at = bytes_.find(record);
        EXPECT_TRUE(at != std::string::npos && bytes_.find(record, at + 1) == std::string::npos);
    }
    /// What comes back with bytes from an offset of the record on replaced; the offset may be that
    /// of a byte before the record.
    t_SmartPtr<Object> with(std::size_t offset, const std::string& other) const {
        std::string changed = bytes_;
        changed.replace(at + offset, other.size(), other);
        std::ofstream(path, std::ios::binary) << changed;
        ERDataBase data;
        if (data.Open(path.c_str(), 1) != gmSuccess) return {};
        gmErrorCode code;
        return Object::castdown(data.restore(0, code).get());
    }
    /// An identifier or a count in the record.
    int whole_at(std::size_t offset) const {
        int value = 0;
        record.copy(reinterpret_cast<char*>(&value), sizeof value, offset);
        return value;
    }

    const TemporaryFolder folder;
    const std::string path = folder.path("store");
    const t_SmartPtr<Object> kept;
    std::string record;
    std::size_t at = 0; ///< the record's place in the file

private:
    std::string bytes_;
};

} // namespace velm_test
