// fit_points.h: points to be fitted: `read_fit_points`.
#pragma once

#include "inspect/input/text_source.h"
#include "inspect/result/fit_result.h"

namespace velm::inspect {

/// Reads a file of measured points (MeasuredReader), or bare lines of two or three numbers, whose
/// ids are their running numbers from 1. A file starts with a number or it has a header. All
/// points have a z or none; all rows that tell a diameter tell the same. Throws `Failure` (input).
FitPoints read_fit_points(TextSource& source);

} // namespace velm::inspect
