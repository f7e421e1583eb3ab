// store_reader.h: the inspections of an object file: `open_records`, `read_records`.
#pragma once

#include "inspect/keep/store_file.h"
#include "velm/inspection/inspection_records.h"

#include <memory>
#include <string>

namespace velm::inspect {

/// Opens an object file for reading. Throws `Failure`: (input) for what is no object file, is of a
/// later version, or has counters behind its contents; (file) where it can't be read.
std::unique_ptr<InspectionRecords> open_records(const std::string& path);

/// Runs `work`, turning exceptions about the records of `path` into failures (input) that name the
/// file and the object.
template <class Work>
auto read_records(const std::string& path, Work work) {
    try {
        return with_store(path, work);
    } catch (const RecordFault& fault) {
        throw Failure(FailureKind::input, path + ", " + fault.what());
    }
}

} // namespace velm::inspect
