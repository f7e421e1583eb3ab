// shown_rows.h: the rows that outputs for people show: `KeptRows` of a table, `WorstRows` of a
// page.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <utility>
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

/// Keeps all rows up to `most_rows`, above that as many of the largest severity, the first among
/// equals; memory doesn't grow beyond twice as many. A row has a severity.
template <class Row, std::size_t most_rows = 5000>
class WorstRows {
public:
    static constexpr std::size_t most = most_rows;

    void add(const Row& row) {
        const std::uint64_t number = count_++;
        if (row.severity <= needed_) return;
        rows_.push_back({number, row});
        if (rows_.size() == 2 * most) drop_least();
    }
    /// In the order in which they were added.
    std::vector<Row> in_order() const {
        std::vector<Numbered> kept = rows_;
        if (kept.size() > most) {
            select(kept);
            kept.resize(most);
        }
        std::sort(kept.begin(), kept.end(),
                  [](const Numbered& a, const Numbered& b) { return a.number < b.number; });
        std::vector<Row> rows;
        for (Numbered& numbered : kept)
            rows.push_back(std::move(numbered.row));
        return rows;
    }

private:
    struct Numbered {
        std::uint64_t number;
        Row row;
    };

    // The worst come first; the next one after them, if any, is at index `most`.
    static void select(std::vector<Numbered>& rows) {
        std::nth_element(rows.begin(), rows.begin() + most, rows.end(),
                         [](const Numbered& a, const Numbered& b) {
                             return a.row.severity != b.row.severity
                                        ? a.row.severity > b.row.severity
                                        : a.number < b.number;
                         });
    }
    // A row that is not above the least one kept can't be among the worst later.
    void drop_least() {
        select(rows_);
        rows_.resize(most);
        needed_ =
            std::min_element(rows_.begin(), rows_.end(), [](const Numbered& a, const Numbered& b) {
                return a.row.severity < b.row.severity;
            })->row.severity;
    }

    std::vector<Numbered> rows_;
    std::uint64_t count_ = 0;
    double needed_ = -std::numeric_limits<double>::infinity();
};

} // namespace velm::inspect
