// section_head.h: what a report of a section tells in front of its points: `SectionHead`.
#pragma once

#include <optional>
#include <string>

#include "inspect/result/applied_alignment.h"
#include "inspect/result/section_frame.h"
#include "inspect/result/summary.h"

namespace velm::inspect {

/// The inputs of an inspection and how it was made, as all its reports tell them.
struct SectionHead {
    std::string nominal, measured; ///< names of the files
    std::optional<Tolerance> tolerance;
    std::optional<SectionFrame> frame;
    std::optional<double> max_height;
    std::optional<AppliedAlignment> alignment; ///< within the plane of the section
};

} // namespace velm::inspect
