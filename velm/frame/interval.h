// ERLimites: a closed interval of a parameter.
#pragma once

#include "velm/export.h"
#include "velm/frame/stored_value.h"

#include <algorithm>
#include <cmath>
#include <iosfwd>

/// A closed parameter interval from start to end; start may be greater than end.
class VELM_API ERLimites : public velm::detail::StoredValue<ERLimites> {
public:
    constexpr ERLimites() = default;
    constexpr ERLimites(double start, double end) : start_(start), end_(end) {}

    constexpr double start() const { return start_; }
    constexpr double end() const { return end_; }
    constexpr double& start() { return start_; }
    constexpr double& end() { return end_; }
    /// end - start, negative on a reversed interval.
    constexpr double amplitude() const { return end_ - start_; }

    /// The affine map that takes 0 to start and 1 to end. For t in [0, 1] the value is clamped to
    /// the interval, first from below, then from above; outside [0, 1] it isn't. On a reversed
    /// interval every t in [0, 1] therefore gives end: part of the contract.
    constexpr double operator()(double t) const {
        const double value = (1.0 - t) * start_ + t * end_;
        if (t >= 0.0 && t <= 1.0) return std::min(end_, std::max(start_, value));
        return value;
    }
    /// The interval between the images of the argument's ends under that map.
    constexpr ERLimites operator()(const ERLimites& part) const {
        return {(*this)(part.start_), (*this)(part.end_)};
    }
    /// The ratio of v, 0 at start and 1 at end. Infinite or NaN for an interval without amplitude.
    constexpr double ratio(double v) const { return (v - start_) / (end_ - start_); }
    constexpr ERLimites ratio(const ERLimites& part) const {
        return {ratio(part.start_), ratio(part.end_)};
    }

    constexpr bool inBound(double v) const { return v >= start_ && end_ >= v; }
    constexpr bool strictlyInBound(double v) const { return v > start_ && end_ > v; }
    /// Whether start and end differ by at most `tolerance`.
    bool isEmpty(double tolerance) const { return tolerance >= std::fabs(start_ - end_); }

    /// Becomes the interval of the same amplitude about 0.
    constexpr ERLimites& centre() {
        end_ = (end_ - start_) / 2.0;
        start_ = -end_;
        return *this;
    }
    constexpr ERLimites& operator*=(double factor) {
        start_ *= factor;
        end_ *= factor;
        return *this;
    }
    constexpr ERLimites& operator+=(double shift) {
        start_ += shift;
        end_ += shift;
        return *this;
    }
    constexpr ERLimites& operator-=(double shift) {
        start_ -= shift;
        end_ -= shift;
        return *this;
    }
    /// Both ends exactly equal.
    constexpr bool operator==(const ERLimites& other) const {
        return start_ == other.start_ && end_ == other.end_;
    }

    double start_ = 0.0;
    double end_ = 0.0;
};

/// Writes "Limites( start,end )".
VELM_API std::ostream& operator<<(std::ostream& out, const ERLimites& interval);
