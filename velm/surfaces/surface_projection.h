// SeedProjection, NewtonProjection, AcceptProjection, SimplexProjection, RetryProjection,
// ReajustAtSeam: the steps by which ProjectionNormale of the pole surfaces and of the surfaces of
// revolution finds the foot of a perpendicular.
//
//     ERPoint2D parameter;
//     ERPoint3D foot = p;
//     if (SeedProjection(surface, p, 5.0, parameter) && ReajustAtSeam(surface, foot, parameter, 1))
//         use(foot, parameter);
//
// All return 1 or 0. They give a foot, not the nearest point: a foot inside the limits is believed
// whether it is a minimum, a saddle or a maximum of the distance, the nearest point of an edge is a
// foot only if p lies on its normal, and on a waved surface the foot may be a farther one. See
// docs/behaviour.md for how often; velm::SurfaceProjector gives nearest points with certainty.
// Lengths such as 1e-5 and 0.2 are absolute: the steps are made for millimetres.
#pragma once

#include "velm/export.h"
#include "velm/frame/point.h"
#include "velm/fwd.h"

class ERAnyBoundedSurface;
class ERSpoleRep;
class ERSurOfRevolution;

/// A start for the others: the point of an inner grid of the surface that is nearest to p, with
/// `parameter` its parameter. 0, with `parameter` unchanged, if the surface's box, 0.2 wider, is
/// farther than `distance` in some coordinate, and without points to compare.
///
/// The grid has 4 points per degree and span, but 10 to 80 in each direction; its border is left
/// out, and the first of equally near points is taken, along U first. Then the start gives way to
/// the one of 20 x 20 places around it, half a grid step far, that is nearest to the LAST inner
/// grid point, if one of them is nearer to that than p is to the start. Part of the contract: it
/// only does something where p is far from the surface or near its far corner.
///
/// The surface keeps grid and places until it changes.
VELM_API int SeedProjection(const ERSpoleRep& surface, const ERPoint3D& p, double distance,
                            ERPoint2D& parameter);
/// With the numbers of the surface's NURBS form, which is made at each call; the grid is kept while
/// that stays the same.
VELM_API int SeedProjection(const ERSurOfRevolution& surface, const ERPoint3D& p, double distance,
                            ERPoint2D& parameter);

/// Newton's method from a parameter for D = P - p perpendicular to both tangents, by
/// ERNewtonMSolver's rules: 10 steps, each unknown clamped to the limits on its own, residuals
/// against 1e-10 (of squared length; or times 1 / L, L the diagonal of the box, where that is
/// more). `parameter` takes the last place. Returns 1, with the point in p, for the codes 0 and 1,
/// and for 2 with a residual or sine below 1e-5.
///
/// `criterion` is the sine of the angle between D and the normal, 0 for |D| below 1e-5; unchanged
/// on failure. `singular` is get_stable_normal's at the last place.
VELM_API int NewtonProjection(const ERAnyBoundedSurface& surface, ERPoint3D& p,
                              ERPoint2D& parameter, double& criterion, int& singular);

/// Whether the parameter is in the closed limits and either 2^-23 inside them, regardless of the
/// criterion, or has a criterion up to the tolerance.
VELM_API int AcceptProjection(const ERAnyBoundedSurface& surface, const ERPoint2D& parameter,
                              double criterion, double tolerance);

/// The least squared distance of p from the surface's normal, by ERDownhillSimplex from a
/// parameter, which takes the best place. Returns 1, with the point in p, if it is below 1e-5 and,
/// with inBound, the parameter in the limits.
VELM_API int SimplexProjection(const ERAnyBoundedSurface& surface, ERPoint3D& p,
                               ERPoint2D& parameter, int inBound);

/// NewtonProjection, accepted at 1e-5; where that fails and the normal was singular, up to eight
/// runs of SimplexProjection, from thirds of the limits of U and V in turn, the first that succeeds
/// accepted at 1e-3. Returns 1 with the point in p, else 0 with p unchanged and `parameter` where
/// the last attempt left it.
VELM_API int RetryProjection(const ERAnyBoundedSurface& surface, ERPoint3D& p, ERPoint2D& parameter,
                             int inBound);

/// RetryProjection; where that ends at a limit whose other side is no farther from p (within 1e-5),
/// again from there: so a foot beside the seam of a closed surface is found. First across U, then
/// across V. On failure both p and `parameter` are as they were.
VELM_API int ReajustAtSeam(const ERAnyBoundedSurface& surface, ERPoint3D& p, ERPoint2D& parameter,
                           int inBound);
