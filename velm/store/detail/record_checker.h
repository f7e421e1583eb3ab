// velm::detail::RecordChecker: whether a record holds what its class stores.
#pragma once

#include "velm/store/object_database.h"
#include "velm/store/store_image.h"

#include <set>
#include <string>

namespace velm::detail {

/// Reads each record from its own bytes alone, with an empty object of its class for each that it
/// refers to: the effort for all is that of reading the file, regardless of its claims.
class RecordChecker : public ERObjectDataBase {
public:
    explicit RecordChecker(const StoreImage& image);

    /// Whether others have bytes of the record, too; to read all such records may take far longer
    /// than to read the file.
    bool shares_bytes(const RecordImage& record) const {
        return shared_.contains(record.identifier);
    }
    /// What is wrong with a record of a class, as the end of a sentence that begins with its
    /// object; empty where nothing is, and where the class can't be created.
    std::string fault(const RecordImage& record, const std::string& class_name);

private:
    t_SmartPtr<ERObject> RetrieveAndCreate(long identifier) override;

    const StoreImage& image_;
    std::set<long> shared_;
    bool whole_ = true; // all that the record read last refers to could be had
};

} // namespace velm::detail
