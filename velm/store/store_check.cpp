#include "velm/store/store_check.h"

#include "velm/platform/file_exception.h"
#include "velm/store/detail/record_checker.h"

#include <algorithm>
#include <map>
#include <set>

namespace velm {

class StoredObjects::Store : public ERObjectDataBase {
public:
    explicit Store(const char* name) {
        if (!Open(name, 1)) AfxThrowFileException(CFileException::invalidFile, -1, name);
        know_all_classes();
    }
};

StoredObjects::StoredObjects(const char* name) : store(std::make_unique<Store>(name)) {}
StoredObjects::~StoredObjects() = default;
t_SmartPtr<ERObject> StoredObjects::create(long identifier) {
    return store->RetrieveAndCreate(identifier);
}

namespace {

std::string object(long identifier) { return "object " + std::to_string(identifier); }

void check_classes(const StoreImage& image, StoreReport& report) {
    std::set<long> used;
    for (const TreeImage::Entry& entry : image.classes.entries) {
        if (entry.value < 1) report.faults.add(entry.node, "a class has an impossible signature");
        if (!used.insert(entry.value).second)
            report.faults.add(entry.node, "two classes have the same signature");
        report.classes.push_back({entry.value, entry.key,
                                  ERClassRegistration::findCreator(entry.key.c_str()) != nullptr,
                                  0});
    }
    std::sort(report.classes.begin(), report.classes.end(),
              [](const auto& a, const auto& b) { return a.signature < b.signature; });
}

// The records by their classes: their blocks must hold what the class stores.
void check_records(const StoreImage& image, StoreReport& report, const char* name) {
    std::map<long, StoreReport::Class*> by_signature;
    for (StoreReport::Class& c : report.classes)
        by_signature[c.signature] = &c;
    const StoredObjects opened(name); // by the library, too
    detail::RecordChecker checker(image);
    for (const RecordImage& record : image.records) {
        const auto found = by_signature.find(record.signature);
        if (record.identifier < 1)
            report.faults.add(record.location, object(record.identifier) + " can't be");
        if (found == by_signature.end()) {
            report.faults.add(record.location,
                              object(record.identifier) + " has a class that the file lacks");
            continue;
        }
        ++found->second->objects;
        if (checker.shares_bytes(record)) continue;
        const std::string fault = checker.fault(record, found->second->name);
        if (!fault.empty())
            report.faults.add(record.location, object(record.identifier) + " " + fault);
    }
}

void check_index(const StoreImage& image, StoreReport& report) {
    if (image.has_index && !image.index.known) return; // reported already
    for (const TreeImage::Entry& entry : image.index.entries)
        if (TreeImage::number(entry.key) < 0 || entry.value < 1)
            report.faults.add(entry.node, "the index has an impossible entry");
}

// Ranges must not overlap; what lies between them is waste.
void check_space(const StoreImage& image, StoreReport& report) {
    long covered = 0;
    const char* kind = "";
    for (const StoreExtent& extent : image.extents()) {
        if (extent.offset < covered)
            report.faults.add(extent.offset, std::string(extent.kind) + " overlaps " + kind);
        if (extent.end() > image.end_of_data && extent.offset > 0)
            report.faults.add(extent.offset,
                              std::string(extent.kind) + " lies beyond the end of data");
        if (extent.offset > covered) report.waste_bytes += extent.offset - covered;
        if (extent.end() > covered) {
            covered = extent.end();
            kind = extent.kind;
        }
    }
    report.waste_bytes += std::max(image.end_of_data - covered, 0L);
    for (const StoreExtent& extent : image.free_extents)
        report.free_bytes += extent.size;
}

} // namespace

StoreReport check_store(const char* name) {
    StoreReport report;
    const StoreImage image(name);
    report.faults = image.faults;
    report.file_length = image.length;
    report.end_of_data = image.end_of_data;
    if (!image.header_known) return report;
    report.version = image.header.version;
    report.last_identifier = image.header.last_identifier;
    report.objects = static_cast<long>(image.records.size());
    report.indices = static_cast<long>(image.index.entries.size());
    for (const StoreFault& fault : stale_counters(image))
        report.faults.add(fault.offset, fault.what);
    check_classes(image, report);
    check_index(image, report);
    check_space(image, report);
    if (image.header.version > DatabaseHeader::current_version) return report;
    try {
        check_records(image, report, name);
    } catch (CFileException* failure) {
        failure->Delete();
        report.faults.add(image.start, "the store can't be opened");
    }
    return report;
}

} // namespace velm
