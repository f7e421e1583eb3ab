// AppliedAlignment: a best fit that has moved the measured points of an inspection.
//
//     const velm::Alignment found = velm::align(...);
//     velm::AppliedAlignment alignment = velm::applied(found, options);
//     alignment.before = velm::spread_of(as_measured);
//     alignment.after = velm::spread_of(as_aligned);
#pragma once

#include "velm/inspection/summary.h"
#include "velm/measure/alignment.h"

#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace velm {

/// The figures of deviations that an alignment changes.
struct DeviationSpread {
    double rms = 0.0, minimum = 0.0, maximum = 0.0;
};
VELM_API DeviationSpread spread_of(const RunningStatistics& deviations);

/// How a motion was found. The numbers are part of object files and archives.
enum class AlignmentMethod {
    best_fit = 0,   ///< least sum of squared deviations
    references = 1, ///< each reference point has its nominal coordinates along what it holds
};
/// "bestfit", "rps", by number.
VELM_API std::span<const std::string_view> choice_names(AlignmentMethod);

/// An alignment that has converged.
struct VELM_API AppliedAlignment {
    AlignmentMethod method = AlignmentMethod::best_fit;
    bool in_plane = false; ///< turns about z and moves along x and y alone, those of the section
    ERVector3D rotation[3]{{1, 0, 0}, {0, 1, 0}, {0, 0, 1}}; ///< the rows of the matrix
    ERPoint3D translation; ///< a point p moves to rotation p + translation
    int iterations = 0;
    double threshold = 0.0; ///< of a step, as a part of the points' extent
    double last_step = 0.0; ///< likewise
    /// Names of the freedoms that the points don't determine, or that were to be held.
    std::vector<std::string> held;
    DeviationSpread before, after;

    double angle() const;    ///< radians; in the plane from -pi to pi, counter-clockwise positive
    ERVector3D axis() const; ///< unit, zero where nothing turns
    /// Where the motion takes a point of the plane.
    ERPoint2D moved(const ERPoint2D& p) const;
    ERPoint3D moved(const ERPoint3D& p) const;
    ERVector3D turned(const ERVector3D& v) const;
};
template <>
VELM_API std::span<const Field> fields_of<AppliedAlignment>();

/// The motion and how it was found; `before` and `after` are the caller's.
VELM_API AppliedAlignment applied(const Alignment& found, const AlignmentOptions& options);
VELM_API AppliedAlignment applied(const Alignment2D& found, const AlignmentOptions& options);

} // namespace velm
