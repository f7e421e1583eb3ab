#include "inspect/keep/stored_inspections.h"

#include "inspect/base/failure.h"

namespace velm::inspect {
namespace {

bool is_head(const StoreReader& reader, const t_SmartPtr<ERDBObject>& record) {
    if (!record) return false;
    const std::string kind = RecordFields(*record, reader.path()).kind();
    return kind == section_kind || kind == targets_kind;
}

// Where the records of an inspection end, as its head says; the next index for one that doesn't.
long end_of(const StoreReader& reader, const StoredInspection& inspection) {
    const ERDBObjProperty records =
        inspection.head->property(static_cast<long>(RecordKey::records));
    const long next = inspection.index + 1;
    const long count = records.getType() == ERDBObjProperty::long_value ? long(records) : 0;
    return count > 0 && count <= reader.size() - next ? next + count : next;
}

} // namespace

std::string StoredInspection::title() const {
    const std::string unnamed;
    const RecordFields fields(*head, unnamed);
    if (fields.kind() == targets_kind) return fields.optional_text(RecordKey::table);
    return fields.optional_text(RecordKey::measured) + " against " +
           fields.optional_text(RecordKey::nominal);
}

void StoredInspection::refuse(const StoreReader& reader, const std::string& why) const {
    throw Failure(ExitCode::input, reader.path() + ", inspection " + std::to_string(number) + " (" +
                                       title() + "): " + why);
}

t_SmartPtr<ERDBObject> StoredInspection::part(StoreReader& reader, std::uint64_t place,
                                              const char* kind, RecordKey owner,
                                              const std::string& what) const {
    t_SmartPtr<ERDBObject> record;
    if (place < static_cast<std::uint64_t>(reader.size() - index - 1))
        record = reader.record(index + 1 + static_cast<long>(place));
    if (!record) refuse(reader, "the record of " + what + " is lost");
    const RecordFields fields(*record, reader.path());
    if (fields.kind() != kind ||
        fields.count(owner) != static_cast<std::uint64_t>(head->getObjectID()))
        fields.refuse("expected a record of kind \"" + std::string(kind) +
                      "\" that belongs to inspection " + std::to_string(number));
    return record;
}

// From head to head; record by record only behind one that doesn't lead to another or to the end.
std::vector<StoredInspection> list_inspections(StoreReader& reader) {
    std::vector<StoredInspection> all;
    long scanned_to = 0;
    for (long index = 0; index < reader.size();) {
        StoredInspection found;
        found.head = reader.record(index);
        if (!is_head(reader, found.head)) {
            index = index == scanned_to ? index + 1 : scanned_to;
            scanned_to = index;
            continue;
        }
        found.number = static_cast<long>(all.size()) + 1;
        found.index = index;
        all.push_back(found);
        scanned_to = index + 1;
        index = end_of(reader, found);
    }
    return all;
}

} // namespace velm::inspect
