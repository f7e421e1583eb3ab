// summary_table.h: the summary as text for a terminal: `summary_text`.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "velm/inspection/summary.h"

namespace velm::inspect {

/// The decimals with which a table shows deviations.
int table_decimals(const Summary& summary);

/// What stands below a table: where it shows the worst points alone, how many they are (`worst`,
/// otherwise 0), the title, and the figures, with `counts` of points of some kind among them.
std::string summary_text(const Summary& summary, std::size_t worst, const std::string& title,
                         const std::vector<std::pair<std::string, std::uint64_t>>& counts = {});

} // namespace velm::inspect
