// palette.h: the colours, font sizes and page measures that all pictures share.
#pragma once

#include <array>
#include <string_view>

namespace velm::inspect::palette {

// Texts and lines. On a dark screen the page of a report exchanges these four by their values
// (report_page_style.h).
inline constexpr std::string_view ink = "#1f2933", soft = "#52606d", rule = "#cbd2d9",
                                  paper = "#fff";
// Thin lines, from pale to dark.
inline constexpr std::string_view grid = "#dde2e8", stem = "#9aa5b1", trace = "#7b8794",
                                  envelope_edge = "#3b4754";
// Areas.
inline constexpr std::string_view material = "#e9ecf0", region = "#e4e7eb", plot = "#f7f9fb";
inline constexpr std::string_view band = "#fcefc2", limit = "#b8860b"; // of the tolerance
inline constexpr std::string_view piece = "#0b5394";                   // of a clipped polyline
// The classes of DeviationScale, from below the lower limit to above the upper one.
inline constexpr std::array<std::string_view, 9> deviations{"#08306b", "#2171b5", "#5a9fd0",
                                                            "#93c1e0", "#a3a9b0", "#f0b48f",
                                                            "#e07b53", "#c4452f", "#7f0014"};
inline constexpr std::string_view alarm = deviations.back();

// Font sizes, in picture units.
inline constexpr double title_size = 20.0, verdict_size = 13.0, heading_size = 12.5,
                        subtitle_size = 12.0, text_size = 11.0;
inline constexpr double row_step = 18.5; // between the base lines of a table's rows

// The sheet: its border, the base lines of title and subtitle, the top of what follows, the room
// at the foot, and the left edge of the column beside a drawing with the gap before it.
inline constexpr double border = 40.0, title_line = 46.0, subtitle_line = 68.0, below_header = 92.0,
                        foot = 28.0, column_left = 742.0, column_gap = 36.0;

inline constexpr std::string_view bold = "font-weight=\"bold\"";

} // namespace velm::inspect::palette
