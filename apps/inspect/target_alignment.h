// target_alignment.h: `align_targets`, measured points brought onto their nominal, and how reports
// tell it.
#pragma once

#include <span>
#include <string>
#include <utility>
#include <vector>

#include "inspect/target_result.h"
#include "velm/measure/alignment.h"

namespace velm::inspect {

/// The motion that was applied to the measured points.
struct AppliedAlignment {
    velm::AlignmentReport report;
    ERVector3D rotation[3]; ///< the rows of the matrix; a point p moves to rotation p + translation
    ERPoint3D translation;
    double rms_before = 0.0, rms_after = 0.0; ///< of the deviations

    double angle() const;    ///< radians
    ERVector3D axis() const; ///< unit, zero where nothing turns
};

/// Moves the measured points of all rows by the best fit. Throws `Failure` (input) where it doesn't
/// converge; the sentence calls the table `name`.
AppliedAlignment align_targets(std::span<TargetRow> rows, const std::string& name);

/// `,"alignment":{"method":"bestfit","iterations":...,"rotation":[[...],...],"translation":[...],
/// "rms_before":...,"rms_after":...,"held":["turning about ..."]}`
void append_alignment(std::string& out, const AppliedAlignment& alignment);

/// The same as names and values for readers.
std::vector<std::pair<std::string, std::string>> alignment_lines(const AppliedAlignment& alignment);

} // namespace velm::inspect
