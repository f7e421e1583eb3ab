// section_outputs.h: `SectionOutputs`, the outputs of an inspection of a section.
#pragma once

#include "inspect/base/shown_rows.h"
#include "inspect/picture/section_picture.h"
#include "inspect/report/inspection_outputs.h"
#include "velm/inspection/section_result.h"
#include "velm/planar/contour.h"

#include <array>
#include <cstdint>

namespace velm::inspect {

class SectionOutputs : public InspectionOutputs<SectionRow> {
public:
    /// The outline must outlive the outputs.
    SectionOutputs(const SectionHead& head, const Outline& outline, const OutputPaths& paths);

private:
    void take(const SectionRow& row) override;
    ReportHead report_head() const override;
    std::vector<FigureLine> figure_lines() const override;
    std::string svg() const override;
    std::string page() const override;

    const Outline& outline_;
    SectionPicture picture_;
    WorstRows<SectionRow> page_rows_;
    std::array<std::uint64_t, place_count> places_{}; // the number of points in each
};

} // namespace velm::inspect
