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
    int decimals() const override;
    std::string svg() const override;
    std::string text_below() const override;

    const FitResult& result_;
    const FitPoints& points_;
};

} // namespace velm::inspect
