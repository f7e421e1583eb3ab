#include "inspect/report/target_outputs.h"

#include "inspect/base/shown_rows.h"
#include "inspect/picture/target_picture.h"
#include "inspect/report/alignment_report.h"
#include "inspect/report/report_page.h"
#include "velm/version.h"

#include <algorithm>
#include <cstdint>
#include <utility>

namespace velm::inspect {

TargetOutputs::TargetOutputs(const TargetHead& head, const OutputPaths& paths)
    : InspectionOutputs("targets", head, paths) {}

void TargetOutputs::take(const TargetRow& row) {
    if (has_page()) page_rows_.push_back(row);
}

// The judged values come first; columns without any value are left out.
std::string TargetOutputs::page() const {
    const bool has_normals =
        std::any_of(page_rows_.begin(), page_rows_.end(),
                    [](const TargetRow& row) { return row.target.is_compensated() != 0; });
    std::vector<std::string_view> left_out;
    if (!has_normals) left_out = {"deviation", "distance_on_plane"};
    const TargetRow any;
    const PageColumns columns(describe(any, head()), has_normals ? "deviation" : "distance",
                              left_out);
    WorstRows<TargetRow> worst;
    for (const TargetRow& row : page_rows_)
        worst.add(row);

    ReportPage page;
    page.title = "Points against their nominal";
    page.subtitle = head().table_name();
    page.pictures = target_pictures(page_rows_, summary().tolerance);
    page.columns = columns.headings();
    page.columns[1] = "nominal x";
    for (const TargetRow& row : worst.in_order())
        page.rows.push_back(
            {row.id, columns.cells(describe(row, head()), decimals()), row.in_tolerance});
    page.provenance = {{"Table", head().table_name()},
                       {"Made by", "velm-inspect " VELM_VERSION_STRING}};
    if (const std::uint64_t skipped = head().skipped.value_or(0); skipped > 0)
        page.provenance.emplace_back("Rows that could not be used", std::to_string(skipped));
    if (head().alignment)
        for (auto& line : alignment_lines(*head().alignment))
            page.provenance.push_back(std::move(line));
    return page.html(summary());
}

std::string TargetOutputs::text_below() const {
    const std::string text =
        summary_text(summary(), rows().shows_worst() ? rows().worst().size() : 0,
                     head().table_name() + ", each point against its nominal");
    return head().alignment ? text + alignment_text(*head().alignment) : text;
}

} // namespace velm::inspect
