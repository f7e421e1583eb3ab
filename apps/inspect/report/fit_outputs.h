// fit_outputs.h: `FitOutputs`, the outputs of a fit.
#pragma once

#include "inspect/picture/fit_picture.h"
#include "inspect/report/inspection_outputs.h"
#include "velm/inspection/fit_result.h"

namespace velm::inspect {

class FitOutputs : public InspectionOutputs<FitRow> {
public:
    FitOutputs(const FitHead& head, const OutputPaths& paths);

    /// What was asked for of the whole too, not of the points alone.
    bool is_in_tolerance() const override;

private:
    Figures figures() const override;
    ReportHead report_head() const override;
    std::vector<FigureLine> figure_lines() const override;
    void take(const FitRow& row) override;
    std::string svg() const override;
    std::string page() const override;

    FitPicture picture_;
    WorstRows<FitRow> page_rows_;
};

} // namespace velm::inspect
