// file_date.h: the day on which a file was last written: `file_date`, `fill_in_date`.
#pragma once

#include "velm/inspection/field.h"

#include <string>
#include <vector>

namespace velm::inspect {

/// YYYY-MM-DD in UTC; empty for standard input and for what is no file.
std::string file_date(const std::string& path);

/// Gives a date that says "file" the day of the measured file.
void fill_in_date(std::vector<NamedText>& info, const std::string& measured);

} // namespace velm::inspect
