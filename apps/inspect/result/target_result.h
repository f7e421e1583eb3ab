// target_result.h: what the inspection of targets finds for a point: `TargetRow`, `judge`.
#pragma once

#include <optional>

#include "inspect/result/summary.h"
#include "velm/measure/target_point.h"

namespace velm::inspect {

/// One nominal point with the one measured for it. Against a surface the deviation is the signed
/// distance to the plane through the nominal point; of a direct target, without a normal, the
/// distance between the points, never negative.
struct TargetRow : Judged {
    gmTargetPoint target;
};

/// The deviation as it is judged.
double deviation_of(const gmTargetPoint& target);

/// Whether the square of the distance is a double.
bool is_comparable(const gmTargetPoint& target);

/// Fills in the deviation and what follows from it. A direct target is in tolerance up to the upper
/// limit, whatever the lower one.
void judge(TargetRow& row, const std::optional<Tolerance>& tolerance);

} // namespace velm::inspect
