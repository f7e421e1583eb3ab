// alignment_report.h: how reports show an alignment: `append_alignment`, `alignment_lines`,
// `alignment_text`, `unconverged_text`.
#pragma once

#include <string>
#include <utility>
#include <vector>

#include "velm/inspection/applied_alignment.h"

namespace velm::inspect {

/// "the alignment doesn't converge: after 100 iterations ..."
std::string unconverged_text(const velm::AlignmentReport& report,
                             const velm::AlignmentOptions& options);

/// `,"alignment":{"method":"bestfit","iterations":...,"threshold":...,"last_step":...,
/// "angle":...,"axis":[...],"rotation":[[...],...],"translation":[...],"rms_before":...,
/// "rms_after":...,"minimum_before":...,"minimum_after":...,"maximum_before":...,
/// "maximum_after":...,"held":["turning about ..."]}`; in the plane without the axis, the rotation
/// of two rows of two and the translation of two.
void append_alignment(std::string& out, const AppliedAlignment& alignment);

/// The same as names and values for readers.
std::vector<std::pair<std::string, std::string>> alignment_lines(const AppliedAlignment& alignment);
/// These as lines for a terminal, behind an empty one.
std::string alignment_text(const AppliedAlignment& alignment);

} // namespace velm::inspect
