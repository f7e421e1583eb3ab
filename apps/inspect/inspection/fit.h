// fit.h: `velm-inspect fit`: `FitOptions`, `fit_points`, `run_fit`.
#pragma once

#include "inspect/base/failure.h"
#include "inspect/base/output_paths.h"
#include "inspect/result/fit_result.h"

#include <optional>
#include <string>

namespace velm::inspect {

struct FitOptions {
    FitKind kind = FitKind::plane;
    std::string points;
    std::optional<Tolerance> tolerance;
    std::optional<double> diameter; ///< of the ball if the file has none
    BallSide side = BallSide::unknown;
    OutputPaths paths;
};

/// Fits by orthogonal least squares (velm/measure/orthogonal_fit.h) and computes every residual:
/// signed, except for a line in space. Flatness, straightness and roundness are the greatest
/// residual less the least, for a line in space twice the greatest distance. Throws `Failure`.
FitResult fit_points(const FitOptions& options, const FitPoints& points);

/// Reads, fits, writes the table and the reports wanted.
ExitCode run_fit(const FitOptions& options);

} // namespace velm::inspect
