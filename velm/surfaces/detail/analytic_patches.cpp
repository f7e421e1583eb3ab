// The patches of an analytic surface, for what has no closed form of its own.
#include "velm/surfaces/analytic_to_nurbs.h"
#include "velm/surfaces/bounded_plane.h"
#include "velm/surfaces/cone.h"
#include "velm/surfaces/cylinder.h"
#include "velm/surfaces/detail/analytic_feet.h"
#include "velm/surfaces/detail/turned_pole.h"
#include "velm/surfaces/sphere.h"
#include "velm/surfaces/torus.h"
#include "velm/transforms/transformation_factories.h"

#include <cmath>

namespace velm::detail {
namespace {

// A length or an angle in pieces of at most a quarter turn, as poles: t, 0, 1 or cosine, sine, 1,
// with the middle one of each arc weighted.
struct PiecesAlong {
    std::vector<double> ends;
    int degree;
    bool angular;

    PiecesAlong(const ERLimites& limits, bool angle) : degree(angle ? 2 : 1), angular(angle) {
        const int count = angle ? quarters_of(limits.amplitude()) : 1;
        for (int i = 0; i < count; ++i)
            ends.push_back(limits(double(i) / count));
        ends.push_back(limits.end());
    }
    ERVector3D pole(int piece, int i) const {
        const double low = ends[std::size_t(piece)], high = ends[std::size_t(piece) + 1];
        if (!angular) return {i == 0 ? low : high, 0.0, 1.0};
        const double at = i == 0 ? low : i == 2 ? high : 0.5 * (low + high);
        return {std::cos(at), std::sin(at), i == 1 ? std::cos(0.5 * (high - low)) : 1.0};
    }
};

// The product of the poles a of u and b of v in the surface's frame, weighted, see AnalyticShape.
AlignedPole product(const SurfaceTables& tables, const ERVector3D& a, const ERVector3D& b) {
    const double r = tables.shape.radius;
    switch (tables.kind) {
    case SurfaceKind::plane:
        return {{a.i(), b.i(), 0.0, 1.0}};
    case SurfaceKind::cylinder:
        return {{r * b.i(), r * b.j(), a.i() * b.k(), b.k()}};
    case SurfaceKind::cone: {
        const double height = a.i() + tables.shape.lift;
        return {{height * r * b.i(), height * r * b.j(), height * b.k(), b.k()}};
    }
    default: {
        const bool is_torus = tables.kind == SurfaceKind::torus;
        const double tube = is_torus ? tables.shape.small_radius : r;
        const double out = (is_torus ? r * b.k() : 0.0) + tube * b.i();
        return {{out * a.i(), out * a.j(), tube * b.j() * a.k(), a.k() * b.k()}};
    }
    }
}

} // namespace

PreparedSurface angular_patches_of(const SurfaceTables& tables, const ERLimites& u,
                                   const ERLimites& v) {
    const bool about_u = tables.kind == SurfaceKind::sphere || tables.kind == SurfaceKind::torus;
    const PiecesAlong in_u(u, about_u), in_v(v, tables.kind != SurfaceKind::plane);
    auto result = std::make_shared<SurfaceTables>();
    result->u = u, result->v = v;
    result->degree_u = in_u.degree, result->degree_v = in_v.degree;
    result->angular_u = in_u.angular, result->angular_v = in_v.angular;
    result->rational = in_u.angular || in_v.angular;
    result->ends_u = in_u.ends, result->ends_v = in_v.ends;
    const AnalyticShape& shape = tables.shape;
    for (int j = 0; j < result->patches_v(); ++j)
        for (int i = 0; i < result->patches_u(); ++i) {
            ERMinimax3D box;
            for (int row = 0; row <= in_v.degree; ++row)
                for (int column = 0; column <= in_u.degree; ++column) {
                    const AlignedPole p = product(tables, in_u.pole(i, column), in_v.pole(j, row));
                    const ERVector3D model = ERVector3D(shape.origin) * p.c[3] + shape.x * p.c[0] +
                                             shape.y * p.c[1] + shape.z * p.c[2];
                    result->poles.push_back({{model.i(), model.j(), model.k(), p.c[3]}});
                    box.Update(ERPole3DH(model.i(), model.j(), model.k(), p.c[3]).castToPoint());
                }
            result->boxes.push_back(box);
            result->box.Update(box);
        }
    return SurfaceTables::publish(std::move(result));
}

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
