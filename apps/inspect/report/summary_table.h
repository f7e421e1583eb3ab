// summary_table.h: the summary as text for a terminal: `summary_text`.
#pragma once

#include "velm/inspection/summary.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

namespace velm::inspect {

/// The decimals with which a table shows deviations.
int table_decimals(const Summary& summary);

/// The text below a table: the number of the worst points if it shows only those (`worst`,
/// otherwise 0), the title, and the figures, with `counts` of points of some kind among them.
std::string summary_text(const Summary& summary, std::size_t worst, const std::string& title,
                         const std::vector<std::pair<std::string, std::uint64_t>>& counts = {});

} // namespace velm::inspect
