// summary_table.h: the summary as text for a terminal: `summary_text`.
#pragma once

#include "inspect/picture/report_head.h"

#include <cstddef>
#include <string>
#include <vector>

namespace velm::inspect {

/// The text below a table: the number of the worst points if it shows only those (`worst`,
/// otherwise 0) of `count`, the head with the verdict, and the figures.
std::string summary_text(const ReportHead& head, const std::vector<FigureLine>& figures,
                         std::size_t worst, std::uint64_t count);

} // namespace velm::inspect
