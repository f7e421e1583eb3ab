#include "inspect/input/outline_lines.h"

#include "inspect/base/number_text.h"
#include "inspect/base/text_escape.h"

#include <algorithm>

namespace velm::inspect {
namespace {

// Calls visit(field) for the fields of a line in order, with an empty one between two commas.
template <class Visit>
void for_fields(std::string_view text, Visit visit) {
    constexpr std::string_view blanks = " \t\v\f";
    std::size_t at = text.find_first_not_of(blanks);
    bool after_comma = true;
    while (at != std::string_view::npos) {
        if (text[at] == ',') {
            if (after_comma) visit(std::string_view());
            after_comma = true;
            at = text.find_first_not_of(blanks, at + 1);
            continue;
        }
        const std::size_t end = std::min(text.find_first_of(" \t\v\f,", at), text.size());
        visit(text.substr(at, end - at));
        after_comma = false;
        at = text.find_first_not_of(blanks, end);
    }
}

void split(OutlineLine& line) {
    line.count = 0;
    line.field.fill({});
    for_fields(line.content, [&](std::string_view field) {
        if (line.count < line.field.size()) line.field[line.count] = field;
        ++line.count;
    });
}

} // namespace

std::string OutlineLine::shown() const { return "'" + clipped(content, 40) + "'"; }

bool OutlineLine::is_damaged_vertex() const {
    std::string text(content);
    std::replace(text.begin(), text.end(), ';', ' ');
    std::size_t fields = 0, numbers = 0, mended = 0;
    for_fields(text, [&](std::string_view part) {
        ++fields;
        if (parse_number(part).fault != NumberFault::not_a_number) {
            ++numbers;
            return;
        }
        std::string digits(part);
        for (char& c : digits)
            c = c == 'O' || c == 'o' ? '0' : c == 'l' || c == 'I' ? '1' : c;
        if (parse_number(digits).fault != NumberFault::not_a_number) ++mended;
    });
    return fields == numbers || (fields == 2 && numbers == 1 && mended == 1);
}

std::vector<std::string_view> OutlineLine::all_fields() const {
    std::vector<std::string_view> fields;
    for_fields(content, [&](std::string_view one) { fields.push_back(one); });
    return fields;
}

bool OutlineLines::next(OutlineLine& line) {
    std::string_view text;
    while (source_.next_line(text)) {
        const std::size_t comment = text.find('#');
        line.content = text.substr(0, comment);
        split(line);
        if (line.count > 0) {
            line.number = source_.line_number();
            line.starts_block = starts_block_;
            starts_block_ = false;
            return true;
        }
        if (comment == std::string_view::npos) starts_block_ = true;
    }
    return false;
}

} // namespace velm::inspect
