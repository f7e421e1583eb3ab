// section_record.h: `SectionRecord`, an inspection of a section read back from an object file.
#pragma once

#include <cstdint>

#include "inspect/keep/record_fields.h"
#include "inspect/keep/stored_inspections.h"
#include "velm/inspection/section_result.h"
#include "velm/planar/contour.h"

namespace velm::inspect {

/// What `SectionStore` has kept: head, outline and rows are those of the run to the last bit, so
/// that the reports of them are. Holds one row at a time. Throws `Failure` (input) where the
/// inspection was not finished, doesn't have all that a report needs, has lost a record, or
/// contradicts itself.
class SectionRecord {
public:
    /// The reader must outlive the record.
    SectionRecord(StoreReader& reader, const StoredInspection& inspection);

    const SectionHead& head() const { return head_; }
    const Outline& outline() const { return outline_; }
    std::uint64_t count() const { return count_; }
    /// The next row, in the order of the run; false behind the last.
    bool next(SectionRow& row);

private:
    void read_head(const RecordFields& fields);
    void read_outline(const RecordFields& fields);
    void add_edge(const RecordFields& fields);
    void require_consistent(const SectionRow& row, const RecordFields& fields) const;

    StoreReader& reader_;
    StoredInspection inspection_;
    SectionHead head_;
    Outline outline_;
    std::uint64_t count_ = 0;
    std::uint64_t read_ = 0; // rows
};

} // namespace velm::inspect
