// store_reader.h: `StoreReader`, the records of an object file.
#pragma once

#include <memory>
#include <string>

#include "velm/frame/smart_pointer.h"
#include "velm/store/db_object.h"

namespace velm::inspect {

/// Reads the records of an object file one at a time, by the index that counts them in the order in
/// which they were saved. The file is never written. Throws `Failure`: (input) for what is no
/// object file, is of a later version, or has counters behind its contents; (file) where it can't
/// be read.
class StoreReader {
public:
    explicit StoreReader(const std::string& path);
    ~StoreReader();

    const std::string& path() const { return path_; }
    /// The number of indices, 0 for a file whose objects have none.
    long size() const;
    /// Null for an index whose object is no record or no more.
    t_SmartPtr<ERDBObject> record(long index);

private:
    class Store;

    std::string path_;
    std::unique_ptr<Store> store_;
};

} // namespace velm::inspect
