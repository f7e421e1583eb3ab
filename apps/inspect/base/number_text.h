// number_text.h: numbers from and to text, always by from_chars and to_chars, never by the locale.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace velm::inspect {

enum class NumberFault { none, not_a_number, not_finite, beyond_double };

struct ParsedNumber {
    double value = 0.0;
    NumberFault fault = NumberFault::none;
    explicit operator bool() const { return fault == NumberFault::none; }
};

/// Reads the whole of `text` (no blanks around it) as a finite number: digits with an optional sign
/// (plus too), point and exponent; `.5`, `5.` and `-5e-2` are numbers. A magnitude below the least
/// double reads as zero. With `decimal_comma` one comma may stand for the point.
ParsedNumber parse_number(std::string_view text, bool decimal_comma = false);

/// What is wrong with `text`, to follow a place: "expected a number, found 'abc'".
std::string number_complaint(std::string_view text, NumberFault fault);

/// Reads numbers with one blank between two into `numbers`. Returns what is wrong with the first
/// that is none, otherwise nothing.
std::string parse_numbers(std::string_view joined, std::vector<double>& numbers);

/// The shortest text that reads back to `value`; zero never carries a sign.
void append_number(std::string& out, double value);
std::string shortest(double value);

/// Fixed notation with `decimals` digits, or scientific with six where fixed would need more than
/// 15 digits before the point or 12 behind it; a value that rounds to zero carries no sign.
std::string fixed(double value, int decimals);

/// The decimals with which `magnitude` shows `significant` digits, from 0 to 17.
int decimals_for(double magnitude, int significant);

/// A count with its thousands parted by `separator`: 1,000,000.
std::string grouped(std::uint64_t count, std::string_view separator);

/// "98.50 %"; what is neither none nor all never reads as such: "< 0.01 %".
std::string percent_text(std::uint64_t part, std::uint64_t whole);

} // namespace velm::inspect
