// Prepared analytic surfaces, surfaces of revolution and offset surfaces against the entities and
// against differences.
#include "support/allocation_count.h"
#include "support/surfaces.h"
#include "velm/surfaces/revolve.h"
#include "velm/transforms/bodies.h"

namespace {

using namespace velm_test;
using Surface = t_SmartPtr<ERAnyBoundedSurface>;

struct Bundle {
    ERVector3D at[7]; // P, du, dv, duu, duv, dvv, the normal
};

// Singles, batches and grids agree; points are the entity's; each derivative is the difference of
// those of an order less, the normal that of the tangents.
void expect_prepared(const Surface& surface, double derivative_tol) {
    SCOPED_TRACE(surface->className());
    const auto prepared = velm::prepare(*surface);
    ASSERT_TRUE(prepared);
    const ERLimites in_u = surface->getBoundU(), in_v = surface->getBoundV();
    ASSERT_TRUE(prepared->domain_u() == in_u && prepared->domain_v() == in_v);
    std::vector<double> u, v;
    for (int i = 0; i < 9; ++i) {
        u.push_back(in_u((i + 0.31) / 9.0));
        v.push_back(in_v((i + 0.77) / 9.0));
    }
    std::vector<ERPoint3D> grid(81), batch(81);
    std::vector<ERPoint2D> places;
    for (const double y : v)
        for (const double x : u)
            places.emplace_back(x, y);
    std::vector<ERVector3D> g[6], b[6]; // in the bundles' order
    for (int n = 0; n < 6; ++n)
        g[n] = b[n] = std::vector<ERVector3D>(grid.size());
    const velm::SurfaceSamples to_grid{grid, g[5], g[0], g[1], g[2], g[3], g[4], {}};
    const velm::SurfaceSamples to_batch{batch, b[5], b[0], b[1], b[2], b[3], b[4], {}};
    prepared->grid(u, v, to_grid);
    prepared->evaluate(places, to_batch);
    const double size = prepared->box().diagonal();
    ERMinimax3D box = prepared->box();
    box.Inflate(1e-13 * size);
    const double h_u = 1e-5 * in_u.amplitude(), h_v = 1e-5 * in_v.amplitude();
    const auto bundle = [&](double x, double y) {
        const velm::SurfaceJet j = prepared->jet(x, y);
        return Bundle{
            {ERVector3D(j.point), j.du, j.dv, j.duu, j.duv, j.dvv, prepared->normal(x, y)}};
    };
    for (std::size_t k = 0; k < places.size(); ++k) {
        const double x = places[k].x(), y = places[k].y();
        SCOPED_TRACE(testing::Message() << x << " " << y);
        const Bundle here = bundle(x, y);
        EXPECT_TRUE(isEqual(ERPoint3D(here.at[0]), (*surface)(x, y), 1e-13 * size));
        EXPECT_TRUE(isEqual(grid[k], ERPoint3D(here.at[0]), 1e-13 * size));
        EXPECT_TRUE(isEqual(batch[k], ERPoint3D(here.at[0]), 1e-13 * size));
        EXPECT_TRUE(box.contains(grid[k]));
        for (int n = 0; n < 6; ++n)
            for (const ERVector3D& same : {g[n][k], b[n][k]})
                EXPECT_LE((same - here.at[n + 1]).norme(), 1e-9 * (1 + same.norme())) << n;
        const Bundle right = bundle(x + h_u, y), left = bundle(x - h_u, y);
        const Bundle above = bundle(x, y + h_v), below = bundle(x, y - h_v);
        const int of_u[][2] = {{0, 1}, {1, 3}, {2, 4}}, of_v[][2] = {{0, 2}, {1, 4}, {2, 5}};
        for (int n = 0; n < 3; ++n) {
            const ERVector3D by_u = (right.at[of_u[n][0]] - left.at[of_u[n][0]]) * (0.5 / h_u);
            const ERVector3D by_v = (above.at[of_v[n][0]] - below.at[of_v[n][0]]) * (0.5 / h_v);
            EXPECT_LE((by_u - here.at[of_u[n][1]]).norme(), derivative_tol * (1 + by_u.norme()));
            EXPECT_LE((by_v - here.at[of_v[n][1]]).norme(), derivative_tol * (1 + by_v.norme()));
        }
        EXPECT_TRUE(isEqual(here.at[6], (here.at[1] ^ here.at[2]).getnormalized(), 1e-9));
    }
    long before = allocations();
    prepared->evaluate(places, to_batch);
    prepared->grid(u, v, to_grid);
    EXPECT_EQ(allocations(), before);
    // The given classes too: values with derivatives come from the thread's own store of bodies.
    const auto sum = [&] {
        double all = 0.0;
        for (const ERPoint2D& at : places)
            all += surface->PtCur(at).point().x() + (*surface)(at.x(), at.y()).y();
        return all;
    };
    const double first = sum();
    before = allocations();
    EXPECT_EQ(sum(), first);
    EXPECT_EQ(allocations(), before);
}

ERSpoleNURBS3D waved(Random& random, int p, int q, bool rational) {
    const ERLimites weights = rational ? ERLimites(0.6, 1.6) : ERLimites(1, 1);
    return {waved_net(random, p + 4, q + 3, 0.3, weights), ERKnotVector(p, p + 4, {0, 1}),
            ERKnotVector(q, q + 3, {-1, 2})};
}

// Curves of each kind that turns, off the axis.
std::vector<t_SmartPtr<ERFiniteEntity3DWF>> generatrices() {
    const ERPmIsometrie3D frame =
        ERChgRepere3D(ERVector3D(1, 0.2, 0.3), ERVector3D(0, 0.1, 1), ERPoint3D(5, 1, 0));
    const ERVec<ERPole3DH> poles{{3, 0, 0, 1},  {8, 1, 2, 2}, {2, 0, 3, 0.7},
                                 {5, -1, 5, 1}, {4, 0, 6, 1}, {3, 1, 8, 1}};
    return {static_cast<ERFiniteEntity3DWF*>(new ERSegment3D({2, 0, 0}, {3, 1, 2})),
            static_cast<ERFiniteEntity3DWF*>(new ERArc3D(frame, 2.0, 0.3, 5.0)),
            static_cast<ERFiniteEntity3DWF*>(new ERCpoleNURBS3D(poles, 3)),
            static_cast<ERFiniteEntity3DWF*>(new ERCpoleBezier3DR(poles))};
}

TEST(PreparedRevolution, IsTheEntityWithItsParameters) {
    const ERInfLine3D axis(ERVector3D(0.3, 0.1, 1), ERPoint3D(0.5, -0.5, 0));
    for (const auto& curve : generatrices())
        for (const ERLimites& turn : {ERLimites(0.3, 1.2), ERLimites(-1, 2 * pi - 1)}) {
            const ERSurOfRevolution entity(curve, axis, turn);
            expect_prepared(new ERSurOfRevolution(entity), 1e-6);
            // The patches are the surface, at the parameters that they state.
            const auto prepared = velm::prepare(entity);
            ASSERT_TRUE(prepared && prepared->kind() == velm::SurfaceKind::revolution);
            for (int k = 0; k < prepared->patches_u() * prepared->patches_v(); ++k) {
                const velm::SurfacePatch patch =
                    prepared->patch(k % prepared->patches_u(), k / prepared->patches_u());
                ERMatrix<ERPole3DH> net(3, patch.degree_u + 1);
                for (std::size_t i = 0; i < net.writable().size(); ++i)
                    net.writable()[i] = ERPole3DH(patch.poles[4 * i], patch.poles[4 * i + 1],
                                                  patch.poles[4 * i + 2], patch.poles[4 * i + 3]);
                const ERSpoleBezier3DR bezier(net);
                for (const double x : {0.0, 0.3, 0.8, 1.0})
                    EXPECT_TRUE(isEqual(bezier(x, 1 - 0.9 * x),
                                        entity(patch.u_at(x), patch.v_at(1 - 0.9 * x)), 1e-12))
                        << curve->className();
            }
        }
    // Not more than a turn, no curve on the axis.
    const t_SmartPtr<ERFiniteEntity3DWF> along =
        static_cast<ERFiniteEntity3DWF*>(new ERSegment3D({0, 0, 0}, {0, 0, 2}));
    const ERInfLine3D z(ERVector3D(0, 0, 1), ERPoint3D());
    EXPECT_FALSE(velm::prepare(ERSurOfRevolution(along, z, 0, 1)));
    EXPECT_FALSE(velm::prepare(ERSurOfRevolution(generatrices()[0], z, 0, 7)));
    EXPECT_FALSE(velm::prepare(ERSurOfRevolution()));
}

TEST(PreparedOffset, HasThePointsOfTheEntityAndTrueDerivatives) {
    Random random(71);
    const ERPmIsometrie3D frame =
        ERChgRepere3D(ERVector3D(1, 2, 3), ERVector3D(-1, 0, 2), ERPoint3D(3, -1, 2));
    auto* const plane = new ERBoundedPlane();
    plane->transformFrom(frame);
    const ERInfLine3D axis(ERVector3D(0.3, 0.1, 1), ERPoint3D(0.5, -0.5, 0));
    std::vector<Surface> bases{
        plane,
        new ERBoundedCylinder(frame, 2.0, ERLimites(-1, 3), ERLimites(0.5, 4.0)),
        new ERBoundedCone(frame, 0.4, 1.0, 3.0),
        new ERBoundedCone(frame, 0.4, -2.0, -0.5),
        new ERBoundedSphere(frame, 2.0, ERLimites(0.3, 5.0), ERLimites(-1.0, 1.5)),
        new ERBoundedTorus(frame, 3.0, 1.0, 0.5, 4.0, -1.0, 2.5),
        new ERSpoleNURBS3D(waved(random, 3, 2, false)),
        new ERSpoleNURBS3D(waved(random, 4, 3, true))};
    for (const auto& curve : generatrices())
        bases.push_back(new ERSurOfRevolution(curve, axis, 0.3, 4));
    ERMatrix<ERPoint3D> points(4, 5);
    for (ERPoint3D& p : points.writable())
        p = random.value<ERPoint3D>(2);
    expect_prepared(new ERSpoleBezier3D(points), 1e-5);
    expect_prepared(new ERSpoleBezier3DR(waved_net(random, 3, 4, 0.3, {0.5, 2})), 1e-5);
    for (const Surface& base : bases) {
        expect_prepared(base, 1e-5);
        for (const double distance : {0.2, -0.15}) {
            const ERVector3D up =
                base->PtCur(base->getBoundU()(0.5), base->getBoundV()(0.5)).normale();
            const Surface moved = new EROffsetSurface(*base, distance, up);
            expect_prepared(moved, 1e-5);
            // An offset of an offset is along the same normals.
            const EROffsetSurface twice(*moved, 0.1, up);
            const auto prepared = velm::prepare(twice);
            ASSERT_TRUE(prepared);
            const double u = base->getBoundU()(0.4), v = base->getBoundV()(0.3);
            EXPECT_TRUE(isEqual((*prepared)(u, v), twice(u, v), 1e-13));
            EXPECT_EQ(prepared->offset(), prepared->base() ? distance + 0.1 : 0.0);
        }
    }
    const EROffsetSurface gone(*bases[1], 2.0, ERVector3D(bases[1]->PtCur(0, 1).normale()));
    EXPECT_FALSE(velm::prepare(gone));
    EXPECT_FALSE(velm::prepare(EROffsetSurface()));
}

// A frame as a damaged record may have it; a mirror is none.
TEST(PreparedSurface, OfAnalyticKindHasAnOrthonormalFrame) {
    const auto in_frame = [](double xx, double xy, double zz) {
        const double rows[] = {xx, xy, 0, 0, 1, 0, 0, 0, zz};
        return ERPmIsometrie3D(new _ERWorkplane(ERMatrix<double>(3, 3, rows), ERPoint3D(1, 2, 3)));
    };
    for (const auto& [frame, is_good] :
         {std::pair(in_frame(1, 0, -1), true), std::pair(in_frame(1 + 1e-9, 0, 1), false),
          std::pair(in_frame(1, 1e-9, 1), false), std::pair(in_frame(1, 0, NAN), false),
          std::pair(in_frame(1, 0, 0), false)}) {
        EXPECT_EQ(velm::prepare(ERBoundedPlane(frame, {0, 1}, {0, 1})).has_value(), is_good);
        EXPECT_EQ(velm::prepare(ERBoundedSphere(frame, 2.0, {0, 1}, {0, 1})).has_value(), is_good);
        EXPECT_EQ(velm::prepare(ERBoundedTorus(frame, 3.0, 1.0, 0, 1, 0, 1)).has_value(), is_good);
    }
}

// The sphere's offset is the sphere times a factor, with all its derivatives: at the poles of its
// NURBS form and of its turned meridian, beside them, where tangents lose their digits, and away
// from the origin.
TEST(PreparedOffset, MovesAlongTheLimitOfTheNormal) {
    const ERVector3D up(0.6, 0, 0.8), out(0.8, 0, -0.6);
    std::vector<std::pair<Surface, ERPoint3D>> balls;
    for (const ERPoint3D& centre : {ERPoint3D(), ERPoint3D(30, 70, 100)}) {
        t_SmartPtr<ERArc3D> arc = new ERArc3D(ERChgRepere3D(out, up, centre), 2, -pi / 2, pi / 2);
        auto* const meridian = new ERCpoleNURBS3D(arc->ConvertToNurbs());
        const ERInfLine3D axis(up, centre);
        balls.emplace_back(new ERSpoleNURBS3D(*velm::revolve(*meridian, axis, 0, 2 * pi)), centre);
        balls.emplace_back(new ERSurOfRevolution(meridian, axis, -1, 2 * pi - 1), centre);
        balls.emplace_back(new ERSurOfRevolution(&*arc, axis, -1, 1), centre);
    }
    for (const auto& [base, centre] : balls) {
        const auto prepared = velm::prepare(EROffsetSurface(*base, -0.5, up));
        ASSERT_TRUE(prepared && prepared->base());
        const ERLimites in_u = prepared->domain_u(), in_v = prepared->domain_v();
        const double factor = ERVector3D(centre, (*prepared)(in_u(0.5), in_v(0.2))).norme() / 2.0;
        EXPECT_NEAR(std::fabs(factor - 1.0), 0.25, 1e-12);
        const double exact = 1e-13 + 1e-13 * ERVector3D(centre).norme();
        for (const double s :
             {0.0, 1e-16, 1e-10, 1e-7, 1e-6, 1e-4, 0.2, 0.9, 1 - 1e-6, 1 - 1e-9, 1.0})
            for (const double t : {0.0, 0.2, 0.7, 1.0}) {
                SCOPED_TRACE(testing::Message()
                             << base->className() << centre << " " << s << " " << t);
                const double u = in_u(s), v = in_v(t);
                const velm::SurfaceJet below = prepared->base()->jet(u, v),
                                       jet = prepared->jet(u, v);
                EXPECT_TRUE(isEqual(jet.point - centre, (below.point - centre) * factor, exact));
                EXPECT_TRUE(isEqual(jet.point, (*prepared)(u, v), exact));
                for (const auto d :
                     {&velm::SurfaceJet::du, &velm::SurfaceJet::dv, &velm::SurfaceJet::duu,
                      &velm::SurfaceJet::duv, &velm::SurfaceJet::dvv})
                    EXPECT_TRUE(isEqual(jet.*d, below.*d * factor, 100 * exact));
            }
    }
}

} // namespace
