// velm::prepare of surfaces.
#include "velm/curves/detail/prepared_pieces.h"
#include "velm/curves/prepare.h"
#include "velm/surfaces/bezier_surface.h"
#include "velm/surfaces/bounded_plane.h"
#include "velm/surfaces/cone.h"
#include "velm/surfaces/cylinder.h"
#include "velm/surfaces/detail/kernel_loading.h"
#include "velm/surfaces/detail/surface_tables.h"
#include "velm/surfaces/detail/turned_pole.h"
#include "velm/surfaces/nurbs_surface.h"
#include "velm/surfaces/offset_surface.h"
#include "velm/surfaces/revolution_surface.h"
#include "velm/surfaces/sphere.h"
#include "velm/surfaces/torus.h"
#include "velm/transforms/transformation_factories.h"

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

// Fills in the poles and boxes of all patches; pole(i, j, column, row) is that of a patch.
template <class PoleAt>
void add_patches(SurfaceTables& tables, PoleAt pole_at) {
    tables.poles.reserve(std::size_t(tables.patches_u()) * std::size_t(tables.patches_v()) *
                         tables.poles_of_patch());
    for (int j = 0; j < tables.patches_v(); ++j)
        for (int i = 0; i < tables.patches_u(); ++i) {
            ERMinimax3D box;
            for (int row = 0; row <= tables.degree_v; ++row)
                for (int column = 0; column <= tables.degree_u; ++column) {
                    const ERPole3DH& p = pole_at(i, j, column, row);
                    tables.poles.push_back({{p.x_, p.y_, p.z_, p.weight}});
                    tables.rational = tables.rational || p.weight != 1.0;
                    box.Update(p.castToPoint());
                }
            tables.boxes.push_back(box);
            tables.box.Update(box);
        }
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
    tables->continuous_u.assign(tables->ends_u.size() - 2, 0);
    tables->continuous_v.assign(tables->ends_v.size() - 2, 0);
    add_patches(*tables, [&](int i, int j, int column, int row) -> const ERPole3DH& {
        return pieces(j * (degree_v + 1) + row, i * (degree_u + 1) + column);
    });
    return tables;
}

// The degree less the number of times that the knot occurs.
std::vector<int> continuity(const ERKnotVector& knots, const std::vector<double>& ends) {
    std::vector<int> orders;
    const auto all = knots.getVec().view();
    for (std::size_t k = 1; k + 1 < ends.size(); ++k)
        orders.push_back(knots.degree() -
                         static_cast<int>(std::count(all.begin(), all.end(), ends[k])));
    return orders;
}

std::shared_ptr<SurfaceTables> nurbs_tables(const ERSpoleNURBS3D& surface) {
    ERSpoleNURBS3D part(surface);
    part.adjust();
    if (part.isValid() == 0) return {};
    ERVec<double> ends_u, ends_v;
    const auto along_u = bezier_pieces(part.poles(), part.knotVectorU(), Axis::u, ends_u);
    const auto pieces = bezier_pieces(along_u, part.knotVectorV(), Axis::v, ends_v);
    auto tables = tables_of(pieces, part.degreeU(), part.degreeV(), ends_u, ends_v);
    if (!tables) return {};
    detail::load(tables->spline, part.poles(), part.knotVectorU(), part.knotVectorV());
    tables->continuous_u = continuity(part.knotVectorU(), tables->ends_u);
    tables->continuous_v = continuity(part.knotVectorV(), tables->ends_v);
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
ERMinimax3D bounds_of(const SurfaceTables& tables) {
    const detail::AnalyticShape& shape = tables.shape;
    const SurfaceKind kind = tables.kind;
    const double r = std::fabs(shape.radius), small = std::fabs(shape.small_radius);
    const ERLimites u(tables.u.start() + shape.lift, tables.u.end() + shape.lift);
    const double far = std::max(std::fabs(u.start()), std::fabs(u.end()));
    const double out = kind == SurfaceKind::cone ? r * far : r + small;
    ERLimites x(-out, out), y(x), z(u);
    if (kind == SurfaceKind::plane) x = u, y = tables.v, z = ERLimites(0.0, 0.0);
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

// Whether the axes are unit vectors at right angles: an analytic surface in another frame, as of a
// damaged record, is no such surface, and the distances of its closed forms are off by as much of
// its size.
bool is_orthonormal(const detail::AnalyticShape& shape) {
    constexpr double rounding = 1e-12;
    const ERVector3D* const axes[] = {&shape.x, &shape.y, &shape.z};
    for (int i = 0; i < 3; ++i)
        for (int j = 0; j <= i; ++j)
            if (!(std::fabs(*axes[i] * *axes[j] - (i == j ? 1.0 : 0.0)) <= rounding)) return false;
    return true;
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
    if (!is_orthonormal(tables->shape)) return nullptr;
    tables->box = bounds_of(*tables);
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

// The homogeneous poles of a piece of a curve as they are in space.
std::vector<ERPole3DH> pole_list(const PreparedCurve<3>& curve, int piece) {
    const CurvePiece<3> given = curve.piece(piece);
    std::vector<ERPole3DH> poles;
    if (curve.tables()[piece].angular) {
        // A conic about the point plus its second derivative: the middle pole is where the tangents
        // at the ends meet.
        const double cosine = std::cos(0.5 * given.parameters.amplitude());
        const ERInfoPoint3DWF middle = curve.point_at(given.parameters(0.5));
        const ERPoint3D centre = middle.point() + middle.second_derivative();
        return {ERPole3DH(curve(given.parameters.start()), 1.0),
                ERPole3DH(centre * cosine - middle.second_derivative(), cosine),
                ERPole3DH(curve(given.parameters.end()), 1.0)};
    }
    for (std::size_t k = 0; k < given.poles.size(); k += 4) {
        const double w = given.poles[k + 3];
        poles.emplace_back(given.poles[k] + given.origin.x() * w,
                           given.poles[k + 1] + given.origin.y() * w,
                           given.poles[k + 2] + given.origin.z() * w, w);
    }
    return poles;
}

// Whether both curves have the same points at the same parameters.
bool same_parameters(const PreparedCurve<3>& curve, ERFiniteEntity3DWF& entity) {
    constexpr int places = 40;
    const double allowed = 1e-9 * curve.size();
    for (int k = 0; k <= places; ++k) {
        const double t = entity.getBound()(double(k) / places);
        if (!(ERVector3D(curve(t), entity(t)).norme() <= allowed)) return false;
    }
    return true;
}

// The order of continuity at the joint before the piece, except for rounding: 1 at most, on arcs
// any.
int continuity(const PreparedCurve<3>& curve, int piece) {
    constexpr double rounding = 1e-12;
    if (curve.tables()[piece].angular) return detail::every_order;
    const auto before = curve.point_at(CurvePlace{0.0, piece - 1, 1.0});
    const auto after = curve.point_at(CurvePlace{0.0, piece, 0.0});
    if (ERVector3D(before.point(), after.point()).norme() > rounding * curve.size()) return -1;
    const double jump = (before.tangente() - after.tangente()).norme();
    return jump <= rounding * before.tangente().norme() ? 1 : 0;
}

// Whether the curve is in the half plane x >= 0 of y = 0, except for rounding: also of coordinates
// that were so far away.
bool is_meridian(const PreparedCurve<3>& curve, double far) {
    const double rounding = 1e-13 * curve.size() + 0x1p-49 * far;
    for (int i = 0; i < curve.pieces(); ++i)
        for (const ERPole3DH& pole : pole_list(curve, i)) {
            const ERPoint3D p = pole.castToPoint();
            if (!(p.x() >= -rounding && std::fabs(p.y()) <= rounding)) return false;
        }
    return true;
}

// The exact patches of a turned curve.
void add_turned_patches(SurfaceTables& tables, const ERInfLine3D& axis) {
    const PreparedCurve<3>& curve = *tables.generatrix;
    const int pieces = detail::quarters_of(tables.v.amplitude());
    tables.degree_u = curve.piece(0).degree;
    tables.degree_v = 2;
    tables.angular_u = curve.tables()[0].angular;
    tables.angular_v = true;
    tables.ends_u.push_back(tables.u.start());
    std::vector<std::vector<ERPole3DH>> rows;
    for (int i = 0; i < curve.pieces(); ++i) {
        tables.ends_u.push_back(curve.piece(i).parameters.end());
        if (i > 0) tables.continuous_u.push_back(continuity(curve, i));
        rows.push_back(pole_list(curve, i));
        for (ERPole3DH& pole : rows.back()) {
            const detail::AnalyticShape& frame = tables.shape;
            const ERVector3D p = ERVector3D(frame.origin) * pole.weight + frame.x * pole.x() +
                                 frame.y * pole.y() + frame.z * pole.z();
            pole = ERPole3DH(p.i(), p.j(), p.k(), pole.weight);
        }
    }
    for (int j = 0; j <= pieces; ++j)
        tables.ends_v.push_back(tables.v(double(j) / pieces));
    tables.continuous_v.assign(std::size_t(pieces) - 1, detail::every_order);
    const double half_piece = 0.5 * tables.v.amplitude() / pieces;
    add_patches(tables, [&](int i, int j, int column, int row) {
        return detail::turned_pole(rows[std::size_t(i)][std::size_t(column)], axis,
                                   tables.v.start() + (2 * j + row) * half_piece,
                                   row == 1 ? std::cos(half_piece) : 1.0);
    });
}

// Of some points of the generatrix the one furthest from the axis, with the axis as z: directions
// from the axis to points beside it have few digits.
ERPmIsometrie3D frame_of(const ERSurOfRevolution& surface) {
    constexpr int steps = 16;
    const ERInfLine3D& axis = surface.axe();
    ERPoint3D foot;
    ERVector3D arm;
    for (int k = 0; k <= steps; ++k) {
        const ERPoint3D at = (*surface.generatrix())(surface.getBoundU()(double(k) / steps));
        const ERPoint3D on_axis = axis.projectPt(at);
        const ERVector3D next(on_axis, at);
        if (next.norme2() > arm.norme2()) arm = next, foot = on_axis;
    }
    const ERVector3D& z = axis.dirVector();
    const ERVector3D y = z ^ arm;
    return ERChgRepere3D(y ^ z, y, foot);
}

std::shared_ptr<SurfaceTables> revolution_tables(const ERSurOfRevolution& surface) {
    ERPoint3D off_axis, foot;
    double t = 0.0;
    const ERInfLine3D& axis = surface.axe();
    if (!surface.generatrix() || !(axis.dirVector().norme2() > 0.0) ||
        !detail::is_turn(surface.vdeb(), surface.vfin()) ||
        !surface.getOnePointOfTheGeneratrixNotOnTheAxis(off_axis, t, foot))
        return {};
    const ERPmIsometrie3D frame = frame_of(surface);
    const t_SmartPtr<ERFiniteEntity3DWF> local(
        ERFiniteEntity3DWF::castdown(surface.generatrix()->getCopy()));
    local->transformTo(frame);
    auto tables = std::make_shared<SurfaceTables>();
    tables->generatrix = prepare(*local);
    if (!tables->generatrix || !same_parameters(*tables->generatrix, *local)) return {};
    const PreparedCurve<3>& curve = *tables->generatrix;
    for (int i = 1; i < curve.pieces(); ++i)
        if (curve.piece(i).degree != curve.piece(0).degree) return {};
    tables->kind = SurfaceKind::revolution;
    tables->u = curve.domain();
    tables->v = surface.getBoundV();
    tables->shape.origin = frame.origine();
    tables->shape.x = frame.getVector(Coord3D_X);
    tables->shape.y = frame.getVector(Coord3D_Y);
    tables->shape.z = frame.getVector(Coord3D_Z);
    tables->meridian = is_meridian(curve, ERVector3D(frame.origine()).norme());
    add_turned_patches(*tables, axis);
    return tables;
}

// Moves a plane, cylinder, cone, sphere or torus along the normal of its PtCur, which is dP/du ^
// dP/dv on planes and spheres, against it on tori, and on cylinders and cones the side of the axis.
// Whether that is such a surface.
bool move_shape(SurfaceTables& tables, double offset) {
    detail::AnalyticShape& shape = tables.shape;
    switch (tables.kind) {
    case SurfaceKind::plane:
        shape.origin += ERPoint3D(shape.z * offset);
        return true;
    case SurfaceKind::sphere:
        shape.radius += offset;
        return shape.radius > 0.0;
    case SurfaceKind::cylinder:
        shape.radius -= offset;
        return shape.radius > 0.0;
    case SurfaceKind::torus:
        shape.small_radius -= offset;
        return shape.small_radius > 0.0;
    case SurfaceKind::cone: {
        // Each generator moves by `offset` across: the apex by offset / sin, and the foot of a
        // point by offset sin along the axis, so that its height above the new apex is less by the
        // difference, offset cos^2 / sin. With the slope S = sin / cos.
        const double sine = std::fabs(shape.radius) / std::sqrt(1.0 + shape.radius * shape.radius);
        shape.origin += ERPoint3D(shape.z * (offset / sine));
        shape.lift += offset * sine - offset / sine;
        return shape.radius != 0.0;
    }
    default:
        return false;
    }
}

std::shared_ptr<SurfaceTables> tables_for(const ERAnyBoundedSurface& surface, int depth);

std::shared_ptr<SurfaceTables> offset_tables(const EROffsetSurface& surface, int depth) {
    constexpr int most_bases = 64;
    if (!surface.base() || depth > most_bases || !std::isfinite(surface.getOffset())) return {};
    std::shared_ptr<SurfaceTables> tables = tables_for(*surface.base(), depth + 1);
    if (!tables) return {};
    if (tables->kind == SurfaceKind::offset) {
        tables->offset += surface.getOffset(); // along the same normals
    } else if (tables->poles.empty()) {
        if (!move_shape(*tables, surface.getOffset())) return {};
    } else {
        auto moved = std::make_shared<SurfaceTables>();
        moved->kind = SurfaceKind::offset;
        moved->u = tables->u;
        moved->v = tables->v;
        moved->offset = surface.getOffset();
        moved->base = std::move(tables);
        tables = std::move(moved);
    }
    if (tables->base) {
        tables->box = tables->base->box;
        tables->box.Inflate(std::fabs(tables->offset));
    } else {
        tables->box = bounds_of(*tables);
    }
    return tables;
}

std::shared_ptr<SurfaceTables> tables_for(const ERAnyBoundedSurface& surface, int depth) {
    if (!is_proper(surface.getBoundU()) || !is_proper(surface.getBoundV())) return {};
    if (const auto* const nurbs = ERSpoleNURBS3D::castdown(&surface)) return nurbs_tables(*nurbs);
    if (const auto* const rational = ERSpoleBezier3DR::castdown(&surface))
        return bezier_tables(*rational);
    if (const auto* const polynomial = ERSpoleBezier3D::castdown(&surface))
        return bezier_tables(*polynomial);
    if (const auto* const turned = ERSurOfRevolution::castdown(&surface))
        return revolution_tables(*turned);
    if (const auto* const moved = EROffsetSurface::castdown(&surface))
        return offset_tables(*moved, depth);
    return analytic_tables(surface);
}

} // namespace

std::optional<PreparedSurface> prepare(const ERAnyBoundedSurface& surface) {
    const std::shared_ptr<SurfaceTables> tables = tables_for(surface, 0);
    if (!tables) return std::nullopt;
    return SurfaceTables::publish(tables);
}

} // namespace velm
