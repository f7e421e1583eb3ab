#include "velm/surfaces/limit_normal.h"

#include "velm/surfaces/any_bounded_surface.h"
#include "velm/surfaces/surface_point.h"

namespace velm {

ERVector3D limit_normal(const ERAnyBoundedSurface& surface, double u, double v) {
    return limit_normal(surface.PtCur(u, v), surface.getBoundU(), surface.getBoundV());
}

ERVector3D limit_normal(const ERInfoPoint3DSurf& point, const ERLimites& u, const ERLimites& v) {
    constexpr double vanished = 1e-7;
    // Per width of the limits, so that both directions count alike.
    const double du = u.amplitude(), dv = v.amplitude();
    const ERVector3D pu = point.tangenteU() * du, pv = point.tangenteV() * dv;
    const ERVector3D puu = point.derivative(0, 2) * (du * du);
    const ERVector3D puv = point.derivative(1, 1) * (du * dv);
    const ERVector3D pvv = point.derivative(2, 0) * (dv * dv);
    const double size_u = pu.norme() + puu.norme() + puv.norme();
    const double size_v = pv.norme() + puv.norme() + pvv.norme();
    const double least = vanished * size_u * size_v;

    const ERVector3D direct = pu ^ pv;
    if (direct.norme() > least) return direct.getnormalized();
    // Towards the middle: the limit is taken from there.
    const double a = 0.5 - u.ratio(point.u()), b = 0.5 - v.ratio(point.v());
    const ERVector3D along_u = puu * a + puv * b, along_v = puv * a + pvv * b;
    const ERVector3D once = (along_u ^ pv) + (pu ^ along_v);
    if (once.norme() > least) return once.getnormalized();
    const ERVector3D twice = along_u ^ along_v;
    if (twice.norme() > 0.0) return twice.getnormalized();
    return direct.norme() > 0.0 ? direct.getnormalized() : ERVector3D();
}

} // namespace velm
