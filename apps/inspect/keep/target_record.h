// target_record.h: `TargetRecord`, an inspection of targets read back from an object file.
#pragma once

#include <cstdint>

#include "inspect/keep/record_fields.h"
#include "inspect/keep/stored_inspections.h"
#include "velm/inspection/target_result.h"

namespace velm::inspect {

/// What `TargetStore` has kept: head and rows are those of the run to the last bit, so that the
/// reports of them are. The ball's diameter, which no report tells, stays in the record. Holds one
/// row at a time. Throws `Failure` (input) where a record is lost or contradicts its target.
class TargetRecord {
public:
    /// The reader must outlive the record.
    TargetRecord(StoreReader& reader, const StoredInspection& inspection);

    const TargetHead& head() const { return head_; }
    std::uint64_t count() const { return count_; }
    /// The next row, judged, in the order of the run; false behind the last.
    bool next(TargetRow& row);

private:
    StoreReader& reader_;
    StoredInspection inspection_;
    TargetHead head_;
    std::uint64_t count_ = 0;
    std::uint64_t read_ = 0; // rows
};

} // namespace velm::inspect
