// target_alignment.h: `align_targets`, measured points brought onto their nominal.
#pragma once

#include <span>
#include <string>

#include "velm/inspection/applied_alignment.h"
#include "velm/inspection/target_result.h"

namespace velm::inspect {

/// Moves the measured points of all rows by the best fit, and fills in their deviations before it.
/// Throws `Failure` (input) where it doesn't converge; the sentence calls the table `name`.
AppliedAlignment align_targets(std::span<TargetRow> rows, const std::string& name);

} // namespace velm::inspect
