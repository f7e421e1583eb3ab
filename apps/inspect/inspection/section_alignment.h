// section_alignment.h: `align_section`, measured points brought onto the outline of their section.
#pragma once

#include <span>
#include <string>

#include "velm/inspection/applied_alignment.h"
#include "velm/inspection/section_result.h"
#include "velm/planar/contour.h"

namespace velm::inspect {

/// Moves the points of all rows, which have been compared where they were measured, by the rigid
/// motion within the plane that makes the sum of their squared deviations least, compares them
/// there, and fills in their deviations before. Throws `Failure` (input) where that doesn't
/// converge; the sentence calls the points `name`.
///
/// A deviation is the signed distance to the outline less half the ball's diameter. Each step of
/// `velm::align` goes by the feet that the points have where the last one has put them (the nearest
/// points: Besl and McKay, IEEE Transactions on Pattern Analysis and Machine Intelligence 14, 1992;
/// minimised along the normals: Chen and Medioni, Image and Vision Computing 10, 1992; the first
/// step by the unit quaternion: Horn, Journal of the Optical Society of America A 4, 1987).
AppliedAlignment align_section(std::span<SectionRow> rows, const Profile& profile,
                               const std::string& name);

} // namespace velm::inspect
