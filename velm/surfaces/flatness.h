// velm::flatness: how far a surface may be from triangles between its points.
//
//     const velm::Flatness f = velm::flatness(surface, {0.0, 0.5}, {0.0, 1.0});
//     if (f.deviation(0.5, 1.0) <= tolerance) ... // two triangles do for this rectangle
//
// For a triangle whose corners are points P(u_i, v_i) of the surface with parameters in the
// rectangle, which differ by at most a in u and b in v, a continuous map takes each of its points
// to a point of the surface in the rectangle that is no farther away than
//
//     (uu a^2 + 2 uv a b + vv b^2) / 8,
//
// the same one from both triangles at an edge, and edges of constant u or v along that line. So
// each point of a mesh that fills a rectangle with such triangles is that near to the surface, and
// each point of the surface is that near to the mesh. No triangle has to be a right one: the same
// numbers serve any triangulation of a part.
//
// Patches and offset surfaces: uu, uv and vv bound |Puu|, |Puv| and |Pvv|, and the point sum l_i
// P(u_i, v_i) goes to P(sum l_i u_i, sum l_i v_i) = P(u, v). By Taylor's formula about (u, v) they
// differ by at most 1/2 sum l_i (uu x_i^2 + 2 uv |x_i y_i| + vv y_i^2), x_i = u_i - u, y_i = v_i -
// v, and the variance sum l_i x_i^2 of numbers within a is at most a^2 / 4 (Popoviciu's
// inequality). For right triangles along the axes this is the bound of Filip, Magedson and Markot
// (Surface algorithms using bounds on derivatives, CAGD 3, 1986). The bounds are those of Bernstein
// coefficients, of rational patches those of the numerators of Puu, Puv and Pvv over the cube of
// the least weight.
//
// Surfaces of revolution whose generatrix (r, z) is in a half plane of the axis, planes, cylinders,
// cones, spheres, tori and their offsets: uv is 0, and the bound of the angle's direction is the
// largest radius r. With t the angle and s the curve's parameter, the horizontal part of sum l_i
// P_i has a length between cos(b/2) sum l_i r_i and sum l_i r_i. Moved outward to the latter, by at
// most r b^2 / 8, the point is sum l_i (r_i, z_i) in its half plane, and as far from the curve at
// sum l_i s_i as Taylor's formula has it.
#pragma once

#include "velm/surfaces/prepared_surface.h"

#include <vector>

namespace velm {

struct Flatness {
    double uu = 0.0, uv = 0.0, vv = 0.0;

    /// For parameters that differ by at most so much.
    double deviation(double du, double dv) const {
        return 0.125 * (uu * du * du + 2.0 * uv * du * dv + vv * dv * dv);
    }
};

/// The bounds over a rectangle of parameters, which is cut to the domain; they shrink to the values
/// at a place as the rectangle does. Except for rounding. Infinite where an offset surface has a
/// place without normal, except on a side of a patch in one point, where the limit counts. REQUIRES
/// none of breaks_u and breaks_v strictly inside the rectangle.
VELM_API Flatness flatness(const PreparedSurface& surface, const ERLimites& u, const ERLimites& v);

/// The parameters inside the domain across which `flatness` doesn't hold, in order: knots where
/// derivatives may jump, the apex of a cone.
VELM_API std::vector<double> breaks_u(const PreparedSurface& surface);
VELM_API std::vector<double> breaks_v(const PreparedSurface& surface);

} // namespace velm
