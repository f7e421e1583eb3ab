#include "velm/inspection/inspection_records.h"

#include "velm/inspection/detail/record_fields.h"
#include "velm/inspection/fit_result.h"
#include "velm/platform/file_exception.h"
#include "velm/store/object_database.h"

namespace velm {

using detail::RecordProperties;

namespace {

bool is_head(const t_SmartPtr<ERDBObject>& record) {
    if (!record) return false;
    const std::string kind = RecordProperties(*record).kind();
    return kind == section_kind || kind == targets_kind || kind == fit_kind ||
           kind == surfaces_kind;
}

} // namespace

// A store with all its classes known, however many, and its index.
class InspectionRecords::Store : public ERObjectDataBase {
public:
    explicit Store(const std::string& path) {
        if (!Open(path.c_str(), 1))
            AfxThrowFileException(CFileException::invalidFile, -1, path.c_str());
        know_all_classes();
        if (Retrieve(1, index) != 0) index.init(*fileManager());
        constexpr long least_entry = 8; // bytes of an index in its tree
        if (static_cast<long>(index.entries()) > fileManager()->endData() / least_entry)
            AfxThrowFileException(CFileException::invalidFile, -1, path.c_str());
    }
    t_SmartPtr<ERObject> object(long at) {
        long identifier = -1;
        return index.Find(at, identifier) ? RetrieveAndCreate(identifier) : nullptr;
    }

    ERAuxilaryIndex index;
};

InspectionRecords::InspectionRecords(const std::string& path)
    : store_(std::make_unique<Store>(path)) {}

InspectionRecords::~InspectionRecords() = default;

long InspectionRecords::size() const { return static_cast<long>(store_->index.entries()); }

bool InspectionRecords::has_stale_counters() { return store_->object(size()) != nullptr; }

t_SmartPtr<ERDBObject> InspectionRecords::record(long index) {
    const t_SmartPtr<ERObject> object = store_->object(index);
    return t_SmartPtr<ERDBObject>(ERDBObject::castdown(object.get()));
}

t_SmartPtr<ERObject> InspectionRecords::object(long index) { return store_->object(index); }

// From head to head; record by record only after one that doesn't lead to another or to the end.
std::vector<StoredInspection> InspectionRecords::inspections() {
    std::vector<StoredInspection> all;
    // Where the records of an inspection end, as its head says; otherwise the next index.
    const auto end_of = [this](const StoredInspection& inspection) {
        const ERDBObjProperty records =
            inspection.head->property(static_cast<long>(RecordKey::records));
        const long next = inspection.index + 1;
        const long count = records.getType() == ERDBObjProperty::long_value ? long(records) : 0;
        return count > 0 && count <= size() - next ? next + count : next;
    };
    long scanned_to = 0;
    for (long index = 0; index < size();) {
        StoredInspection found;
        found.head = record(index);
        if (!is_head(found.head)) {
            index = index == scanned_to ? index + 1 : scanned_to;
            scanned_to = index;
            continue;
        }
        found.number = static_cast<long>(all.size()) + 1;
        found.index = index;
        all.push_back(found);
        scanned_to = index + 1;
        index = end_of(found);
    }
    return all;
}

std::string StoredInspection::kind() const { return RecordProperties(*head).kind(); }

std::string StoredInspection::title() const {
    const RecordProperties properties(*head);
    if (properties.kind() == targets_kind) return properties.text_or_empty(RecordKey::table);
    if (properties.kind() == fit_kind) {
        const auto names = choice_names(FitKind());
        const auto form = properties.has(RecordKey::fitted_form)
                              ? properties.count(RecordKey::fitted_form)
                              : names.size();
        return std::string(form < names.size() ? names[form] : "fit") + " of " +
               properties.text_or_empty(RecordKey::measured);
    }
    return properties.text_or_empty(RecordKey::measured) + " against " +
           properties.text_or_empty(RecordKey::nominal);
}

std::vector<NamedText> StoredInspection::info() const {
    const RecordProperties properties(*head);
    if (!properties.has(RecordKey::info)) return {};
    return detail::named_texts(properties.text_or_empty(RecordKey::info));
}

std::optional<std::uint64_t> StoredInspection::count(RecordKey key) const {
    const RecordProperties properties(*head);
    return properties.has(key) ? std::optional(properties.count(key)) : std::nullopt;
}

std::optional<bool> StoredInspection::is_in_tolerance() const {
    std::optional<bool> verdict;
    if (const auto out = count(RecordKey::out_of_tolerance)) verdict = *out == 0;
    for (const auto fields : {fields_of<FormCharacteristic>(), fields_of<SizeCharacteristic>(),
                              fields_of<PositionCharacteristic>()})
        for (const Field& field : fields) {
            const auto judged = field.type == FieldType::truth ? count(field.key) : std::nullopt;
            if (judged) verdict = *judged != 0 && verdict.value_or(true);
        }
    return verdict;
}

void StoredInspection::refuse(const std::string& why, RecordFault::Reason reason) const {
    throw RecordFault("inspection " + std::to_string(number) + " (" + title() + "): " + why,
                      reason);
}

} // namespace velm
