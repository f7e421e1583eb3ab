// measured_reader.h: CSV files of measured points: `MeasuredPoint`, `MeasuredReader`.
#pragma once

#include <array>
#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "inspect/text_source.h"

namespace velm::inspect {

/// One measured row. x, y, z is the centre of the probe's ball, in model units.
struct MeasuredPoint {
    std::string id;
    double x = 0.0, y = 0.0;
    std::optional<double> z;
    std::array<std::optional<double>, 3> approach; ///< i, j, k
    std::optional<double> diameter;                ///< of the ball, never negative
    std::size_t line = 0;                          ///< where the row starts
};

/// Reads rows one by one, in constant memory. The first row names the columns in any order and any
/// case: `id`, `x`, `y`, and optionally `z`, `i`, `j`, `k`, `diameter`; others are passed over.
/// Columns are parted by comma, semicolon or tab, whichever the header shows; with semicolon or tab
/// numbers may have a decimal comma. Fields may be quoted (RFC 4180), over several lines too.
class MeasuredReader {
public:
    /// Reads the header. Throws `Failure` (input) where it isn't one or columns are missing.
    explicit MeasuredReader(TextSource& source);

    /// The next row; false behind the last. Blank rows are passed over, empty optional fields are
    /// no value. Throws `Failure` (input) with the file, the line, the column and the cause.
    bool next(MeasuredPoint& point);

    bool has_z() const { return column_of_[z].has_value(); }

private:
    enum Column { id, x, y, z, i, j, k, diameter, column_count };
    static const std::array<std::string_view, column_count> names;

    bool read_record();
    void split_line(std::string_view line, char separator);
    void continue_quoted();
    static char find_separator(std::string_view header);
    void assign_columns();
    std::string_view field(Column column) const;
    double number(Column column, std::string_view text) const;
    std::optional<double> optional_number(Column column) const;

    TextSource& source_;
    char separator_ = ',';
    std::array<std::optional<std::size_t>, column_count> column_of_;
    std::size_t header_width_ = 0;
    std::size_t record_line_ = 0;
    std::vector<std::string> fields_; // reused from row to row
    std::size_t field_count_ = 0;
    std::size_t record_size_ = 0;
    bool open_quote_ = false;
};

} // namespace velm::inspect
