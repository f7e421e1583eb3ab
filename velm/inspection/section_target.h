// section_target: a point of a section as a gmTargetPoint.
//
//     const gmTargetPoint target = velm::section_target(row, head.frame);
#pragma once

#include "velm/export.h"
#include "velm/inspection/section_frame.h"
#include "velm/inspection/section_result.h"
#include "velm/measure/target_point.h"

#include <optional>

namespace velm {

/// The nominal point is the foot, the measured one the centre of the ball with its diameter, moved
/// if the points were aligned, the normal the direction away from the material; all in the
/// machine's coordinates, or with z = 0 if the section has no frame. The measured point has its
/// number in the file, from 1, as its identifier, and is approached along the normal. The target's
/// distance to the plane is the deviation, except for roundings.
VELM_API gmTargetPoint section_target(const SectionRow& row,
                                      const std::optional<SectionFrame>& frame);

} // namespace velm
