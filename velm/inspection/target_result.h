// TargetHead, TargetRow: what the inspection of targets found: nominal points, each with the point
// that was measured for it.
//
//     velm::TargetRow row;
//     row.target = gmTargetPoint(nominal, measured, normal);
//     velm::judge(row, head);
#pragma once

#include "velm/inspection/applied_alignment.h"
#include "velm/inspection/inspection_head.h"
#include "velm/inspection/tolerance.h"
#include "velm/measure/target_point.h"

#include <cstdint>
#include <optional>
#include <string>

namespace velm {

/// What was inspected, and how.
struct TargetHead : InspectionHead {
    std::string table; ///< name of the file, "-" for standard input
    std::optional<AppliedAlignment> alignment;
    std::optional<std::uint64_t> skipped; ///< rows, if unusable ones were to be skipped

    /// The table as people call it.
    std::string table_name() const { return table == "-" ? "standard input" : table; }
};
template <>
VELM_API std::span<const Field> fields_of<TargetHead>();

/// One target. Against a surface the deviation is the signed distance to the plane through the
/// nominal point; of a direct target, without a normal, the distance between the points, never
/// negative.
struct TargetRow : Judged {
    using Head = TargetHead;

    gmTargetPoint target; ///< with the ball
};
template <>
VELM_API std::span<const Field> fields_of<TargetRow>();

/// The deviation as it is judged.
VELM_API double deviation_of(const gmTargetPoint& target);

/// Whether the square of the distance is a double.
VELM_API bool is_comparable(const gmTargetPoint& target);

/// Sets the deviation and what follows from it. A direct target is in tolerance up to the upper
/// limit, regardless of the lower one.
VELM_API void judge(TargetRow& row, const TargetHead& head);

} // namespace velm
