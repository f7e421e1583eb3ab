// velm::loft, velm::ruled, velm::bilinear: NURBS surfaces through curves and corners.
//
//     const auto hull = velm::loft(sections, 3);                 // sections: ERCpoleNURBS3D
//     const auto strip = velm::ruled(lower, upper);
//     const ERSpoleNURBS3D patch = velm::bilinear(a, b, c, d);
#pragma once

#include "velm/curves/nurbs_curve.h"
#include "velm/surfaces/nurbs_surface.h"

#include <optional>
#include <span>
#include <vector>

namespace velm {

struct LoftedSurface {
    ERSpoleNURBS3D surface;
    /// The v of each section: surface(u, v[k]) is section k at the ratio u of its limits.
    std::vector<double> v;
};

/// Skinning: the surface of the sections, in order, with U along them and parameters of [0, 1]. Of
/// degree `degree_v` along V, or one less than the number of sections if that is less.
///
/// The sections are cut to their limits, brought to one degree and to the knots of all of them
/// (knots within 1e-9 of each other count as one, that of the first section that has it), by
/// elevation and insertion, so that they stay the same curves except for that shift. Their weights
/// are scaled by a factor each so that they have the mean 1. Then the columns of their homogeneous
/// poles are interpolated at parameters that are means over the columns (Piegl and Tiller, The
/// NURBS Book, 10.3). Nothing for fewer than two sections, neighbours that coincide, a section
/// without extent, a weight that isn't positive, also of the result, and a degree below 1 or
/// above 25.
VELM_API std::optional<LoftedSurface> loft(std::span<const ERCpoleNURBS3D> sections, int degree_v);

/// The straight lines between points of both curves at equal ratios of their limits: a loft of
/// degree 1 along V.
VELM_API std::optional<ERSpoleNURBS3D> ruled(const ERCpoleNURBS3D& lower,
                                             const ERCpoleNURBS3D& upper);

/// The bilinear surface over [0, 1] x [0, 1] of the corners at (0, 0), (1, 0), (0, 1) and (1, 1).
VELM_API ERSpoleNURBS3D bilinear(const ERPoint3D& p00, const ERPoint3D& p10, const ERPoint3D& p01,
                                 const ERPoint3D& p11);

} // namespace velm
