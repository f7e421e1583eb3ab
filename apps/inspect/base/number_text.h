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
/// double reads as zero. With `decimal_comma` one comma is accepted as the point.
ParsedNumber parse_number(std::string_view text, bool decimal_comma = false);

/// The fault of `text`, to follow a place: "expected a number, found 'abc'".
std::string number_complaint(std::string_view text, NumberFault fault);

/// Reads numbers separated by one blank into `numbers`. Returns the fault of the first text that is
/// no number, empty if there is none.
std::string parse_numbers(std::string_view joined, std::vector<double>& numbers);

/// The shortest text that reads back to `value`; zero never carries a sign.
void append_number(std::string& out, double value);
std::string shortest(double value);

/// Fixed notation with `decimals` digits, or scientific with six if fixed would need more than 15
/// digits before the point or 12 after it; a value that rounds to zero carries no sign.
std::string fixed(double value, int decimals);

/// The decimals with which `magnitude` shows `significant` digits, from 0 to 17.
int decimals_for(double magnitude, int significant);

/// A count with its thousands separated by `separator`: 1,000,000.
std::string grouped(std::uint64_t count, std::string_view separator);

/// "98.50 %"; a part that is neither none nor all never reads as none or all: "< 0.01 %".
std::string percent_text(std::uint64_t part, std::uint64_t whole);

} // namespace velm::inspect
