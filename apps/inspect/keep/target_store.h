// target_store.h: `TargetStore`, an inspection of targets kept in an object file.
#pragma once

#include <optional>
#include <string>

#include "inspect/base/output_set.h"
#include "inspect/keep/store_writer.h"
#include "velm/inspection/target_result.h"

namespace velm::inspect {

/// Saves the records of one inspection, by the keys of record_keys.h: one of the whole with the
/// table's name, the alignment and the figures, then one of each row in their order, which refers
/// to its `gmTargetPoint` and has the diameter of the ball, which that has no place for, and what
/// was found. A row is coloured by the tolerance. Throws `Failure`.
class TargetStore {
public:
    TargetStore(OutputSet& outputs, const std::string& path, const TargetHead& head,
                bool sync = false);

    void add(const TargetRow& row);
    /// Saves what is known only at the end, and closes the file.
    void finish(const Summary& summary);

private:
    StoreWriter file_;
    t_SmartPtr<ERDBObject> head_;
};

} // namespace velm::inspect
