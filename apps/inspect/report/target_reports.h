// target_reports.h: the reports of an inspection of targets: `TargetJson`, `TargetCsv`,
// `target_table`, `target_page`.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>

#include "inspect/base/kept_rows.h"
#include "inspect/base/output_set.h"
#include "velm/inspection/target_result.h"

namespace velm::inspect {

/// {"velm":...,"command":"targets","table":...,"tolerance":...,"points":[...],"summary":{...}}. A
/// point has its id, target, measured (the centre of the ball), calculated (the point of the
/// surface), normal, deviation, distance_on_plane, distance, in_tolerance; of a direct target
/// normal, deviation and distance_on_plane are null, and the summary counts its distance. The form
/// is fixed.
///
/// Where the points were aligned, that stands in front of them, and each has its deviation_before:
/// what it would have been judged by, of a direct target its distance.
class TargetJson {
public:
    TargetJson(Output& output, const TargetHead& head);
    void add(const TargetRow& row);
    /// The skipped rows stand behind the summary, where bad rows were to be skipped.
    void finish(const Summary& summary);

private:
    Output& output_;
    std::optional<std::uint64_t> skipped_;
    bool ascii_; // a terminal gets no byte that could steer it
    std::string text_;
    bool first_ = true;
};

/// A header and the same rows; what is null is empty. Where the points were aligned the last column
/// is deviation_before.
class TargetCsv {
public:
    TargetCsv(Output& output, bool is_aligned);
    void add(const TargetRow& row);

private:
    Output& output_;
    bool on_terminal_;
    std::string text_;
};

/// The table and summary on standard output.
std::string target_table(const KeptRows<TargetRow>& rows, const Summary& summary,
                         const TargetHead& head);

/// The page of the report.
std::string target_page(std::span<const TargetRow> rows, const Summary& summary,
                        const TargetHead& head);

} // namespace velm::inspect
