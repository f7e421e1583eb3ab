// velm::detail::SurfaceTables: what a prepared surface consists of.
#pragma once

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
///     cone      (u S cos v, u S sin v, u), S the slope
///     sphere    (R cos v cos u, R cos v sin u, R sin v)
///     torus     ((R + r cos v) cos u, (R + r cos v) sin u, r sin v)
struct AnalyticShape {
    ERPoint3D origin;
    ERVector3D x, y, z;
    double radius = 0.0;       ///< R; the slope of a cone
    double small_radius = 0.0; ///< r
};

struct SurfaceTables {
    SurfaceKind kind = SurfaceKind::patches;
    ERLimites u, v;
    ERMinimax3D box;
    AnalyticShape shape;

    int degree_u = 0, degree_v = 0;
    bool rational = false;
    std::vector<double> ends_u, ends_v; ///< the parameters between which the patches are
    tqkNurbSurf spline; ///< complete on a NURBS surface: fewer poles than the patches have
    std::vector<AlignedPole> poles; ///< patch by patch, those along U first, rows along U
    std::vector<ERMinimax3D> boxes;

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
};

} // namespace velm::detail
