// report_head.h: what every report for people says first: `Verdict`, `ReportHead`,
// `shown_decimals`.
#pragma once

#include "velm/inspection/applied_alignment.h"
#include "velm/inspection/inspection_head.h"
#include "velm/inspection/summary.h"

#include <string>
#include <utility>
#include <vector>

namespace velm::inspect {

/// Names and values, unescaped.
using HeadLines = std::vector<std::pair<std::string, std::string>>;

/// Whether everything is in tolerance, as a sentence.
struct Verdict {
    enum Kind { none, good, bad } kind = none; ///< none: nothing was judged
    std::string sentence;
};

/// "All 7 points in tolerance", "2 of 7 points out of tolerance", "7 points, no tolerance given".
Verdict verdict_of(const Summary& summary);

/// The same words in table, picture and page.
struct ReportHead {
    std::string title;
    std::string subtitle; ///< what was compared with what
    Verdict verdict;
    HeadLines lines; ///< what the user said, what was read, and how the points were moved
};

/// The lines that all kinds of inspections have.
HeadLines head_lines(const InspectionHead& head, const Summary& summary);

/// An alignment: its motion, the freedoms that were held, the deviations before and after; lengths
/// with `decimals`.
HeadLines alignment_lines(const AppliedAlignment& alignment, int decimals);

/// The decimals of lengths in table, picture and page: as asked for, otherwise 3 for millimetres,
/// and 4 where the unit isn't known, or as many as show three digits of the largest value.
int shown_decimals(const InspectionHead& head, const Summary& summary);

struct FigureLine {
    std::string name, value, note; ///< the note may be empty
};
/// The figures over all points, as every report for people lists them, with `counts` of points of
/// some kind among them.
std::vector<FigureLine>
figure_lines(const Summary& summary, int decimals,
             const std::vector<std::pair<std::string, std::uint64_t>>& counts = {},
             const std::string& value_name = "deviation");

/// With its first letter in upper case.
std::string capitalised(std::string text);

} // namespace velm::inspect
