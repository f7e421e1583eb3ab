// How CsvRecords reads the rows below its header.
#include "inspect/input/csv_records.h"

#include "inspect/base/number_text.h"
#include "inspect/base/text_escape.h"

#include <algorithm>
#include <cmath>

namespace velm::inspect {
namespace {

// "1,234": a comma as it also separates thousands.
bool may_be_thousands(std::string_view text) {
    if (text.starts_with('-') || text.starts_with('+')) text.remove_prefix(1);
    const std::size_t comma = text.find(',');
    return comma >= 1 && comma <= 3 && text.size() == comma + 4 && text[0] != '0' &&
           text.find_first_not_of("0123456789,") == std::string_view::npos;
}

} // namespace

void CsvRecords::split(std::string_view line, char separator) {
    if (separator == blank_separated)
        split_blanks(line);
    else
        split_line(line, separator);
}

// Fields separated by runs of blanks and tabs.
void CsvRecords::split_blanks(std::string_view line) {
    field_count_ = 0;
    for (std::size_t at = line.find_first_not_of(blanks); at != std::string_view::npos;) {
        const std::size_t end = std::min(line.find_first_of(blanks, at), line.size());
        if (field_count_ == fields_.size()) {
            fields_.emplace_back();
            quoted_.push_back(false);
        }
        quoted_[field_count_] = false;
        fields_[field_count_++] = line.substr(at, end - at);
        at = line.find_first_not_of(blanks, end);
    }
}

// Splits a line into fields_ from field_count_ on. If the line ends within a quoted field,
// open_quote_ stays set and the next line continues the last field.
void CsvRecords::split_line(std::string_view line, char separator) {
    std::size_t at = 0;
    if (!open_quote_) field_count_ = 0;
    for (;;) {
        bool quoted = open_quote_;
        if (!open_quote_) {
            if (field_count_ == fields_.size()) {
                fields_.emplace_back();
                quoted_.push_back(false);
            }
            quoted_[field_count_] = false;
            fields_[field_count_++].clear();
            const std::size_t first = line.find_first_not_of(' ', at);
            if (first != std::string_view::npos && line[first] == '"') {
                quoted = open_quote_ = true;
                quoted_[field_count_ - 1] = true;
                at = first + 1;
            }
        }
        std::string& text = fields_[field_count_ - 1];
        while (open_quote_) {
            const std::size_t quote = line.find('"', at);
            text += line.substr(at, quote - at);
            if (quote == std::string_view::npos) return;
            at = quote + 1;
            if (at < line.size() && line[at] == '"') {
                text += '"';
                ++at;
            } else {
                open_quote_ = false;
            }
        }
        const std::size_t end = std::min(line.find(separator, at), line.size());
        if (!quoted) {
            text += line.substr(at, end - at);
            text.erase(text.find_last_not_of(blanks) + 1);
            text.erase(0, std::min(text.find_first_not_of(blanks), text.size()));
        } else if (!is_blank(line.substr(at, end - at))) {
            source_.refuse_at(record_line_, "text after the closing quote of a field: '" +
                                                clipped(line.substr(at, end - at), 40) + "'");
        }
        if (end == line.size()) return;
        at = end + 1;
    }
}

// Reads on until the open quoted field is closed.
void CsvRecords::continue_quoted() {
    std::string_view line;
    while (open_quote_) {
        if (!source_.next_line(line))
            source_.refuse_at(record_line_, "a quoted field starts here and isn't closed");
        if ((record_size_ += line.size() + 1) > TextSource::longest_line)
            source_.refuse_at(record_line_, "a quoted field starts here and isn't closed within a "
                                            "mebibyte");
        fields_[field_count_ - 1] += '\n';
        split_line(line, separator_);
    }
}

bool CsvRecords::is_blank_row() const {
    return std::all_of(fields_.begin(), fields_.begin() + static_cast<std::ptrdiff_t>(field_count_),
                       [](const std::string& text) { return text.empty(); });
}

// The fields of the next row that has any text.
bool CsvRecords::next_fields() {
    if (waits_) {
        waits_ = false;
        return true;
    }
    std::string_view line;
    do {
        if (!source_.next_line(line)) return false;
        record_line_ = source_.line_number();
        record_size_ = line.size();
        split(line, separator_);
        continue_quoted();
    } while (is_blank_row() || (!is_bare_ && (has_texts(titles_) || has_texts(units_))));
    return true;
}

bool CsvRecords::has_texts(const std::vector<std::string>& texts) const {
    return field_count_ == texts.size() && std::equal(texts.begin(), texts.end(), fields_.begin());
}

// Of a table with one axis per row those of the gathered rows.
bool CsvRecords::has(Column column) const {
    if (!is_by_axis_) return column_of(column).has_value();
    return column == Column::id || (column >= Column::x && column <= Column::z) ||
           (column_of(Column::nominal) && column >= Column::nom_x && column <= Column::nom_z) ||
           (column >= Column::act_x && column <= Column::act_z);
}

bool CsvRecords::next() {
    if (is_by_axis_ ? next_axes() : next_row()) return true;
    check_decimals();
    return false;
}

bool CsvRecords::next_axes() {
    if (row_number_ == axes_.size()) return false;
    row_line_ = axes_[row_number_++].line;
    return true;
}

bool CsvRecords::next_row() {
    if (!next_fields()) return false;
    row_line_ = record_line_;
    ++row_number_;
    return true;
}

// Columns whose values belong to no point as a whole, such as the limits of an axis.
void CsvRecords::ignore_beside_axes() {
    const bool has_id = column_of(Column::id).has_value();
    for (std::size_t meaning = 0; meaning < column_of_.size(); ++meaning) {
        const auto column = static_cast<Column>(meaning);
        const bool is_used = column == Column::axis || column == Column::measured ||
                             column == Column::nominal || column == Column::id ||
                             (column == Column::feature && !has_id);
        if (is_used || column_of_[meaning] == absent) continue;
        ignored_.push_back(titles_[column_of_[meaning]]);
        column_of_[meaning] = absent;
        std::erase_if(read_as_,
                      [&](const NamedText& one) { return one.name == column_name(column); });
    }
}

// The rows of the next feature, each the nominal and the measured coordinate of an axis. An axis
// that isn't x, y or z is of no use here.
bool CsvRecords::gather_axes(AxesRow& row) {
    const auto at = [&](Column column) {
        const auto found = column_of(column);
        return found && *found < field_count_ ? std::string_view(fields_[*found])
                                              : std::string_view();
    };
    bool has_axis = false;
    while (next_fields()) {
        const std::string_view axis = at(Column::axis);
        const std::string_view name = column_of(Column::id) ? at(Column::id) : at(Column::feature);
        const std::size_t letter =
            axis.size() == 1 ? std::string_view("xyzXYZ").find(axis[0]) : std::string_view::npos;
        if (letter == std::string_view::npos) {
            const std::string title = titles_[*column_of(Column::axis)] + " " + std::string(axis);
            if (std::find(ignored_.begin(), ignored_.end(), title) == ignored_.end())
                ignored_.push_back(title);
            continue;
        }
        const std::size_t number = letter % 3;
        if (has_axis && ((!name.empty() && name != row.name) || !row.measured[number].empty())) {
            waits_ = true;
            break;
        }
        if (!has_axis) {
            row.line = record_line_;
            row.name = name;
        }
        has_axis = true;
        row.measured[number] = at(Column::measured);
        row.nominal[number] = at(Column::nominal);
    }
    return has_axis;
}

std::string_view CsvRecords::axes_field(Column column) const {
    const AxesRow& row = axes_[row_number_ - 1];
    const auto number = [&](Column first) {
        return static_cast<std::size_t>(column) - static_cast<std::size_t>(first);
    };
    if (column == Column::id || column == Column::feature) return row.name;
    if (column >= Column::x && column <= Column::z) return row.measured[number(Column::x)];
    if (column >= Column::act_x && column <= Column::act_z)
        return row.measured[number(Column::act_x)];
    if (column >= Column::nom_x && column <= Column::nom_z)
        return row.nominal[number(Column::nom_x)];
    return {};
}

std::string_view CsvRecords::field(Column column) const {
    if (is_by_axis_) return axes_field(column);
    const auto at = column_of(column);
    return at && *at < field_count_ ? std::string_view(fields_[*at]) : std::string_view();
}

double CsvRecords::number(Column column) const { return parsed(column, field(column)); }

double CsvRecords::length(Column column) const {
    const double value = number(column) * scale_;
    if (!std::isfinite(value))
        throw RowFault("column " + std::string(column_name(column)) + ": the number '" +
                       clipped(field(column), 40) + "' is beyond what a double can hold");
    return value;
}

double CsvRecords::parsed(Column column, std::string_view text) const {
    const auto at = column_of(column);
    const bool is_quoted = at && *at < field_count_ && quoted_[*at];
    const ParsedNumber parsed = parse_number(text, separator_ != ',' || is_quoted);
    if (!parsed)
        throw RowFault("column " + std::string(column_name(column)) + ": " +
                       number_complaint(text, parsed.fault));
    note_decimals(column, text);
    return parsed.value;
}

void CsvRecords::note_decimals(Column column, std::string_view text) const {
    const bool has_comma = text.find(',') != std::string_view::npos;
    if (!has_comma && text.find('.') == std::string_view::npos) return;
    const bool may_group = has_comma && separator_ == ',' && may_be_thousands(text);
    Example& own = !has_comma ? point_ : may_group ? either_ : comma_;
    if (own.line == 0) own = {clipped(text, 40), row_line_};
    const Example& comma = comma_.line > 0 ? comma_ : either_;
    if (comma.line == 0 || point_.line == 0) return;
    const Example& other = has_comma ? point_ : comma;
    throw RowFault("column " + std::string(column_name(column)) + ": '" + clipped(text, 40) +
                   (has_comma ? "' has a comma, but '" : "' has a point, but '") + other.text +
                   "' in line " + std::to_string(other.line) +
                   (has_comma ? " a point" : " a comma") + "; only one of them separates decimals");
}

void CsvRecords::check_decimals() const {
    if (either_.line > 0 && comma_.line == 0)
        source_.refuse_at(either_.line, "the number '" + either_.text +
                                            "' may have a decimal comma or separate thousands, "
                                            "and no other number shows which");
}

std::optional<double> CsvRecords::optional_number(Column column) const {
    return field(column).empty() ? std::nullopt : std::optional(number(column));
}

std::optional<double> CsvRecords::optional_length(Column column) const {
    return field(column).empty() ? std::nullopt : std::optional(length(column));
}

std::optional<double> CsvRecords::optional_size(Column column) const {
    const std::optional<double> size = optional_length(column);
    if (size && *size < 0.0)
        throw RowFault("column " + std::string(column_name(column)) +
                       ": expected no negative number, found '" + clipped(field(column), 40) + "'");
    return size;
}

void CsvRecords::check_width() const {
    if (is_by_axis_ || field_count_ <= titles_.size()) return;
    const auto extra = fields_.begin() + static_cast<std::ptrdiff_t>(field_count_);
    const auto is_full = [](const std::string& text) { return !text.empty(); };
    if (std::any_of(fields_.begin() + static_cast<std::ptrdiff_t>(titles_.size()), extra, is_full))
        throw RowFault("expected " + std::to_string(titles_.size()) +
                       " fields, as the header has, found " + std::to_string(field_count_));
}

} // namespace velm::inspect
