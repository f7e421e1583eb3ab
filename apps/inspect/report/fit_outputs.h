// fit_outputs.h: `FitOutputs`, the outputs of a fit.
#pragma once

#include "inspect/report/inspection_outputs.h"
#include "inspect/result/fit_result.h"

namespace velm::inspect {

class FitOutputs : public InspectionOutputs<FitRow> {
public:
    /// The result and the points must outlive the outputs.
    FitOutputs(const FitResult& result, const FitPoints& points, const OutputPaths& paths);

private:
    Figures figures() const override;
    ReportHead report_head() const override;
    std::vector<FigureLine> figure_lines() const override;
    void take(const FitRow& row) override;
    std::string svg() const override;
    std::string page() const override;

    const FitResult& result_;
    const FitPoints& points_;
    WorstRows<FitRow> page_rows_;
};

} // namespace velm::inspect
