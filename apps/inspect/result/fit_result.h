// fit_result.h: what a fit finds: `FitPoints`, `FitResult`.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "velm/frame/point.h"
#include "velm/frame/vector.h"
#include "velm/inspection/fit_result.h"
#include "velm/inspection/summary.h"

namespace velm::inspect {

/// Measured points to be fitted.
struct FitPoints {
    std::vector<std::string> ids;
    std::vector<ERPoint3D> places; ///< z is 0 unless in_space
    bool in_space = false;
    std::optional<double> diameter; ///< of the ball, where the file tells it
};

/// The fitted entity, corrected for the ball, and what the points are to it.
struct FitResult {
    std::string measured; ///< name of the file
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

    /// What was fitted, and one point with its residual as deviation, as reports show them.
    FitHead head() const;
    FitRow row(const FitPoints& points, std::size_t index) const;
    /// "flatness", "straightness" or "roundness".
    const char* form_name() const;
};

/// "plane", "line" or "circle".
std::string_view kind_name(FitKind kind);

/// The indices of the `most` worst points, the worst first, the first of equal ones first.
std::vector<std::size_t> worst_points(const FitResult& result, const FitPoints& points,
                                      std::size_t most);

} // namespace velm::inspect
