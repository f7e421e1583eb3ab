// record_properties.h: the properties of an inspection's records, put by their keys: `put`,
// `put_count`.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "velm/frame/smart_pointer.h"
#include "velm/inspection/record_keys.h"
#include "velm/inspection/summary.h"
#include "velm/measure/cad_object_id.h"
#include "velm/store/db_object.h"

namespace velm::inspect {

/// A record of the kind, otherwise empty.
t_SmartPtr<ERDBObject> new_record(const char* kind);

/// Numbers stand in the type they come in.
template <class Number>
void put(ERDBObject& record, RecordKey key, Number value) {
    record.property(static_cast<long>(key), value);
}
void put(ERDBObject& record, RecordKey key, const std::string& text);
/// A count beyond 32 bits stands as a double.
void put_count(ERDBObject& record, RecordKey key, std::uint64_t count);
void put_tolerance(ERDBObject& record, const std::optional<Tolerance>& tolerance);
/// Path, type and name space of a named object; its numbers stand elsewhere.
void put_identifier(ERDBObject& record, const CADObjectID& identifier);
/// The figures over all points, and the worst one.
void put_summary(ERDBObject& record, const Summary& summary);

} // namespace velm::inspect
