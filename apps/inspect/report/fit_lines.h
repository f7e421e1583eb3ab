// fit_lines.h: the fit in names and numbers for people: `fit_head`, `fit_figures`.
#pragma once

#include "inspect/picture/report_head.h"
#include "velm/inspection/fit_result.h"

#include <vector>

namespace velm::inspect {

/// The verdict is about the characteristics first, then about the residuals.
ReportHead fit_head(const FitHead& head, const Summary& summary, int decimals);

/// The entity, then the figures of the residuals.
std::vector<FigureLine> fit_figures(const FitHead& head, const Summary& summary, int decimals);

} // namespace velm::inspect
