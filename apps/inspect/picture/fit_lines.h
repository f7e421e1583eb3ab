// fit_lines.h: the fitted entity, in names and numbers for people: `entity_lines`, `fit_decimals`.
#pragma once

#include "inspect/result/fit_result.h"

#include <string>
#include <utility>
#include <vector>

namespace velm::inspect {

/// The entity in names and texts with `decimals` digits, for people.
std::vector<std::pair<std::string, std::string>> entity_lines(const FitResult& result,
                                                              int decimals);

/// The decimals with which residuals show five digits.
int fit_decimals(const FitResult& result);

} // namespace velm::inspect
