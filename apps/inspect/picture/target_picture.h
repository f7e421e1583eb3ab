// target_picture.h: `target_pictures`, the deviations of targets drawn for a page.
#pragma once

#include "inspect/picture/deviation_scale.h"
#include "inspect/picture/page_pictures.h"
#include "velm/inspection/target_result.h"

#include <optional>
#include <span>
#include <string>
#include <vector>

namespace velm::inspect {

/// Points at the nominal places, seen along the axis that shows most of them, with the deviation as
/// a whisker along the normal if the view shows that, or for a direct target towards the measured
/// point, magnified by a round factor; coloured by the deviation, the worst above the others and
/// named. Of more than 5,000 points the worst of each place is drawn.
PagePictures target_pictures(std::span<const TargetRow> rows, const Summary& summary, int decimals);

/// The same as a picture on one sheet.
std::string target_svg(std::span<const TargetRow> rows, const Summary& summary, int decimals,
                       const ReportHead& head, const std::vector<FigureLine>& figures);

} // namespace velm::inspect
