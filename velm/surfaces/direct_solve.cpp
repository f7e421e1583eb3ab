#include "velm/surfaces/detail/direct_solve.h"

#include "velm/frame/point_functions.h"
#include "velm/surfaces/nurbs_decomposer.h"
#include "velm/surfaces/nurbs_surface.h"
#include "velm/surfaces/surface_projection.h"

#include <cmath>
#include <limits>

namespace velm::detail {

template <>
int solve_directly<DirectSolve::as_it_is>(const ERSpoleNURBS3D& surface, const ERPoint3D& p,
                                          double distance, ERPoint2D& parameter, int inBound) {
    ERPoint3D foot = p;
    return SeedProjection(surface, p, distance, parameter) &&
           ReajustAtSeam(surface, foot, parameter, inBound);
}

template <>
int solve_directly<DirectSolve::over_unit_knots>(const ERSpoleNURBS3D& surface, const ERPoint3D& p,
                                                 double distance, ERPoint2D& parameter,
                                                 int inBound) {
    const ERLimites natural_u(surface.NUdeb(), surface.NUfin());
    const ERLimites natural_v(surface.NVdeb(), surface.NVfin());
    const auto over_unit = [](const ERKnotVector& knots, const ERLimites& domain) {
        ERVec<double> mapped(knots.length());
        for (int i = 0; i < knots.length(); ++i)
            mapped[i] = domain.ratio(knots.data()[i]);
        return ERKnotVector(knots.degree(), mapped);
    };
    const ERSpoleNURBS3D mapped(surface.poles(), over_unit(surface.knotVectorU(), natural_u),
                                over_unit(surface.knotVectorV(), natural_v),
                                natural_u.ratio(surface.getBoundU()),
                                natural_v.ratio(surface.getBoundV()));
    ERPoint2D local;
    const int found = solve_directly<DirectSolve::as_it_is>(mapped, p, distance, local, inBound);
    parameter = ERPoint2D(natural_u(local.x()), natural_v(local.y()));
    return found;
}

template <>
int solve_directly<DirectSolve::patch_by_patch>(const ERSpoleNURBS3D& surface, const ERPoint3D& p,
                                                double distance, ERPoint2D& parameter,
                                                int inBound) {
    surface.UpdateCache();
    const Nurbs3DToBezier3DRDecomposer& patches = *surface.decomposer();
    // Whether a parameter is in the limits of patch i of n, or beyond those of the outer ones.
    const auto is_own = [](const ERLimites& limits, int i, int n, double t) {
        return (i == 0 || t >= limits.start()) && (i == n - 1 || t <= limits.end());
    };
    double least = std::numeric_limits<double>::infinity();
    for (int i = 0; i < patches.nv(); ++i)
        for (int j = 0; j < patches.nu(); ++j) {
            const t_SmartPtr<ERSpoleBezier3DR> patch = patches.Bezier(i, j);
            ERPoint2D at;
            if (!patch->ProjectionNormale(p, distance, at, inBound)) continue;
            if (!inBound && !(is_own(patch->getBoundU(), j, patches.nu(), at.x()) &&
                              is_own(patch->getBoundV(), i, patches.nv(), at.y())))
                continue;
            const double off = std::fabs(::distance((*patch)(at), p) - distance);
            if (!(off < least)) continue;
            least = off;
            parameter = at;
        }
    return least < std::numeric_limits<double>::infinity();
}

} // namespace velm::detail
