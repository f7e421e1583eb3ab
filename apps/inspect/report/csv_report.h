// csv_report.h: `CsvReport`, the rows of an inspection as CSV.
#pragma once

#include "inspect/base/output_set.h"
#include "velm/inspection/field.h"

#include <string>
#include <vector>

namespace velm::inspect {

/// A header and a line per row: every field that JSON has, one column per coordinate, a missing
/// value as an empty cell. Late fields come last, so that a new one moves no column.
class CsvReport {
public:
    /// `row` is any row, even an empty one: its fields make the header. What the user said is
    /// in lines "# name=text" before that.
    CsvReport(Output& output, const Described& row, const std::vector<NamedText>& info = {});
    void add(const Described& row);

private:
    Output& output_;
    bool on_terminal_;
    std::string text_;
};

} // namespace velm::inspect
