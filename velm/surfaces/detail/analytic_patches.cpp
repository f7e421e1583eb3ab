// The patches of an analytic surface, for what has no closed form of its own.
#include "velm/surfaces/analytic_to_nurbs.h"
#include "velm/surfaces/bounded_plane.h"
#include "velm/surfaces/cone.h"
#include "velm/surfaces/cylinder.h"
#include "velm/surfaces/detail/analytic_feet.h"
#include "velm/surfaces/sphere.h"
#include "velm/surfaces/torus.h"
#include "velm/transforms/transformation_factories.h"

#include <cmath>

namespace velm::detail {

std::optional<PreparedSurface> patches_of(const SurfaceTables& tables) {
    const AnalyticShape& shape = tables.shape;
    const ERPmIsometrie3D frame = ERChgRepere3D(shape.x, shape.y, shape.origin);
    const ERLimites &u = tables.u, &v = tables.v;
    std::optional<ERSpoleNURBS3D> nurbs;
    switch (tables.kind) {
    case SurfaceKind::plane:
        nurbs = to_nurbs(ERBoundedPlane(frame, u, v));
        break;
    case SurfaceKind::cylinder:
        nurbs = to_nurbs(ERBoundedCylinder(frame, shape.radius, u, v));
        break;
    case SurfaceKind::cone: {
        const ERLimites height(u.start() + shape.lift, u.end() + shape.lift);
        nurbs = to_nurbs(ERBoundedCone(frame, std::atan(shape.radius), height, v));
        break;
    }
    case SurfaceKind::sphere:
        nurbs = to_nurbs(ERBoundedSphere(frame, shape.radius, u, v));
        break;
    case SurfaceKind::torus:
        nurbs = to_nurbs(ERBoundedTorus(frame, shape.radius, shape.small_radius, u.start(), u.end(),
                                        v.start(), v.end()));
        break;
    default:
        break;
    }
    if (!nurbs) return std::nullopt;
    return prepare(*nurbs);
}

} // namespace velm::detail
