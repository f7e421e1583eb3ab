// target_alignment.h: `align_targets`, measured points moved onto their nominal.
#pragma once

#include "velm/inspection/applied_alignment.h"
#include "velm/inspection/target_result.h"

#include <span>
#include <string>

namespace velm::inspect {

/// Moves the measured points of all rows by the best fit, and fills in their deviations before it.
/// Throws `Failure` (input) if it doesn't converge; the sentence calls the table `name`.
AppliedAlignment align_targets(std::span<TargetRow> rows, const std::string& name);

} // namespace velm::inspect
