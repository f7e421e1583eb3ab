#include "inspect/keep/record_properties.h"

namespace velm::inspect {

t_SmartPtr<ERDBObject> new_record(const char* kind) {
    const t_SmartPtr<ERDBObject> record(new ERDBObject);
    put(*record, RecordKey::kind, std::string(kind));
    return record;
}

void put(ERDBObject& record, RecordKey key, const std::string& text) {
    record.property(static_cast<long>(key), text.c_str());
}

void put_count(ERDBObject& record, RecordKey key, std::uint64_t count) {
    if (count <= 0x7FFFFFFF)
        put(record, key, static_cast<long>(count));
    else
        put(record, key, static_cast<double>(count));
}

void put_tolerance(ERDBObject& record, const std::optional<Tolerance>& tolerance) {
    if (!tolerance) return;
    put(record, RecordKey::tolerance_lower, tolerance->lower);
    put(record, RecordKey::tolerance_upper, tolerance->upper);
}

void put_identifier(ERDBObject& record, const CADObjectID& identifier) {
    put(record, RecordKey::group_path, std::string(identifier.group_structure().path().view()));
    put(record, RecordKey::type, std::string(identifier.type().view()));
    put(record, RecordKey::name_space, std::string(identifier.name_space().name().view()));
}

void put_summary(ERDBObject& record, const Summary& summary) {
    const RunningStatistics& deviations = summary.deviations;
    put_count(record, RecordKey::count, deviations.count());
    if (summary.tolerance) {
        put_count(record, RecordKey::in_tolerance, summary.in_tolerance);
        put_count(record, RecordKey::out_of_tolerance, summary.out_of_tolerance);
    }
    put(record, RecordKey::minimum, deviations.minimum());
    put(record, RecordKey::maximum, deviations.maximum());
    put(record, RecordKey::mean, deviations.mean());
    put(record, RecordKey::standard_deviation, deviations.standard_deviation());
    put(record, RecordKey::rms, deviations.root_mean_square());
    put(record, RecordKey::worst_id, summary.worst_id);
    put(record, RecordKey::worst_deviation, summary.worst_deviation);
}

} // namespace velm::inspect
