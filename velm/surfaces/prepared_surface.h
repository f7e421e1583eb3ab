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
// each; planes, cylinders, cones, spheres and tori as such. Parameters are the surface's own, and
// clamped to its working limits.
//
// Use from threads: nothing changes after construction and there is no cache, so any number of
// threads may ask one object without a lock. Copies share the tables. No question allocates after a
// thread's first ones.
//
// Accuracy: points and derivatives of patches as tqkNurbSurf gives them. Derivatives are the true
// ones, also on a cone and a torus, and normals have the side of dP/du ^ dP/dv.
#pragma once

#include "velm/export.h"
#include "velm/frame/box.h"
#include "velm/frame/interval.h"
#include "velm/frame/point.h"
#include "velm/frame/vector.h"
#include "velm/surfaces/surface_point.h"

#include <memory>
#include <optional>
#include <span>

class ERAnyBoundedSurface;

namespace velm {

namespace detail {
struct SurfaceTables;
}

enum class SurfaceKind { plane, cylinder, cone, sphere, torus, patches };

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
};

class VELM_API PreparedSurface {
public:
    SurfaceKind kind() const;
    /// The working limits.
    ERLimites domain_u() const;
    ERLimites domain_v() const;
    /// Holds the surface.
    ERMinimax3D box() const;

    /// The numbers of patches along U and V, 0 of an analytic surface; a patch by its place.
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

/// The prepared surface of a plane, cylinder, cone, sphere, torus, Bezier or NURBS surface, between
/// its working limits. Nothing for other classes, for values that aren't finite, limits without
/// extent, weights that aren't positive, and degrees above 64.
VELM_API std::optional<PreparedSurface> prepare(const ERAnyBoundedSurface& surface);

} // namespace velm
