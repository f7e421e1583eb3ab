// section_target.h: a point of a section as a target against its nominal: `section_target`.
#pragma once

#include <optional>

#include "velm/inspection/section_frame.h"
#include "velm/inspection/section_result.h"
#include "velm/measure/target_point.h"

namespace velm::inspect {

/// The nominal point is the foot, the measured one the centre of the ball with its diameter, moved
/// where the points were aligned, the
/// normal the direction away from the material; all in the machine's coordinates, or with z = 0
/// where the section has no frame. The measured point has its number in the file, from 1, as its
/// identifier, and is approached along the normal. The target's distance to the plane is the
/// deviation, but for roundings.
gmTargetPoint section_target(const SectionRow& row, const std::optional<SectionFrame>& frame);

} // namespace velm::inspect
