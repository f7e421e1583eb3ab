// target_outputs.h: the outputs of an inspection of targets: `TargetOutputs`.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "inspect/base/kept_rows.h"
#include "inspect/base/output_paths.h"
#include "inspect/base/output_set.h"
#include "inspect/report/target_reports.h"
#include "velm/inspection/target_result.h"

namespace velm::inspect {

/// Takes the judged rows of a table one by one, in their order, and writes the table, the summary
/// and the reports. They depend on the head and the rows alone, so that an inspection read back
/// from a file gives the same bytes. Only a page keeps all rows in memory. Throws `Failure`.
class TargetOutputs {
public:
    TargetOutputs(const TargetHead& head, const OutputPaths& paths);

    void add(const TargetRow& row);
    const Summary& summary() const { return summary_; }
    /// For what else appears together with the reports.
    OutputSet& set() { return outputs_; }
    /// Writes the ends of the reports, and lets all outputs appear.
    void finish();

private:
    TargetHead head_;
    OutputSet outputs_;
    bool quiet_;
    std::unique_ptr<TargetJson> json_; // null where it isn't asked for, as the next two
    std::unique_ptr<TargetCsv> csv_;
    Output* html_ = nullptr;
    std::vector<TargetRow> rows_; // of the page
    KeptRows<TargetRow> kept_;
    Summary summary_;
};

} // namespace velm::inspect
