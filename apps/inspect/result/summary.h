// summary.h: how deviations are judged and what is told of all of them: `Tolerance`, `Judged`,
// `Summary`.
#pragma once

#include <cmath>
#include <cstdint>
#include <limits>
#include <numeric>
#include <optional>
#include <string>

#include "inspect/result/statistics.h"

namespace velm::inspect {

/// A closed band of deviations.
struct Tolerance {
    double lower = 0.0, upper = 0.0;
    bool contains(double deviation) const { return lower <= deviation && deviation <= upper; }
    double middle() const { return std::midpoint(lower, upper); }
};

/// One measured point and what was found for it.
struct Judged {
    std::string id;
    double deviation = 0.0; ///< what is judged
    double severity = 0.0;  ///< how far from the band's middle, or from 0 without a band
    std::optional<bool> in_tolerance;
    std::optional<double> deviation_before; ///< where an alignment has moved the point
};

/// The figures over all points.
struct Summary {
    std::optional<Tolerance> tolerance;
    RunningStatistics deviations;
    std::uint64_t in_tolerance = 0;
    std::uint64_t out_of_tolerance = 0;
    std::string worst_id; ///< of the point with the largest severity, the first of equal ones
    double worst_deviation = 0.0;
    double worst_severity = -std::numeric_limits<double>::infinity();

    void add(const Judged& point) {
        deviations.add(point.deviation);
        if (point.in_tolerance) ++(*point.in_tolerance ? in_tolerance : out_of_tolerance);
        if (point.severity > worst_severity) {
            worst_severity = point.severity;
            worst_deviation = point.deviation;
            worst_id = point.id;
        }
    }
};

} // namespace velm::inspect
