// velm::to_nurbs of the analytic surfaces, see analytic_to_nurbs.h.
#include "velm/curves/nurbs_curve.h"
#include "velm/surfaces/analytic_to_nurbs.h"
#include "velm/surfaces/bounded_plane.h"
#include "velm/surfaces/cone.h"
#include "velm/surfaces/cylinder.h"
#include "velm/surfaces/revolve.h"
#include "velm/surfaces/sphere.h"
#include "velm/surfaces/torus.h"
#include "velm/wireframe/detail/angles.h"

namespace velm {

namespace {

ERInfLine3D axis_of(const ERSurfaceBasedOnTransfo3D& surface) {
    return ERInfLine3D(surface.getNormale(), surface.getMatrix().origine());
}

ERCpoleNURBS3D straight(const ERPoint3D& from, const ERPoint3D& to, const ERLimites& limits) {
    ERCpoleNURBS3D curve({ERPole3DH(from, 1.0), ERPole3DH(to, 1.0)}, 1);
    curve.reparametrize(limits);
    return curve;
}

// The generator at angle 0, turned over the limits of v.
template <class Surface>
std::optional<ERSpoleNURBS3D> turned_generator(const Surface& surface) {
    const ERLimites u = surface.getBoundU(), v = surface.getBoundV();
    if (!(u.amplitude() > 0.0)) return {};
    return revolve(straight(surface(u.start(), 0.0), surface(u.end(), 0.0), u), axis_of(surface),
                   v.start(), v.end());
}

// The section at angle 0, turned over the limits of u: a meridian, or a tube circle.
template <class Surface>
std::optional<ERSpoleNURBS3D> turned_section(const Surface& surface) {
    const ERLimites u = surface.getBoundU(), v = surface.getBoundV();
    if (!(v.amplitude() > 0.0 && v.amplitude() <= detail::turn)) return {};
    ERCpoleNURBS3D section = surface.getEntityIsoU(0.0)->ConvertToNurbs();
    section.reparametrize(v);
    std::optional<ERSpoleNURBS3D> result = revolve(section, axis_of(surface), u.start(), u.end());
    if (result) result->reverse();
    return result;
}

} // namespace

std::optional<ERSpoleNURBS3D> to_nurbs(const ERBoundedPlane& plane) {
    const ERLimites u = plane.getBoundU(), v = plane.getBoundV();
    if (!(u.amplitude() > 0.0 && v.amplitude() > 0.0)) return {};
    ERMatrix<ERPole3DH> net(2, 2);
    net(0, 0) = ERPole3DH(plane(u.start(), v.start()), 1.0);
    net(0, 1) = ERPole3DH(plane(u.end(), v.start()), 1.0);
    net(1, 0) = ERPole3DH(plane(u.start(), v.end()), 1.0);
    net(1, 1) = ERPole3DH(plane(u.end(), v.end()), 1.0);
    return ERSpoleNURBS3D(net, ERKnotVector(1, 2, u), ERKnotVector(1, 2, v));
}

std::optional<ERSpoleNURBS3D> to_nurbs(const ERBoundedCylinder& cylinder) {
    return turned_generator(cylinder);
}

std::optional<ERSpoleNURBS3D> to_nurbs(const ERBoundedCone& cone) { return turned_generator(cone); }

std::optional<ERSpoleNURBS3D> to_nurbs(const ERBoundedSphere& sphere) {
    return turned_section(sphere);
}

std::optional<ERSpoleNURBS3D> to_nurbs(const ERBoundedTorus& torus) {
    return turned_section(torus);
}

} // namespace velm
