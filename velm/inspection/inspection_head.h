// InspectionHead: what the heads of all kinds of inspections have in common.
//
//     velm::SectionHead head;
//     head.info = {{"part", "blade 7"}, {"operator", "N. N."}};
//     head.unit = "mm";
//     head.tolerance = velm::Tolerance{-0.05, 0.05};
#pragma once

#include "velm/inspection/field.h"
#include "velm/inspection/tolerance.h"

#include <optional>
#include <string>
#include <vector>

namespace velm {

/// Each head is one, and its description has `HeadFields` (detail/head_fields.h) among the others.
struct InspectionHead {
    std::optional<Tolerance> tolerance;
    /// None: the exact limits, as files of before have it.
    std::optional<LimitRule> rule = LimitRule::rounded;
    /// What the user says about the part and the measurement, in the order of the user.
    std::vector<NamedText> info;
    std::optional<std::string> unit;          ///< of all lengths; none where it isn't known
    std::vector<std::string> ignored_columns; ///< of the measured file, as they are written there
    std::vector<NamedText> read_as;           ///< a column's meaning, and what the file calls it
    std::optional<int> decimals; ///< that reports for people show, where one was asked for
    // What the rows have.
    bool has_row_limits = false; ///< limits of their own
    bool has_features = false, has_parts = false;

    /// Whether any row is judged.
    bool is_judged() const { return tolerance.has_value() || has_row_limits; }
    /// By how much limits are widened for coordinates of this size.
    double slack(double largest_coordinate) const {
        return rule == LimitRule::rounded ? limit_slack(largest_coordinate) : 0.0;
    }
};

} // namespace velm
