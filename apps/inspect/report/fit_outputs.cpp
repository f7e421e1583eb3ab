#include "inspect/report/fit_outputs.h"

#include "inspect/picture/fit_lines.h"
#include "inspect/picture/fit_picture.h"
#include "velm/version.h"

#include <utility>

namespace velm::inspect {

FitOutputs::FitOutputs(const FitResult& result, const FitPoints& points, const OutputPaths& paths)
    : InspectionOutputs("fit", result.head(), paths), result_(result), points_(points) {}

Figures FitOutputs::figures() const {
    Figures figures = summary().figures();
    figures.peak_to_valley = result_.peak_to_valley;
    return figures;
}

ReportHead FitOutputs::report_head() const { return fit_head(result_); }

std::vector<FigureLine> FitOutputs::figure_lines() const { return fit_figures(result_); }

std::string FitOutputs::svg() const { return fit_svg(result_, points_); }

void FitOutputs::take(const FitRow& row) {
    if (has_page()) page_rows_.add(row);
}

std::string FitOutputs::page() const {
    const FitRow any;
    const PageColumns columns(describe(any, head()), "residual", {});
    ReportPage page;
    page.head = report_head();
    page.figures = figure_lines();
    page.pictures = fit_pictures(result_, points_);
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
