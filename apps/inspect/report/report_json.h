// report_json.h: what the reports for programs share.
#pragma once

#include <initializer_list>
#include <optional>
#include <string>

#include "velm/inspection/summary.h"

namespace velm::inspect {

/// "[1,2.5]"
void append_list(std::string& out, std::initializer_list<double> numbers);

/// `,"tolerance":{"lower":...,"upper":...}` or null.
void append_tolerance(std::string& out, const std::optional<Tolerance>& tolerance);

/// ` "summary":{...}`, with `more` fields before the worst point; with `ascii` the id of that point
/// has no byte beyond ASCII.
void append_summary(std::string& out, const Summary& summary, bool ascii,
                    const std::string& more = {});

/// ",1,2.5", fields behind the first one.
void append_csv_numbers(std::string& out, std::initializer_list<double> numbers);

/// "true", "false", or `unknown`.
const char* truth_text(const std::optional<bool>& value, const char* unknown);

} // namespace velm::inspect
