#include "inspect/base/number_text.h"

#include "inspect/base/text_escape.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdlib>

namespace velm::inspect {
namespace {

bool is_digit(char c) { return c >= '0' && c <= '9'; }

// Whether a decimal number that from_chars found out of range is too large rather than too small,
// by the power of ten of its first digit that is not zero, exponent included.
bool is_beyond(std::string_view text) {
    long power = 0;
    bool point = false;
    bool started = false;
    std::size_t at = 0;
    for (; at < text.size() && text[at] != 'e' && text[at] != 'E'; ++at) {
        if (text[at] == '.') {
            point = true;
        } else if (is_digit(text[at])) {
            started = started || text[at] != '0';
            if (started && !point) ++power;
            if (!started && point) --power;
        }
    }
    if (at == text.size()) return power > 0;
    const std::string_view exponent = text.substr(at + 1);
    const bool negative = !exponent.empty() && exponent.front() == '-';
    long written = 0;
    for (const char c : exponent)
        if (is_digit(c)) written = std::min(written * 10 + (c - '0'), 1000000000L);
    return power + (negative ? -written : written) > 0;
}

} // namespace

ParsedNumber parse_number(std::string_view text, bool decimal_comma) {
    std::string with_point;
    if (decimal_comma && text.find(',') != std::string_view::npos) {
        if (text.find('.') != std::string_view::npos) return {0.0, NumberFault::not_a_number};
        with_point.assign(text);
        with_point[text.find(',')] = '.';
        text = with_point;
    }
    if (text.size() > 1 && text.front() == '+' && text[1] != '-') text.remove_prefix(1);

    ParsedNumber result;
    const char* const last = text.data() + text.size();
    const auto [end, error] = std::from_chars(text.data(), last, result.value);
    if (end != last || error == std::errc::invalid_argument || text.empty())
        return {0.0, NumberFault::not_a_number};
    if (error == std::errc::result_out_of_range) {
        if (is_beyond(text)) return {0.0, NumberFault::beyond_double};
        result.value = 0.0;
    }
    if (!std::isfinite(result.value)) return {0.0, NumberFault::not_finite};
    return result;
}

std::string number_complaint(std::string_view text, NumberFault fault) {
    if (text.empty()) return "expected a number, found nothing";
    const std::string shown = std::string("'").append(clipped(text, 40)).append("'");
    switch (fault) {
    case NumberFault::not_finite:
        return "expected a finite number, found " + shown;
    case NumberFault::beyond_double:
        return "the number " + shown + " is beyond what a double can hold";
    default:
        return "expected a number, found " + shown;
    }
}

std::string parse_numbers(std::string_view joined, std::vector<double>& numbers) {
    for (std::size_t at = 0; at <= joined.size();) {
        const std::size_t end = std::min(joined.find(' ', at), joined.size());
        const std::string_view text = joined.substr(at, end - at);
        const ParsedNumber number = parse_number(text);
        if (!number) return number_complaint(text, number.fault);
        numbers.push_back(number.value);
        at = end + 1;
    }
    return {};
}

void append_number(std::string& out, double value) {
    char buffer[40];
    const auto result = std::to_chars(buffer, buffer + sizeof buffer, value == 0.0 ? 0.0 : value);
    out.append(buffer, result.ptr);
}

std::string shortest(double value) {
    std::string out;
    append_number(out, value);
    return out;
}

std::string fixed(double value, int decimals) {
    char buffer[64];
    const bool scientific = std::fabs(value) >= 1e15 || decimals > 12;
    const auto result =
        std::to_chars(buffer, buffer + sizeof buffer, value,
                      scientific ? std::chars_format::scientific : std::chars_format::fixed,
                      scientific ? 6 : decimals);
    std::string out(buffer, result.ptr);
    if (out.front() == '-' && out.find_first_of("123456789") == std::string::npos) out.erase(0, 1);
    return out;
}

int decimals_for(double magnitude, int significant) {
    if (!(magnitude > 0.0) || !std::isfinite(magnitude)) return significant - 1;
    const int power = static_cast<int>(std::floor(std::log10(magnitude)));
    return std::clamp(significant - 1 - power, 0, 17);
}

std::string grouped(std::uint64_t count, std::string_view separator) {
    const std::string digits = std::to_string(count);
    std::string out;
    for (std::size_t i = 0; i < digits.size(); ++i) {
        if (i > 0 && (digits.size() - i) % 3 == 0) out += separator;
        out += digits[i];
    }
    return out;
}

std::string percent_text(std::uint64_t part, std::uint64_t whole) {
    const double percent = 100.0 * static_cast<double>(part) / static_cast<double>(whole);
    if (part > 0 && percent < 0.005) return "< 0.01 %";
    if (part < whole && percent >= 99.995) return "> 99.99 %";
    return fixed(percent, 2) + " %";
}

} // namespace velm::inspect
