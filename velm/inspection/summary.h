// RunningStatistics, Figures, Summary: the figures over all points of an inspection.
//
//     velm::Summary summary;
//     summary.tolerance = head.tolerance;
//     for (const velm::SectionRow& row : rows) summary.add(row);
//     velm::describe(summary.figures()).each(...);
#pragma once

#include "velm/inspection/field.h"
#include "velm/inspection/tolerance.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>
#include <optional>
#include <string>

namespace velm {

/// Count, least, greatest, mean, deviation and root mean square of a series in one pass and
/// constant memory, by Welford's update (Technometrics 4, 1962), which doesn't cancel where the
/// mean is large against the spread.
class RunningStatistics {
public:
    void add(double value) {
        ++count_;
        minimum_ = std::min(minimum_, value);
        maximum_ = std::max(maximum_, value);
        const double step = value - mean_;
        mean_ += step / static_cast<double>(count_);
        squares_ += step * (value - mean_);
    }
    std::uint64_t count() const { return count_; }
    double minimum() const { return minimum_; } ///< infinity without values
    double maximum() const { return maximum_; }
    double mean() const { return mean_; }
    /// Over n - 1; 0 for one value.
    double standard_deviation() const {
        return count_ > 1 ? std::sqrt(squares_ / static_cast<double>(count_ - 1)) : 0.0;
    }
    double rms() const {
        return std::hypot(mean_, std::sqrt(squares_ / static_cast<double>(count_)));
    }

private:
    std::uint64_t count_ = 0;
    double minimum_ = std::numeric_limits<double>::infinity();
    double maximum_ = -std::numeric_limits<double>::infinity();
    double mean_ = 0.0;
    double squares_ = 0.0; // sum of (value - mean)^2
};

/// The point with the largest severity, the first of equal ones.
struct WorstPoint {
    std::string id;
    double deviation = 0.0;
};
template <>
VELM_API std::span<const Field> fields_of<WorstPoint>();

/// The figures of distances that have no sign.
struct DistanceFigures {
    std::uint64_t count = 0;
    double minimum = 0.0, maximum = 0.0, mean = 0.0, standard_deviation = 0.0, rms = 0.0;
};
template <>
VELM_API std::span<const Field> fields_of<DistanceFigures>();

/// The figures as files keep them and reports show them. Minimum to rms are of the signed
/// deviations; of the distances where no point has a direction to be signed by.
struct Figures {
    bool has_tolerance = false;
    std::uint64_t count = 0;                              ///< of all points
    std::uint64_t in_tolerance = 0, out_of_tolerance = 0; ///< 0 without a tolerance
    double minimum = 0.0, maximum = 0.0, mean = 0.0, standard_deviation = 0.0, rms = 0.0;
    std::optional<double> peak_to_valley; ///< of the residuals of a fit
    WorstPoint worst;
    std::optional<std::uint64_t> unassigned;  ///< points; none where each has its place
    std::optional<DistanceFigures> distances; ///< of the points without a direction beside others
};
template <>
VELM_API std::span<const Field> fields_of<Figures>();

/// Gathers the figures point by point.
struct VELM_API Summary {
    std::optional<Tolerance> tolerance;
    bool has_row_limits = false;    ///< points have limits of their own
    bool may_be_unassigned = false; ///< points belong to the place that their direction says
    RunningStatistics signed_deviations, distances;
    std::uint64_t unassigned = 0;
    std::uint64_t in_tolerance = 0;
    std::uint64_t out_of_tolerance = 0;
    std::string worst_id; ///< of the point with the largest severity, the first of equal ones
    double worst_deviation = 0.0;
    double worst_severity = -std::numeric_limits<double>::infinity();

    void add(const Judged& point);
    /// Of all points.
    std::uint64_t count() const {
        return signed_deviations.count() + distances.count() + unassigned;
    }
    bool is_judged() const { return tolerance.has_value() || has_row_limits; }
    /// What Figures has: signed deviations if any point has one.
    const RunningStatistics& deviations() const {
        return signed_deviations.count() > 0 ? signed_deviations : distances;
    }
    /// Whether distances have figures of their own.
    bool is_mixed() const { return signed_deviations.count() > 0 && distances.count() > 0; }
    Figures figures() const;
};

template <>
VELM_API std::span<const Field> fields_of<Tolerance>();

} // namespace velm
