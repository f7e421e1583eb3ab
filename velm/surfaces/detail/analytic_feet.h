// velm::detail: the feet of a point on a plane, cylinder, cone, sphere or torus in closed form.
#pragma once

#include "velm/surfaces/detail/surface_tables.h"
#include "velm/surfaces/surface_projector.h"

#include <array>
#include <optional>

namespace velm::detail {

/// A place where the distance of a point can have a minimum within the limits: where the offset is
/// along the normal, where it is at right angles to a limit, or a corner.
struct AnalyticPlace {
    double u, v;
    bool free_u, free_v;  ///< stationary along U, along V; else at a limit
    double from_query[3]; ///< in the surface's frame
    double squared;
};

/// All of them: at most four in the interior, two on each side, and the corners. Where an angle is
/// undetermined, as on the axis, the start of its limits is taken.
class AnalyticFeet {
public:
    AnalyticFeet(const SurfaceTables& tables, const ERPoint3D& p);

    int count() const { return count_; }
    const AnalyticPlace& operator[](int i) const { return places_[static_cast<std::size_t>(i)]; }
    const AnalyticPlace& nearest() const;

private:
    void interior();
    void side_u(double u);
    void side_v(double v);
    /// Angles are brought between the limits; nothing if that isn't possible.
    void add(double u, double v, bool free_u, bool free_v);
    double direction(double x, double y, const ERLimites& limits) const;

    const SurfaceTables& tables_;
    double x_, y_, z_; ///< the point in the frame
    double axis_;      ///< its distance from the axis
    int count_ = 0;
    std::array<AnalyticPlace, 16> places_;
};

/// The surface as patches with parameters of their own; nothing for limits wider than a turn.
std::optional<PreparedSurface> patches_of(const SurfaceTables& tables);

/// The patches of the part between these limits, with the parameters of the surface.
PreparedSurface angular_patches_of(const SurfaceTables& tables, const ERLimites& u,
                                   const ERLimites& v);

} // namespace velm::detail
