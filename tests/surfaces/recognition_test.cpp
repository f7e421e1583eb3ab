// Analytic surfaces found again in their NURBS forms, exact, cut and disturbed.
#include "velm/surfaces/recognition.h"

#include "support/surfaces.h"

namespace {

using velm::SurfaceKind;
velm_test::Random draw{101};

// The distance from the unlimited shape.
double off(ERAnyBoundedSurface& shape, const ERPoint3D& p) {
    double d = 0.0;
    shape.SignedMinimalDistance(p, d);
    return std::fabs(d);
}

// Found as the kind, with a deviation that holds and isn't above what sampling finds by much; the
// limits hold the surface; the side is that of the normals.
void expect_found(const ERSpoleNURBS3D& nurbs, SurfaceKind kind, double tolerance, double most) {
    const auto prepared = velm::prepare(nurbs);
    const auto found = velm::recognize(*prepared, tolerance);
    ASSERT_TRUE(found && found->kind == kind) << int(kind);
    EXPECT_LE(found->deviation, most);
    double farthest = 0.0, apart = 0.0;
    const auto shape = velm::prepare(*found->surface);
    const auto grid = [](const ERLimites& t, int k) { return t(k / 200.0); };
    std::vector<ERPoint3D> own;
    for (int j = 0; j <= 200; j += 2)
        for (int i = 0; i <= 200; i += 2)
            own.push_back((*shape)(grid(shape->domain_u(), i), grid(shape->domain_v(), j)));
    for (int k = 0; k < 60; ++k) {
        const double u = prepared->domain_u()(draw.uniform(0, 1)),
                     v = prepared->domain_v()(draw.uniform(0, 1));
        const ERPoint3D p = nurbs(u, v);
        farthest = std::max(farthest, off(*found->surface, p));
        double nearest = 1e300;
        for (const ERPoint3D& q : own)
            nearest = std::min(nearest, ERVector3D(p, q).norme());
        apart = std::max(apart, nearest);
    }
    const double size = prepared->box().diagonal();
    EXPECT_LE(farthest, found->deviation + 1e-13 * size);
    EXPECT_LE(apart, 0.05 * size) << int(kind);
    // The nearest of the shape's own points has the normal, up to the sign.
    const double u = prepared->domain_u()(0.3), v = prepared->domain_v()(0.6);
    ERPoint3D at = nurbs(u, v);
    std::size_t best = 0;
    for (std::size_t k = 0; k < own.size(); ++k)
        if (ERVector3D(at, own[k]).norme() < ERVector3D(at, own[best]).norme()) best = k;
    const ERVector3D there = shape->normal(grid(shape->domain_u(), int(best % 101) * 2),
                                           grid(shape->domain_v(), int(best / 101) * 2));
    EXPECT_EQ(there * prepared->normal(u, v) > 0.0, found->same_side) << int(kind);
}

ERSpoleNURBS3D disturbed(const ERSpoleNURBS3D& surface, double by) {
    ERMatrix<ERPole3DH> poles = surface.poles();
    for (ERPole3DH& pole : poles.writable())
        pole.translate(draw.value<ERPoint3D>(by));
    return {poles, surface.knotVectorU(), surface.knotVectorV()};
}

TEST(Recognition, FindsAnalyticSurfacesWholeCutAndDisturbed) {
    for (int round = 0; round < 6; ++round) {
        const ERPmIsometrie3D frame = ERChgRepere3D(
            draw.direction<ERVector3D>(), draw.direction<ERVector3D>(), draw.value<ERPoint3D>(20));
        const bool whole = round == 0;
        const double turn = 2 * std::numbers::pi;
        const ERLimites angle =
            whole ? ERLimites(0, turn) : ERLimites(draw.uniform(0, 3), draw.uniform(3.8, 6));
        ERBoundedPlane plane;
        plane.setBound({0, 3}, {1, 2});
        plane.transformFrom(frame);
        ERBoundedCone cone(frame, 0.4, 1.0, 4.0);
        cone.setBound(cone.getBoundU(), angle);
        const ERLimites latitude = whole ? ERLimites(-turn / 4, turn / 4)
                                         : ERLimites(draw.uniform(-1.2, 0), draw.uniform(0.6, 1.4));
        const ERLimites tube = whole ? angle : ERLimites(draw.uniform(-3, 0), draw.uniform(0.9, 3));
        const std::pair<SurfaceKind, ERSpoleNURBS3D> shapes[] = {
            {SurfaceKind::plane, *velm::to_nurbs(plane)},
            {SurfaceKind::cylinder,
             *velm::to_nurbs(ERBoundedCylinder(frame, 2.0, ERLimites(-1, 5), angle))},
            {SurfaceKind::cone, *velm::to_nurbs(cone)},
            {SurfaceKind::sphere, *velm::to_nurbs(ERBoundedSphere(frame, 3.0, angle, latitude))},
            {SurfaceKind::torus,
             *velm::to_nurbs(ERBoundedTorus(frame, 4.0, 1.0, angle.start(), angle.end(),
                                            tube.start(), tube.end()))}};
        for (const auto& [kind, exact] : shapes) {
            SCOPED_TRACE(testing::Message() << "round " << round << " kind " << int(kind));
            expect_found(exact, kind, 1e-9, 1e-11);
            ERSpoleNURBS3D turned(exact);
            turned.incrDegree(1, 1);
            turned.insertKnotU(turned.getBoundU()(0.3), 1);
            turned.reverse();
            expect_found(turned, kind, 1e-9, 1e-11);
            expect_found(disturbed(exact, 1e-4), kind, 1e-3, 6e-4);
            EXPECT_FALSE(velm::recognize(*velm::prepare(disturbed(turned, 0.05)), 1e-4));
        }
    }
}

} // namespace
