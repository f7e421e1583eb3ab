// fit_lines.h: what was fitted, in names and numbers for people: `entity_lines`, `fit_decimals`.
#pragma once

#include <string>
#include <utility>
#include <vector>

#include "inspect/result/fit_result.h"

namespace velm::inspect {

/// What the entity is, in names and texts with `decimals` digits, for people.
std::vector<std::pair<std::string, std::string>> entity_lines(const FitResult& result,
                                                              int decimals);

/// The decimals that show the residuals with five digits.
int fit_decimals(const FitResult& result);

} // namespace velm::inspect
