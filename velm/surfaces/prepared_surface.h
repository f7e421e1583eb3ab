// velm::PreparedSurface: an immutable snapshot of a surface for evaluation: single points, batches
// and grids of points, normals, derivatives and curvatures.
//
//     const auto surface = velm::prepare(nurbs);                 // nothing if it isn't finite
//     std::vector<ERPoint3D> points(100 * 100);
//     velm::SurfaceSamples samples;
//     samples.points = points;
//     surface->grid(u, v, samples);                              // 100 values each
//
// Pole surfaces are kept as Bezier patches, four doubles a pole in aligned arrays, with the box of
// each; planes, cylinders, cones, spheres and tori as such; surfaces of revolution as the curve
// that turns, with the exact patches of the turn beside it; offset surfaces as the surface below
// them, except that those of planes, cylinders, cones, spheres and tori are such surfaces again.
// Parameters are the surface's own, and clamped to its working limits.
//
// Use from threads: nothing changes after construction and there is no cache, so any number of
// threads may ask one object without a lock. Copies share the tables. No question allocates after a
// thread's first ones.
//
// Accuracy: points and derivatives of patches as tqkNurbSurf gives them. Derivatives are the true
// ones, also on a cone, a torus and an offset surface, and normals have the side of dP/du ^ dP/dv.
// An offset surface moves along the limit of the base's normal where its tangents vanish; there its
// derivatives are those at a place 1e-4 of the way to the middle of the limits.
#pragma once

#include "velm/export.h"
#include "velm/frame/box.h"
#include "velm/frame/interval.h"
#include "velm/frame/point.h"
#include "velm/frame/vector.h"
#include "velm/surfaces/surface_point.h"

#include <algorithm>
#include <cmath>
#include <memory>
#include <optional>
#include <span>

class ERAnyBoundedSurface;

namespace velm {

namespace detail {
struct SurfaceTables;
}

enum class SurfaceKind {
    plane,
    cylinder,
    cone,
    sphere,
    torus,
    patches,
    revolution, ///< has patches too, whose V is an angle
    offset,     ///< has a base
};

/// A point with its derivatives.
struct SurfaceJet {
    ERPoint3D point;
    ERVector3D du, dv, duu, duv, dvv;
};

/// Where results go; each is empty, for what isn't wanted, or as long as there are places.
struct SurfaceSamples {
    std::span<ERPoint3D> points;
    std::span<ERVector3D> normals; ///< unit; limits where tangents vanish, see velm::limit_normal
    std::span<ERVector3D> du, dv, duu, duv, dvv;
    std::span<PrincipalCurvatures> curvatures;
};

/// A Bezier patch of a prepared surface.
struct SurfacePatch {
    /// Rows along U: weighted coordinates and weight, all weights positive.
    std::span<const double> poles;
    int degree_u = 0, degree_v = 0;
    bool rational = false; ///< false: all weights are 1
    ERLimites u, v;
    ERMinimax3D box; ///< of the poles as points
    /// Of a surface of revolution: the parameter is not proportional to the patch's own in [0, 1].
    /// It is the angle on a circle or ellipse, the tangent of half of it from the middle of `v` (or
    /// `u`) being proportional to the patch's own from its middle. True along V of all, and along U
    /// where the generatrix is an arc.
    bool angular_u = false, angular_v = false;

    /// The surface's parameter of the patch's own.
    double u_at(double x) const { return parameter(u, angular_u, x); }
    double v_at(double y) const { return parameter(v, angular_v, y); }

private:
    static double parameter(const ERLimites& limits, bool angular, double x) {
        if (!angular) return limits(x);
        const double half = 0.5 * limits.amplitude();
        const double t = limits(0.5) + 2.0 * std::atan((2.0 * x - 1.0) * std::tan(0.5 * half));
        return std::clamp(t, limits.start(), limits.end());
    }
};

class VELM_API PreparedSurface {
public:
    SurfaceKind kind() const;
    /// The working limits.
    ERLimites domain_u() const;
    ERLimites domain_v() const;
    /// Holds the surface.
    ERMinimax3D box() const;

    /// The signed distance from the base along its dP/du ^ dP/dv, and the base, of an offset
    /// surface; 0 and nothing of others.
    double offset() const;
    std::optional<PreparedSurface> base() const;

    /// The numbers of patches along U and V, 0 without patches; a patch by its place.
    int patches_u() const;
    int patches_v() const;
    SurfacePatch patch(int i_u, int i_v) const;

    ERPoint3D operator()(double u, double v) const;
    SurfaceJet jet(double u, double v) const;
    ERVector3D normal(double u, double v) const;

    /// At many places.
    void evaluate(std::span<const ERPoint2D> parameters, const SurfaceSamples& samples) const;
    /// At all pairs: result k n + i belongs to v[k] and u[i], with n the number of u. Quickest with
    /// both in ascending order.
    void grid(std::span<const double> u, std::span<const double> v,
              const SurfaceSamples& samples) const;

private:
    friend struct detail::SurfaceTables;
    explicit PreparedSurface(std::shared_ptr<const detail::SurfaceTables> tables);

    std::shared_ptr<const detail::SurfaceTables> tables_;
};

/// The prepared surface of a plane, cylinder, cone, sphere, torus, Bezier or NURBS surface, surface
/// of revolution or offset surface, between its working limits. Nothing for other classes, for
/// values that aren't finite, limits without extent, weights that aren't positive, degrees
/// above 64, and planes, cylinders, cones, spheres and tori whose frame is not orthonormal to
/// 1e-12. Of surfaces of revolution nothing for a turn of more than 2 pi, a curve on the axis, and
/// a curve whose prepared form (see curves/prepare.h) has other parameters than it has itself, as a
/// composite's may; of offset surfaces nothing for a base that can't be prepared, and for a radius
/// that the offset takes to 0 or beyond.
VELM_API std::optional<PreparedSurface> prepare(const ERAnyBoundedSurface& surface);

} // namespace velm
