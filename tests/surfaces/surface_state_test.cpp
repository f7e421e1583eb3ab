// What surfaces keep for projections goes when they change; ties, snaps and the bounds of the work.
#include "surfaces/projection_steps.h"

#include "velm/surfaces/surface_projection.h"
#include "velm/surfaces/vertical_crossing.h"

namespace {

using namespace velm_test;

ERMatrix<ERPole3DH> net(Random& random, int n, int m, double wide) {
    return waved_net(random, n, m, 0.3, {0.7, 1.4}, wide);
}
ERSpoleNURBS3D nurbs(Random& random, double wide = 1.0) {
    return {net(random, 7, 6, wide), ERKnotVector(3, 7, {0, 2}), ERKnotVector(2, 6, {-1, 1})};
}

// All that a projection, a crossing and a box give for points around where the surface is now.
std::vector<double> answers(const ERAnyBoundedSurface& s) {
    std::vector<double> list;
    Random random(5);
    const ERMinimax3D box = s.getBox();
    for (int axis = 0; axis < 3; ++axis)
        list.insert(list.end(), {box.lower(axis), box.upper(axis)});
    list.insert(list.end(), {s.upperEstimateInU(), s.upperEstimateInV()});
    for (int k = 0; k < 6; ++k) {
        const double u = s.getBoundU()(random.uniform(0, 1)),
                     v = s.getBoundV()(random.uniform(0, 1));
        const ERPoint3D p = s(u, v) + random.value<ERPoint3D>(0.2);
        ERPoint2D at;
        list.push_back(s.ProjectionNormale(p, 1.0, at, k % 2));
        list.insert(list.end(), {at.x(), at.y()});
        if (const auto* const turned = ERSurOfRevolution::castdown(&s)) {
            SeedProjection(*turned, p, 1.0, at);
            list.insert(list.end(), {at.x(), at.y()});
        }
        ERRaySurfaceResult crossings;
        s.ProjectPoint(p, random.direction<ERVector3D>(), crossings, 1);
        list.push_back(crossings.size());
        for (const ERInfoPoint3DSurf& crossing : crossings)
            list.insert(list.end(), {crossing.u(), crossing.v()});
    }
    return list;
}

template <class Class>
using Change = std::pair<const char*, std::function<void(Class&)>>;

template <class Class>
std::vector<Change<Class>> changes_of_any() {
    const ERPmIsometrie3D frame =
        ERChgRepere3D(ERVector3D(1, 2, 3), ERVector3D(0, 1, 0), ERPoint3D(4, 5, 6));
    return {{"scale", [](Class& s) { s.scale(1.5); }},
            {"translate",
             [](Class& s) {
                 s.translate({1, -2, 0.5});
             }},
            {"transformFrom", [=](Class& s) { s.transformFrom(frame); }},
            {"transformTo", [=](Class& s) { s.transformTo(frame); }},
            {"mirrored", [](Class& s) { s.transformFrom(ERSymetrie3D(Coord3D_X)); }},
            {"reverse", [](Class& s) { s.reverse(); }}};
}
template <class Class>
std::vector<Change<Class>> changes_of_poles() {
    auto list = changes_of_any<Class>();
    list.push_back({"setBound", [](Class& s) {
                        s.setBound(ERLimites(s.getBoundU()(0.2), s.getBoundU()(0.7)),
                                   ERLimites(s.getBoundV()(0.1), s.getBoundV()(0.9)));
                    }});
    list.push_back({"adjust", [](Class& s) {
                        s.setBound(ERLimites(s.getBoundU()(0.2), s.getBoundU()(0.7)),
                                   s.getBoundV());
                        s.adjust();
                    }});
    list.push_back({"degree", [](Class& s) { s.incrDegree(1, 2); }});
    list.push_back({"assigned", [](Class& s) {
                        Class other(s);
                        other.translate({9, 0, 0});
                        s = other;
                    }});
    return list;
}

// A surface that has answered before a change gives what a copy, which keeps nothing, gives.
template <class Class>
void expect_nothing_stale(const Class& start, const std::vector<Change<Class>>& changes) {
    for (const auto& [name, change] : changes) {
        SCOPED_TRACE(std::string(start.className()) + " " + name);
        Class used(start);
        const std::vector<double> before = answers(used);
        change(used);
        const std::vector<double> after = answers(used), fresh = answers(Class(used));
        ASSERT_EQ(after.size(), fresh.size());
        for (std::size_t k = 0; k < after.size(); ++k) // maps move what is kept: off by rounding
            EXPECT_NEAR(after[k], fresh[k], 1e-8) << k;
        EXPECT_NE(after, before);
    }
}

TEST(SurfaceState, NothingKeptOutlivesAChange) {
    Random random(31);
    auto of_nurbs = changes_of_poles<ERSpoleNURBS3D>();
    of_nurbs.push_back({"knot", [](ERSpoleNURBS3D& s) {
                            s.insertKnotU(0.3, 1);
                            s.insertKnotV(0.2, 1);
                        }});
    expect_nothing_stale(nurbs(random), of_nurbs);
    expect_nothing_stale(nurbs(random, 9.0), of_nurbs); // halved
    expect_nothing_stale(ERSpoleBezier3DR(net(random, 4, 3, 1.0)),
                         changes_of_poles<ERSpoleBezier3DR>());

    ERTrimmedSurface trimmed(nurbs(random));
    trimmed.addBound(ERArc2D({1, 0}, 0.8, 0, 2 * pi), ERSurfaceBoundary::outer);
    auto of_trimmed = changes_of_any<ERTrimmedSurface>();
    of_trimmed.push_back({"addBound", [](ERTrimmedSurface& s) {
                              s.addBound(ERArc2D({1, 0}, 0.7, 0, 2 * pi), ERSurfaceBoundary::inner);
                          }});
    expect_nothing_stale(trimmed, of_trimmed);
    // The polylines in space follow the base.
    for (const auto& [name, change] : changes_of_any<ERTrimmedSurface>()) {
        ERTrimmedSurface used(trimmed);
        used.boundary_points();
        change(used);
        const ERTrimmedSurface fresh(used);
        const auto points = used.boundary_points(), expected = fresh.boundary_points();
        EXPECT_TRUE(std::ranges::equal(points.view(), expected.view())) << name;
    }

    const ERSurOfRevolution turned(
        new ERCpoleNURBS3D(ERVec<ERPole3DH>{{3, 0, 0, 1}, {5, 1, 2, 2}, {2, 0, 3, 1}}, 2),
        ERInfLine3D(ERVector3D(0, 0, 1), {}), 0.2, 3.0);
    auto of_turned = changes_of_any<ERSurOfRevolution>();
    of_turned.push_back({"its curve", [](ERSurOfRevolution& s) {
                             s.generatrix()->translate({0.5, 0, 1}); // by another owner
                         }});
    expect_nothing_stale(turned, of_turned);
}

// Above the line between two halves both have the foot: the smaller coordinate, as in the steps.
TEST(SurfaceState, FeetOnASplitLine) {
    Random random(33);
    int ties = 0;
    for (int n = 0; n < 30; ++n) {
        const ERSpoleNURBS3D s = nurbs(random, 9.0);
        t_SmartPtr<ERSpoleNURBS3D> a, b;
        ASSERT_EQ(s.SplitInU(a, b), 1);
        const double split = b->udeb(), v = random.uniform(-0.9, 0.9);
        const ERPoint3D p = s(split, v) + velm::limit_normal(s, split, v) * 0.2;
        ERPoint2D low, high, expected(7, 7), got(7, 7);
        ties += a->ProjectionNormale(p, 1.0, low, 1) && b->ProjectionNormale(p, 1.0, high, 1);
        ProjectionSteps steps(p, 1);
        const bool found = steps.of_nurbs(s, 1.0, expected);
        ASSERT_EQ(s.ProjectionNormale(p, 1.0, got, 1), found ? 1 : 0);
        EXPECT_EQ(got, expected) << n;
        EXPECT_TRUE(!found || std::fabs(got.x() - split) < 1e-6) << got;
    }
    EXPECT_GT(ties, 20);
}

// Feet beyond a limit by up to 2^-23 are put on it, others are outside.
TEST(SurfaceState, FeetOfSpheresSnapToTheirLimits) {
    const ERLimites in_u(0.5, 2.0), in_v(-0.4, 0.8);
    const ERBoundedSphere sphere(ERPmIsometrie3D(), 2.0, in_u, in_v);
    constexpr double near = 0x1p-24, far = 0x1p-22;
    struct {
        double u, v, expected_u, expected_v;
        int found;
    } const rows[] = {{1.0, 0.1, 1.0, 0.1, 1},       {0.5 - near, 0.1, 0.5, 0.1, 1},
                      {0.5 - far, 0.1, 0.5, 0.1, 0}, {2.0 + near, 0.1, 2.0, 0.1, 1},
                      {2.0 + far, 0.1, 2.0, 0.1, 0}, {1.0, -0.4 - near, 1.0, -0.4, 1},
                      {1.0, -0.4 - far, 1.0, 0, 0},  {1.0, 0.8 + near, 1.0, 0.8, 1},
                      {1.0, 0.8 + far, 1.0, 0, 0},   {1.0 - 2 * pi, 0.1, 1.0, 0.1, 1},
                      {-0.5, 0.1, 0.0, 0.1, 0}};
    for (const auto& row : rows) {
        const ERPoint3D p(3 * std::cos(row.v) * std::cos(row.u),
                          3 * std::cos(row.v) * std::sin(row.u), 3 * std::sin(row.v));
        ERPoint2D at;
        ASSERT_EQ(sphere.ProjectionNormale(p, 0.0, at, 1), row.found) << row.u << " " << row.v;
        if (row.found) {
            EXPECT_NEAR(at.x(), row.expected_u, 1e-14);
            EXPECT_NEAR(at.y(), row.expected_v, 1e-14);
            EXPECT_TRUE(in_u.inBound(at.x()) && in_v.inBound(at.y())) << at;
        }
    }
}

// Counts its evaluations.
class CountedSurface : public ERSpoleNURBS3D {
public:
    using ERSpoleNURBS3D::ERSpoleNURBS3D;
    explicit CountedSurface(const ERSpoleNURBS3D& s) : ERSpoleNURBS3D(s) {}
    ERInfoPoint3DSurf PtCur(double u, double v) const override {
        ++count;
        return ERSpoleNURBS3D::PtCur(u, v);
    }
    ERPoint3D operator()(double u, double v) const override {
        ++count;
        return ERSpoleNURBS3D::operator()(u, v);
    }
    mutable long count = 0;
};

// The steps have bounds: Newton's method ten, the simplex 2,000 with five points for each normal at
// most; a point that the box excludes costs none, and one in front of a warm surface a few.
TEST(SurfaceState, EvaluationsHaveTheirBudgets) {
    Random random(36);
    for (int n = 0; n < 50; ++n) {
        const CountedSurface s(nurbs(random));
        const ERPoint3D far(0, 0, 50), p = s(1.0, 0.2) + random.value<ERPoint3D>(0.3);
        const auto cost = [&](auto work) {
            const long before = s.count;
            work();
            return s.count - before;
        };
        ERPoint2D at(random.uniform(0, 2), random.uniform(-1, 1)), start(1, 0);
        EXPECT_EQ(cost([&] { s.ProjectionNormale(far, 5.0, at, 1); }), 0);
        double criterion = 0.0;
        int singular = 0;
        ERPoint3D q = n % 2 ? p : far;
        EXPECT_LE(cost([&] { NewtonProjection(s, q, at, criterion, singular); }), 12 + 3);
        q = n % 2 ? p : far;
        EXPECT_LE(cost([&] { SimplexProjection(s, q, start, 1); }), 5 * 2010);
        s.ProjectionNormale(p, 1.0, at, 1);
        EXPECT_LE(cost([&] { s.ProjectionNormale(p, 1.0, at, 1); }), 3 * 20);
        q = p;
        EXPECT_LE(cost([&] { VerticalNewton(s, q, at, 1); }), 4 * 1000);
    }
}

// The start of parameters is as good a foot as others: it is evaluated like them.
TEST(SurfaceState, AFootAtTheOriginIsEvaluated) {
    Random random(37);
    ERSpoleNURBS3D s = nurbs(random);
    s = ERSpoleNURBS3D(s.poles(), ERKnotVector(3, 7, {0, 2}), ERKnotVector(2, 6, {0, 1}));
    for (const double t : {0.0, 0.05}) {
        ERPoint3D p = s(0, 0) + velm::limit_normal(s, 0, 0) * t;
        ERPoint2D at(0, 0);
        double criterion = 7.0;
        int singular = 0;
        ASSERT_EQ(NewtonProjection(s, p, at, criterion, singular), 1);
        EXPECT_LT(criterion, 1e-7);
        EXPECT_TRUE(isEqual(p, s(0, 0), 1e-7)) << p;
        EXPECT_TRUE(isEqual(at, ERPoint2D(0, 0), 1e-7)) << at;
    }
}

} // namespace
