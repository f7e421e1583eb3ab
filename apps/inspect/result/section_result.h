// section_result.h: what the inspection of a section finds for a point: `SectionRow`,
// `judge`.
#pragma once

#include <array>
#include <cmath>
#include <cstdint>
#include <optional>

#include "inspect/result/profile.h"
#include "inspect/result/summary.h"

namespace velm::inspect {

/// How many points lie in each place, by its number.
using PlaceCounts = std::array<std::uint64_t, place_count>;

/// A point as it was measured in space.
struct SpacePoint {
    ERPoint3D measured;  ///< in the machine's coordinates
    double height = 0.0; ///< above the plane of the section, along its normal
};

/// One measured point; its deviation is the distance less half the ball's diameter.
struct SectionRow : Judged {
    std::uint64_t index = 0;          ///< from 0, in the order of the file
    ERPoint2D measured;               ///< in the section
    std::optional<ERPoint2D> aligned; ///< where an alignment has moved it
    std::optional<SpacePoint> space;  ///< where the section has a frame
    double diameter = 0.0;            ///< of the probe's ball
    Comparison comparison;            ///< of the moved point where there is one

    /// What was compared.
    const ERPoint2D& placed() const { return aligned ? *aligned : measured; }
};

/// How large a deviation may be: its square is a double.
inline constexpr double largest_deviation = 1e150;

/// Fills in what follows from the deviation.
inline void judge(SectionRow& row, const std::optional<Tolerance>& tolerance) {
    row.severity = std::fabs(tolerance ? row.deviation - tolerance->middle() : row.deviation);
    row.in_tolerance.reset();
    if (tolerance) row.in_tolerance = tolerance->contains(row.deviation);
}

} // namespace velm::inspect
