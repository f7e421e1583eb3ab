// How CsvRecords finds its header, what the columns mean, and their unit.
#include "inspect/base/number_text.h"
#include "inspect/base/text_escape.h"
#include "inspect/input/csv_records.h"

#include <algorithm>

namespace velm::inspect {
namespace {

// Titles and comments of an export before its header.
constexpr std::size_t most_lines_before = 50;

bool is_number(std::string_view text, bool decimal_comma) {
    return parse_number(text, decimal_comma).fault != NumberFault::not_a_number;
}

// The separator that a line "sep=;" names.
std::optional<char> named_separator(std::string_view line) {
    const bool names = line.size() == 5 && (line[0] == 's' || line[0] == 'S') &&
                       (line[1] == 'e' || line[1] == 'E') && (line[2] == 'p' || line[2] == 'P') &&
                       line[3] == '=';
    return names ? std::optional(line[4]) : std::nullopt;
}

std::string joined(std::span<const std::string> texts) {
    std::string out;
    for (const std::string& text : texts)
        out += (&text == texts.data() ? "" : ", ") + text;
    return out;
}

} // namespace

CsvRecords::CsvRecords(TextSource& source, const TableNeeds& needs, const TableOptions& options)
    : source_(source), needs_(needs) {
    clear_columns();
    is_chosen_ = !options.columns.empty();
    find_header(options);
    row_line_ = source_.line_number();
    if (!is_bare_) take_units();
    settle_unit(options);
    if (is_by_axis_) ignore_beside_axes();
    check_limits_unit();
    if (!is_by_axis_) return;
    for (AxesRow row; gather_axes(row); row = AxesRow())
        axes_.push_back(std::move(row));
}

void CsvRecords::clear_columns() {
    column_of_.fill(absent);
    ignored_.clear();
    read_as_.clear();
    titles_.clear();
    title_units_.clear();
}

// The first line that is a header, or data without one.
void CsvRecords::find_header(const TableOptions& options) {
    std::string complaint;
    std::size_t complained = 0;
    std::string_view line;
    for (std::size_t count = 0; count < most_lines_before && source_.next_line(line);) {
        if (is_blank(line)) continue;
        ++count;
        if (const auto named = named_separator(line)) {
            separator_ = *named;
            separator_is_given_ = true;
            continue;
        }
        if (take_header(line, options) || take_bare(line)) return;
        // The line that is nearest to a header is the one to complain about, the first of equals.
        const auto known = static_cast<std::size_t>(std::count_if(
            column_of_.begin(), column_of_.end(), [](std::size_t at) { return at != absent; }));
        if (!complaint.empty() && known <= complained) continue;
        complained = known;
        complaint = std::string(needs_.expected) + "; missing: " + needs_.missing(*this) +
                    "; found: '" + clipped(joined({fields_.data(), field_count_}), 60) + "'";
        row_line_ = source_.line_number();
    }
    if (!complaint.empty()) source_.refuse_at(row_line_, complaint);
    source_.refuse_whole(source_.bytes_read() == 0
                             ? "the file is empty; expected CSV with a header"
                             : "only blank lines; expected CSV with a header");
}

// Separators by how often a line has them outside of quotes, then blanks.
std::vector<char> CsvRecords::separators_of(std::string_view line) {
    constexpr std::string_view candidates = ",;\t";
    std::array<int, candidates.size()> shown{};
    bool quoted = false;
    bool starts_field = true;
    for (const char c : line) {
        const std::size_t at = candidates.find(c);
        if (c == '"' && (quoted || starts_field)) quoted = !quoted;
        if (quoted) continue;
        if (at != std::string_view::npos) ++shown[at];
        starts_field = at != std::string_view::npos || (starts_field && c == ' ');
    }
    std::vector<std::size_t> order{0, 1, 2};
    std::stable_sort(order.begin(), order.end(),
                     [&](std::size_t a, std::size_t b) { return shown[a] > shown[b]; });
    std::vector<char> separators;
    for (const std::size_t at : order)
        if (shown[at] > 0) separators.push_back(candidates[at]);
    separators.push_back(blank_separated);
    return separators;
}

// Assigns the columns by a line's titles; whether that is all that is needed.
bool CsvRecords::take_header(std::string_view line, const TableOptions& options) {
    std::vector<char> separators = separators_of(line);
    if (separator_is_given_) separators = {separator_};
    if (separators.size() > 1 && separators.front() != blank_separated) separators.resize(1);
    for (const char separator : separators) {
        clear_columns();
        separator_ = separator;
        record_line_ = source_.line_number();
        split(line, separator);
        if (open_quote_) {
            open_quote_ = false;
            source_.refuse("a quoted column name isn't closed on its line");
        }
        const bool is_data = std::all_of(
            fields_.begin(), fields_.begin() + static_cast<std::ptrdiff_t>(field_count_),
            [](const std::string& text) { return is_number(text, true); });
        for (std::size_t at = 0; at < field_count_; ++at) {
            titles_.push_back(fields_[at]);
            title_units_.push_back(std::nullopt);
        }
        if (is_data && options.columns.empty()) return false;
        choose_by_hand(options);
        if (is_data) {
            if (!needs_.missing(*this).empty()) return false;
            is_bare_ = waits_ = true;
            return true;
        }
        for (std::size_t at = 0; at < field_count_; ++at) {
            const bool is_chosen =
                std::find(column_of_.begin(), column_of_.end(), at) != column_of_.end();
            if (is_chosen || titles_[at].empty()) continue;
            const ColumnTitle title = read_title(titles_[at]);
            if (title.meaning)
                assign(*title.meaning, at, title);
            else
                ignored_.push_back(titles_[at]);
        }
        is_by_axis_ = column_of(Column::axis) && column_of(Column::measured);
        if (is_by_axis_ && !column_of(Column::id) && !column_of(Column::feature))
            source_.refuse("a table with one axis per row needs a column with the names of the "
                           "features");
        if (needs_.missing(*this).empty()) {
            const bool is_plain = std::all_of(read_as_.begin(), read_as_.end(), [](const auto& c) {
                return c.text.size() == c.name.size() && read_title(c.text).is_plain;
            });
            if (is_plain) read_as_.clear();
            return true;
        }
    }
    return false;
}

// Columns that the user has numbered.
void CsvRecords::choose_by_hand(const TableOptions& options) {
    for (const ColumnChoice& choice : options.columns) {
        if (choice.number > field_count_) continue;
        const std::size_t at = choice.number - 1;
        column_of_[static_cast<std::size_t>(choice.meaning)] = at;
        read_as_.push_back(
            {std::string(column_name(choice.meaning)), "column " + std::to_string(choice.number)});
    }
}

void CsvRecords::assign(Column meaning, std::size_t at, const ColumnTitle& title) {
    if (needs_.actual_is_measured && meaning >= Column::act_x && meaning <= Column::act_z)
        meaning = static_cast<Column>(static_cast<std::size_t>(meaning) -
                                      static_cast<std::size_t>(Column::act_x) +
                                      static_cast<std::size_t>(Column::x));
    const bool is_of_use =
        std::find(needs_.columns.begin(), needs_.columns.end(), meaning) != needs_.columns.end();
    std::size_t& column = column_of_[static_cast<std::size_t>(meaning)];
    const std::string name(column_name(meaning));
    if (is_of_use && column != absent && meaning == Column::id) {
        // A point may have a number and a name: the plain "id" counts, or the first.
        if (!title.is_plain) {
            ignored_.push_back(titles_[at]);
            return;
        }
        ignored_.push_back(titles_[column]);
        std::erase_if(read_as_, [&](const NamedText& one) { return one.name == name; });
    } else if (is_of_use && column != absent) {
        if (read_as_.end() == std::find_if(read_as_.begin(), read_as_.end(), [&](const auto& one) {
                return one.name == name && one.text.starts_with("column ");
            })) {
            if (title.is_plain && read_title(titles_[column]).is_plain)
                source_.refuse("the header names the column '" + name + "' twice");
            source_.refuse("two columns may be " + name + ": '" + clipped(titles_[column], 40) +
                           "' and '" + clipped(titles_[at], 40) + "'; the number of one decides");
        }
        ignored_.push_back(titles_[at]);
        return;
    }
    if (!is_of_use) {
        ignored_.push_back(titles_[at]);
        return;
    }
    column = at;
    title_units_[at] = title.millimetres;
    read_as_.push_back({name, titles_[at]});
}

// Three or six numbers without a header.
bool CsvRecords::take_bare(std::string_view line) {
    if (!needs_.reads_bare) return false;
    for (const char separator : separators_of(line)) {
        split(line, separator_is_given_ ? separator_ : separator);
        const bool are_numbers = std::all_of(
            fields_.begin(), fields_.begin() + static_cast<std::ptrdiff_t>(field_count_),
            [&](const std::string& text) { return is_number(text, separator != ','); });
        if (!are_numbers || (field_count_ != 3 && field_count_ != 6)) continue;
        clear_columns();
        separator_ = separator_is_given_ ? separator_ : separator;
        for (std::size_t at = 0; at < field_count_; ++at) {
            const auto meaning = static_cast<Column>(static_cast<std::size_t>(Column::x) + at);
            column_of_[static_cast<std::size_t>(meaning)] = at;
            read_as_.push_back(
                {std::string(column_name(meaning)), "column " + std::to_string(at + 1)});
            titles_.emplace_back(column_name(meaning));
            title_units_.emplace_back();
        }
        record_line_ = source_.line_number();
        is_bare_ = waits_ = true;
        return true;
    }
    return false;
}

// A row of units below the titles.
void CsvRecords::take_units() {
    if (!next_fields()) return;
    bool has_unit = false;
    for (std::size_t at = 0; at < field_count_; ++at) {
        const bool is_unit = unit_called(fields_[at]).has_value();
        has_unit = has_unit || is_unit;
        if (!is_unit && !fields_[at].empty() && fields_[at] != "-") {
            waits_ = true;
            return;
        }
    }
    waits_ = !has_unit;
    if (!has_unit) return;
    units_.assign(fields_.begin(), fields_.begin() + static_cast<std::ptrdiff_t>(field_count_));
    for (std::size_t at = 0; at < std::min(units_.size(), titles_.size()); ++at)
        if (const auto unit = unit_called(units_[at])) title_units_[at] = unit;
}

// Limits in another unit would judge all points wrongly.
void CsvRecords::check_limits_unit() const {
    for (const Column column : {Column::lower, Column::upper, Column::lower_size, Column::nominal})
        if (const auto at = column_of(column); at && title_units_[*at])
            if (title_units_[*at] != millimetres_)
                source_.refuse_at(row_line_, "the column '" + titles_[*at] +
                                                 "' has a unit that the coordinates don't have");
}

// The unit that the user says, or that the titles say alike.
void CsvRecords::settle_unit(const TableOptions& options) {
    std::optional<double> of_titles;
    std::string named_by;
    for (const Column column : {Column::x, Column::y, Column::z, Column::act_x, Column::act_y,
                                Column::act_z, Column::nom_x, Column::nom_y, Column::nom_z,
                                Column::diameter, Column::radius, Column::measured}) {
        const auto at = column_of(column);
        if (!at || !title_units_[*at]) continue;
        const double unit = *title_units_[*at];
        if (of_titles && unit != *of_titles)
            source_.refuse_at(row_line_, "the columns '" + named_by + "' and '" + titles_[*at] +
                                             "' have different units");
        of_titles = unit;
        named_by = titles_[*at];
    }
    if (options.millimetres && of_titles && *options.millimetres != *of_titles)
        source_.refuse_at(row_line_, "the column '" + named_by +
                                         "' has another unit than the one that is given");
    millimetres_ = options.millimetres ? options.millimetres : of_titles;
    scale_ = millimetres_.value_or(1.0);
}

} // namespace velm::inspect
