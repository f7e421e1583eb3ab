#include "velm/store/detail/record_checker.h"

#include "velm/store/detail/record_bytes.h"

#include <algorithm>
#include <utility>

namespace velm::detail {

namespace {

t_SmartPtr<ERObject> empty_object(const std::string& class_name) {
    const auto creator = ERClassRegistration::findCreator(class_name.c_str());
    return creator ? t_SmartPtr<ERObject>(creator()) : nullptr;
}

// A block has up to 3 bytes more for rounding, and 4 where a free extent was given whole.
constexpr long kMostUnused = 7;

} // namespace

RecordChecker::RecordChecker(const StoreImage& image) : image_(image) {
    long covered = 0;
    std::vector<RecordImage> by_location = image.records;
    std::sort(by_location.begin(), by_location.end(),
              [](const auto& a, const auto& b) { return a.location < b.location; });
    for (const RecordImage& record : by_location) {
        if (record.location < covered) shared_.insert(record.identifier);
        covered = std::max(covered, record.location + record.size);
    }
}

std::string RecordChecker::fault(const RecordImage& record, const std::string& class_name) {
    if (ERClassRegistration::findCreator(class_name.c_str()) == nullptr) return {};
    const t_SmartPtr<ERObject> object = empty_object(class_name);
    if (!object || object->className() != class_name) return "can't be restored";
    RecordBytes guts(image_.guts(record));
    ERObjectDataBase* const present = std::exchange(ERObject::theCurrentDataBase, this);
    whole_ = true;
    object->restoreGuts(guts);
    ERObject::theCurrentDataBase = present;
    const long bytes = static_cast<long>(object->binaryStoreSize()) + 4;
    const bool too_large = whole_ && bytes + kMostUnused < record.size;
    if (bytes > record.size || too_large) return "doesn't fit its block";
    if (record.location + bytes > image_.length) return "is cut short";
    return {};
}

t_SmartPtr<ERObject> RecordChecker::RetrieveAndCreate(long identifier) {
    const auto found =
        std::lower_bound(image_.records.begin(), image_.records.end(), identifier,
                         [](const RecordImage& record, long id) { return record.identifier < id; });
    const bool here = found != image_.records.end() && found->identifier == identifier;
    t_SmartPtr<ERObject> object =
        here ? empty_object(image_.class_name(found->signature)) : nullptr;
    whole_ = whole_ && object;
    return object;
}

} // namespace velm::detail
