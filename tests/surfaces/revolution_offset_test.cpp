// Surfaces of revolution and offset surfaces: their points against the surfaces that they are equal
// to, derivatives against differences, and splits, maps, reversals and records.
#include "support/stored_record.h"
#include "support/surfaces.h"
#include "velm/surfaces/revolve.h"

namespace {

using namespace velm_test;
using Surface = t_SmartPtr<ERAnyBoundedSurface>;

Random draw{64};

t_SmartPtr<ERFiniteEntity3DWF> random_curve() {
    ERVec<ERPoint3D> poles;
    for (int i = 0; i < 4; ++i)
        poles.push_back(draw.value<ERPoint3D>(5));
    return new ERCpoleBezier3D(poles, ERLimites(1, 3));
}

ERInfLine3D random_axis() { return {draw.direction<ERVector3D>(), draw.value<ERPoint3D>(3)}; }

// The maps that are tried: turned, scaled, reflected.
std::vector<ERPmSimilitude3D> maps() {
    const ERPmSimilitude3D turn =
        ERRotation3D(draw.direction<ERVector3D>(), draw.value<ERPoint3D>(5), draw.uniform(-3, 3));
    return {turn, ERScaling3D(1.5) * turn, ERScaling3D(-1.5) * turn,
            ERScaling3D(1.5) * turn * ERSymetrie3D(draw.direction<ERVector3D>())};
}

// Parameters are unchanged by maps of both classes where those of the base are.
void expect_moved(const Surface& surface, const std::vector<ERPoint2D>& at) {
    for (const ERPmSimilitude3D& map : maps()) {
        const Surface moved(ERAnyBoundedSurface::castdown(surface->getCopy()));
        moved->transformFrom(map);
        for (const ERPoint2D& p : at)
            EXPECT_TRUE(isEqual((*moved)(p), map >> (*surface)(p), 1e-11)) << moved->className();
        moved->transformTo(map);
        for (const ERPoint2D& p : at)
            EXPECT_TRUE(isEqual((*moved)(p), (*surface)(p), 1e-11));
        moved->scale(-2);
        moved->translate({1, 2, 3});
        for (const ERPoint2D& p : at)
            EXPECT_TRUE(isEqual((*moved)(p), (*surface)(p) * -2 + ERPoint3D(1, 2, 3), 1e-11));
    }
}

TEST(SurOfRevolution, PointsDerivativesIsosSplitsAndMaps) {
    for (int round = 0; round < 40; ++round) {
        const t_SmartPtr<ERFiniteEntity3DWF> curve = random_curve();
        const ERInfLine3D axis = random_axis();
        const Surface s = new ERSurOfRevolution(curve, axis, 0.5, 4);
        const ERPoint2D at(draw.uniform(1, 3), draw.uniform(0.5, 4));
        const ERPoint3D expected =
            ERRotation3D(axis.dirVector(), axis.origine(), at.y()) >> (*curve)(at.x());
        EXPECT_TRUE(isEqual((*s)(at), expected, 1e-12));
        EXPECT_TRUE(isEqual((*s->getEntityIsoU(at.x()))(at.y()), expected, 1e-12));
        EXPECT_TRUE(isEqual((*s->getEntityIsoV(at.y()))(at.x()), expected, 1e-12));

        // Central differences of the derivatives one order lower, to their error of h^2.
        constexpr double h = 1e-5;
        const ERInfoPoint3DSurf p = s->PtCur(at);
        const auto step = [&](double du, double dv) { return s->PtCur(at.x() + du, at.y() + dv); };
        const auto slope = [&](const ERVector3D& a, const ERVector3D& b) {
            return (b - a) * (0.5 / h);
        };
        const auto along = [&](auto of, double du, double dv) {
            return slope(of(step(-du, -dv)), of(step(du, dv)));
        };
        const auto position = [](const ERInfoPoint3DSurf& q) { return ERVector3D(q.point()); };
        const auto by_u = [](const ERInfoPoint3DSurf& q) { return q.tangenteU(); };
        const auto by_v = [](const ERInfoPoint3DSurf& q) { return q.tangenteV(); };
        EXPECT_TRUE(isEqual(p.tangenteU(), along(position, h, 0), 1e-7));
        EXPECT_TRUE(isEqual(p.tangenteV(), along(position, 0, h), 1e-7));
        EXPECT_TRUE(isEqual(p.derivative(0, 2), along(by_u, h, 0), 1e-6));
        EXPECT_TRUE(isEqual(p.derivative(1, 1), along(by_u, 0, h), 1e-6));
        EXPECT_TRUE(isEqual(p.derivative(2, 0), along(by_v, 0, h), 1e-6));

        // SplitInU halves the angles, SplitInV cuts the curve.
        Surface a, b;
        EXPECT_EQ(s->SplitInU(a, b), 1);
        EXPECT_EQ(a->getBoundV(), ERLimites(0.5, 2.25));
        EXPECT_EQ(b->getBoundV(), ERLimites(2.25, 4));
        EXPECT_EQ(b->getBoundU(), ERLimites(1, 3));
        EXPECT_TRUE(isEqual((*b)(at), expected, 1e-12));
        EXPECT_EQ(s->SplitInU(a, b, 4.5), 0);
        EXPECT_EQ(ERSurOfRevolution(curve, axis, 4, 1).SplitInU(b, a), 1) << "downwards";
        EXPECT_EQ(a->getBoundV(), ERLimites(2.5, 1));
        EXPECT_EQ(s->SplitInV(a, b), 1);
        EXPECT_EQ(a->getBoundU(), ERLimites(1, 2));
        EXPECT_EQ(b->getBoundV(), ERLimites(0.5, 4));
        EXPECT_TRUE(isEqual((*(at.x() < 2 ? a : b))(at), expected, 1e-12));

        ERMinimax3D box = s->getBox();
        EXPECT_TRUE(box.contains(expected));
        const auto& turned = static_cast<const ERSurOfRevolution&>(*s);
        EXPECT_GE(turned.upperEstimateRadius(), distance(axis, (*curve)(at.x())));
        EXPECT_NEAR(turned.getRepere3D().getVector(Coord3D_Z) * axis.dirVector(), 1, 1e-12);
        expect_moved(s, {at});
        EXPECT_TRUE(isEqual((*curve)(at.x()),
                            ERRotation3D(axis.dirVector(), axis.origine(), -at.y()) >> expected,
                            1e-12))
            << "the caller's curve";
        const ERVector3D normal = p.normale();
        s->reverse();
        EXPECT_TRUE(isEqual((*s)(at.x(), -at.y()), expected, 1e-12));
        EXPECT_TRUE(isEqual(s->PtCur(at.x(), -at.y()).normale(), -normal, 1e-12));
    }
}

TEST(SurOfRevolution, CurveThatTouchesTheAxis) {
    const t_SmartPtr<ERFiniteEntity3DWF> line =
        static_cast<ERFiniteEntity3DWF*>(new ERSegment3D({0, 0, 0}, {1, 0, 2}));
    const ERSurOfRevolution cone(line, ERInfLine3D(ERVector3D(0, 0, 1), ERPoint3D(0, 0, 7)), 0,
                                 2 * pi);
    ERPoint3D p, foot;
    double t = 0;
    EXPECT_EQ(cone.getOnePointOfTheGeneratrixNotOnTheAxis(p, t, foot), 1);
    EXPECT_EQ(t, 1);
    EXPECT_TRUE(isEqual(foot, ERPoint3D(0, 0, 2), 1e-15));
    EXPECT_TRUE(isEqual((*cone.getEntityIsoU(0))(1.0), ERPoint3D(0, 0, 0), 1e-15));
    EXPECT_EQ(ERSurOfRevolution().getOnePointOfTheGeneratrixNotOnTheAxis(p, t, foot), 0);
}

TEST(Revolve, EveryCurveExactly) {
    for (int round = 0; round < 40; ++round) {
        // Weighted, in general position: it leaves every half plane of the axis.
        ERVec<ERPole3DH> poles;
        for (int i = 0; i < 7; ++i)
            poles.push_back(ERPole3DH(draw.value<ERPoint3D>(5), draw.uniform(0.2, 3)));
        ERCpoleNURBS3D curve(poles, 3);
        const ERInfLine3D axis = random_axis();
        const double start = draw.uniform(-4, 4);
        const double end = start + (round % 4 == 0 ? 2 * pi : draw.uniform(0.1, 6));
        const auto s = velm::revolve(curve, axis, start, end);
        ASSERT_TRUE(s && s->isValid());
        const double piece = (end - start) / std::ceil((end - start - 1e-9) / (pi / 2));
        for (int i = 0; i < 10; ++i) {
            const double u = draw.uniform(0, 1);
            // The point of the turned curve at the angle that v means, which is v itself at
            // ends and middles of pieces.
            const double v = i < 5 ? start + piece * 0.5 * draw.below(2) : draw.uniform(start, end);
            const ERPoint3D p = (*s)(u, v), c = curve(u);
            const ERVector3D d = axis.dirVector();
            const ERPoint3D foot = axis.projectPt(c);
            const ERVector3D from(foot, c), to(foot, p);
            EXPECT_NEAR(to * d, 0.0, 1e-13);
            EXPECT_NEAR(to.norme(), from.norme(), 1e-13);
            const double angle = std::atan2((from ^ to) * d, from * to);
            const double off = std::remainder(angle - v, 2 * pi);
            EXPECT_NEAR(off, 0.0, i < 5 ? 1e-12 : 0.02) << "angle at " << v;
        }
    }
    const ERCpoleNURBS3D curve({ERPole3DH({1, 0, 0}, 1), ERPole3DH({2, 0, 3}, 1)}, 1);
    const double nan = std::nan("");
    for (const auto& [start, end] :
         {std::pair(1.0, 1.0), std::pair(0.0, 6.3), std::pair(nan, 1.0), std::pair(2.0, 1.0)})
        EXPECT_FALSE(velm::revolve(curve, random_axis(), start, end));
    EXPECT_FALSE(velm::revolve(ERCpoleNURBS3D(), random_axis(), 0, 1));
}

std::vector<Surface> bases() {
    const ERPmIsometrie3D f = ERChgRepere3D(draw.direction<ERVector3D>(),
                                            draw.direction<ERVector3D>(), draw.value<ERPoint3D>(9));
    return {new ERBoundedPlane(f, {1, 3}, {2, 5}), new ERBoundedCylinder(f, 4, {1, 3}, {0, 6}),
            new ERBoundedCone(f, 0.4, {5, 8}, {0, 6}), new ERBoundedSphere(f, 4, {0, 6}, {-1, 1}),
            new ERBoundedTorus(f, 8, 3, 0, 6, 1, 4),
            // No angle is a parameter of the curve.
            new ERSurOfRevolution(random_curve(), random_axis(), 0, 0.9)};
}

TEST(OffsetSurface, PointsAreAboveTheBaseOnTheSideOfTheDirection) {
    for (const Surface& base : bases()) {
        const ERLimites u = base->getBoundU(), v = base->getBoundV();
        const ERVector3D middle = base->PtCur(u(0.5), v(0.5)).normale();
        for (const double side : {1.0, -1.0}) {
            // The direction against the normal: stored negated, with the offset.
            const EROffsetSurface s(*base, 0.3, middle * side);
            EXPECT_EQ(s.getOffset(), 0.3 * side);
            EXPECT_TRUE(isEqual(s.direction(), middle, 0));
            const ERPoint2D at(u(draw.uniform(0, 1)), v(draw.uniform(0, 1)));
            const ERInfoPoint3DSurf on = base->PtCur(at);
            const ERPoint3D expected = on.point() + on.normale() * (0.3 * side);
            EXPECT_TRUE(isEqual(s(at), expected, 1e-13));
            EXPECT_EQ(s.PtCur(at).tangenteV(), on.tangenteV()) << "the base's derivatives";
            EXPECT_TRUE(s.getBox().contains(expected));
            EXPECT_TRUE(isEqual((*s.getEntityIsoU(at.x()))(at.y()), expected, 1e-12));
            EXPECT_TRUE(isEqual((*s.getEntityIsoV(at.y()))(at.x()), expected, 1e-12));
            // The tangents are the base's by the same parameter, on the torus too; those of the
            // cone are of height 1.
            const double h = 1e-6;
            const ERVector3D by_u((*base)(at.x() - h, at.y()), (*base)(at.x() + h, at.y()));
            const ERVector3D by_v((*base)(at.x(), at.y() - h), (*base)(at.x(), at.y() + h));
            const auto tangent = [](const t_SmartPtr<ERFiniteEntity3DWF>& iso, double t) {
                return iso->PtCur(t).tangente().getnormalized();
            };
            EXPECT_TRUE(
                isEqual(tangent(s.getEntityIsoU(at.x()), at.y()), by_v.getnormalized(), 1e-6));
            EXPECT_TRUE(
                isEqual(tangent(s.getEntityIsoV(at.y()), at.x()), by_u.getnormalized(), 1e-6));
            // A part keeps the side, although the normal in its middle may point elsewhere.
            Surface a, b;
            for (const int split : {s.SplitInU(a, b), s.SplitInV(a, b)}) {
                EXPECT_EQ(split, 1);
                EXPECT_EQ(static_cast<EROffsetSurface&>(*b).getOffset(), 0.3 * side);
            }
        }
        EXPECT_EQ(EROffsetSurface(*base, 0, middle)(u(0.2), v(0.4)), (*base)(u(0.2), v(0.4)));
    }
}

TEST(OffsetSurface, KeepsItsPlaceUnderMapsAndReversals) {
    for (const Surface& base : bases()) {
        const ERVector3D direction = draw.direction<ERVector3D>(); // also nearly in the surface
        const Surface s = new EROffsetSurface(*base, 0.3, direction);
        const ERLimites u = s->getBoundU(), v = s->getBoundV();
        for (const ERPmSimilitude3D& map : maps()) {
            const Surface moved(ERAnyBoundedSurface::castdown(s->getCopy()));
            moved->transformFrom(map);
            // Mirrored families renumber an angle about z, backwards in their limits.
            const bool plain = map.isDirect() || ERBoundedPlane::castdown(base.get()) ||
                               ERSurOfRevolution::castdown(base.get());
            const bool in_u =
                ERBoundedSphere::castdown(base.get()) || ERBoundedTorus::castdown(base.get());
            for (const double t : {0.1, 0.7}) {
                const double x = plain || !in_u ? t : 1 - t, y = plain || in_u ? 0.4 : 0.6;
                const ERPoint3D found = (*moved)(moved->getBoundU()(x), moved->getBoundV()(y));
                EXPECT_TRUE(isEqual(found, map >> (*s)(u(t), v(0.4)), 1e-11))
                    << base->className() << " " << map.isDirect();
            }
        }
        const Surface moved(ERAnyBoundedSurface::castdown(s->getCopy()));
        moved->scale(2);
        EXPECT_EQ(std::fabs(static_cast<EROffsetSurface&>(*moved).getOffset()), 0.6);
        EXPECT_TRUE(isEqual((*moved)(moved->getBoundU()(0.3), moved->getBoundV()(0.6)),
                            (*s)(u(0.3), v(0.6)) * 2.0, 1e-11));
    }
    EROffsetSurface plane(ERBoundedPlane(ERIdentity3D(), {0, 1}, {0, 1}), 2, {0, 0, 1});
    plane.reverse();
    EXPECT_EQ(plane.getOffset(), -2);
    EXPECT_TRUE(isEqual(plane(0.25, 0.5), ERPoint3D(0.5, 0.25, 2), 1e-15));
}

TEST(OffsetSurface, FeetAndIsoCurves) {
    const EROffsetSurface tube(ERBoundedCylinder(ERIdentity3D(), 4, {0, 5}, {0, 6}), -1,
                               {1, 0, 0.1}); // the normal is inward: radius 5 or 3
    const ERPoint3D on = tube(2, 1);
    ERPoint2D at;
    EXPECT_EQ(tube.ProjectionNormale(on * 1.1 - ERPoint3D(0, 0, 0.2), 0, at, 1), 1);
    EXPECT_TRUE(isEqual(at, ERPoint2D(2, 1), 1e-12));

    const t_SmartPtr<ERFiniteEntity3DWF> ring = tube.getEntityIsoU(2);
    const double radius = std::hypot(on.x(), on.y());
    EXPECT_NEAR(ring->arcLength(1e-9), 6 * radius, 1e-7);
    EXPECT_NEAR(ring->arcLength(ERLimites(1, 2), 1e-9), radius, 1e-7);
    ERCpoleNURBS3D nurbs = ring->ConvertToNurbs();
    EXPECT_TRUE(isEqual(nurbs(1.234), (*ring)(1.234), 1e-5));
    for (const ERPoint3D& p : ring->approxime(ERLimites(0, 6), 1e-3))
        EXPECT_NEAR(std::hypot(p.x(), p.y()), radius, 1e-12);
    t_SmartPtr<ERFiniteEntity3DWF> first, second;
    EXPECT_EQ(ring->splitAt(first, second, 2.5), 1);
    EXPECT_EQ(first->getBound(), ERLimites(0, 2.5));
    EXPECT_EQ(second->lastPt(), ring->lastPt());
    const ERPoint3D start = ring->firstPt();
    ring->reverse();
    EXPECT_EQ(ring->lastPt(), start);
}

TEST(DerivedSurfaces, RecordsTextsAndDamage) {
    ERSurOfRevolution empty({}, ERInfLine3D(ERVector3D(0, 0, 1), {1, 2, 3}), 0.5, 2, {1, 0, 0});
    EXPECT_EQ(record_of(empty), bytes_of(0.5, 2.0, 0.0, 0.0, 1.0, 1.0, 2.0, 0.0, 1, 1.0, 0.0, 0.0));
    EROffsetSurface offset;
    offset.offset(1.5);
    offset.indicateur(2.5);
    EXPECT_EQ(record_of(offset), bytes_of(1.5, 2.5, 0.0, 0.0, 0.0, 1, 1));
    EXPECT_EQ(text_of(offset), "Surface Offset \nOffset      :1.5\nIndicateur  :2.5\n"
                               "Based On    :\nEquiv Entity :\n");
    EXPECT_EQ(text_of(empty).substr(0, 14), "Axe          =");
    // Without what they are built on, they answer all the same.
    for (ERAnyBoundedSurface* const s :
         {static_cast<ERAnyBoundedSurface*>(&empty), static_cast<ERAnyBoundedSurface*>(&offset)}) {
        Surface a, b;
        ERPoint2D at;
        EXPECT_EQ(s->PtCur(1, 2).point(), ERPoint3D());
        EXPECT_TRUE(s->getBox().invalid());
        EXPECT_EQ(s->SplitInV(a, b), 0);
        EXPECT_EQ(s->ProjectionNormale({1, 2, 3}, 0.0, at, 0), 0);
        EXPECT_EQ(s->getMatricePoint(2, 2).rows(), 2);
        s->transformFrom(ERScaling3D(-2));
        s->reverse();
        EXPECT_EQ(s->upperEstimateInV(), 0);
    }
}

TEST(DerivedSurfaces, AreStoredWithWhatTheyAreBuiltOn) {
    const TemporaryFolder folder;
    const std::string path = folder.path("surfaces.velm");
    const t_SmartPtr<ERFiniteEntity3DWF> curve = random_curve();
    const t_SmartPtr<ERSurOfRevolution> turned =
        new ERSurOfRevolution(curve, random_axis(), 0.5, 3);
    const t_SmartPtr<EROffsetSurface> kept = new EROffsetSurface(turned.get(), 0.5, {1, 2, 3});
    kept->equivEntity(new ERBoundedPlane());
    kept->indicateur(7);
    const ERPoint3D before = (*kept)(1.5, 2);
    gmErrorCode code;
    {
        ERDataBase data;
        ASSERT_EQ(data.Open(path.c_str(), 0), gmSuccess);
        ASSERT_EQ(data.save(kept.get()), gmSuccess);
        kept->scale(2); // what is on record does not follow
        const t_SmartPtr<EROffsetSurface> scaled = new EROffsetSurface(*kept);
        ASSERT_EQ(data.save(scaled.get()), gmSuccess);
    }
    ERDataBase data;
    ASSERT_EQ(data.Open(path.c_str(), 1), gmSuccess);
    for (const int index : {0, 1}) {
        const auto read = data.restore(index, code);
        EROffsetSurface& back = EROffsetSurface::castdown(*read);
        EXPECT_TRUE(isEqual(back(1.5, 2), before * (index + 1.0), 1e-12)) << index;
        EXPECT_TRUE(back.equivEntity());
        EXPECT_EQ(back.indicateur(), 7);
        back.offset(0.25);
        EXPECT_FALSE(back.equivEntity()) << "it is where the surface was";
        // References to nothing.
        restore(back, bytes_of(1.5, 2.5, 0.0, 0.0, 0.0, 0, 12345, 0, -5));
        EXPECT_FALSE(back.base() || back.equivEntity());
    }
}

// A store whose record of an offset surface names that surface as its own base.
TEST(OffsetSurface, ThatIsItsOwnBaseInAStoreComesBackWithout) {
    const StoredRecord stored(new EROffsetSurface(
        ERBoundedSphere(ERPmIsometrie3D(), 2, {0, 1}, {0, 1}), 0.5, ERVector3D(1, 0, 0)));
    ASSERT_TRUE(stored.with(0, "")->base());
    // After the offset, the number, the direction and the flag.
    const auto offset = stored.with(44, bytes_of(int(stored.kept->getObjectID())));
    ASSERT_TRUE(offset);
    const auto* const inner = EROffsetSurface::castdown(offset->base().get());
    EXPECT_FALSE(inner && inner->base());
    EXPECT_FALSE(velm::prepare(*offset));
    EXPECT_TRUE(isEqual((*offset)(0.5, 0.5), ERPoint3D(), 1e-12));
}

} // namespace
