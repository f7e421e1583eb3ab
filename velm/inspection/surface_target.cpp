#include "velm/inspection/surface_target.h"

namespace velm {

gmTargetPoint surface_target(const SurfaceRow& row) {
    const int number = static_cast<int>(row.index + 1);
    const ERVector3D normal = row.found ? row.found->normal : ERVector3D();
    const ERCMMPointWithDiameter measured(row.measured, normal, row.diameter, number);
    return row.found ? gmTargetPoint(row.found->foot, measured, normal)
                     : gmTargetPoint(row.measured, measured);
}

} // namespace velm
