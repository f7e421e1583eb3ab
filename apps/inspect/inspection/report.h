// report.h: reports of the inspections in an object file or an archive: `ReportOptions`,
// `ReportResult`, `report_stored`.
#pragma once

#include "inspect/base/failure.h"
#include "inspect/base/output_paths.h"
#include "inspect/base/progress.h"

#include <cstddef>
#include <optional>
#include <string>

namespace velm::inspect {

struct ReportOptions {
    std::string store;          ///< or an archive
    std::optional<long> number; ///< of the inspection, from 1; the last one without
    OutputPaths paths;
};

struct ReportResult {
    bool is_in_tolerance;
    std::size_t inspections; ///< in the file
    std::string reported;    ///< number and title of this one: "2 (probed.csv against wing.dat)"
};

/// Writes the table and the reports of one inspection as its run did, byte for byte. Throws
/// `Failure`, `StoreRefusal`, `OutputFault`.
ReportResult report_stored(const ReportOptions& options, Progress& progress);

} // namespace velm::inspect
