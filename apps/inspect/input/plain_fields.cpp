#include "inspect/input/plain_fields.h"

#include <algorithm>
#include <cstddef>

namespace velm::inspect {

std::string_view trimmed(std::string_view text) {
    constexpr std::string_view blanks = " \t";
    const std::size_t first = text.find_first_not_of(blanks);
    if (first == std::string_view::npos) return {};
    text = text.substr(first, text.find_last_not_of(blanks) + 1 - first);
    if (text.size() >= 2 && text.front() == '"' && text.back() == '"')
        text = text.substr(1, text.size() - 2);
    return text;
}

std::vector<std::string_view> plain_fields(std::string_view line) {
    char separator = ',';
    for (const char candidate : {'\t', ';'})
        if (line.find(candidate) != std::string_view::npos) separator = candidate;
    std::vector<std::string_view> fields;
    for (std::size_t at = 0; at <= line.size();) {
        const std::size_t end = std::min(line.find(separator, at), line.size());
        fields.push_back(trimmed(line.substr(at, end - at)));
        at = end + 1;
    }
    return fields;
}

} // namespace velm::inspect
