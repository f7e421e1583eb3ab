// section_table.h: `SectionTable`, the table and summary of a section on standard output.
#pragma once

#include <string>
#include <vector>

#include "inspect/section_result.h"

namespace velm::inspect {

/// Keeps the rows up to 1,000, above that the 20 worst, and tells them with the summary.
class SectionTable {
public:
    void add(const SectionRow& row);
    /// `title` stands above the summary.
    std::string text(const SectionSummary& summary, const std::string& title) const;
    /// The worst rows in falling severity, the first of equal ones first; 20 at most.
    const std::vector<SectionRow>& worst() const { return worst_; }

private:
    static constexpr std::size_t most_rows = 1000;
    static constexpr std::size_t most_worst = 20;
    std::vector<SectionRow> rows_;
    std::vector<SectionRow> worst_;
    bool shows_worst_ = false;
};

} // namespace velm::inspect
