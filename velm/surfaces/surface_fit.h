// velm::interpolate, velm::approximate: NURBS surfaces through and near a grid of points.
//
//     const velm::PointGrid grid{points, 20, 12};                // 20 along U
//     const auto surface = velm::interpolate(grid, 3, 3);
//     const auto fit = velm::approximate(grid, 3, 3, 8, 6);
//     if (fit) report(fit->deviation);
//
// The surfaces have weights 1, parameters of [0, 1] in both directions, clamped ends and the corner
// points as corners. The parameters of the rows' points are those of velm/curves/nurbs_fit.h, one
// list for all rows by their means (Piegl and Tiller, The NURBS Book, A9.3); a row that is one
// point, as at a pole, doesn't count. The rows along U are fitted first, then the columns of their
// poles (A9.4 and A9.7), by the same code as curves.
//
// Nothing comes back if there are too few points in a direction, a degree is below 1 or above 25, a
// coordinate isn't finite, or the means of the parameters don't ascend, as where all rows repeat a
// point.
#pragma once

#include "velm/curves/nurbs_fit.h"
#include "velm/surfaces/nurbs_surface.h"

#include <optional>
#include <span>
#include <vector>

namespace velm {

/// Points in rows along U, one row after the other along V.
struct PointGrid {
    std::span<const ERPoint3D> points; ///< count_u count_v of them
    int count_u = 0, count_v = 0;
};

/// Through all points, with as many poles as points: at least degree + 1 in each direction.
VELM_API std::optional<ERSpoleNURBS3D>
interpolate(const PointGrid& grid, int degree_u, int degree_v,
            PointParameters parameters = PointParameters::chord_length);

struct ApproximatingSurface {
    ERSpoleNURBS3D surface;
    std::vector<double> u, v; ///< the parameters of the columns and of the rows of points
    double deviation = 0.0;   ///< the largest distance of a point from that at its parameters
};

/// With the given numbers of poles, from degree + 1 to as many as points. In each direction the
/// squared distances of what is fitted there are least, with the ends held: first of the rows, then
/// of the columns of the rows' poles, which is not quite the least of all surfaces.
VELM_API std::optional<ApproximatingSurface>
approximate(const PointGrid& grid, int degree_u, int degree_v, int poles_u, int poles_v,
            PointParameters parameters = PointParameters::chord_length);

} // namespace velm
