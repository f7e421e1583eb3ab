// Tolerance, Judged, judge, LimitRule: the one rule by which a deviation is in tolerance.
//
//     velm::SectionRow row = ...;
//     velm::judge(row, head); // by the tolerance and the rule of the inspection
//     if (row.in_tolerance == false) ++rejected;
#pragma once

#include "velm/export.h"

#include <cmath>
#include <limits>
#include <numeric>
#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace velm {

/// A closed band of deviations, in the unit of the model.
struct Tolerance {
    double lower = 0.0, upper = 0.0;
    /// Within the limits, each of them `slack` further out.
    bool contains(double deviation, double slack = 0.0) const {
        return lower - slack <= deviation && deviation <= upper + slack;
    }
    double middle() const { return std::midpoint(lower, upper); }
};

/// How a deviation is held against a limit. The numbers are part of object files and archives: they
/// never change. A file that names no rule was judged by the exact limits.
enum class LimitRule {
    exact = 0,   ///< the computed deviation against the limits as they are
    rounded = 1, ///< the limits `limit_slack` further out
};
/// "exact", "rounded", by number.
VELM_API std::span<const std::string_view> choice_names(LimitRule);

/// Four units in the last place of the largest coordinate from which a deviation was computed: the
/// coordinate of the point and that of its foot are each a rounding of what was written, their
/// difference one more, and the half diameter of the ball another. A point at the limit as it was
/// written is in tolerance, then, regardless of its coordinates.
inline double limit_slack(double largest_coordinate) {
    constexpr int last_places = std::numeric_limits<double>::digits - 1;
    return largest_coordinate > 0.0 ? std::ldexp(4.0, std::ilogb(largest_coordinate) - last_places)
                                    : 0.0;
}

/// One measured point and what was found for it. Every row of an inspection is one.
struct Judged {
    std::string id;
    double deviation = 0.0;           ///< what is judged
    double severity = 0.0;            ///< how far from the band's middle, or from 0 without a band
    std::optional<bool> in_tolerance; ///< none without a band
    std::optional<double> deviation_before; ///< where an alignment has moved the point
    std::optional<Tolerance> limits;        ///< its own, which beat those of the inspection
    std::string feature, part;              ///< to which it belongs, if the table says so
    bool is_distance = false; ///< the deviation has no sign: there is no direction to measure along
    bool is_assigned = true;  ///< false: no place of the nominal belongs to it, nothing is judged
};

/// Which limits of a band bound a deviation. A distance that has no sign is bounded by the upper
/// limit alone, and gets worse in one direction only.
enum class Limits { both, upper };

/// Sets the severity and `in_tolerance` by the deviation. Limits belong to the band, which is
/// widened by `slack`; nothing else is rounded.
inline void judge(Judged& point, const std::optional<Tolerance>& tolerance,
                  Limits limits = Limits::both, double slack = 0.0) {
    const std::optional<Tolerance>& band = point.limits ? point.limits : tolerance;
    const double off = band ? point.deviation - band->middle() : point.deviation;
    point.severity = limits == Limits::both ? std::fabs(off) : off;
    point.in_tolerance.reset();
    if (!point.is_assigned)
        point.severity = std::numeric_limits<double>::lowest();
    else if (band)
        point.in_tolerance = limits == Limits::both ? band->contains(point.deviation, slack)
                                                    : point.deviation <= band->upper + slack;
}

/// How large a deviation may be: its square is a double.
inline constexpr double largest_deviation = 1e150;

} // namespace velm
