// fit_lines.h: the fit in names and numbers for people: `fit_head`, `fit_figures`, `entity_lines`.
#pragma once

#include "inspect/picture/report_head.h"
#include "inspect/result/fit_result.h"

#include <vector>

namespace velm::inspect {

/// The verdict is about the characteristics first, then about the residuals.
ReportHead fit_head(const FitResult& result);

/// The entity, then the figures of the residuals.
std::vector<FigureLine> fit_figures(const FitResult& result);

/// The entity in names and texts with `decimals` digits.
HeadLines entity_lines(const FitResult& result, int decimals);

int fit_decimals(const FitResult& result);

} // namespace velm::inspect
