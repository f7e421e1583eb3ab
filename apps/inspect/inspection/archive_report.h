// archive_report.h: reports of an inspection that a document in an archive holds:
// `report_archived`.
#pragma once

#include "inspect/base/failure.h"
#include "inspect/inspection/report.h"

namespace velm::inspect {

/// Writes the table and the reports as the run did that made the document, byte for byte. Nothing
/// appears of a damaged one. Throws `Failure`.
ExitCode report_archived(const ReportOptions& options);

} // namespace velm::inspect
