#include "velm/surfaces/analytic_to_nurbs.h"

#include "velm/surfaces/bounded_plane.h"
#include "velm/surfaces/cone.h"
#include "velm/surfaces/cylinder.h"
#include "velm/surfaces/revolved_nurbs.h"
#include "velm/surfaces/sphere.h"
#include "velm/surfaces/torus.h"
#include "velm/transforms/transformation_factories.h"
#include "velm/wireframe/arc_in_space.h"
#include "velm/wireframe/segment.h"

#include <numbers>

namespace {

// A curve of the surface at the start of its angles, turned about the axis of its frame by their
// width.
template <class Surface, class Curve>
ERSpoleNURBS3D turned(const Surface& surface, Curve curve, const ERLimites& angles) {
    const ERInfLine3D axis(surface.getNormale(), surface.getMatrix().origine());
    return CreateSurfOfRevolution(curve.ConvertToNurbs(), axis, 0.0, angles.amplitude());
}

template <class Surface>
ERSpoleNURBS3D turned_generator(const Surface& surface) {
    const ERSegment3D generator(surface(surface.udeb(), surface.vdeb()),
                                surface(surface.ufin(), surface.vdeb()));
    return turned(surface, generator, surface.getBoundV());
}

} // namespace

ERSpoleNURBS3D Convert2Nurbs(const ERBoundedPlane& plane) {
    const double u[] = {plane.udeb(), plane.ufin()}, v[] = {plane.vdeb(), plane.vfin()};
    ERMatrix<ERPole3DH> corners(2, 2);
    for (int row = 0; row < 2; ++row)
        for (int column = 0; column < 2; ++column)
            corners(row, column) = ERPole3DH(plane(u[row], v[column]), 1.0);
    const ERKnotVector knots(1, ERLimites(0.0, 1.0));
    return {corners, knots, knots};
}

ERSpoleNURBS3D Convert2Nurbs(const ERBoundedCylinder& cylinder) {
    return turned_generator(cylinder);
}

ERSpoleNURBS3D Convert2Nurbs(const ERBoundedCone& cone) { return turned_generator(cone); }

ERSpoleNURBS3D Convert2Nurbs(const ERBoundedSphere& sphere) {
    ERSpoleNURBS3D result = turned(sphere, sphere.getIsoU(sphere.udeb()), sphere.getBoundU());
    result.reverse();
    return result;
}

ERSpoleNURBS3D Convert2Nurbs(const ERBoundedTorus& torus) {
    const t_SmartPtr<ERFiniteEntity3DWF> tube = torus.getEntityIsoU(torus.udeb());
    const ERArc3D& circle = ERArc3D::castdown(*tube);
    ERSpoleNURBS3D result = turned(torus, circle, torus.getBoundU());
    result.reverse();
    return result;
}

ERSpoleNURBS3D Convert2Nurbs(const ERSphere& sphere) {
    constexpr double pi = std::numbers::pi;
    const ERPmIsometrie3D frame =
        ERChgRepere3D(ERVector3D(1, 0, 0), ERVector3D(0, 0, 1), ERPoint3D());
    ERArc3D meridian(frame, sphere.radius(), -0.5 * pi, 0.5 * pi);
    ERSpoleNURBS3D result = CreateSurfOfRevolutionAxeZ1(meridian.ConvertToNurbs(), 0.0, 2.0 * pi);
    result.translate(sphere.center());
    return result;
}
