#include "inspect/base/text_escape.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <iterator>
#include <nlohmann/json.hpp>

namespace velm::inspect {
namespace {

constexpr char32_t no_character = 0xFFFFFFFF;

// The character at `at`, which moves past it; `no_character`, and one byte further, if the bytes
// are not well-formed UTF-8 (overlong forms, surrogates and values above U+10FFFF included).
char32_t next_character(std::string_view text, std::size_t& at) {
    const auto byte = [&](std::size_t i) { return static_cast<unsigned char>(text[i]); };
    const unsigned char lead = byte(at++);
    if (lead < 0x80) return lead;
    const int more = lead >= 0xF0 && lead < 0xF8 ? 3 : lead >= 0xE0 ? 2 : 1;
    if (lead < 0xC2 || lead >= 0xF5 || at + static_cast<std::size_t>(more) > text.size())
        return no_character;
    char32_t value = lead & (0x3Fu >> more);
    for (int i = 0; i < more; ++i) {
        const unsigned char next = byte(at + static_cast<std::size_t>(i));
        if ((next & 0xC0) != 0x80) return no_character;
        value = (value << 6) | (next & 0x3Fu);
    }
    constexpr std::array<char32_t, 4> least{0, 0x80, 0x800, 0x10000};
    if (value < least[static_cast<std::size_t>(more)] || value > 0x10FFFF ||
        (value >= 0xD800 && value <= 0xDFFF))
        return no_character;
    at += static_cast<std::size_t>(more);
    return value;
}

struct Range {
    char32_t first, last;
};

template <std::size_t Count>
bool lies_in(const std::array<Range, Count>& ranges, char32_t c) {
    return std::any_of(ranges.begin(), ranges.end(),
                       [c](const Range& r) { return c >= r.first && c <= r.last; });
}

bool turns_direction(char32_t c) {
    constexpr std::array<Range, 4> ranges{
        {{0x061C, 0x061C}, {0x200E, 0x200F}, {0x2028, 0x202E}, {0x2066, 0x2069}}};
    return lies_in(ranges, c);
}

bool is_control(char32_t c) { return c < 0x20 || (c >= 0x7F && c <= 0x9F); }

std::string hexadecimal(std::uint32_t value, std::size_t digits) {
    char buffer[8];
    const auto end = std::to_chars(buffer, std::end(buffer), value, 16).ptr;
    std::string out(buffer, end);
    return std::string(out.size() < digits ? digits - out.size() : 0, '0') + out;
}

} // namespace

std::string utf8_text(std::string_view text) {
    std::string out;
    for (std::size_t at = 0; at < text.size();) {
        const std::size_t start = at;
        if (next_character(text, at) != no_character) {
            out += text.substr(start, at - start);
        } else {
            const unsigned char byte = static_cast<unsigned char>(text[start]);
            out += static_cast<char>(0xC0u | (byte >> 6));
            out += static_cast<char>(0x80u | (byte & 0x3Fu));
        }
    }
    return out;
}

std::string terminal_text(std::string_view text) {
    std::string out;
    for (std::size_t at = 0; at < text.size();) {
        const std::size_t start = at;
        const char32_t c = next_character(text, at);
        if (c == '\n') {
            out += "\\n";
        } else if (c == '\t') {
            out += "\\t";
        } else if (c == no_character || is_control(c)) {
            const auto value = c == no_character ? static_cast<unsigned char>(text[start]) : c;
            out += "\\x" + hexadecimal(value, 2);
        } else if (turns_direction(c)) {
            out += "\\u{" + hexadecimal(c, 4) + "}";
        } else {
            out += text.substr(start, at - start);
        }
    }
    return out;
}

std::size_t display_width(std::string_view text) {
    constexpr std::array<Range, 5> no_width{
        {{0x0300, 0x036F}, {0x200B, 0x200D}, {0x20D0, 0x20FF}, {0xFE00, 0xFE0F}, {0xFE20, 0xFE2F}}};
    constexpr std::array<Range, 8> two_columns{{{0x1100, 0x115F},
                                                {0x2E80, 0xA4CF},
                                                {0xAC00, 0xD7A3},
                                                {0xF900, 0xFAFF},
                                                {0xFE30, 0xFE6F},
                                                {0xFF00, 0xFF60},
                                                {0x1F300, 0x1FAFF},
                                                {0x20000, 0x3FFFD}}};
    std::size_t width = 0;
    for (std::size_t at = 0; at < text.size();) {
        const char32_t c = next_character(text, at);
        width += lies_in(no_width, c) ? 0u : lies_in(two_columns, c) ? 2u : 1u;
    }
    return width;
}

std::string xml_text(std::string_view text) {
    std::string out;
    for (std::size_t at = 0; at < text.size();) {
        const std::size_t start = at;
        const char32_t c = next_character(text, at);
        switch (c) {
        case '&':
            out += "&amp;";
            break;
        case '<':
            out += "&lt;";
            break;
        case '>':
            out += "&gt;";
            break;
        case '"':
            out += "&quot;";
            break;
        case '\'':
            out += "&#39;";
            break;
        case no_character:
        case 0xFFFE:
        case 0xFFFF:
            out += "\xEF\xBF\xBD";
            break;
        default:
            if (c < 0x20 || c == 0x7F) {
                out += "&#x" + hexadecimal(c == 0x7F ? 0x2421 : 0x2400 + c, 4) + ";";
            } else if (is_control(c) || turns_direction(c)) {
                out += "\xEF\xBF\xBD";
            } else {
                out += text.substr(start, at - start);
            }
        }
    }
    return out;
}

void append_json_string(std::string& out, std::string_view text, bool ascii) {
    const bool plain = std::all_of(text.begin(), text.end(), [](char c) {
        return c >= 0x20 && c < 0x7F && c != '"' && c != '\\';
    });
    if (plain) {
        out.append(1, '"').append(text).append(1, '"');
    } else {
        out += nlohmann::json(text).dump(-1, ' ', ascii, nlohmann::json::error_handler_t::replace);
    }
}

void append_csv_field(std::string& out, std::string_view text) {
    const bool quoted = text.find_first_of(",;\"\t\r\n") != std::string_view::npos ||
                        (!text.empty() && (text.front() == ' ' || text.back() == ' '));
    if (!quoted) {
        out += text;
        return;
    }
    out += '"';
    for (const char c : text) {
        if (c == '"') out += '"';
        out += c;
    }
    out += '"';
}

std::string clipped(std::string_view text, std::size_t length) {
    std::size_t at = 0;
    for (std::size_t count = 0; at < text.size() && count < length; ++count)
        next_character(text, at);
    std::string out(text.substr(0, at));
    return at < text.size() ? out + "…" : out;
}

} // namespace velm::inspect
