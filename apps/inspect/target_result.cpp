#include "inspect/target_result.h"

namespace velm::inspect {

void judge(TargetRow& row, const std::optional<Tolerance>& tolerance) {
    const bool has_normal = row.target.get_distance_to_plane(row.deviation) != 0;
    if (!has_normal) row.deviation = row.target.distance_to_point();
    const double off = tolerance ? row.deviation - tolerance->middle() : row.deviation;
    row.severity = has_normal ? std::fabs(off) : off;
    row.in_tolerance.reset();
    if (!tolerance) return;
    row.in_tolerance =
        has_normal ? tolerance->contains(row.deviation) : row.deviation <= tolerance->upper;
}

} // namespace velm::inspect
