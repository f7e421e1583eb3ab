// targets.h: the inspection of single points against their nominal: `TargetOptions`,
// `inspect_targets`.
#pragma once

#include "inspect/base/failure.h"
#include "inspect/report/target_outputs.h"
#include "velm/inspection/summary.h"

#include <optional>
#include <string>

namespace velm::inspect {

struct TargetOptions {
    std::string table;
    std::optional<Tolerance> tolerance;
    OutputPaths paths;
    bool skip_bad = false; ///< unusable rows are reported and left out, not refused
    bool align = false;    ///< measured points are first moved onto the nominal by the best fit
};

/// Compares each measured point of a table with its nominal one, and writes the table, the summary
/// and the reports wanted. All outputs appear together at the end or not at all.
/// Returns whether everything is in tolerance. Throws `Failure`.
bool inspect_targets(const TargetOptions& options);

} // namespace velm::inspect
