// section_outputs.h: the outputs of an inspection of a section: `SectionOutputs`.
#pragma once

#include <memory>
#include <optional>
#include <string>

#include "inspect/base/kept_rows.h"
#include "inspect/base/output_paths.h"
#include "inspect/base/output_set.h"
#include "inspect/picture/section_picture.h"
#include "inspect/report/section_page.h"
#include "inspect/report/section_reports.h"
#include "velm/inspection/section_result.h"
#include "velm/planar/contour.h"

namespace velm::inspect {

/// Takes the rows of a section one by one, in their order, and writes the table, the summary and
/// the reports. They depend on the head, the outline and the rows alone, so that an inspection read
/// back from a file gives the same bytes. Throws `Failure`.
class SectionOutputs {
public:
    /// The outline must outlive the outputs.
    SectionOutputs(const SectionHead& head, const Outline& outline, const OutputPaths& paths);

    void add(const SectionRow& row);
    const Summary& summary() const { return summary_; }
    /// For what else appears together with the reports.
    OutputSet& set() { return outputs_; }
    /// Writes the ends of the reports, and lets all outputs appear.
    void finish();

private:
    SectionHead head_;
    OutputSet outputs_;
    bool quiet_;
    std::unique_ptr<SectionJson> json_; // null where it isn't asked for, as the next four
    std::unique_ptr<SectionCsv> csv_;
    std::unique_ptr<SectionPage> page_;
    Output* svg_ = nullptr;
    Output* html_ = nullptr;
    SectionPicture picture_;
    KeptRows<SectionRow> rows_;
    Summary summary_;
    PlaceCounts places_{};
};

} // namespace velm::inspect
