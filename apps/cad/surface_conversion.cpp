#include "cad/surface_conversion.h"

#include "velm/frame/finite_entity.h"
#include "velm/surfaces/bounded_plane.h"
#include "velm/surfaces/cone.h"
#include "velm/surfaces/cylinder.h"
#include "velm/surfaces/nurbs_surface.h"
#include "velm/surfaces/offset_surface.h"
#include "velm/surfaces/revolution_surface.h"
#include "velm/surfaces/sphere.h"
#include "velm/surfaces/torus.h"
#include "velm/transforms/transformation_factories.h"
#include "velm/wireframe/arc_in_space.h"

#include <GeomConvert.hxx>
#include <Geom_BSplineSurface.hxx>
#include <Geom_BezierSurface.hxx>
#include <Geom_Circle.hxx>
#include <Geom_ConicalSurface.hxx>
#include <Geom_CylindricalSurface.hxx>
#include <Geom_OffsetSurface.hxx>
#include <Geom_Plane.hxx>
#include <Geom_RectangularTrimmedSurface.hxx>
#include <Geom_SphericalSurface.hxx>
#include <Geom_SurfaceOfLinearExtrusion.hxx>
#include <Geom_SurfaceOfRevolution.hxx>
#include <Geom_ToroidalSurface.hxx>
#include <Geom_TrimmedCurve.hxx>
#include <algorithm>
#include <cmath>
#include <numbers>

namespace velm::cad {

namespace {

constexpr double whole_turn = 2.0 * std::numbers::pi;

ERPoint3D point_of(const gp_Pnt& p) { return {p.X(), p.Y(), p.Z()}; }
ERVector3D vector_of(const gp_Dir& d) { return {d.X(), d.Y(), d.Z()}; }

// The frame with the placement's x and y; its z is against the placement's where that is
// left-handed.
ERPmIsometrie3D frame_of(const gp_Ax3& placed) {
    return ERChgRepere3D(vector_of(placed.XDirection()), vector_of(placed.YDirection()),
                         point_of(placed.Location()));
}

ERLimites ordered(double a, double b) { return {std::min(a, b), std::max(a, b)}; }

// The mapped range; angles take one turn at most.
struct Limits {
    ERLimites u, v;
};
Limits limits_of(const ParameterMap& map, const ParameterRange& range) {
    const ERPoint2D a = map(range.u_first, range.v_first), b = map(range.u_last, range.v_last);
    return {ordered(a.x(), b.x()), ordered(a.y(), b.y())};
}
ERLimites one_turn(const ERLimites& angles) {
    return {angles.start(), std::min(angles.end(), angles.start() + whole_turn)};
}

ConvertedSurface converted(ERAnyBoundedSurface* surface, const ParameterMap& map) {
    return {surface, map, {}};
}

ConvertedSurface plane(const gp_Pln& from, const ParameterRange& range) {
    const Limits limits = limits_of({}, range);
    return converted(new ERBoundedPlane(frame_of(from.Position()), limits.u, limits.v), {});
}

// Theirs turns with u and rises with v, ours rises with u and turns with v.
ConvertedSurface cylinder(const gp_Cylinder& from, const ParameterRange& range) {
    ParameterMap map;
    map.exchanged = true;
    map.scale_u = from.Direct() ? 1.0 : -1.0;
    const Limits limits = limits_of(map, range);
    return converted(new ERBoundedCylinder(frame_of(from.Position()), from.Radius(), limits.u,
                                           one_turn(limits.v)),
                     map);
}

// Theirs has a radius at v = 0 and runs along the generator; our u is the height above the apex,
// which opens along the frame's z.
ConvertedSurface cone(const gp_Cone& from, const ParameterRange& range) {
    const double angle = from.SemiAngle();
    const ERPmIsometrie3D frame = frame_of(from.Position());
    const ERVector3D x = frame.getVector(Coord3D_X), y = frame.getVector(Coord3D_Y);
    const bool opens_along_z = (angle > 0.0) == (from.Position().Direct() == Standard_True);
    ParameterMap map;
    map.exchanged = true;
    const double sense = angle > 0.0 ? 1.0 : -1.0; // of the height, by their v
    map.scale_u = sense * std::cos(angle);
    map.shift_u = from.RefRadius() / std::tan(std::fabs(angle));
    map.scale_v = opens_along_z ? 1.0 : -1.0;
    const ERPmIsometrie3D own = ERChgRepere3D(x, opens_along_z ? y : -y, point_of(from.Apex()));
    const Limits limits = limits_of(map, range);
    return converted(new ERBoundedCone(own, std::fabs(angle), limits.u, one_turn(limits.v)), map);
}

ConvertedSurface sphere(const gp_Sphere& from, const ParameterRange& range) {
    constexpr double pole = 0.5 * std::numbers::pi;
    ParameterMap map;
    map.scale_v = from.Direct() ? 1.0 : -1.0;
    const Limits limits = limits_of(map, range);
    const ERLimites latitudes(std::max(limits.v.start(), -pole), std::min(limits.v.end(), pole));
    return converted(new ERBoundedSphere(frame_of(from.Position()), from.Radius(),
                                         one_turn(limits.u), latitudes),
                     map);
}

ConvertedSurface torus(const gp_Torus& from, const ParameterRange& range) {
    ParameterMap map;
    map.scale_v = from.Direct() ? 1.0 : -1.0;
    const auto placed = [&] {
        const Limits limits = limits_of(map, range);
        const ERLimites u = one_turn(limits.u), v = one_turn(limits.v);
        const t_SmartPtr<ERBoundedTorus> result =
            new ERBoundedTorus(frame_of(from.Position()), from.MajorRadius(), from.MinorRadius(),
                               u.start(), u.end(), v.start(), v.end());
        result->adjust();
        return result;
    };
    // A torus brings its limits into a range of its own when its box is asked for; boundaries in
    // other turns would not follow.
    const t_SmartPtr<ERBoundedTorus> raw = placed(), settled = placed();
    settled->getBox();
    map.shift_u = whole_turn * std::round((settled->udeb() - raw->udeb()) / whole_turn);
    map.shift_v = whole_turn * std::round((settled->vdeb() - raw->vdeb()) / whole_turn);
    return converted(placed().get(), map);
}

ERKnotVector knots_of(int degree, const TColStd_Array1OfReal& sequence) {
    ERVec<double> knots(sequence.Length());
    for (int i = 0; i < knots.size(); ++i)
        knots[i] = sequence.Value(sequence.Lower() + i);
    return ERKnotVector(degree, knots);
}

ERPole3DH pole_of(const gp_Pnt& p, double weight) {
    return ERPole3DH(point_of(p) * weight, weight);
}

// Theirs without its period, cut and clamped so that it covers the range.
ConvertedSurface spline(const Handle(Geom_BSplineSurface) & from, const ParameterRange& range) {
    const Handle(Geom_BSplineSurface) open = Handle(Geom_BSplineSurface)::DownCast(from->Copy());
    if (open->IsUPeriodic() || open->IsVPeriodic()) {
        double u1 = 0.0, u2 = 0.0, v1 = 0.0, v2 = 0.0;
        open->Bounds(u1, u2, v1, v2);
        const auto within = [](bool periodic, double first, double last, double& low,
                               double& high) {
            if (!periodic) return;
            const double period = high - low;
            // Those that fit into the natural period stay whole.
            if (first >= low - 1e-9 * period && last <= high + 1e-9 * period) return;
            low = first;
            high = std::min(last, first + period);
        };
        within(open->IsUPeriodic(), range.u_first, range.u_last, u1, u2);
        within(open->IsVPeriodic(), range.v_first, range.v_last, v1, v2);
        open->Segment(u1, u2, v1, v2);
        if (open->IsUPeriodic()) open->SetUNotPeriodic();
        if (open->IsVPeriodic()) open->SetVNotPeriodic();
    }
    ERMatrix<ERPole3DH> poles(open->NbVPoles(), open->NbUPoles());
    for (int j = 0; j < poles.rows(); ++j)
        for (int i = 0; i < poles.columns(); ++i)
            poles(j, i) = pole_of(open->Pole(i + 1, j + 1), open->Weight(i + 1, j + 1));
    return converted(new ERSpoleNURBS3D(poles, knots_of(open->UDegree(), open->UKnotSequence()),
                                        knots_of(open->VDegree(), open->VKnotSequence())),
                     {});
}

Handle(Geom_Curve) without_trim(Handle(Geom_Curve) curve) {
    while (curve->IsKind(STANDARD_TYPE(Geom_TrimmedCurve)))
        curve = Handle(Geom_TrimmedCurve)::DownCast(curve)->BasisCurve();
    return curve;
}

// A circle stays one, with its angle as parameter.
t_SmartPtr<ERFiniteEntity3DWF> arc_of(const gp_Circ& circle, double first, double last) {
    return new ERArc3D(ERChgRepere3D(vector_of(circle.Position().XDirection()),
                                     vector_of(circle.Position().YDirection()),
                                     point_of(circle.Location())),
                       circle.Radius(), first, last);
}

ConvertedSurface revolution(const Handle(Geom_SurfaceOfRevolution) & from,
                            const ParameterRange& range) {
    ParameterMap map;
    map.exchanged = true;
    t_SmartPtr<ERFiniteEntity3DWF> curve;
    if (const auto circle = Handle(Geom_Circle)::DownCast(without_trim(from->BasisCurve()))) {
        curve = arc_of(circle->Circ(), range.v_first, range.v_last);
    } else {
        const ConvertedCurve own = convert_curve(from->BasisCurve(), range.v_first, range.v_last);
        curve = static_cast<ERFiniteEntity3DWF*>(new ERCpoleNURBS3D(own.spline));
        map.conic = own.parameter;
    }
    const gp_Ax1 axis = from->Axis();
    return converted(new ERSurOfRevolution(
                         curve, ERInfLine3D(vector_of(axis.Direction()), point_of(axis.Location())),
                         one_turn(ERLimites(range.u_first, range.u_last))),
                     map);
}

ERPole3DH shifted(const ERPole3DH& pole, const ERVector3D& by) {
    const double w = pole.weigth();
    return ERPole3DH(ERPoint3D(pole[0], pole[1], pole[2]) + by * w, w);
}

ConvertedSurface extrusion(const Handle(Geom_SurfaceOfLinearExtrusion) & from,
                           const ParameterRange& range) {
    if (const auto circle = Handle(Geom_Circle)::DownCast(without_trim(from->BasisCurve()))) {
        gp_Ax3 place(circle->Position());
        constexpr double parallel = 1e-12; // of the sine: a cylinder to the rounding of its points
        if (place.Direction().XYZ().Crossed(from->Direction().XYZ()).Modulus() <= parallel) {
            if (place.Direction().Dot(from->Direction()) < 0.0) place.ZReverse();
            return cylinder(gp_Cylinder(place, circle->Radius()), range);
        }
    }
    const ConvertedCurve base = convert_curve(from->BasisCurve(), range.u_first, range.u_last);
    const ERVec<ERPole3DH> row = base.spline.getPoles();
    const ERVector3D direction = vector_of(from->Direction());
    ERMatrix<ERPole3DH> poles(2, row.size());
    for (int i = 0; i < row.size(); ++i) {
        poles(0, i) = shifted(row[i], direction * range.v_first);
        poles(1, i) = shifted(row[i], direction * range.v_last);
    }
    ParameterMap map;
    map.conic = base.parameter;
    return converted(new ERSpoleNURBS3D(poles, base.spline.getKnots(),
                                        ERKnotVector(1, 2, ERLimites(range.v_first, range.v_last))),
                     map);
}

ConvertedSurface offset(const Handle(Geom_OffsetSurface) & from, const ParameterRange& range) {
    ConvertedSurface base = convert_surface(from->BasisSurface(), range);
    if (!base.surface) return base;
    gp_Pnt p;
    gp_Vec du, dv;
    from->BasisSurface()->D1(0.5 * (range.u_first + range.u_last),
                             0.5 * (range.v_first + range.v_last), p, du, dv);
    const gp_Vec side = du.Crossed(dv);
    if (!(side.Magnitude() > 0.0))
        return {{}, {}, "the surface that is offset has no normal in its middle"};
    base.surface = new EROffsetSurface(base.surface.get(), from->Offset(), vector_of(gp_Dir(side)));
    return base;
}

} // namespace

ConvertedSurface convert_surface(const Handle(Geom_Surface) & surface,
                                 const ParameterRange& range) {
    if (const auto trimmed = Handle(Geom_RectangularTrimmedSurface)::DownCast(surface))
        return convert_surface(trimmed->BasisSurface(), range);
    if (const auto found = Handle(Geom_Plane)::DownCast(surface)) return plane(found->Pln(), range);
    if (const auto found = Handle(Geom_CylindricalSurface)::DownCast(surface))
        return cylinder(found->Cylinder(), range);
    if (const auto found = Handle(Geom_ConicalSurface)::DownCast(surface))
        return cone(found->Cone(), range);
    if (const auto found = Handle(Geom_SphericalSurface)::DownCast(surface))
        return sphere(found->Sphere(), range);
    if (const auto found = Handle(Geom_ToroidalSurface)::DownCast(surface))
        return torus(found->Torus(), range);
    if (const auto found = Handle(Geom_BSplineSurface)::DownCast(surface))
        return spline(found, range);
    if (const auto found = Handle(Geom_BezierSurface)::DownCast(surface))
        return spline(GeomConvert::SurfaceToBSplineSurface(found), range);
    if (const auto found = Handle(Geom_SurfaceOfRevolution)::DownCast(surface))
        return revolution(found, range);
    if (const auto found = Handle(Geom_SurfaceOfLinearExtrusion)::DownCast(surface))
        return extrusion(found, range);
    if (const auto found = Handle(Geom_OffsetSurface)::DownCast(surface))
        return offset(found, range);
    return {{},
            {},
            std::string("surfaces of the kind ") + surface->DynamicType()->Name() +
                " aren't supported"};
}

} // namespace velm::cad
