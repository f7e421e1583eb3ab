// fit_points.h: points to be fitted: `FitPoints`, `read_fit_points`.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "inspect/input/text_source.h"
#include "velm/frame/point.h"

namespace velm::inspect {

struct FitPoints {
    std::vector<std::string> ids;
    std::vector<ERPoint3D> places; ///< z is 0 unless in_space
    bool in_space = false;
    std::optional<double> diameter; ///< of the ball, where the file tells it
};

/// Reads a file of measured points (MeasuredReader), or bare lines of two or three numbers, whose
/// ids are their running numbers from 1. A file starts with a number or it has a header. All
/// points have a z or none; all rows that tell a diameter tell the same. Throws `Failure` (input).
FitPoints read_fit_points(TextSource& source);

} // namespace velm::inspect
