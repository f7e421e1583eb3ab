// report.h: reports of the inspections that an object file or an archive holds: `ReportOptions`,
// `report_stored`.
#pragma once

#include <optional>
#include <string>

#include "inspect/base/failure.h"
#include "inspect/report/section_outputs.h"

namespace velm::inspect {

struct ReportOptions {
    std::string store;          ///< or an archive
    std::optional<long> number; ///< of the inspection, from 1; the last one without
    OutputPaths paths;
};

/// Writes the table and the reports of one inspection as the run did that kept it, byte for byte.
/// A document in an archive, which holds one, goes to `report_archived`. Which others there are is
/// told on standard error where none was chosen. Ends as the run did. Throws `Failure`.
ExitCode report_stored(const ReportOptions& options);

} // namespace velm::inspect
