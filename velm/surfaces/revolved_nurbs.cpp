#include "velm/surfaces/revolved_nurbs.h"

#include "velm/transforms/transformation_factories.h"
#include "velm/wireframe/arc_in_space.h"

#include <cmath>
#include <numbers>

namespace {

// A frame with z along the axis and x towards the curve.
ERPmIsometrie3D frame_of(ERCpoleNURBS3D curve, const ERInfLine3D& axis) {
    constexpr double off_axis = 1e-11; // model units
    constexpr int steps = 64;
    const ERVector3D z = axis.dirVector().getnormalized();
    const ERLimites limits(curve.udeb(), curve.ufin());
    for (int i = 0; i <= steps && curve.nbPoles() > 0; ++i) {
        const int place = i == 0 ? 0 : i == 1 ? steps : i - 1;
        const ERVector3D from_axis(axis.origine(), curve(limits(double(place) / steps)));
        const ERVector3D out = from_axis - z * (from_axis * z);
        if (out.norme() > off_axis) return ERChgRepere3D(out, z ^ out, axis.origine());
    }
    return ERChgRepere3D(z, axis.origine());
}

} // namespace

ERSpoleNURBS3D CreateSurfOfRevolutionAxeZ1(const ERCpoleNURBS3D& curve, double a, double b) {
    if (b < a) b += 2.0 * std::numbers::pi;
    ERCpoleNURBS3D arc = ERArc3D(ERPmIsometrie3D(), 1.0, a, b).ConvertToNurbs();
    arc.reparametrize(ERLimites(a, b));
    const ERVec<ERPole3DH>&ring = arc.getPoles(), &profile = curve.getPoles();
    ERMatrix<ERPole3DH> net(ring.size(), profile.size());
    for (int i = 0; i < profile.size(); ++i) {
        const double w = profile[i].weigth();
        const ERPoint3D p = profile[i].castToPoint();
        const double radius = std::sqrt(p.x() * p.x() + p.y() * p.y());
        for (int j = 0; j < ring.size(); ++j) {
            const ERPole3DH& r = ring[j];
            net(j, i) =
                ERPole3DH(r.x_ * radius, r.y_ * radius, r.z_ + p.z() * r.weight, r.weight) * w;
        }
    }
    return {net, curve.getKnots(), arc.getKnots(), ERLimites(curve.udeb(), curve.ufin()),
            ERLimites(a, b)};
}

ERSpoleNURBS3D CreateSurfOfRevolution(const ERCpoleNURBS3D& curve, const ERInfLine3D& axis,
                                      double a, double b) {
    const ERPmIsometrie3D frame = frame_of(curve, axis);
    ERCpoleNURBS3D local(curve);
    local.transformTo(frame);
    ERSpoleNURBS3D surface = CreateSurfOfRevolutionAxeZ1(local, a, b);
    surface.transformFrom(frame);
    return surface;
}
