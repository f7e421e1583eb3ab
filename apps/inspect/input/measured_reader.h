// measured_reader.h: tables of measured points: `MeasuredPoint`, `MeasuredReader`.
#pragma once

#include "inspect/input/csv_records.h"
#include "velm/inspection/inspection_head.h"

#include <array>
#include <cstddef>
#include <optional>
#include <string>

namespace velm::inspect {

/// One measured row. x, y, z is the centre of the probe's ball, in millimetres if the unit is
/// known.
struct MeasuredPoint {
    std::string id;
    double x = 0.0, y = 0.0;
    std::optional<double> z;
    std::array<std::optional<double>, 3> approach; ///< i, j, k
    std::optional<double> diameter;                ///< of the ball, never negative
    std::optional<double> lower, upper;            ///< limits of its own
    std::string feature, part;
    std::size_t line = 0; ///< the first line of the row
};

/// Limits of a row: one alone is completed by the tolerance of all, or by minus itself. Throws
/// `RowFault` where the lower one is above the upper one.
std::optional<Tolerance> row_limits(const std::optional<double>& lower,
                                    const std::optional<double>& upper,
                                    const std::optional<Tolerance>& of_all);

/// The limits that a row has under `lower`, `upper` and their like.
void read_limits(const CsvRecords& records, std::optional<double>& lower,
                 std::optional<double>& upper);

/// What the columns of a table say about all of its rows.
void describe_columns(const CsvRecords& records, InspectionHead& head);

/// Sentences about the table, for the user: the columns that are not understood.
std::vector<std::string> table_notes(const CsvRecords& records, const std::string& name);

/// Reads rows as `CsvRecords` does: `x`, `y`, and optionally `id`, which is otherwise the number of
/// the row, `z`, `i`, `j`, `k`, `diameter` or `radius`, `lower`, `upper`, `feature`, `part`.
class MeasuredReader {
public:
    /// Reads the header. Throws `Failure` (input) if it isn't a header or columns are missing.
    explicit MeasuredReader(TextSource& source, const TableOptions& options = {},
                            bool reads_bare = false);

    /// The next row; false after the last. Blank rows are skipped, empty optional fields have no
    /// value. Throws `Failure` (input) with the file, the line, the column and the cause.
    bool next(MeasuredPoint& point);

    bool has(Column column) const { return records_.has(column); }
    const CsvRecords& records() const { return records_; }

private:
    void read(MeasuredPoint& point) const;

    TextSource& source_;
    CsvRecords records_;
};

} // namespace velm::inspect
