// target_reader.h: CSV tables of nominal and measured points: `TargetReader`, `BadRows`.
#pragma once

#include "inspect/input/csv_records.h"
#include "velm/inspection/target_result.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>

namespace velm::inspect {

/// Reads rows as `CsvRecords` does: `id`, or else the row has its number; `nom_x`, `nom_y`,
/// `nom_z`; optionally `nom_i`, `nom_j`, `nom_k`, the normal of the surface there, of any length;
/// and either `x`, `y`, `z`, `diameter`, the ball and its centre, or `act_x`, `act_y`, `act_z`, the
/// point of the surface. If the header has both, each row fills in one of them. A row without a
/// normal is a direct target.
class TargetReader {
public:
    /// Reads the header. Throws `Failure` (input) if columns are missing.
    explicit TargetReader(TextSource& source, const TableOptions& options = {});

    /// Reads the next row; false after the last.
    bool next() { return records_.next(); }
    std::size_t line() const { return records_.line(); }
    std::string id() const;
    /// The row's points, not judged yet. The target's identifier is `number`; limits that a row
    /// gives in part are completed by those `of_all`. Throws `RowFault`.
    TargetRow row(int number, const std::optional<Tolerance>& of_all = {}) const;
    const CsvRecords& records() const { return records_; }

private:
    bool is_filled(Column first) const;
    ERVector3D normal() const;
    ERPoint3D point(Column first) const;

    CsvRecords records_;
};

/// Unusable rows: all are counted, the first ones named.
class BadRows {
public:
    void add(const TargetReader& reader, const RowFault& fault);
    std::uint64_t count() const { return count_; }
    /// "table, line 4, id 'b': why", or of several "table: 3 rows can't be used: ..."
    std::string sentence(const std::string& table) const;

private:
    static constexpr std::uint64_t most_named = 20;
    std::uint64_t count_ = 0;
    std::string names_;
};

} // namespace velm::inspect
