// fit_result.h: the result of a fit: `FitPoints`, `FitResult`.
#pragma once

#include "velm/frame/point.h"
#include "velm/frame/vector.h"
#include "velm/inspection/fit_result.h"
#include "velm/inspection/summary.h"

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace velm::inspect {

/// A diameter, and the limits of its difference from that.
struct NominalSize {
    double nominal = 0.0;
    Tolerance limits;
};

/// Where a circle's axis should be.
struct NominalPlace {
    ERPoint3D point; ///< z is 0 unless in_space
    bool in_space = false;
};

/// Measured points to be fitted.
struct FitPoints {
    std::vector<std::string> ids;
    std::vector<ERPoint3D> places; ///< z is 0 unless in_space
    bool in_space = false;
    std::optional<double> diameter; ///< of the ball, if the file has it
    InspectionHead head;            ///< what the columns say
    std::vector<std::string> notes; ///< sentences about the file
};

/// The fitted entity, corrected for the ball, and the residuals of the points. The tolerance is the
/// band of these.
struct FitResult : InspectionHead {
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
    std::optional<Characteristic> form, size, position; ///< those that are judged
    std::vector<double> residuals;
    /// The place of each point in the picture: in the plane; along the line (x); from the centre.
    std::vector<ERPoint2D> places;
    Summary summary;
    double peak_to_valley = 0.0;
    double largest_coordinate = 0.0; ///< of the points

    /// The head of a report, and its row for one point, with the residual as deviation.
    FitHead head() const;
    FitRow row(const FitPoints& points, std::size_t index) const;
    /// "flatness", "straightness" or "roundness".
    const char* form_name() const;
    bool is_in_tolerance() const {
        return summary.out_of_tolerance == 0 && head().is_in_tolerance();
    }
};

/// "plane", "line" or "circle".
std::string_view kind_name(FitKind kind);

/// The indices of the `most` worst points, the worst first, the first of equal ones first.
std::vector<std::size_t> worst_points(const FitResult& result, const FitPoints& points,
                                      std::size_t most);

} // namespace velm::inspect
