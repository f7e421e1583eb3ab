// fit_result.h: measured points to be fitted, and the result: `FitPoints`, `FitResult`.
#pragma once

#include "velm/frame/point.h"
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

/// The fitted entity, corrected for the ball, what was judged, and the residuals of the points.
struct FitResult {
    FitHead head;
    std::vector<double> residuals;

    /// The row of a point, judged.
    FitRow row(const FitPoints& points, std::size_t index) const;
};

/// "plane", "line" or "circle".
std::string_view kind_name(FitKind kind);

} // namespace velm::inspect
