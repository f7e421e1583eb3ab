// section_table.h: `section_table`, the table and summary of a section on standard output.
#pragma once

#include <string>

#include "inspect/base/kept_rows.h"
#include "velm/inspection/section_result.h"

namespace velm::inspect {

/// The rows that were kept, with the summary, the counts of places, and the alignment.
std::string section_table(const KeptRows<SectionRow>& rows, const Summary& summary,
                          const PlaceCounts& places, const SectionHead& head);

} // namespace velm::inspect
