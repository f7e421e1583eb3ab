// target_outputs.h: `TargetOutputs`, the outputs of an inspection of targets.
#pragma once

#include "inspect/base/shown_rows.h"
#include "inspect/picture/target_picture.h"
#include "inspect/report/inspection_outputs.h"
#include "inspect/report/report_page.h"
#include "velm/inspection/target_result.h"

#include <cstdint>
#include <vector>

namespace velm::inspect {

class TargetOutputs : public InspectionOutputs<TargetRow> {
public:
    TargetOutputs(const TargetHead& head, const OutputPaths& paths);

private:
    void take(const TargetRow& row) override;
    ReportHead report_head() const override;
    std::string svg() const override;
    std::string page() const override;
    ReportPage::Points points_of(const std::vector<TargetRow>& rows, bool is_distance) const;

    TargetPicture picture_;
    WorstRows<TargetRow> page_rows_;
    std::uint64_t balls_left_ = 0; // points without a normal that were probed with a ball
};

} // namespace velm::inspect
