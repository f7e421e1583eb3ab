// point_groups.h: features and parts in the reports: `PointGroups`.
#pragma once

#include "inspect/report/report_page.h"
#include "velm/inspection/feature_summary.h"
#include "velm/inspection/inspection_head.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace velm::inspect {

/// Gathers the points by their features and by their parts. Where no column names features, ids do:
/// those of several parts, or ids such as "bore 7". Of these a repeated one is a feature itself,
/// otherwise "bore" is.
class PointGroups {
public:
    explicit PointGroups(const InspectionHead& head);
    void add(const Judged& point);

    /// Whether there is anything to show.
    bool has_any() const { return has_parts_ || !features().empty(); }
    std::vector<FeatureFigures> features() const;
    std::vector<PartFigures> parts() const { return parts_.parts(); }
    bool has_parts() const { return has_parts_; }
    /// Tables for a terminal, above that of the points.
    std::string text(int decimals) const;
    /// The same for a page.
    std::vector<ReportPage::Points> tables(int decimals) const;

private:
    bool is_by_ids() const { return !has_parts_ && !has_features_; }
    const FeatureSummary* shown_features() const;

    std::optional<Tolerance> tolerance_;
    bool has_parts_, has_features_;
    FeatureSummary features_, parts_;
    // Where ids alone may name features.
    FeatureSummary names_;
    std::uint64_t named_ = 0;
    bool has_too_many_ = false;
};

} // namespace velm::inspect
