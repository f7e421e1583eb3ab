// alignment_properties.h: an alignment among the properties of an inspection's records:
// `put_alignment`, `get_alignment`.
#pragma once

#include <optional>

#include "inspect/keep/record_fields.h"
#include "inspect/keep/record_properties.h"
#include "velm/inspection/applied_alignment.h"
#include "velm/inspection/section_result.h"

namespace velm::inspect {

/// Puts all that reports tell of an alignment, to the last bit; nothing without one.
void put_alignment(ERDBObject& record, const std::optional<AppliedAlignment>& alignment);
/// Nothing where the record has none. Throws `Failure` (input) where a part of it is missing, as
/// `RecordFields` does, and so do the next ones.
std::optional<AppliedAlignment> get_alignment(const RecordFields& fields);

/// The deviation of a point before it was moved; nothing without one.
void put_deviation_before(ERDBObject& record, const Judged& point);
/// With `is_aligned` there must be one, otherwise none.
void get_deviation_before(const RecordFields& fields, bool is_aligned, Judged& point);

/// The same with the moved place of the point.
void put_aligned(ERDBObject& record, const SectionRow& point);
void get_aligned(const RecordFields& fields, bool is_aligned, SectionRow& point);

} // namespace velm::inspect
