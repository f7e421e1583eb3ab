// fit.h: `velm-inspect fit`: `FitOptions`, `FitResult`, `run_fit`.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "inspect/base/failure.h"
#include "inspect/input/fit_points.h"
#include "inspect/result/summary.h"
#include "velm/frame/vector.h"

namespace velm::inspect {

enum class FitKind { plane, line, circle };
/// On which side of the material the probe's ball was: in a bore, or outside of a shaft.
enum class BallSide { unknown, inside, outside };

struct FitOptions {
    FitKind kind = FitKind::plane;
    std::string points;
    std::optional<Tolerance> tolerance;
    std::optional<double> diameter; ///< of the ball where the file tells none
    BallSide side = BallSide::unknown;
    std::optional<std::string> json, csv, svg;
    bool quiet = false;
};

/// The fitted entity, corrected for the ball, and what the points are to it.
struct FitResult {
    FitKind kind = FitKind::plane;
    bool in_space = false;
    BallSide side = BallSide::unknown;
    double ball = 0.0; ///< its diameter, 0 for none
    ERPoint3D point;   ///< a point of the plane or line, the centre of the circle; z 0 in the plane
    ERVector3D axis;   ///< the normal of the plane or circle, the direction of the line; unit
    double radius = 0.0;
    std::optional<double> flatness_rms; ///< of the points of a circle in space about its plane
    int steps = 0;                      ///< of the circle's iteration
    double last_step = 0.0;
    std::optional<Tolerance> tolerance;
    std::vector<double> residuals;
    /// Where the picture shows each point: in the plane; along the line (x); from the centre.
    std::vector<ERPoint2D> places;
    Summary summary;
    double peak_to_valley = 0.0;

    /// One point with its residual as deviation.
    Judged row(const FitPoints& points, std::size_t index) const;
    /// "flatness", "straightness" or "roundness".
    const char* form_name() const;
};

/// "plane", "line" or "circle".
const char* kind_name(FitKind kind);

/// Fits by orthogonal least squares (velm/measure/orthogonal_fit.h) and computes every residual:
/// signed, but for a line in space. Flatness, straightness and roundness are the greatest residual
/// less the least, for a line in space twice the greatest distance. Throws `Failure`.
FitResult fit_points(const FitOptions& options, const FitPoints& points);

/// Reads, fits, writes the table and the reports that are asked for.
ExitCode run_fit(const FitOptions& options);

} // namespace velm::inspect
