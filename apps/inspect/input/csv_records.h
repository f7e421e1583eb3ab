// csv_records.h: `CsvRecords`, the rows of a CSV file by named columns, and `RowFault`.
#pragma once

#include "inspect/input/text_source.h"

#include <cstddef>
#include <optional>
#include <span>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace velm::inspect {

/// The fault of a row that is well-formed CSV but unusable: a sentence without the place.
class RowFault : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// Reads rows one by one, in constant memory. The first row names the columns in any order and
/// case; unknown ones are ignored. Columns are separated by comma, semicolon or tab, as in the
/// header; with semicolon or tab numbers may have a decimal comma. Fields may be quoted (RFC 4180),
/// over several lines too.
class CsvRecords {
public:
    /// Reads the header and finds `names`, in lower case; their indices denote the columns from
    /// then on. Throws `Failure` (input) if there is no header or a name occurs twice.
    CsvRecords(TextSource& source, std::span<const std::string_view> names);

    /// Reads the next row; false after the last. Blank rows are skipped. Throws `Failure` (input)
    /// if quoting is broken.
    bool next();
    /// The first line of the row.
    std::size_t line() const { return record_line_; }

    bool has(std::size_t column) const { return column_of_[column].has_value(); }
    /// The column names as written in the header, for messages.
    std::string header() const;

    // The row that was read. Throw `RowFault`.
    std::string_view field(std::size_t column) const;
    double number(std::size_t column) const;
    /// None for an empty field.
    std::optional<double> optional_number(std::size_t column) const;
    /// As optional_number, and refuses negative ones.
    std::optional<double> optional_length(std::size_t column) const;
    /// Refuses rows with text after the last column of the header.
    void check_width() const;

private:
    void split_line(std::string_view line, char separator);
    void continue_quoted();
    static char find_separator(std::string_view header);
    void assign_columns();

    TextSource& source_;
    std::span<const std::string_view> names_;
    char separator_ = ',';
    std::vector<std::optional<std::size_t>> column_of_; // by name
    std::string header_;
    std::size_t header_width_ = 0;
    std::size_t record_line_ = 0;
    std::vector<std::string> fields_; // reused from row to row
    std::size_t field_count_ = 0;
    std::size_t record_size_ = 0;
    bool open_quote_ = false;
};

} // namespace velm::inspect
