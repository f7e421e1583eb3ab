// store_reader.h: the inspections of an object file: `open_records`, `read_records`.
#pragma once

#include "inspect/keep/store_file.h"
#include "velm/inspection/inspection_records.h"

#include <memory>
#include <string>

namespace velm::inspect {

/// Opens an object file for reading. Throws `Failure`: (input) for what is no object file or is of
/// a later version, (file) where it can't be read; and `StoreRefusal` for stale counters.
std::unique_ptr<InspectionRecords> open_records(const std::string& path);

/// Runs `work`, turning exceptions about the records of `path` into failures (input) that name the
/// file and the object, or a `StoreRefusal`.
template <class Work>
auto read_records(const std::string& path, Work work) {
    try {
        return with_store(path, work);
    } catch (const RecordFault& fault) {
        if (fault.reason() == RecordFault::Reason::outdated)
            throw StoreRefusal{StoreFault::outdated_inspection, path, fault.what()};
        throw Failure(FailureKind::input, path + ", " + fault.what());
    }
}

} // namespace velm::inspect
