// velm::detail::SurfaceTables: what a prepared surface consists of.
#pragma once

#include "velm/curves/prepared_curve.h"
#include "velm/platform/nurbs_kernel.h"
#include "velm/surfaces/prepared_surface.h"

#include <algorithm>
#include <utility>
#include <vector>

namespace velm::detail {

/// An aligned pole: weighted coordinates and weight.
struct alignas(32) AlignedPole {
    double c[4];
};

/// A plane, cylinder, cone, sphere or torus in its frame: with the local parametrisations
///     plane     (u, v, 0)
///     cylinder  (R cos v, R sin v, u)
///     cone      (h S cos v, h S sin v, h), S the slope, h = u + the lift
///     sphere    (R cos v cos u, R cos v sin u, R sin v)
///     torus     ((R + r cos v) cos u, (R + r cos v) sin u, r sin v)
/// Of a surface of revolution the frame alone, its axis being z.
struct AnalyticShape {
    ERPoint3D origin;
    ERVector3D x, y, z;
    double radius = 0.0;       ///< R; the slope of a cone
    double small_radius = 0.0; ///< r
    double lift = 0.0;         ///< on a cone: the offset surface of a cone has its u from before
};

/// An order of continuity that is enough for everything.
inline constexpr int every_order = 1000;

/// Which of two patches that meet at a parameter is meant.
struct SurfaceSide {
    bool below_u = false, below_v = false;
};

/// The interval of ascending ends that holds t.
inline int interval_of(const std::vector<double>& ends, double t, bool below = false) {
    const auto first = ends.begin() + 1, last = ends.end() - 1;
    const auto above = below ? std::lower_bound(first, last, t) : std::upper_bound(first, last, t);
    return static_cast<int>(above - ends.begin()) - 1;
}

struct SurfaceTables {
    SurfaceKind kind = SurfaceKind::patches;
    ERLimites u, v;
    ERMinimax3D box;
    AnalyticShape shape;

    int degree_u = 0, degree_v = 0;
    bool rational = false;
    std::vector<double> ends_u, ends_v;        ///< the parameters between which the patches are
    bool angular_u = false, angular_v = false; ///< see SurfacePatch
    /// Of each inner end: the order of the derivatives that are known to be continuous there, -1
    /// for none, not even the points.
    std::vector<int> continuous_u, continuous_v;
    tqkNurbSurf spline; ///< complete on a NURBS surface: fewer poles than the patches have
    std::vector<AlignedPole> poles; ///< patch by patch, those along U first, rows along U
    std::vector<ERMinimax3D> boxes;

    std::optional<PreparedCurve<3>> generatrix; ///< of a surface of revolution, in its frame
    bool meridian = false; ///< the generatrix is in the half plane of x >= 0 and y = 0
    std::shared_ptr<const SurfaceTables> base; ///< of an offset surface
    double offset = 0.0;

    int patches_u() const { return ends_u.empty() ? 0 : static_cast<int>(ends_u.size()) - 1; }
    int patches_v() const { return ends_v.empty() ? 0 : static_cast<int>(ends_v.size()) - 1; }
    /// A NaN gives the start.
    double clamped_u(double t) const { return t > u.start() ? std::min(t, u.end()) : u.start(); }
    double clamped_v(double t) const { return t > v.start() ? std::min(t, v.end()) : v.start(); }
    std::size_t poles_of_patch() const {
        return (std::size_t(degree_u) + 1) * (std::size_t(degree_v) + 1);
    }
    const double* patch(int i_u, int i_v) const {
        const auto at = std::size_t(i_v) * std::size_t(patches_u()) + std::size_t(i_u);
        return poles[at * poles_of_patch()].c;
    }

    static PreparedSurface publish(std::shared_ptr<const SurfaceTables> tables) {
        return PreparedSurface(std::move(tables));
    }
    static const SurfaceTables& of(const PreparedSurface& surface) { return *surface.tables_; }
};

} // namespace velm::detail
