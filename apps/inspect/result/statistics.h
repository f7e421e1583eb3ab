// statistics.h: `RunningStatistics`, the figures of a series in one pass and constant memory.
#pragma once

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>

namespace velm::inspect {

/// Count, least, greatest, mean, deviation and root mean square of a series, by Welford's update
/// (Technometrics 4, 1962), which doesn't cancel where the mean is large against the spread.
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
    double minimum() const { return minimum_; }
    double maximum() const { return maximum_; }
    double mean() const { return mean_; }
    /// Over n - 1; 0 for one value.
    double standard_deviation() const {
        return count_ > 1 ? std::sqrt(squares_ / static_cast<double>(count_ - 1)) : 0.0;
    }
    double root_mean_square() const {
        return std::hypot(mean_, std::sqrt(squares_ / static_cast<double>(count_)));
    }

private:
    std::uint64_t count_ = 0;
    double minimum_ = std::numeric_limits<double>::infinity();
    double maximum_ = -std::numeric_limits<double>::infinity();
    double mean_ = 0.0;
    double squares_ = 0.0; // sum of (value - mean)^2
};

} // namespace velm::inspect
