// velm::recognize: the plane, cylinder, cone, sphere or torus that a surface of patches is.
//
//     if (const auto found = velm::recognize(*velm::prepare(nurbs), 1e-6))
//         use(*found->surface, found->deviation);
#pragma once

#include "velm/frame/smart_pointer.h"
#include "velm/surfaces/any_bounded_surface.h"
#include "velm/surfaces/prepared_surface.h"

#include <optional>

namespace velm {

struct RecognizedSurface {
    SurfaceKind kind = SurfaceKind::plane;
    /// A bounded surface whose limits hold the feet of a grid of the given surface's points.
    t_SmartPtr<ERAnyBoundedSurface> surface;
    /// No point of the given surface is farther from the unlimited plane, cylinder, cone (both
    /// sides), sphere or torus (with the part beyond its axis if it crosses that) than this: at
    /// most the tolerance.
    double deviation = 0.0;
    /// Whether dP/du ^ dP/dv of the given surface points to the same side as that of `surface`,
    /// taken from the true derivatives.
    bool same_side = true;
};

/// The first of plane, cylinder, sphere, cone and torus that stays within the tolerance, a length,
/// of a NURBS or Bezier surface or surface of revolution; parts of them too. Nothing if none does,
/// and for prepared surfaces without patches.
///
/// The shapes are estimated from points and normals of a grid: the normals of a cylinder are
/// perpendicular to its axis, those of a cone at one angle to it, those of a sphere meet in its
/// centre, and those of a torus meet its axis, which is the line of least squares of a linear
/// complex (Pottmann and Wallner, Computational Line Geometry, 2001, chapter 4). Gauss-Newton's
/// steps on the distances follow. The deviation is proved by the Bernstein coefficients of F, the
/// shape's implicit equation composed with each patch, halved where they are largest: of a cylinder
/// of the radius r, F = d^2 - r^2 with d the distance from the axis, so |d - r| is at most r -
/// sqrt(r^2 - max |F|) or sqrt(r^2 + max |F|) - r; the others likewise.
VELM_API std::optional<RecognizedSurface> recognize(const PreparedSurface& surface,
                                                    double tolerance);

} // namespace velm
