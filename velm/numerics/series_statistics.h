// ERSerieStatistic: a series of deviations with running statistics.
#pragma once

#include "velm/export.h"
#include "velm/frame/vec.h"

#include <limits>

/// The figure that operator< of a series compares.
enum gmStatType : int {
    gmStatType_fit = 0,          ///< number within limits, then the weighted mean square
    gmStatType_minimum = 1,      ///< the smallest value
    gmStatType_lowest_margin = 2 ///< the smallest distance above the lower limit
};

/// The values appended, and their statistics so far. Means are running ones, updated value by
/// value as mean = (n - 1) / n * mean + value / n.
///
/// The largest double as a value marks a point that could not be projected: it joins the array and
/// counts in no statistic. As the upper limit, with its negative as the lower, it means that there
/// are no limits.
class VELM_API ERSerieStatistic : public ERVec<double> {
public:
    static constexpr double not_projected = std::numeric_limits<double>::max();
    static constexpr double no_lower = -std::numeric_limits<double>::max();
    static constexpr double no_upper = std::numeric_limits<double>::max();

    ERSerieStatistic() = default;

    /// Adds a value with its weight and limits (model units). Within limits means closer than
    /// 0.0001 outside or inside of them.
    void append(double value, double weight, double lower, double upper);

    using ERVec<double>::capacity;
    /// Makes room for n values; never shrinks.
    void capacity(int n);
    /// Removes all values and clears the statistics and the type. Keeps the room of an array that
    /// no other handle shares.
    void reset();

    int length() const { return size(); }
    /// The number of values that counted.
    int num_projected() const { return num_projected_; }
    /// The sample standard deviation, over n - 1; 0 below two values.
    double standard_deviation() const;
    gmStatType type() const { return type_; }
    void set_type(gmStatType type) { type_ = type; }

    double mean() const { return mean_; }
    double variance() const { return variance_; }
    double meanSquare() const { return meanSquare_; }
    double minimum() const { return minimum_; }
    double maximum() const { return maximum_; }
    double lowestMargin() const { return lowestMargin_; }
    double weightedMeanSquare() const { return weightedMeanSquare_; }
    int inLimits() const { return inLimits_; }
    int counted() const { return counted_; }

    /// Whether this series is the worse of two candidates, by type().
    bool operator<(const ERSerieStatistic& other) const;

private:
    double mean_ = 0.0;
    double variance_ = 0.0;
    double meanSquare_ = 0.0;
    double minimum_ = 0.0;
    double maximum_ = 0.0;
    double lowestMargin_ = 0.0;
    int num_projected_ = 0;
    gmStatType type_ = gmStatType_fit;
    double weightedMeanSquare_ = 0.0;
    int inLimits_ = 0;
    int counted_ = 0;
};
