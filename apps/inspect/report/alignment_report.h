// alignment_report.h: an alignment as texts of reports: `alignment_lines`, `alignment_text`,
// `unconverged_text`.
#pragma once

#include "velm/inspection/applied_alignment.h"

#include <string>
#include <utility>
#include <vector>

namespace velm::inspect {

/// "the alignment doesn't converge: after 100 iterations ..."
std::string unconverged_text(const velm::AlignmentReport& report,
                             const velm::AlignmentOptions& options);

/// The alignment as names and values for readers.
std::vector<std::pair<std::string, std::string>> alignment_lines(const AppliedAlignment& alignment);
/// These as lines for a terminal, after an empty one.
std::string alignment_text(const AppliedAlignment& alignment);

} // namespace velm::inspect
