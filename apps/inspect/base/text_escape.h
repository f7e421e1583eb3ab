// text_escape.h: texts that come from files (ids, paths, titles) made safe for each place they are
// written to. Every function takes any bytes; bytes that are not UTF-8 are replaced, never passed
// on.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace velm::inspect {

/// For a terminal: control characters, bytes that are no UTF-8 and characters that change the
/// writing direction are shown as \n, \x1b or \u{202e}.
std::string terminal_text(std::string_view text);

/// The columns that `text`, the result of `terminal_text`, takes on a terminal: two for East Asian
/// wide characters and emoji, none for combining marks.
std::size_t display_width(std::string_view text);

/// For text and attribute values of XML, SVG and HTML: the five markup characters become entities,
/// control characters their visible pictures (U+2400 and following), which XML allows.
std::string xml_text(std::string_view text);

/// Appends `text` as a JSON string with its quotes. Bytes that are no UTF-8 become U+FFFD; with
/// `ascii` everything above U+007E is written as \uXXXX.
void append_json_string(std::string& out, std::string_view text, bool ascii = false);

/// Appends `text` as a CSV field, quoted if it contains a comma, a quote, a line end, or blanks at
/// an end (RFC 4180). The bytes are unchanged.
void append_csv_field(std::string& out, std::string_view text);

/// As UTF-8: bytes that are none become the characters of their Latin-1 numbers.
std::string utf8_text(std::string_view text);

/// The first `length` characters, with an ellipsis if the text was cut.
std::string clipped(std::string_view text, std::size_t length);

} // namespace velm::inspect
