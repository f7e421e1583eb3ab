// What tests of surfaces are made of: the classes of surfaces and their curves, trims, nets of
// poles.
#pragma once

#include "support/geometry.h"
#include "velm/curves/bezier_curve.h"
#include "velm/curves/nurbs_curve.h"
#include "velm/frame/finite_entity.h"
#include "velm/surfaces/analytic_to_nurbs.h"
#include "velm/surfaces/bezier_surface.h"
#include "velm/surfaces/bounded_plane.h"
#include "velm/surfaces/cone.h"
#include "velm/surfaces/cylinder.h"
#include "velm/surfaces/limit_normal.h"
#include "velm/surfaces/nurbs_surface.h"
#include "velm/surfaces/offset_surface.h"
#include "velm/surfaces/prepared_surface.h"
#include "velm/surfaces/ray_surface_result.h"
#include "velm/surfaces/revolution_surface.h"
#include "velm/surfaces/sphere.h"
#include "velm/surfaces/torus.h"
#include "velm/surfaces/trimmed_surface.h"
#include "velm/wireframe/polyline.h"

namespace velm_test {

using std::numbers::pi;
using Boundary = ERSurfaceBoundary;
inline const ERVector3D X(1, 0, 0), Y(0, 1, 0), Z(0, 0, 1);

/// A whole circle, and a rectangle, in parameters.
inline ERArc2D circle(double u, double v, double radius) { return {{u, v}, radius, 0.0, 2 * pi}; }
inline ERPolygone2D rectangle(double u0, double u1, double v0, double v1) {
    return {{{u0, v0}, {u1, v0}, {u1, v1}, {u0, v1}}};
}

/// Poles above the nodes (wide * i, j), each moved by up to `jitter` in every coordinate; weights
/// between the limits.
inline ERMatrix<ERPole3DH> waved_net(Random& random, int n, int m, double jitter,
                                     const ERLimites& weights = {1, 1}, double wide = 1.0) {
    ERMatrix<ERPole3DH> poles(m, n);
    for (int j = 0; j < m; ++j)
        for (int i = 0; i < n; ++i)
            poles(j, i) =
                ERPole3DH(ERPoint3D(wide * i, j, 0) + random.value<ERPoint3D>(jitter), 1.0) *
                random.uniform(weights.start(), weights.end());
    return poles;
}

inline velm::PrincipalCurvatures curvatures_at(const velm::PreparedSurface& surface,
                                               const ERPoint2D& at) {
    velm::PrincipalCurvatures found;
    velm::SurfaceSamples samples;
    samples.curvatures = {&found, 1};
    surface.evaluate({&at, 1}, samples);
    return found;
}

} // namespace velm_test
