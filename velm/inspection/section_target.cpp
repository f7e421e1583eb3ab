#include "velm/inspection/section_target.h"

namespace velm {

gmTargetPoint section_target(const SectionRow& row, const std::optional<SectionFrame>& frame) {
    const ERPoint2D& foot = row.comparison.foot;
    const ERVector2D& outward = row.comparison.outward;
    ERPoint3D nominal(foot.x(), foot.y(), 0.0);
    ERPoint3D centre(row.placed().x(), row.placed().y(), row.space ? row.space->height : 0.0);
    ERVector3D normal(outward.i(), outward.j(), 0.0);
    if (frame) {
        nominal = frame->to_machine(nominal);
        normal = frame->to_machine(normal);
        centre = row.space && !row.aligned ? row.space->measured : frame->to_machine(centre);
    }
    const int number = static_cast<int>(row.index + 1);
    return gmTargetPoint(nominal, ERCMMPointWithDiameter(centre, normal, row.diameter, number),
                         normal);
}

} // namespace velm
