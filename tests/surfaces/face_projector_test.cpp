// Face projectors: nearest points of trimmed faces, their trims and corners included.
#include "velm/surfaces/face_projector.h"

#include "support/surfaces.h"
#include "velm/surfaces/prepared_part.h"
#include "velm/surfaces/revolve.h"

namespace {

using namespace velm_test;

Random draw{519};

TEST(FaceProjector, PlaneWithABore) {
    ERTrimmedSurface trimmed(ERBoundedPlane(ERIdentity3D(), {-10, 10}, {-10, 10}));
    trimmed.addBound(rectangle(-4, 6, -5, 5), Boundary::outer);
    trimmed.addBound(ERArc2D({1, 2}, 2, 0, 2 * pi), Boundary::inner);
    const auto projector = velm::FaceProjector::on(*velm::prepare_face(trimmed));
    ASSERT_TRUE(projector);
    for (int i = 0; i < 2000; ++i) {
        const ERPoint3D p(draw.uniform(-12, 12), draw.uniform(-12, 12), draw.uniform(-5, 5));
        const double x = std::clamp(p.x(), -4.0, 6.0), y = std::clamp(p.y(), -5.0, 5.0);
        const double to_bore = std::hypot(p.x() - 1, p.y() - 2);
        double expected = std::hypot(p.x() - x, p.y() - y);
        if (to_bore < 2) expected = 2 - to_bore;
        const velm::FaceFoot foot = projector->nearest(p);
        EXPECT_NEAR(foot.distance, std::hypot(expected, p.z()), 1e-12) << p;
        EXPECT_EQ(foot.loop, expected == 0 ? -1 : to_bore < 2 ? 1 : 0) << p;
    }
}

// Places of a face on a grid and along its trim, each with the distance to the next one.
struct Cloud {
    std::vector<ERPoint3D> points;

    explicit Cloud(const velm::PreparedFace& face) {
        const velm::PreparedSurface& surface = face.surface();
        constexpr int steps = 60;
        for (int k = 0; k < steps * steps; ++k) {
            const ERPoint2D at(surface.domain_u()((k % steps + 0.5) / steps),
                               surface.domain_v()((k / steps + 0.5) / steps));
            if (face.place(at) != velm::FacePlace::outside)
                points.push_back(surface(at.x(), at.y()));
        }
        for (int loop = 0; loop < face.loops(); ++loop)
            for (int edge = 0; edge < face.edges(loop); ++edge)
                for (int k = 0; k < steps; ++k) {
                    const ERPoint2D at = face.parameter(loop, edge, double(k) / steps);
                    if (face.place(at) != velm::FacePlace::outside)
                        points.push_back(surface(at.x(), at.y()));
                }
    }
    double distance_from(const ERPoint3D& p) const {
        double least = HUGE_VAL;
        for (const ERPoint3D& point : points)
            least = std::min(least, distance(p, point));
        return least;
    }
};

ERSpoleNURBS3D waved(int p, int q, bool rational, bool creased) {
    const int n = 7, m = 6;
    ERMatrix<ERPole3DH> poles(m, n);
    for (int j = 0; j < m; ++j)
        for (int i = 0; i < n; ++i)
            poles(j, i) = ERPole3DH(ERPoint3D(i, j, 0) + draw.value<ERPoint3D>(0.3), 1.0) *
                          (rational ? draw.uniform(0.6, 1.6) : 1.0);
    const double crease[] = {0, 0, 0, 0, 3, 3, 3, 6, 6, 6, 6};
    return {poles, creased ? ERKnotVector(3, crease, 11) : ERKnotVector(p, n, {0, 6}),
            ERKnotVector(q, m, {0, 6})};
}

// Feet are as near as samples show, on the face, and certified; displaced places come back.
void expect_feet(const t_SmartPtr<ERAnyBoundedSurface>& base, double offset, bool folds = false) {
    SCOPED_TRACE(testing::Message() << base->className() << " by " << offset);
    ERTrimmedSurface trimmed(EROffsetSurface(*base, offset, ERVector3D(0, 0, 1)));
    const ERLimites u(base->getBoundU()(0.08), base->ufin()),
        v(base->vdeb(), base->getBoundV()(0.83));
    trimmed.addBound(rectangle(u.start(), u.end(), v.start(), v.end()), Boundary::outer);
    trimmed.addBound(
        ERArc2D({u(0.45), v(0.5)}, 0.2 * std::min(u.amplitude(), v.amplitude()), 0, 2 * pi),
        Boundary::inner);
    const auto face = velm::prepare_face(trimmed);
    ASSERT_TRUE(face);
    const velm::PreparedSurface& surface = face->surface();
    const auto projector = velm::FaceProjector::on(*face);
    ASSERT_TRUE(projector && surface.kind() == velm::SurfaceKind::offset);
    const Cloud cloud(*face);
    const ERMinimax3D box = surface.box();
    const double size = box.diagonal(), exact = 1e-12 * size;
    int certified = 0, at_trim = 0, displaced = 0, came_back = 0;
    for (int i = 0; i < 500; ++i) {
        ERPoint3D p(draw.uniform(box.xmin, box.xmax), draw.uniform(box.ymin, box.ymax),
                    draw.uniform(box.zmin, box.zmax));
        const ERPoint2D source(draw.uniform(u.start(), u.end()), draw.uniform(v.start(), v.end()));
        const double height = draw.uniform(-0.1, 0.1);
        const bool is_displaced = i % 2 == 0 && face->place(source) == velm::FacePlace::inside;
        if (is_displaced)
            p = surface(source.x(), source.y()) + surface.normal(source.x(), source.y()) * height;
        const velm::FaceFoot foot = projector->nearest(p);
        SCOPED_TRACE(testing::Message() << p << " " << foot.u << " " << foot.v);
        EXPECT_LE(foot.distance, cloud.distance_from(p) + exact);
        EXPECT_LE(foot.lower, foot.distance);
        EXPECT_NE(face->place({foot.u, foot.v}), velm::FacePlace::outside);
        EXPECT_NEAR(distance(foot.point, p), foot.distance, exact);
        // A place on a tear has two points.
        const double off = std::min(distance(foot.point, surface(foot.u, foot.v)),
                                    distance(foot.point, surface(foot.u - 1e-13, foot.v)));
        EXPECT_LE(off, exact);
        certified += foot.certified;
        at_trim += foot.loop >= 0;
        displaced += is_displaced;
        came_back += is_displaced && std::fabs(foot.distance - std::fabs(height)) <= exact;
    }
    EXPECT_GE(certified, folds ? 495 : 500);
    EXPECT_GT(at_trim, 50);
    EXPECT_GT(came_back,
              (folds ? 0.7 : 0.95) * displaced); // others are nearer beyond a tear or fold
}

TEST(FaceProjector, FeetOfTrimmedOffsetsAreNearestAndCertified) {
    const ERInfLine3D z(ERVector3D(0, 0, 1), ERPoint3D());
    const ERPmIsometrie3D upright =
        ERChgRepere3D(ERVector3D(1, 0, 0), ERVector3D(0, 0, 1), ERPoint3D());
    const ERPmIsometrie3D askew =
        ERChgRepere3D(ERVector3D(1, 0.2, 0.3), ERVector3D(0, 0.1, 1), ERPoint3D(5, 1, 0));
    const t_SmartPtr<ERFiniteEntity3DWF> arc =
        static_cast<ERFiniteEntity3DWF*>(new ERArc3D(askew, 3.0, 0.0, 6.0));
    ERCpoleNURBS3D meridian = ERArc3D(upright, 2.0, -1, pi / 2).ConvertToNurbs();
    const t_SmartPtr<ERAnyBoundedSurface> panel = new ERSpoleNURBS3D(waved(3, 2, false, false));
    expect_feet(panel, 0.3);
    expect_feet(panel, -2, true);
    expect_feet(new ERSpoleNURBS3D(waved(4, 3, true, false)), -0.2);
    expect_feet(new ERSpoleNURBS3D(waved(3, 3, false, true)), 0.2);
    expect_feet(new ERSurOfRevolution(
                    arc, ERInfLine3D(ERVector3D(0.3, 0.1, 1), ERPoint3D(0.5, -0.5, 0)), 0.0, 6.0),
                0.3);
    expect_feet(new ERSpoleNURBS3D(*velm::revolve(meridian, z, 0, 2 * pi)), 0.3);
    expect_feet(new ERSurOfRevolution(new ERCpoleNURBS3D(meridian), z, 0, 2 * pi), 0.3);
}

// The sides of shells about an egg and a ring, each in two parts: their distance is that from the
// surface in the middle less the offset.
TEST(PreparedPart, OfOffsetsHasTheSignsOfAShell) {
    constexpr double half = 0.2;
    const ERPmIsometrie3D upright =
        ERChgRepere3D(ERVector3D(1, 0, 0), ERVector3D(0, 0, 1), ERPoint3D(3, 0, 0));
    const ERCpoleNURBS3D egg(
        {{0, 0, -2, 1}, {1.5, 0, -2, 1}, {2, 0, 0, 1}, {1.5, 0, 2.5, 1}, {0, 0, 2.5, 1}}, 4);
    const ERCpoleNURBS3D ellipse =
        ERArcEllipse3D(EREllipse3D(upright, 1.5, 1.0), 0, 2 * pi).ConvertToNurbs();
    for (const ERCpoleNURBS3D& meridian : {egg, ellipse}) {
        const auto turned =
            velm::revolve(meridian, ERInfLine3D(ERVector3D(0, 0, 1), ERPoint3D()), 0, 2 * pi);
        const ERLimites u = turned->getBoundU(), v = turned->getBoundV();
        const ERVector3D up = turned->PtCur(u(0.5), v(0.5)).normale();
        std::vector<velm::PartFace> faces;
        for (const int outer : {1, -1})
            for (const bool upper : {false, true}) {
                ERTrimmedSurface face(EROffsetSurface(*turned, half * outer, up));
                face.addBound(
                    rectangle(u(upper ? 0.4 : 0), u(upper ? 1.0 : 0.4), v.start(), v.end()),
                    Boundary::outer);
                faces.push_back({*velm::prepare_face(face), outer});
            }
        const auto part = velm::PreparedPart::of(faces, 1e-6);
        ASSERT_TRUE(part);
        EXPECT_EQ(part->edges().open(), 0);
        const auto projector = velm::SurfaceProjector::on(*velm::prepare(*turned));
        for (int i = 0; i < 1000; ++i) {
            const ERPoint3D p = draw.value<ERPoint3D>(4);
            const velm::PartFoot foot = part->nearest(p);
            EXPECT_TRUE(foot.certified && foot.side <= velm::PartSide::edge) << p;
            EXPECT_NEAR(foot.signed_distance, projector->nearest(p).distance - half, 1e-11) << p;
        }
    }
}

} // namespace
