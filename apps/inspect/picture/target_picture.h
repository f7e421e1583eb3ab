// target_picture.h: `target_pictures`, the deviations of targets drawn for a page.
#pragma once

#include <optional>
#include <span>

#include "inspect/picture/deviation_scale.h"
#include "inspect/picture/page_pictures.h"
#include "velm/inspection/target_result.h"

namespace velm::inspect {

/// Points where the nominal ones stand, seen along the axis that shows most of them, with the
/// deviation as a whisker along the normal where the view shows that, or of a direct target towards
/// the measured point, magnified by a round factor; coloured by the deviation, the worst above the
/// others and named. Above 5,000 points those in tolerance are left out.
PagePictures target_pictures(std::span<const TargetRow> rows,
                             const std::optional<Tolerance>& tolerance);

} // namespace velm::inspect
