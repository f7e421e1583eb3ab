// fit_points.h: points to be fitted: `read_fit_points`.
#pragma once

#include "inspect/input/csv_records.h"
#include "inspect/input/text_source.h"
#include "inspect/result/fit_result.h"

namespace velm::inspect {

/// Reads a file of measured points (MeasuredReader), or bare lines of two or three numbers, whose
/// ids are their running numbers from 1. A file without a header starts with a number; one line may
/// give the number of points before them. Either all
/// points have a z or none; all diameters are the same. Throws `Failure` (input).
FitPoints read_fit_points(TextSource& source, const TableOptions& options = {});

} // namespace velm::inspect
