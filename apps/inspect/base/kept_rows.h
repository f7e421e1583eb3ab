// kept_rows.h: `KeptRows`, the rows that a table shows.
#pragma once

#include <algorithm>
#include <cstddef>
#include <vector>

namespace velm::inspect {

/// Keeps the rows up to 1,000, above that the 20 worst. A row has a severity.
template <class Row>
class KeptRows {
public:
    void add(const Row& row) {
        if (!shows_worst_) {
            shows_worst_ = rows_.size() == most_rows;
            if (shows_worst_)
                rows_ = {};
            else
                rows_.push_back(row);
        }
        if (worst_.size() == most_worst && row.severity <= worst_.back().severity) return;
        const auto at = std::find_if(worst_.begin(), worst_.end(), [&](const Row& other) {
            return other.severity < row.severity;
        });
        worst_.insert(at, row);
        if (worst_.size() > most_worst) worst_.pop_back();
    }
    /// The rows to show: all in their order or, if they are too many, the worst.
    const std::vector<Row>& shown() const { return shows_worst_ ? worst_ : rows_; }
    bool shows_worst() const { return shows_worst_; }
    /// The worst rows in falling severity, the first of equal ones first; 20 at most.
    const std::vector<Row>& worst() const { return worst_; }

private:
    static constexpr std::size_t most_rows = 1000;
    static constexpr std::size_t most_worst = 20;
    std::vector<Row> rows_;
    std::vector<Row> worst_;
    bool shows_worst_ = false;
};

} // namespace velm::inspect
