#include "velm/numerics/series_statistics.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>

void ERSerieStatistic::append(double value, double weight, double lower, double upper) {
    push_back(value);
    const bool no_limits = lower == no_lower && upper == no_upper;
    if (no_limits) ++counted_;
    if (value == not_projected) return;

    const double n = ++num_projected_;
    const double f = (n - 1) / n;
    mean_ = f * mean_ + value / n;
    meanSquare_ = f * meanSquare_ + value * value / n;
    if (value + 0.0001 > lower && upper > value - 0.0001) {
        if (!no_limits) ++counted_;
        const double m = ++inLimits_;
        weightedMeanSquare_ = (m - 1) / m * weightedMeanSquare_ + value * value * weight / m;
    }
    const double margin = value - lower;
    if (num_projected_ > 1) {
        lowestMargin_ = std::min(margin, lowestMargin_);
        variance_ = (meanSquare_ * n - mean_ * n * mean_) / (n - 1);
        maximum_ = std::max(maximum_, value);
        minimum_ = std::min(minimum_, value);
    } else {
        minimum_ = maximum_ = value;
        lowestMargin_ = margin;
    }
}

void ERSerieStatistic::capacity(int n) {
    if (n > size() && n != capacity()) reserve(n);
}

void ERSerieStatistic::reset() {
    ERVec<double> values;
    values.swap(*this);
    values.resize(0);
    *this = ERSerieStatistic();
    values.swap(*this);
}

double ERSerieStatistic::standard_deviation() const { return std::sqrt(std::fabs(variance_)); }

bool ERSerieStatistic::operator<(const ERSerieStatistic& other) const {
    if (type_ == gmStatType_minimum) return minimum_ > other.minimum_;
    if (type_ == gmStatType_lowest_margin) return lowestMargin_ > other.lowestMargin_;
    const int counted_apart = std::abs(counted_ - other.counted_);
    const int projected_apart = std::abs(num_projected_ - other.num_projected_);
    if (counted_apart != 0 && counted_apart > projected_apart) return counted_ > other.counted_;
    if (num_projected_ != 0 && other.num_projected_ != 0)
        return num_projected_ * other.weightedMeanSquare_ >
               other.num_projected_ * weightedMeanSquare_;
    return num_projected_ > other.num_projected_;
}
