// store_writer.h: `StoreWriter`, an object file that gets new records.
#pragma once

#include <memory>
#include <optional>
#include <string>

#include "inspect/base/output_set.h"
#include "velm/frame/smart_pointer.h"
#include "velm/platform/file.h"
#include "velm/store/database.h"
#include "velm/store/db_object.h"
#include "velm/store/store_batch.h"

namespace velm::inspect {

/// The work is done on a copy beside the place, which the set of outputs renames; an existing file
/// is locked from the beginning to the end. Throws `Failure`.
class StoreWriter {
public:
    /// Opens the file, or makes a new one. With `sync` the file is with the disk when it is closed.
    StoreWriter(OutputSet& outputs, const std::string& path, bool sync = false);
    ~StoreWriter();

    /// Saves a new record, which has its identifier then.
    void save(const t_SmartPtr<ERDBObject>& record);
    /// Saves a record of this file again.
    void save_again(ERDBObject& record);
    /// Closes the file; nothing may follow.
    void close();

private:
    void open(const std::string& working_copy);
    void check(gmErrorCode code) const;

    std::string path_;
    std::unique_ptr<CFile> lock_; // on the file that is there already
    ERDataBase database_;
    std::optional<StoreBatch> batch_; // all that is saved
};

} // namespace velm::inspect
