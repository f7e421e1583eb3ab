// target_picture.h: `target_picture`, the deviations of targets in a picture for a page.
#pragma once

#include <span>
#include <string>

#include "inspect/deviation_scale.h"
#include "inspect/target_result.h"

namespace velm::inspect {

/// Points where the nominal ones stand, seen along the axis that shows most of them, with the
/// deviation as a whisker along the normal where the view shows that, magnified; coloured by the
/// deviation. Above 5,000 points those in tolerance are left out. The markup of an <svg> element.
std::string target_picture(std::span<const TargetRow> rows, const DeviationScale& scale,
                           const DeviationUnit& unit);

} // namespace velm::inspect
