#include "inspect/input/outline_lines.h"

#include <algorithm>

#include "inspect/base/text_escape.h"

namespace velm::inspect {
namespace {

void split(OutlineLine& line) {
    constexpr std::string_view blanks = " \t\v\f";
    const std::string_view text = line.content;
    line.count = 0;
    line.field.fill({});
    std::size_t at = text.find_first_not_of(blanks);
    bool after_comma = true;
    while (at != std::string_view::npos) {
        if (text[at] == ',') {
            if (after_comma) ++line.count; // an empty field
            after_comma = true;
            at = text.find_first_not_of(blanks, at + 1);
            continue;
        }
        const std::size_t end = std::min(text.find_first_of(" \t\v\f,", at), text.size());
        if (line.count < line.field.size()) line.field[line.count] = text.substr(at, end - at);
        ++line.count;
        after_comma = false;
        at = text.find_first_not_of(blanks, end);
    }
}

} // namespace

std::string OutlineLine::shown() const { return "'" + clipped(content, 40) + "'"; }

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
