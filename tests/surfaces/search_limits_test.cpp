// Searches asked at the limits of what they are made for: points above edges and on axes, hints
// where nothing of a face is, cones of directions that are wider than half a turn.
#include "support/surfaces.h"
#include "velm/surfaces/line_crossings.h"
#include "velm/surfaces/prepared_part.h"

namespace {

using namespace velm_test;

const ERLimites turn(0, 2 * pi);
const ERPmIsometrie3D frame = ERChgRepere3D(ERVector3D(1, 2, 3).getnormalized(), {4, -1, 2});

TEST(SurfaceProjector, ListsTheMinimaAboveEdgesAndAmongEquallyFarPlaces) {
    const auto check = [](const ERAnyBoundedSurface& surface, const ERPoint3D& p,
                          const char* what) {
        const auto projector = velm::SurfaceProjector::on(*velm::prepare(surface));
        const velm::SurfaceFoot nearest = projector->nearest(p);
        EXPECT_NEAR(nearest.normal.norme(), 1, 1e-12) << what;
        std::vector<velm::SurfaceFoot> minima;
        projector->all_minima(p, HUGE_VAL, minima);
        ASSERT_FALSE(minima.empty()) << what << p;
        EXPECT_NEAR(minima.front().distance, nearest.distance, 1e-12) << what << p;
    };
    const ERBoundedPlane plane(frame, {-5, 4}, {-3, 5});
    const ERBoundedCylinder cylinder(frame, 3, {-5, 5}, {-1, 2});
    const ERBoundedCone cone(frame, ERRadian(0.9), 2, 6), tip(frame, ERRadian(0.5), -4, 6);
    const ERBoundedSphere sphere(frame, 4, turn, {-pi / 2, pi / 2});
    const ERBoundedTorus torus(frame, 5, 2, 0.3, 2, -1, 2),
        touching(frame, 3, 3, 0, 2 * pi, 0, 2 * pi);
    Random draw{77};
    for (const ERAnyBoundedSurface* surface : {static_cast<const ERAnyBoundedSurface*>(&plane),
                                               static_cast<const ERAnyBoundedSurface*>(&cylinder)})
        for (int i = 0; i < 20; ++i) {
            const double u = i % 2 == 0 ? surface->udeb() : surface->ufin();
            const double v = surface->getBoundV()(draw.uniform(0, 1));
            check(*surface, (*surface)(u, v) + surface->PtCur(u, v).normale() * draw.uniform(-3, 3),
                  surface->className());
        }
    const ERPoint3D centre = frame.origine();
    check(cone, centre, "apex beyond a cone");
    check(tip, centre, "apex of a double cone");
    check(cylinder, centre, "axis of a cylinder");
    check(sphere, centre, "centre of a sphere");
    check(sphere, sphere(0, pi / 2) + (sphere(0, pi / 2) - centre) * 0.5, "axis of a sphere");
    check(torus, centre, "centre of a torus");
    check(touching, centre, "where a tube touches its axis");
}

TEST(LineCrossings, TakeDirectionsOfAnyLength) {
    const ERBoundedSphere sphere(frame, 4, turn, {-pi / 2, pi / 2});
    const auto projector = velm::SurfaceProjector::on(*velm::prepare(sphere));
    std::vector<velm::SurfaceCrossing> crossings;
    for (const double length : {1e-300, 1e-170, 1.0, 1e170}) {
        velm::line_crossings(*projector, frame.origine(), ERVector3D(1, 2, -1) * length, crossings);
        ASSERT_EQ(crossings.size(), 2u) << length;
        EXPECT_NEAR(crossings[1].k * length, 4 / std::sqrt(6.0), 1e-12) << length;
    }
}

TEST(FaceProjector, TakesHintsWhereNothingOfTheFaceIs) {
    ERTrimmedSurface trimmed(ERBoundedCone(frame, ERRadian(0.5), 0, 6));
    trimmed.addBound(ERArc2D({3, pi}, 1.8, 0, 2 * pi), ERSurfaceBoundary::outer);
    trimmed.addBound(ERArc2D({3, pi}, 0.5, 0, 2 * pi), ERSurfaceBoundary::inner);
    const auto projector = velm::FaceProjector::on(*velm::prepare_face(trimmed));
    Random draw{78};
    for (int i = 0; i < 20; ++i) {
        const ERPoint3D p = frame.origine() + draw.value<ERPoint3D>(9);
        const velm::FaceFoot expected = projector->nearest(p);
        for (const ERPoint2D hint : {ERPoint2D(6, 6), ERPoint2D(0, 0), ERPoint2D(3, pi),
                                     ERPoint2D(1e300, -1e300), ERPoint2D(NAN, 0)}) {
            const velm::FaceFoot foot = projector->nearest(p, hint);
            EXPECT_TRUE(foot.certified) << p << hint;
            EXPECT_NEAR(foot.distance, expected.distance, 1e-11) << p << hint;
        }
    }
}

TEST(FaceProjector, CertifiesTheTipOfACone) {
    const ERBoundedCone cone(frame, ERRadian(0.5), 0, 6);
    const ERSpoleNURBS3D nurbs = Convert2Nurbs(cone);
    const auto face = velm::FaceProjector::on(*velm::prepare_face(cone));
    const auto surface = velm::SurfaceProjector::on(*velm::prepare(nurbs));
    constexpr int budget = 10000;
    Random draw{80};
    for (int i = 0; i < 20; ++i) {
        const ERVector3D aside = draw.value<ERVector3D>(0.5);
        const ERPoint3D p = frame.origine() + (aside - cone.direction()) * draw.uniform(0.1, 30);
        const double expected = ERVector3D(frame.origine(), p).norme();
        const velm::FaceFoot on_face = face->nearest(p, budget);
        const velm::SurfaceFoot on_surface = surface->nearest(p, budget);
        EXPECT_TRUE(on_face.certified && on_surface.certified) << p;
        EXPECT_NEAR(on_face.distance, expected, 1e-12) << p;
        EXPECT_NEAR(on_surface.distance, expected, 1e-12) << p;
    }
}

TEST(PreparedPart, TakesPlacesAtTheGreatestDistanceAndAnglesBeyondHalfATurn) {
    const ERBoundedSphere sphere(frame, 4, turn, {-pi / 2, pi / 2});
    const auto part = velm::PreparedPart::of({{*velm::prepare_face(sphere), 1}}, 1e-6);
    velm::PartSearch search;
    search.direction = ERVector3D(0, 0, 1);
    for (const double angle : {pi, 4.0}) {
        search.max_angle = angle;
        const velm::PartFoot foot = part->nearest(frame.origine() - ERPoint3D(0, 0, 9), search);
        ASSERT_EQ(foot.face, 0) << angle;
        EXPECT_NEAR(foot.signed_distance, 5, 1e-12) << angle;
    }
    Random draw{79};
    for (int i = 0; i < 100; ++i) {
        const ERPoint3D p = frame.origine() + draw.value<ERPoint3D>(9);
        velm::PartSearch up_to;
        up_to.max_distance = part->nearest(p).distance;
        EXPECT_EQ(part->nearest(p, up_to).face, 0) << p;
        up_to.max_distance *= 1 - 1e-9;
        EXPECT_EQ(part->nearest(p, up_to).face, -1) << p;
    }
}

} // namespace
