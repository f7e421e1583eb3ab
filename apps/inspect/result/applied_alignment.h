// applied_alignment.h: `AppliedAlignment`, a motion that was applied to measured points.
#pragma once

#include <string>
#include <vector>

#include "inspect/result/statistics.h"
#include "velm/measure/alignment.h"

namespace velm::inspect {

/// The figures of deviations that an alignment changes.
struct DeviationSpread {
    double rms = 0.0, minimum = 0.0, maximum = 0.0;
};
DeviationSpread spread_of(const RunningStatistics& deviations);

/// A best fit that has converged.
struct AppliedAlignment {
    bool in_plane = false; ///< turns about z and moves along x and y alone, those of the section
    ERVector3D rotation[3]{{1, 0, 0}, {0, 1, 0}, {0, 0, 1}}; ///< the rows of the matrix;
    ERPoint3D translation; ///< a point p moves to rotation p + translation
    int iterations = 0;
    double threshold = 0.0;        ///< of a step, as a part of the points' extent
    double last_step = 0.0;        ///< likewise
    std::vector<std::string> held; ///< names of the freedoms that the points don't determine
    DeviationSpread before, after;

    double angle() const;    ///< radians; in the plane from -pi to pi, counter-clockwise positive
    ERVector3D axis() const; ///< unit, zero where nothing turns
    /// The moved place of a point of the plane.
    ERPoint2D moved(const ERPoint2D& p) const;
};

/// The motion and the report of it, `before` and `after` left for the caller.
AppliedAlignment applied(const velm::Alignment& found, const velm::AlignmentOptions& options);
AppliedAlignment applied(const velm::Alignment2D& found, const velm::AlignmentOptions& options);

} // namespace velm::inspect
