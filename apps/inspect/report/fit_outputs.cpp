#include "inspect/report/fit_outputs.h"

#include "inspect/report/fit_lines.h"
#include "velm/version.h"

#include <utility>

namespace velm::inspect {

FitOutputs::FitOutputs(const FitHead& head, const OutputPaths& paths)
    : InspectionOutputs("fit", head, paths), picture_(head) {}

bool FitOutputs::is_in_tolerance() const {
    return InspectionOutputs::is_in_tolerance() && head().is_in_tolerance();
}

Figures FitOutputs::figures() const {
    Figures figures = summary().figures();
    figures.peak_to_valley = head().peak_to_valley(summary());
    return figures;
}

ReportHead FitOutputs::report_head() const { return fit_head(head(), summary(), decimals()); }

std::vector<FigureLine> FitOutputs::figure_lines() const {
    return fit_figures(head(), summary(), decimals());
}

std::string FitOutputs::svg() const {
    return picture_.svg(report_head(), figure_lines(), summary(), decimals(), rows().worst());
}

void FitOutputs::take(const FitRow& row) {
    if (has_page()) page_rows_.add(row);
    if (has_picture()) picture_.add(row);
}

std::string FitOutputs::page() const {
    const FitRow any;
    const PageColumns columns(describe(any, head()), "residual", {});
    ReportPage page;
    page.head = report_head();
    page.groups = group_tables("residual");
    page.figures = figure_lines();
    page.pictures = picture_.page(summary(), decimals(), rows().worst());
    page.count = summary().count();
    page.is_judged = summary().is_judged();
    ReportPage::Points points{"Points", columns.headings(), {}};
    for (const FitRow& row : page_rows_.in_order())
        points.rows.push_back(
            {row.id, columns.cells(describe(row, head()), decimals()), row.in_tolerance});
    page.tables.push_back(std::move(points));
    page.provenance = {{"Points", head().measured},
                       {"Made by", "velm-inspect " VELM_VERSION_STRING}};
    return page.html();
}

} // namespace velm::inspect
