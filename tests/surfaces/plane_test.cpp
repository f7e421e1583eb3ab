#include "velm/surfaces/plane.h"

#include "support/records.h"
#include "support/surfaces.h"

namespace {

using namespace velm_test;

Random draw{61};

ERPoint3D point() { return draw.value<ERPoint3D>(9); }
ERVector3D vector() { return draw.value<ERVector3D>(9); }

TEST(Plane, EveryFormTellsTheSamePlane) {
    for (int round = 0; round < 300; ++round) {
        const ERPoint3D through = point(), p = point();
        const ERVector3D u = vector(), v = vector(), n = (u ^ v).getnormalized();
        const double d = -(n * ERVector3D(through)), factor = draw.uniform(0.1, 5);
        ERPlane plane(through, n * factor);
        for (const ERPlane& same :
             {ERPlane(n.i() * factor, n.j() * factor, n.k() * factor, d * factor),
              ERPlane(through, u, v), ERPlane(ERChgRepere3D(n, through), Coord3D_Z),
              ERPlane(plane.getTransfo(), Coord3D_Z)})
            EXPECT_TRUE(isEqual(same.normalVector(), n, 1e-12) && same.distancePt(through) < 1e-12);

        // The foot, the signed distance and the moved plane belong together.
        double dist = 0.0;
        EXPECT_EQ(plane.SignedMinimalDistance(p, dist), EREntity::DISTMIN_FOUND);
        ERPoint3D foot;
        ERVector3D normal;
        for (const ERPlane& side : {plane, plane.getreversed()}) {
            EXPECT_EQ(side.ProjectionNormale(p, foot, normal), 1);
            EXPECT_EQ(normal, side.normalVector());
            EXPECT_TRUE(isEqual(foot + dist * n, p, 1e-12));
        }
        EXPECT_FALSE(plane == plane.getreversed());
        EXPECT_LT(plane.getOffset(dist).distancePt(p), 1e-12);
        EXPECT_TRUE(plane.is_perpendicular(ERInfLine3D(p, foot), 1e-6));
        const ERInfLine3D flat = plane.project(ERInfLine3D(u, p));
        EXPECT_LT(plane.distancePt(flat.origine()) + distance(flat, foot), 1e-12);
        EXPECT_NEAR(flat.dirVector() * n, 0.0, 1e-12);

        // Maps take its points along; the signed distance scales with them.
        const double s = draw.uniform(0.5, 2);
        const ERPmSimilitude3D map = ERScaling3D(-s) * ERRotation3D(u, point(), ERRadian(2.0));
        const ERPlane carried = map >> plane;
        double mapped = 0.0;
        ERPlane(carried).SignedMinimalDistance(map >> p, mapped);
        EXPECT_NEAR(mapped, s * dist, 1e-11);
        EXPECT_TRUE(isEqual((map << carried).normalVector(), n, 1e-12));
        plane.translate(p);
        plane.scale(-s);
        EXPECT_LT(plane.distancePt((through + p) * -s), 1e-11);
        EXPECT_TRUE(isEqual(plane.normalVector(), n, 1e-12));
    }
}

TEST(Plane, TextAndRecord) {
    EXPECT_EQ(text_of(ERPlane(0, 3, 4, 10)), "Plane (1)0,0.6,0.8,2\n");
    EXPECT_EQ(text_of(ERPlane()), "Plane : Indefini\n");
    const ERPlane plane(1, 2, -2, 6);
    const std::string record = record_of(plane);
    EXPECT_EQ(record, bytes_of(1.0 / 3, 2.0 / 3, -2.0 / 3, 2.0));
    ERPlane back;
    EXPECT_TRUE(restore(back, record) == plane);
}

} // namespace
