#include "inspect/input/face_tolerances.h"

#include "inspect/base/number_text.h"
#include "inspect/base/text_escape.h"
#include "inspect/input/plain_fields.h"
#include "inspect/input/text_source.h"

namespace velm::inspect {
namespace {

// Whether a pattern with * is the whole of a text.
bool is_match(std::string_view pattern, std::string_view text) {
    std::size_t p = 0, t = 0, star = std::string_view::npos, from = 0;
    while (t < text.size()) {
        if (p < pattern.size() && pattern[p] == '*') {
            star = p++;
            from = t;
        } else if (p < pattern.size() && pattern[p] == text[t]) {
            ++p;
            ++t;
        } else if (star != std::string_view::npos) {
            p = star + 1; // the star takes one more
            t = ++from;
        } else {
            return false;
        }
    }
    return pattern.find_first_not_of('*', p) == std::string_view::npos;
}

} // namespace

bool is_face_called(std::string_view name, std::string_view path) {
    const std::string pattern(name);
    if (is_match(pattern, path) || is_match(pattern + "/*", path)) return true;
    if (pattern.starts_with('/')) return false;
    return is_match("*/" + pattern, path) || is_match("*/" + pattern + "/*", path);
}

std::vector<FaceTolerance> read_face_tolerances(const std::string& path) {
    TextSource source(path);
    std::vector<FaceTolerance> rows;
    bool may_be_header = true;
    for (std::string_view line; source.next_line(line);) {
        line = trimmed(line);
        if (line.empty() || line.front() == '#') continue;
        const std::vector<std::string_view> fields = plain_fields(line);
        const bool is_header = may_be_header && fields.size() >= 2 && !parse_number(fields[1]);
        may_be_header = false;
        if (is_header) continue;
        if (fields.size() < 2 || fields.size() > 3 || fields[0].empty())
            source.refuse("expected a face and its limits: NAME, LOWER, UPPER or NAME, T");
        FaceTolerance& row = rows.emplace_back();
        row.name = fields[0];
        row.line = source.line_number();
        double limits[2] = {};
        for (std::size_t i = 1; i < fields.size(); ++i) {
            const ParsedNumber number = parse_number(fields[i]);
            if (!number) source.refuse(number_complaint(fields[i], number.fault));
            limits[i - 1] = number.value;
        }
        row.limits =
            fields.size() == 2 ? Tolerance{-limits[0], limits[0]} : Tolerance{limits[0], limits[1]};
        if (row.limits.lower > row.limits.upper)
            source.refuse("the lower limit is above the upper one");
    }
    if (rows.empty()) source.refuse_whole("holds no limits of faces");
    return rows;
}

} // namespace velm::inspect
