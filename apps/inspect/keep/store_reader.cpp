#include "inspect/keep/store_reader.h"

namespace velm::inspect {

std::unique_ptr<InspectionRecords> open_records(const std::string& path) {
    require_store(path, path);
    return with_store(path, [&] {
        auto records = std::make_unique<InspectionRecords>(path);
        if (records->has_stale_counters()) throw StoreRefusal{StoreFault::stale_counters, path, {}};
        return records;
    });
}

} // namespace velm::inspect
