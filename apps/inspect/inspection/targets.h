// targets.h: the inspection of single points against their nominal: `TargetOptions`,
// `inspect_targets`.
#pragma once

#include "inspect/base/failure.h"
#include "inspect/base/progress.h"
#include "inspect/input/csv_records.h"
#include "inspect/inspection/inspection_end.h"
#include "inspect/report/target_outputs.h"
#include "velm/inspection/summary.h"

#include <optional>
#include <string>

namespace velm::inspect {

struct TargetOptions {
    std::string table;
    std::optional<Tolerance> tolerance;
    OutputPaths paths;
    bool skip_bad = false;      ///< unusable rows are reported and left out, not refused
    TableOptions table_options; ///< how the table is read
    std::vector<NamedText> info;
    std::optional<int> decimals;
    bool align = false; ///< measured points are first moved onto the nominal by the best fit
};

/// Compares each measured point of a table with its nominal one, and writes the table, the summary
/// and the reports wanted. All outputs appear together at the end or not at all. An alignment keeps
/// all rows in memory, as unusable rows do. Returns what it found.
/// Throws `Failure`.
InspectionEnd inspect_targets(const TargetOptions& options, Progress& progress);

} // namespace velm::inspect
