// report.h: reports of the inspections that an object file or an archive holds: `ReportOptions`,
// `report_stored`.
#pragma once

#include "inspect/base/failure.h"
#include "inspect/report/section_outputs.h"

#include <optional>
#include <string>

namespace velm::inspect {

struct ReportOptions {
    std::string store;          ///< or an archive
    std::optional<long> number; ///< of the inspection, from 1; the last one without
    OutputPaths paths;
};

/// Writes the table and the reports of one inspection as its run did, byte for byte, and ends with
/// its exit code. An archive contains one inspection; of a file with several the others are listed
/// on stderr, if none was chosen. Throws `Failure`.
ExitCode report_stored(const ReportOptions& options);

} // namespace velm::inspect
