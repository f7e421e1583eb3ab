// velm::line_crossings: all places where a line, a ray or a segment meets a surface.
//
//     std::vector<velm::SurfaceCrossing> crossings; // kept for the next call
//     velm::line_crossings(*projector, p, direction, crossings);
//     velm::line_crossings(*projector, p, direction, crossings, velm::ray);       // from p on
//     velm::line_crossings(*projector, a, b - a, crossings, ERLimites(0.0, 1.0)); // a segment
#pragma once

#include "velm/export.h"
#include "velm/frame/interval.h"
#include "velm/surfaces/surface_projector.h"

#include <limits>
#include <vector>

namespace velm {

/// A place where a line p + k direction meets a surface.
struct SurfaceCrossing {
    double k = 0.0;
    double u = 0.0, v = 0.0;
    ERPoint3D point;
    ERVector3D normal; ///< as that of SurfaceFoot
    /// The line touches the surface, or runs within some roundings of it: no sign of normal .
    /// direction is certain. Where the line is in the surface, one entry for each of its parts that
    /// holds some of the stretch, wherever on that.
    bool tangent = false;
};

/// Ranges of k.
inline const ERLimites whole_line(-std::numeric_limits<double>::infinity(),
                                  std::numeric_limits<double>::infinity());
inline const ERLimites ray(0.0, std::numeric_limits<double>::infinity());

/// Every place in the order of k, each once, whether or not it is where parts of the surface meet.
/// Places within 2^-45 of the size count as on the ends of the range. None if the direction is zero
/// or a value isn't finite. Nothing is allocated unless the vector has to grow.
///
/// Zeros of the distances from two planes through the line are isolated on each leaf whose box the
/// line meets. Of two crossings the line parameters differ by more than rounding, except at a place
/// where the line touches: within about 2^-22 of a leaf two simple ones are then one tangency.
VELM_API void line_crossings(const SurfaceProjector& surface, const ERPoint3D& p,
                             const ERVector3D& direction, std::vector<SurfaceCrossing>& crossings,
                             const ERLimites& range = whole_line);

} // namespace velm
