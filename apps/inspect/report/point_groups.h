// point_groups.h: features and parts in the reports: `PointGroups`.
#pragma once

#include "inspect/report/report_page.h"
#include "velm/inspection/feature_summary.h"
#include "velm/inspection/inspection_head.h"

#include <optional>
#include <string>
#include <vector>

namespace velm::inspect {

/// Gathers the points by their features, or by their ids if they are those of several parts, and by
/// their parts.
class PointGroups {
public:
    explicit PointGroups(const InspectionHead& head);
    void add(const Judged& point);

    std::vector<FeatureFigures> features(const std::optional<Tolerance>& tolerance) const;
    std::vector<PartFigures> parts() const { return parts_.parts(); }
    /// Tables for a terminal, above that of the points.
    std::string text(const std::optional<Tolerance>& tolerance, int decimals) const;
    /// The same for a page.
    std::vector<ReportPage::Points> tables(const std::optional<Tolerance>& tolerance,
                                           int decimals) const;

private:
    bool has_parts_;
    FeatureSummary features_, parts_;
};

} // namespace velm::inspect
