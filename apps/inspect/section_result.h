// section_result.h: what the inspection of a section finds: `Tolerance`, `SectionRow`,
// `SectionSummary`.
#pragma once

#include <cmath>
#include <cstdint>
#include <numeric>
#include <optional>
#include <string>

#include "inspect/profile.h"
#include "inspect/statistics.h"

namespace velm::inspect {

/// A closed band of deviations.
struct Tolerance {
    double lower = 0.0, upper = 0.0;
    bool contains(double deviation) const { return lower <= deviation && deviation <= upper; }
    double middle() const { return std::midpoint(lower, upper); }
};

/// A point as it was measured in space.
struct SpacePoint {
    ERPoint3D measured;  ///< in the machine's coordinates
    double height = 0.0; ///< above the plane of the section, along its normal
};

/// One measured point and what was found for it.
struct SectionRow {
    std::uint64_t index = 0; ///< from 0, in the order of the file
    std::string id;
    ERPoint2D measured;              ///< in the section
    std::optional<SpacePoint> space; ///< where the section has a frame
    Comparison comparison;
    double deviation = 0.0; ///< the distance less half the ball's diameter
    double severity = 0.0;  ///< how far from the band's middle, or from 0 without a band
    std::optional<bool> in_tolerance;
};

/// The figures over all rows.
struct SectionSummary {
    std::optional<Tolerance> tolerance;
    RunningStatistics deviations;
    std::uint64_t in_tolerance = 0;
    std::uint64_t out_of_tolerance = 0;
    std::string worst_id; ///< of the row with the largest severity, the first of equal ones
    double worst_deviation = 0.0;
    double worst_severity = -1.0;

    void add(const SectionRow& row) {
        deviations.add(row.deviation);
        if (row.in_tolerance) ++(*row.in_tolerance ? in_tolerance : out_of_tolerance);
        if (row.severity > worst_severity) {
            worst_severity = row.severity;
            worst_deviation = row.deviation;
            worst_id = row.id;
        }
    }
};

} // namespace velm::inspect
