// measured_reader.h: CSV files of measured points: `MeasuredPoint`, `MeasuredReader`.
#pragma once

#include "inspect/input/csv_records.h"

#include <array>
#include <cstddef>
#include <optional>
#include <string>

namespace velm::inspect {

/// One measured row. x, y, z is the centre of the probe's ball, in model units.
struct MeasuredPoint {
    std::string id;
    double x = 0.0, y = 0.0;
    std::optional<double> z;
    std::array<std::optional<double>, 3> approach; ///< i, j, k
    std::optional<double> diameter;                ///< of the ball, never negative
    std::size_t line = 0;                          ///< the first line of the row
};

/// Reads rows as `CsvRecords` does: `id`, `x`, `y`, and optionally `z`, `i`, `j`, `k`, `diameter`.
class MeasuredReader {
public:
    /// Reads the header. Throws `Failure` (input) if it isn't a header or columns are missing.
    explicit MeasuredReader(TextSource& source);

    /// The next row; false after the last. Blank rows are skipped, empty optional fields have no
    /// value. Throws `Failure` (input) with the file, the line, the column and the cause.
    bool next(MeasuredPoint& point);

    bool has_z() const;

private:
    TextSource& source_;
    CsvRecords records_;
};

} // namespace velm::inspect
