// surface_target: a point of a part's surfaces as a gmTargetPoint.
//
//     const gmTargetPoint target = velm::surface_target(row);
#pragma once

#include "velm/export.h"
#include "velm/inspection/surface_result.h"
#include "velm/measure/target_point.h"

namespace velm {

/// The nominal point is the foot, the measured one the centre of the ball with its diameter, moved
/// if the points were aligned, the normal the direction away from the material. A point without a
/// place is a direct target at the place where it was measured. The measured point has its number
/// in the file, from 1, as its identifier, and is approached along the normal.
VELM_API gmTargetPoint surface_target(const SurfaceRow& row);

} // namespace velm
