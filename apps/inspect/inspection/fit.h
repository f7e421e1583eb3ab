// fit.h: `velm-inspect fit`: `FitOptions`, `fit_points`, `inspect_fit`.
#pragma once

#include "inspect/base/failure.h"
#include "inspect/base/output_paths.h"
#include "inspect/input/csv_records.h"
#include "inspect/result/fit_result.h"

#include <optional>
#include <string>

namespace velm::inspect {

struct FitOptions {
    FitKind kind = FitKind::plane;
    std::string points;
    std::optional<double> form_tolerance; ///< of flatness, straightness or roundness
    std::optional<Tolerance> band;        ///< of the residuals
    std::optional<NominalSize> size;      ///< of a circle
    std::optional<NominalPlace> place;    ///< nominal, of a circle's axis
    std::optional<double> position;       ///< diameter of the zone about that place
    std::optional<int> decimals;
    std::vector<NamedText> info;
    TableOptions table;             ///< how the points are read
    std::optional<double> diameter; ///< of the ball if the file has none
    BallSide side = BallSide::unknown;
    OutputPaths paths;
};

/// The diameter of the ball, from the file or the options; 0 for none.
double ball_of(const FitOptions& options, const FitPoints& points);

/// What is wrong with the ball and its side.
enum class BallFault {
    none,
    no_ball,      ///< there is a side and no ball
    no_side,      ///< there is a ball, and the side of a circle is unknown
    side_of_line, ///< a line in space has no side
};
BallFault ball_fault(const FitOptions& options, const FitPoints& points);

/// Fits by orthogonal least squares (velm/measure/orthogonal_fit.h) and computes every residual:
/// signed, except for a line in space. Flatness, straightness and roundness are the greatest
/// residual less the least, for a line in space twice the greatest distance. The ball must be
/// without fault. Throws `Failure`.
FitResult fit_points(const FitOptions& options, const FitPoints& points);

/// Fits and writes the table and the reports wanted. Returns whether everything is in tolerance.
bool inspect_fit(const FitOptions& options, const FitPoints& points);

} // namespace velm::inspect
