// ERPoint23List::Smash: the refinement of a polyline of points on a surface.
#include "velm/frame/detail/polyline_refinement.h"
#include "velm/frame/dimension.h"
#include "velm/frame/point23_list.h"
#include "velm/frame/point_functions.h"
#include "velm/surfaces/any_bounded_surface.h"

#include <algorithm>
#include <cmath>

void ERPoint23List::Smash(const ERAnyBoundedSurface& surface, double tol) {
    constexpr double shortest_part = 1e-6; // of the limits
    const double short_u = surface.getBoundU().amplitude() * shortest_part;
    const double short_v = surface.getBoundV().amplitude() * shortest_part;
    velm::detail::refine_polyline<velm::Space, ERPoint23>(
        *this,
        [=](const ERPoint23& a, const ERPoint23& b) {
            const ERPoint2D &from = a.parameters, &to = b.parameters;
            return std::fabs(to.x() - from.x()) <= short_u &&
                   std::fabs(to.y() - from.y()) <= short_v;
        },
        [&surface](const ERPoint23& a, const ERPoint23& b) {
            const ERPoint2D middle = milieu(a.parameters, b.parameters);
            return ERPoint23{surface(middle), middle};
        },
        [tol](const ERVector3D& height, double noise) {
            return height * height > std::max(tol * tol, noise * noise);
        });
}
