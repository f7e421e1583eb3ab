// velm::prepare of surfaces.
#include "velm/surfaces/bezier_surface.h"
#include "velm/surfaces/bounded_plane.h"
#include "velm/surfaces/cone.h"
#include "velm/surfaces/cylinder.h"
#include "velm/surfaces/detail/kernel_loading.h"
#include "velm/surfaces/detail/surface_tables.h"
#include "velm/surfaces/nurbs_surface.h"
#include "velm/surfaces/sphere.h"
#include "velm/surfaces/torus.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace velm {

using detail::AlignedPole;
using detail::Axis;
using detail::SurfaceTables;

namespace {

constexpr int highest_degree = 64;

bool is_proper(const ERLimites& limits) {
    return std::isfinite(limits.start()) && std::isfinite(limits.end()) &&
           limits.start() < limits.end();
}

ERMatrix<ERPole3DH> weighted(const ERMatrix<ERPole3DH>& poles) { return poles; }
ERMatrix<ERPole3DH> weighted(const ERMatrix<ERPoint3D>& poles) {
    ERMatrix<ERPole3DH> result = ERMatrix<ERPole3DH>::unfilled(poles.rows(), poles.columns());
    std::transform(poles.view().begin(), poles.view().end(), result.writable().begin(),
                   [](const ERPoint3D& p) { return ERPole3DH(p, 1.0); });
    return result;
}

std::vector<double> list(const ERVec<double>& values) {
    return {values.view().begin(), values.view().end()};
}

// Patches side by side in one matrix as tables. Null unless all is finite and weights positive.
std::shared_ptr<SurfaceTables> tables_of(const ERMatrix<ERPole3DH>& pieces, int degree_u,
                                         int degree_v, const ERVec<double>& ends_u,
                                         const ERVec<double>& ends_v) {
    if (degree_u < 1 || degree_v < 1 || std::max(degree_u, degree_v) > highest_degree) return {};
    const auto is_good = [](const ERPole3DH& p) {
        const ERPoint3D point = p.castToPoint();
        return p.weigth() > 0.0 && std::isfinite(p.weigth()) && std::isfinite(point.x()) &&
               std::isfinite(point.y()) && std::isfinite(point.z());
    };
    const auto view = pieces.view();
    if (view.empty() || !std::all_of(view.begin(), view.end(), is_good)) return {};
    auto tables = std::make_shared<SurfaceTables>();
    tables->degree_u = degree_u;
    tables->degree_v = degree_v;
    tables->ends_u = list(ends_u);
    tables->ends_v = list(ends_v);
    tables->u = ERLimites(tables->ends_u.front(), tables->ends_u.back());
    tables->v = ERLimites(tables->ends_v.front(), tables->ends_v.back());
    tables->poles.reserve(view.size());
    for (int j = 0; j < tables->patches_v(); ++j)
        for (int i = 0; i < tables->patches_u(); ++i) {
            ERMinimax3D box;
            for (int row = 0; row <= degree_v; ++row)
                for (int column = 0; column <= degree_u; ++column) {
                    const ERPole3DH& p =
                        pieces(j * (degree_v + 1) + row, i * (degree_u + 1) + column);
                    tables->poles.push_back({{p.x_, p.y_, p.z_, p.weight}});
                    tables->rational = tables->rational || p.weight != 1.0;
                    box.Update(p.castToPoint());
                }
            tables->boxes.push_back(box);
            tables->box.Update(box);
        }
    return tables;
}

std::shared_ptr<SurfaceTables> nurbs_tables(const ERSpoleNURBS3D& surface) {
    ERSpoleNURBS3D part(surface);
    part.adjust();
    if (part.isValid() == 0) return {};
    ERVec<double> ends_u, ends_v;
    const auto along_u = bezier_pieces(part.poles(), part.knotVectorU(), Axis::u, ends_u);
    const auto pieces = bezier_pieces(along_u, part.knotVectorV(), Axis::v, ends_v);
    auto tables = tables_of(pieces, part.degreeU(), part.degreeV(), ends_u, ends_v);
    if (tables) detail::load(tables->spline, part.poles(), part.knotVectorU(), part.knotVectorV());
    return tables;
}

template <class Bezier>
std::shared_ptr<SurfaceTables> bezier_tables(const Bezier& surface) {
    Bezier part(surface);
    part.adjust();
    return tables_of(weighted(part.poles()), part.degreeU(), part.degreeV(),
                     {part.udeb(), part.ufin()}, {part.vdeb(), part.vfin()});
}

// A box that holds the surface: that of a box in the frame, of whole turns.
ERMinimax3D bounds_of(const detail::AnalyticShape& shape, SurfaceKind kind, const ERLimites& u,
                      const ERLimites& v) {
    const double r = std::fabs(shape.radius), small = std::fabs(shape.small_radius);
    const double far = std::max(std::fabs(u.start()), std::fabs(u.end()));
    const double out = kind == SurfaceKind::cone ? r * far : r + small;
    ERLimites x(-out, out), y(x), z(u);
    if (kind == SurfaceKind::plane) x = u, y = v, z = ERLimites(0.0, 0.0);
    if (kind == SurfaceKind::sphere) z = ERLimites(-r, r);
    if (kind == SurfaceKind::torus) z = ERLimites(-small, small);
    ERMinimax3D box;
    for (int corner = 0; corner < 8; ++corner)
        box.Update(shape.origin + shape.x * (corner & 1 ? x.end() : x.start()) +
                   shape.y * (corner & 2 ? y.end() : y.start()) +
                   shape.z * (corner & 4 ? z.end() : z.start()));
    box.Inflate(4.0 * std::numeric_limits<double>::epsilon() * box.diagonal());
    return box;
}

// An analytic surface in its frame; its box is that of whole turns.
template <class Framed>
std::shared_ptr<SurfaceTables> shape_tables(const Framed& surface, SurfaceKind kind, double radius,
                                            double small_radius = 0.0) {
    auto tables = std::make_shared<SurfaceTables>();
    const ERPmIsometrie3D& frame = surface.getMatrix();
    tables->kind = kind;
    tables->u = surface.getBoundU();
    tables->v = surface.getBoundV();
    tables->shape = {frame.origine(),
                     frame.getVector(Coord3D_X),
                     frame.getVector(Coord3D_Y),
                     frame.getVector(Coord3D_Z),
                     radius,
                     small_radius};
    tables->box = bounds_of(tables->shape, kind, tables->u, tables->v);
    return tables->box.diagonal() < std::numeric_limits<double>::infinity() ? tables : nullptr;
}

std::shared_ptr<SurfaceTables> analytic_tables(const ERAnyBoundedSurface& surface) {
    if (const auto* const plane = ERBoundedPlane::castdown(&surface))
        return shape_tables(*plane, SurfaceKind::plane, 0.0);
    if (const auto* const cylinder = ERBoundedCylinder::castdown(&surface))
        return shape_tables(*cylinder, SurfaceKind::cylinder, cylinder->radius());
    if (const auto* const cone = ERBoundedCone::castdown(&surface))
        return shape_tables(*cone, SurfaceKind::cone, std::tan(cone->demiAngle()));
    if (const auto* const sphere = ERBoundedSphere::castdown(&surface))
        return shape_tables(*sphere, SurfaceKind::sphere, sphere->radius());
    if (const auto* const torus = ERBoundedTorus::castdown(&surface))
        return shape_tables(*torus, SurfaceKind::torus, torus->radius(), torus->small_radius());
    return nullptr;
}

} // namespace

std::optional<PreparedSurface> prepare(const ERAnyBoundedSurface& surface) {
    if (!is_proper(surface.getBoundU()) || !is_proper(surface.getBoundV())) return std::nullopt;
    std::shared_ptr<SurfaceTables> tables;
    if (const auto* const nurbs = ERSpoleNURBS3D::castdown(&surface)) {
        tables = nurbs_tables(*nurbs);
    } else if (const auto* const rational = ERSpoleBezier3DR::castdown(&surface)) {
        tables = bezier_tables(*rational);
    } else if (const auto* const polynomial = ERSpoleBezier3D::castdown(&surface)) {
        tables = bezier_tables(*polynomial);
    } else {
        tables = analytic_tables(surface);
    }
    if (!tables) return std::nullopt;
    return SurfaceTables::publish(tables);
}

} // namespace velm
