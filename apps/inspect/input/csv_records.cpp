#include "inspect/input/csv_records.h"

#include "inspect/base/number_text.h"
#include "inspect/base/text_escape.h"

#include <algorithm>

namespace velm::inspect {
namespace {

constexpr std::string_view blanks = " \t";

void trim(std::string& text) {
    text.erase(text.find_last_not_of(blanks) + 1);
    text.erase(0, std::min(text.find_first_not_of(blanks), text.size()));
}

std::string lower_case(std::string_view text) {
    std::string out(text);
    for (char& c : out)
        if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
    return out;
}

bool is_blank(std::string_view line) {
    return line.find_first_not_of(blanks) == std::string_view::npos;
}

} // namespace

CsvRecords::CsvRecords(TextSource& source, std::span<const std::string_view> names)
    : source_(source), names_(names), column_of_(names.size()) {
    std::string_view line;
    do {
        if (!source_.next_line(line))
            source_.refuse_whole(source_.bytes_read() == 0
                                     ? "the file is empty; expected CSV with a header"
                                     : "only blank lines; expected CSV with a header");
    } while (is_blank(line));
    record_line_ = source_.line_number();
    separator_ = find_separator(line);
    split_line(line, separator_);
    if (open_quote_) source_.refuse("a quoted column name isn't closed on its line");
    assign_columns();
}

// The most frequent separator in the header outside of quotes; a comma if there is none.
char CsvRecords::find_separator(std::string_view header) {
    constexpr std::string_view candidates = ",;\t";
    std::array<int, candidates.size()> shown{};
    bool quoted = false;
    bool starts_field = true;
    for (const char c : header) {
        const std::size_t at = candidates.find(c);
        if (c == '"' && (quoted || starts_field)) quoted = !quoted;
        if (quoted) continue;
        if (at != std::string_view::npos) ++shown[at];
        starts_field = at != std::string_view::npos || (starts_field && c == ' ');
    }
    const auto most = std::max_element(shown.begin(), shown.end());
    return candidates[static_cast<std::size_t>(most - shown.begin())];
}

void CsvRecords::assign_columns() {
    header_width_ = field_count_;
    for (std::size_t at = 0; at < field_count_; ++at) {
        header_ += (at == 0 ? "" : ", ") + fields_[at];
        const auto name = std::find(names_.begin(), names_.end(), lower_case(fields_[at]));
        if (name == names_.end()) continue;
        auto& column = column_of_[static_cast<std::size_t>(name - names_.begin())];
        if (column)
            source_.refuse("the header names the column '" + std::string(*name) + "' twice");
        column = at;
    }
}

std::string CsvRecords::header() const { return "'" + clipped(header_, 60) + "'"; }

// Splits a line into fields_ from field_count_ on. If the line ends within a quoted field,
// open_quote_ stays set and the next line continues the last field.
void CsvRecords::split_line(std::string_view line, char separator) {
    std::size_t at = 0;
    if (!open_quote_) field_count_ = 0;
    for (;;) {
        bool quoted = open_quote_;
        if (!open_quote_) {
            if (field_count_ == fields_.size()) fields_.emplace_back();
            fields_[field_count_++].clear();
            const std::size_t first = line.find_first_not_of(' ', at);
            if (first != std::string_view::npos && line[first] == '"') {
                quoted = open_quote_ = true;
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
            trim(text);
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

bool CsvRecords::next() {
    std::string_view line;
    const auto is_empty = [](const std::string& text) { return text.empty(); };
    do { // a row without any text is a blank row
        if (!source_.next_line(line)) return false;
        record_line_ = source_.line_number();
        record_size_ = line.size();
        split_line(line, separator_);
        continue_quoted();
    } while (std::all_of(fields_.begin(),
                         fields_.begin() + static_cast<std::ptrdiff_t>(field_count_), is_empty));
    return true;
}

std::string_view CsvRecords::field(std::size_t column) const {
    const auto& at = column_of_[column];
    return at && *at < field_count_ ? std::string_view(fields_[*at]) : std::string_view();
}

double CsvRecords::number(std::size_t column) const {
    const std::string_view text = field(column);
    const ParsedNumber parsed = parse_number(text, separator_ != ',');
    if (!parsed)
        throw RowFault("column " + std::string(names_[column]) + ": " +
                       number_complaint(text, parsed.fault));
    return parsed.value;
}

std::optional<double> CsvRecords::optional_number(std::size_t column) const {
    return field(column).empty() ? std::nullopt : std::optional(number(column));
}

std::optional<double> CsvRecords::optional_length(std::size_t column) const {
    const std::optional<double> length = optional_number(column);
    if (length && *length < 0.0)
        throw RowFault("column " + std::string(names_[column]) +
                       ": expected no negative number, found '" + clipped(field(column), 40) + "'");
    return length;
}

void CsvRecords::check_width() const {
    if (field_count_ <= header_width_) return;
    const auto extra = fields_.begin() + static_cast<std::ptrdiff_t>(field_count_);
    const auto is_full = [](const std::string& text) { return !text.empty(); };
    if (std::any_of(fields_.begin() + static_cast<std::ptrdiff_t>(header_width_), extra, is_full))
        throw RowFault("expected " + std::to_string(header_width_) +
                       " fields, as the header has, found " + std::to_string(field_count_));
}

} // namespace velm::inspect
