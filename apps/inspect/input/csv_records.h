// csv_records.h: `CsvRecords`, the rows of a measured table by the meaning of their columns;
// `RowFault`, `TableOptions`.
#pragma once

#include "inspect/input/column_names.h"
#include "inspect/input/text_source.h"
#include "velm/inspection/field.h"

#include <array>
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

/// What the user says about a table.
struct TableOptions {
    std::vector<ColumnChoice> columns; ///< which the header doesn't decide
    std::optional<double> millimetres; ///< of the table's unit
};

/// What a reader needs of a table.
struct TableNeeds {
    std::span<const Column> columns; ///< all that it understands
    bool actual_is_measured = false; ///< act_x, act_y, act_z are x, y, z
    /// Whether lines of three or six numbers, x, y, z, i, j, k, need no header.
    bool reads_bare = false;
    const char* expected; ///< "expected a header with the columns id, x and y"
    /// The columns that are missing, as a text; empty if there are enough.
    std::string (*missing)(const class CsvRecords&);
};

/// Reads rows one by one, in constant memory, except for a table with one axis per row. The columns
/// are found by their titles (column_names.h) in the first row that has all that is needed; titles,
/// comments and `sep=;` before that are skipped. They are separated by semicolon, tab, comma or
/// blanks, whichever gives such a row; a number may have a decimal comma where a comma doesn't
/// separate, or between quotes. A table that writes some numbers with a decimal comma and some with
/// a point is refused, and so is one whose "1,234" may be either number. A row of units after the
/// header is read, the header and that row again, as on each page of a print, are skipped.
///
/// Fields may be quoted (RFC 4180), over several lines too. In a table with one axis per row
/// (feature, axis, nominal, measured) the rows of a feature become one; it is read as a whole, so
/// that all axes of no use are known beforehand.
class CsvRecords {
public:
    /// Finds the columns. Throws `Failure` (input) if there are none, or if two could be meant.
    CsvRecords(TextSource& source, const TableNeeds& needs, const TableOptions& options = {});

    /// Reads the next row; false after the last. Blank rows are skipped. Throws `Failure` (input)
    /// if quoting is broken.
    bool next();
    /// The first line of the row, and its number from 1.
    std::size_t line() const { return row_line_; }
    std::size_t number_of_row() const { return row_number_; }

    bool has(Column column) const;
    bool is_by_axis() const { return is_by_axis_; }
    /// Whether i, j, k are the last three of six numbers that no header names.
    bool has_bare_directions() const { return is_bare_ && field_count_ == 6 && !is_chosen_; }

    // The row that was read. Throw `RowFault`. Lengths are in millimetres if the unit is known.
    std::string_view field(Column column) const;
    double number(Column column) const;
    double length(Column column) const;
    /// None for an empty field.
    std::optional<double> optional_number(Column column) const;
    std::optional<double> optional_length(Column column) const;
    /// As optional_length, and refuses negative ones.
    std::optional<double> optional_size(Column column) const;
    /// Refuses rows with text after the last column of the header.
    void check_width() const;

    /// The length of the unit in millimetres, if it is known.
    std::optional<double> millimetres() const { return millimetres_; }
    /// The titles that were not understood, or are of no use here.
    const std::vector<std::string>& ignored() const { return ignored_; }
    /// The meanings of the others, unless each has its plain name.
    const std::vector<NamedText>& read_as() const { return read_as_; }

private:
    static constexpr std::size_t absent = static_cast<std::size_t>(-1);
    static constexpr std::string_view blanks = " \t";
    static constexpr char blank_separated = ' '; // the separator of fields by any blanks

    // The rows of a feature in a table with one axis per row.
    struct AxesRow {
        std::size_t line = 0; // of the first
        std::string name;
        std::array<std::string, 3> measured, nominal;
    };

    std::optional<std::size_t> column_of(Column column) const {
        const std::size_t at = column_of_[static_cast<std::size_t>(column)];
        return at == absent ? std::nullopt : std::optional(at);
    }
    static bool is_blank(std::string_view line) {
        return line.find_first_not_of(blanks) == std::string_view::npos;
    }
    // The header, in csv_header.cpp.
    static std::vector<char> separators_of(std::string_view line);
    void find_header(const TableOptions& options);
    bool take_header(std::string_view line, const TableOptions& options);
    bool take_bare(std::string_view line);
    void choose_by_hand(const TableOptions& options);
    void assign(Column meaning, std::size_t at, const ColumnTitle& title);
    void clear_columns();
    void take_units();
    void settle_unit(const TableOptions& options);
    void check_limits_unit() const;
    // The rows, in csv_records.cpp.
    bool next_fields();
    bool next_row();
    bool next_axes();
    void ignore_beside_axes();
    bool gather_axes(AxesRow& row);
    std::string_view axes_field(Column column) const;
    bool has_texts(const std::vector<std::string>& texts) const;
    void note_decimals(Column column, std::string_view text) const;
    void check_decimals() const;
    bool is_blank_row() const;
    void split(std::string_view line, char separator);
    void split_blanks(std::string_view line);
    void split_line(std::string_view line, char separator);
    void continue_quoted();
    double parsed(Column column, std::string_view text) const;

    TextSource& source_;
    TableNeeds needs_;
    char separator_ = ',';
    bool separator_is_given_ = false;
    std::array<std::size_t, column_meanings> column_of_{};
    std::vector<std::string> titles_;
    std::vector<std::optional<double>> title_units_;
    std::vector<std::string> units_; // the row of units, if any
    bool is_bare_ = false, is_chosen_ = false;
    bool waits_ = false; // a row that was read waits for its turn
    bool is_by_axis_ = false;
    double scale_ = 1.0;
    std::optional<double> millimetres_;
    std::vector<std::string> ignored_;
    std::vector<NamedText> read_as_;

    std::size_t row_line_ = 0, row_number_ = 0;
    std::size_t record_line_ = 0;     // of the fields
    std::vector<std::string> fields_; // reused from row to row
    std::vector<bool> quoted_;        // of these
    std::size_t field_count_ = 0;
    std::size_t record_size_ = 0;
    bool open_quote_ = false;
    std::vector<AxesRow> axes_; // all rows of a table with one axis per row

    // How the table writes numbers: the first with a decimal comma, with a point, and with a comma
    // that may separate thousands.
    struct Example {
        std::string text;
        std::size_t line = 0;
    };
    mutable Example comma_, point_, either_;
};

} // namespace velm::inspect
