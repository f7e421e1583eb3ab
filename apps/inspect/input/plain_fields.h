// plain_fields.h: lines of small tables that a user writes by hand: `trimmed`, `plain_fields`.
#pragma once

#include <string_view>
#include <vector>

namespace velm::inspect {

/// Without blanks at its ends, and without quotes around the rest.
std::string_view trimmed(std::string_view text);

/// The fields between semicolons, else tabs, else commas, each trimmed.
std::vector<std::string_view> plain_fields(std::string_view line);

} // namespace velm::inspect
