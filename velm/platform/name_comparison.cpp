#include "velm/platform/name_comparison.h"

#include <algorithm>

namespace {

bool is_digit(char c) { return c >= '0' && c <= '9'; }

constexpr int sign(int n) { return (n > 0) - (n < 0); }

// Removes the first character of a text that is not empty and returns its code.
char32_t next_code(std::string_view& text) {
    const auto byte = [&text](std::size_t n) { return static_cast<BYTE>(text[n]); };
    const auto take = [&text](std::size_t n, char32_t code) {
        text.remove_prefix(n);
        return code;
    };
    const BYTE lead = byte(0);
    const std::size_t length = lead < 0xC2 ? 1 : lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : 4;
    if (length == 1 || lead > 0xF4 || text.size() < length) return take(1, lead);
    char32_t code = lead & (0x7Fu >> length);
    for (std::size_t n = 1; n < length; ++n) {
        if ((byte(n) & 0xC0) != 0x80) return take(1, lead);
        code = code << 6 | (byte(n) & 0x3Fu);
    }
    // Longer than needed, a surrogate, or beyond the last code: not well formed.
    constexpr char32_t least[] = {0, 0, 0x80, 0x800, 0x10000};
    const bool stray = code < least[length] || (code >= 0xD800 && code < 0xE000) || code > 0x10FFFF;
    return stray ? take(1, lead) : take(length, code);
}

// Removes the leading run of digits and returns it without leading zeros.
std::string_view next_number(std::string_view& text) {
    const auto end = std::find_if_not(text.begin(), text.end(), is_digit);
    std::string_view run = text.substr(0, static_cast<std::size_t>(end - text.begin()));
    text.remove_prefix(run.size());
    run.remove_prefix(std::min(run.find_first_not_of('0'), run.size()));
    return run;
}

int compare_numbers(std::string_view a, std::string_view b) {
    if (a.size() != b.size()) return a.size() < b.size() ? -1 : 1;
    return sign(a.compare(b));
}

} // namespace

int hxuLogicalStringCompare::operator()(std::string_view a, std::string_view b) const {
    std::string_view rest = a, other = b;
    while (!rest.empty() && !other.empty()) {
        if (is_digit(rest.front()) && is_digit(other.front())) {
            const std::string_view number = next_number(rest);
            const int order = compare_numbers(number, next_number(other));
            if (order != 0) return order;
        } else {
            const char32_t code = next_code(rest), other_code = next_code(other);
            if (code != other_code) return code < other_code ? -1 : 1;
        }
    }
    if (rest.empty() != other.empty()) return rest.empty() ? -1 : 1;
    return sign(a.compare(b));
}
