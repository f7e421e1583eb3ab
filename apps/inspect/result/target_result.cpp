#include "inspect/result/target_result.h"

namespace velm::inspect {

double deviation_of(const gmTargetPoint& target) {
    double along_normal = 0.0;
    return target.get_distance_to_plane(along_normal) != 0 ? along_normal
                                                           : target.distance_to_point();
}

bool is_comparable(const gmTargetPoint& target) { return target.distance_to_point() <= 1e150; }

void judge(TargetRow& row, const std::optional<Tolerance>& tolerance) {
    const bool has_normal = row.target.is_compensated() != 0;
    row.deviation = deviation_of(row.target);
    const double off = tolerance ? row.deviation - tolerance->middle() : row.deviation;
    row.severity = has_normal ? std::fabs(off) : off;
    row.in_tolerance.reset();
    if (!tolerance) return;
    row.in_tolerance =
        has_normal ? tolerance->contains(row.deviation) : row.deviation <= tolerance->upper;
}

} // namespace velm::inspect
