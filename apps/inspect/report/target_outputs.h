// target_outputs.h: `TargetOutputs`, the outputs of an inspection of targets.
#pragma once

#include "inspect/report/inspection_outputs.h"
#include "velm/inspection/target_result.h"

#include <vector>

namespace velm::inspect {

/// Only a page keeps all rows in memory.
class TargetOutputs : public InspectionOutputs<TargetRow> {
public:
    TargetOutputs(const TargetHead& head, const OutputPaths& paths);

private:
    void take(const TargetRow& row) override;
    std::string page() const override;
    std::string text_below() const override;

    std::vector<TargetRow> page_rows_;
};

} // namespace velm::inspect
