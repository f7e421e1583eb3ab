// Tolerance, Judged, judge: the one rule by which a deviation is in tolerance.
//
//     velm::SectionRow row = ...;
//     velm::judge(row, velm::Tolerance{-0.05, 0.05});
//     if (row.in_tolerance == false) ++rejected;
#pragma once

#include "velm/export.h"

#include <cmath>
#include <numeric>
#include <optional>
#include <string>

namespace velm {

/// A closed band of deviations, in the unit of the model.
struct Tolerance {
    double lower = 0.0, upper = 0.0;
    bool contains(double deviation) const { return lower <= deviation && deviation <= upper; }
    double middle() const { return std::midpoint(lower, upper); }
};

/// One measured point and what was found for it. Every row of an inspection is one.
struct Judged {
    std::string id;
    double deviation = 0.0;           ///< what is judged
    double severity = 0.0;            ///< how far from the band's middle, or from 0 without a band
    std::optional<bool> in_tolerance; ///< none without a band
    std::optional<double> deviation_before; ///< where an alignment has moved the point
};

/// Which limits of a band bound a deviation. A distance that has no sign is bounded by the upper
/// limit alone, and gets worse in one direction only.
enum class Limits { both, upper };

/// Sets the severity and `in_tolerance` by the deviation. Limits belong to the band; nothing is
/// rounded.
inline void judge(Judged& point, const std::optional<Tolerance>& tolerance,
                  Limits limits = Limits::both) {
    const double off = tolerance ? point.deviation - tolerance->middle() : point.deviation;
    point.severity = limits == Limits::both ? std::fabs(off) : off;
    point.in_tolerance.reset();
    if (tolerance)
        point.in_tolerance = limits == Limits::both ? tolerance->contains(point.deviation)
                                                    : point.deviation <= tolerance->upper;
}

/// How large a deviation may be: its square is a double.
inline constexpr double largest_deviation = 1e150;

} // namespace velm
