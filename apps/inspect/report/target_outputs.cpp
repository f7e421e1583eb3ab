#include "inspect/report/target_outputs.h"

#include "inspect/base/number_text.h"
#include "inspect/report/report_page.h"
#include "velm/version.h"

#include <algorithm>
#include <cstdint>
#include <utility>

namespace velm::inspect {

TargetOutputs::TargetOutputs(const TargetHead& head, const OutputPaths& paths)
    : InspectionOutputs("targets", head, paths), picture_(head) {}

void TargetOutputs::take(const TargetRow& row) {
    if (row.is_distance && row.target.measured_point().probe_diameter() > 0.0) ++balls_left_;
    if (has_page()) page_rows_.add(row);
    if (has_picture()) picture_.add(row);
}

ReportHead TargetOutputs::report_head() const {
    ReportHead shown;
    shown.title = "Points against their nominal";
    shown.subtitle = head().table_name() + ", each point against its nominal";
    shown.verdict = verdict_of(summary());
    shown.lines = head_lines(head(), summary());
    if (const std::uint64_t skipped = head().skipped.value_or(0); skipped > 0)
        shown.lines.emplace_back("rows that could not be used", grouped(skipped, ","));
    if (balls_left_ > 0)
        shown.lines.emplace_back("ball not taken off",
                                 grouped(balls_left_, ",") +
                                     (balls_left_ == 1 ? " point" : " points") +
                                     " without a normal: the distance is that of the centre");
    if (head().alignment)
        for (auto& line : alignment_lines(*head().alignment, decimals()))
            shown.lines.push_back(std::move(line));
    return shown;
}

// Points with a normal, or those without one: what is shown first is what they are judged by.
ReportPage::Points TargetOutputs::points_of(const std::vector<TargetRow>& rows,
                                            bool is_distance) const {
    std::vector<std::string_view> left_out;
    if (is_distance) left_out = {"deviation", "distance_on_plane"};
    const TargetRow any;
    const PageColumns columns(describe(any, head()), is_distance ? "distance" : "deviation",
                              left_out);
    ReportPage::Points points{is_distance && summary().signed_deviations.count() > 0
                                  ? "Points without a normal"
                                  : "Points",
                              columns.headings(),
                              {}};
    points.columns[1] = "nominal x";
    for (const TargetRow& row : rows)
        if (row.is_distance == is_distance)
            points.rows.push_back(
                {row.id, columns.cells(describe(row, head()), decimals()), row.in_tolerance});
    return points;
}

std::string TargetOutputs::svg() const {
    return picture_.svg(report_head(), figure_lines(), decimals(), rows().worst());
}

std::string TargetOutputs::page() const {
    const std::vector<TargetRow> rows = page_rows_.in_order();
    ReportPage page;
    page.head = report_head();
    page.groups = group_tables();
    page.figures = figure_lines();
    page.pictures = picture_.page(decimals(), this->rows().worst());
    page.count = summary().count();
    page.is_judged = summary().is_judged();
    for (const bool is_distance : {false, true})
        if (ReportPage::Points points = points_of(rows, is_distance); !points.rows.empty())
            page.tables.push_back(std::move(points));
    page.provenance = {{"Table", head().table_name()},
                       {"Made by", "velm-inspect " VELM_VERSION_STRING}};
    return page.html();
}

} // namespace velm::inspect
