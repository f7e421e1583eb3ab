// target_head.h: what a report of targets tells in front of its points: `TargetHead`.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "inspect/result/applied_alignment.h"
#include "inspect/result/summary.h"

namespace velm::inspect {

/// The input of an inspection of targets and how it was made, as all its reports tell them.
struct TargetHead {
    std::string table; ///< name of the file, "-" for standard input
    std::optional<Tolerance> tolerance;
    std::optional<AppliedAlignment> alignment;
    std::optional<std::uint64_t> skipped; ///< rows, where bad ones were to be skipped

    /// The table as sentences call it.
    std::string table_name() const { return table == "-" ? "standard input" : table; }
};

} // namespace velm::inspect
