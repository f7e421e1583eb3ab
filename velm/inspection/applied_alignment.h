// AppliedAlignment: a best fit that has moved the measured points of an inspection.
//
//     const velm::Alignment found = velm::align(...);
//     velm::AppliedAlignment alignment = velm::applied(found, options);
//     alignment.before = velm::spread_of(as_measured);
//     alignment.after = velm::spread_of(as_aligned);
#pragma once

#include "velm/inspection/summary.h"
#include "velm/measure/alignment.h"

#include <string>
#include <vector>

namespace velm {

/// The figures of deviations that an alignment changes.
struct DeviationSpread {
    double rms = 0.0, minimum = 0.0, maximum = 0.0;
};
VELM_API DeviationSpread spread_of(const RunningStatistics& deviations);

/// A best fit that has converged.
struct VELM_API AppliedAlignment {
    bool in_plane = false; ///< turns about z and moves along x and y alone, those of the section
    ERVector3D rotation[3]{{1, 0, 0}, {0, 1, 0}, {0, 0, 1}}; ///< the rows of the matrix
    ERPoint3D translation; ///< a point p moves to rotation p + translation
    int iterations = 0;
    double threshold = 0.0;        ///< of a step, as a part of the points' extent
    double last_step = 0.0;        ///< likewise
    std::vector<std::string> held; ///< names of the freedoms that the points don't determine
    DeviationSpread before, after;

    double angle() const;    ///< radians; in the plane from -pi to pi, counter-clockwise positive
    ERVector3D axis() const; ///< unit, zero where nothing turns
    /// Where the motion takes a point of the plane.
    ERPoint2D moved(const ERPoint2D& p) const;
};
template <>
VELM_API std::span<const Field> fields_of<AppliedAlignment>();

/// The motion and how it was found; `before` and `after` are the caller's.
VELM_API AppliedAlignment applied(const Alignment& found, const AlignmentOptions& options);
VELM_API AppliedAlignment applied(const Alignment2D& found, const AlignmentOptions& options);

} // namespace velm
