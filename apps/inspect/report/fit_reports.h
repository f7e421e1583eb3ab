// fit_reports.h: the texts that tell a fit: `fit_json`, `fit_csv`, `fit_table`.
#pragma once

#include <string>

#include "inspect/result/fit_result.h"

namespace velm::inspect {

/// `entity` (kind; point and normal of a plane, point and direction of a line, centre, normal and
/// radius of a circle), `points` (id, residual, in_tolerance) and `summary` (as that of a section,
/// with peak_to_valley). `path` is that of the points; with `ascii` nothing above U+007E.
std::string fit_json(const FitResult& result, const FitPoints& points, const std::string& path,
                     bool ascii);

std::string fit_csv(const FitResult& result, const FitPoints& points, bool on_terminal);

/// The rows up to 1,000, above that the 20 worst, the entity and the summary.
std::string fit_table(const FitResult& result, const FitPoints& points, const std::string& path);

} // namespace velm::inspect
