// velm::StoreBatch: many objects stored as one operation.
#pragma once

#include "velm/export.h"
#include "velm/store/database.h"
#include "velm/store/object_database.h"

#include <optional>

namespace velm {

/// While it lives, what is stored in a store is gathered, and read like anything else; the file
/// gets all of it with commit():
///
///     velm::StoreBatch batch(data);
///     for (const auto& point : points)
///         data.save(point);
///     batch.commit();
///
/// A batch is one operation. Where commit() raises, and where the batch ends without it, the store
/// is as it was before; the objects that were stored keep identifiers that are not given out again
/// and lead to nothing. A process that is killed in commit() leaves a file from which salvage_store
/// gets all that was there before the batch, and any part of the batch.
///
/// New blocks are appended, so that free space is not used again, and blocks that are given up are
/// free when the batch is on file. Objects can't be deleted in a batch (genericException); one that
/// fails to be stored fails the batch. Records go to the file as they come, the nodes of the trees
/// are in memory until commit().
class VELM_API StoreBatch {
public:
    /// Raises an invalidFile or accessDenied for a store that can't be written, and a
    /// genericException inside another batch or while an object is being stored.
    explicit StoreBatch(ERObjectDataBase& store);
    explicit StoreBatch(ERDataBase& data);
    StoreBatch(const StoreBatch&) = delete;
    StoreBatch& operator=(const StoreBatch&) = delete;
    ~StoreBatch();

    void commit();

private:
    ERFileManager& file_;
    std::optional<detail::StoreStep> step_;
};

} // namespace velm
