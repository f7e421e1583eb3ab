// alignment.h: measured points moved onto the outline of their section, `align_section`, or onto
// their nominal points, `align_targets`.
#pragma once

#include "velm/inspection/applied_alignment.h"
#include "velm/inspection/section_result.h"
#include "velm/inspection/target_result.h"
#include "velm/planar/contour.h"

#include <span>
#include <string>

namespace velm::inspect {

/// Moves the points of all rows, already compared where they were measured, by the rigid motion
/// within the plane with the least sum of squared deviations, compares them there, and fills in
/// their deviations before it. Throws `Failure` (input) if that doesn't converge; the sentence
/// calls the points `name`.
///
/// Points without a place have no part in it. A deviation is the signed distance to the outline
/// less half the ball's diameter. Each step of `velm::align` uses the feet of the points at their
/// places after the last step (the nearest points: Besl and McKay, IEEE Transactions on Pattern
/// Analysis and Machine Intelligence 14, 1992; minimised along the normals: Chen and Medioni, Image
/// and Vision Computing 10, 1992; the first step by the unit quaternion: Horn, Journal of the
/// Optical Society of America A 4, 1987).
AppliedAlignment align_section(std::span<SectionRow> rows, const Profile& profile, double max_angle,
                               const std::string& name);

/// Moves the measured points of all rows by the best fit, and fills in their deviations before it.
/// Throws `Failure` (input) if it doesn't converge; the sentence calls the table `name`.
AppliedAlignment align_targets(std::span<TargetRow> rows, const std::string& name);

} // namespace velm::inspect
