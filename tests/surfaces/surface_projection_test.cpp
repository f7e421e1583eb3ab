// The feet and crossings of the given operations against their steps (projection_steps.h), and
// against what must be found.
#include "surfaces/projection_steps.h"

#include "velm/surfaces/detail/direct_solve.h"
#include "velm/surfaces/nurbs_decomposer.h"
#include "velm/surfaces/surface_projection.h"

namespace {

using namespace velm_test;

Random draw{19};

ERSpoleNURBS3D panel(double wide, double high, double wave, bool rational) {
    const int p = 1 + draw.below(3), q = 2 + draw.below(2);
    const int n = p + 1 + draw.below(5), m = q + 1 + draw.below(4);
    ERMatrix<ERPole3DH> poles(m, n);
    for (int j = 0; j < m; ++j)
        for (int i = 0; i < n; ++i)
            poles(j, i) = ERPole3DH(ERPoint3D(wide * i / (n - 1), high * j / (m - 1), 0) +
                                        draw.value<ERPoint3D>(wave),
                                    1) *
                          (rational ? draw.uniform(0.5, 2) : 1.0);
    return {poles, ERKnotVector(p, n, {0, 2}), ERKnotVector(q, m, {-1, 1})};
}

// Surfaces of every kind that the steps distinguish.
ERSpoleNURBS3D random_nurbs(int kind) {
    switch (kind) {
    case 0:
        return panel(10, 8, 0.4, false);
    case 1:
        return panel(10, 8, 1.5, true);
    case 2:
        return panel(40, 6, 0.5, true); // long
    case 3:
        return panel(10, 8, 1e-5, false); // flat
    case 4: {                             // a row of poles in one point
        ERSpoleNURBS3D s = panel(6, 6, 0.3, false);
        ERMatrix<ERPole3DH> poles = s.poles();
        for (int i = 0; i < poles.columns(); ++i)
            poles(0, i) = ERPole3DH(ERPoint3D(3, -1, 0.5), 1);
        return {poles, s.knotVectorU(), s.knotVectorV()};
    }
    case 5: { // closed
        const ERBoundedCylinder whole(ERPmIsometrie3D(), 1.5, 2.0, 0.0, 2 * pi);
        return Convert2Nurbs(whole);
    }
    case 6:
        return Convert2Nurbs(
            ERBoundedSphere(ERSphere(ERPoint3D(1, 0, 0), 1.5), {0.0, 2 * pi}, {-pi / 2, pi / 2}));
    case 7: { // torn
        ERSpoleNURBS3D s = panel(6, 6, 0.2, false);
        s.insertKnotU(1.0, s.degreeU() + 1);
        ERMatrix<ERPole3DH> poles = s.poles();
        for (int j = 0; j < poles.rows(); ++j)
            for (int i = poles.columns() / 2; i < poles.columns(); ++i)
                poles(j, i) = ERPole3DH(poles(j, i)).translate(ERPoint3D(0, 0, 3));
        return {poles, s.knotVectorU(), s.knotVectorV()};
    }
    default: {
        ERSpoleNURBS3D s = panel(10, 8, 0.4, true);
        s.setBound({0.3, 1.6}, {-0.5, 0.9});
        return s;
    }
    }
}

ERPoint3D query(const Surface& s) {
    const double t = draw.below(6) == 0 ? draw.below(2) : draw.uniform(0, 1);
    const double r = draw.below(6) == 0 ? draw.below(2) : draw.uniform(0, 1);
    const ERPoint2D at(s.getBoundU()(t), s.getBoundV()(r));
    const ERPoint3D on = s(at);
    switch (draw.below(4)) {
    case 0:
        return on;
    case 1:
        return on + draw.value<ERPoint3D>(3);
    default:
        return on + velm::limit_normal(s, at.x(), at.y()) * draw.uniform(-1, 1);
    }
}

struct Tally {
    int found = 0, none = 0;
};

// Holds the library's answer for a random point against that of the steps.
template <class Class, class Steps>
void compare(const Class& s, Steps steps, Tally& tally, int kind) {
    constexpr double distances[] = {0.0, 0.5, 1.2, 4.0};
    const ERPoint3D p = query(s);
    const double within = draw.one_of(distances);
    const int in_bound = draw.below(2);
    ProjectionSteps by_steps(p, in_bound);
    ERPoint2D expected(7, 7), got(7, 7);
    const bool foot = (by_steps.*steps)(Class(s), within, expected);
    ASSERT_EQ(s.ProjectionNormale(p, within, got, in_bound), foot ? 1 : 0)
        << "kind " << kind << " of " << p << " within " << within;
    ++(foot ? tally.found : tally.none);
    if (by_steps.simplex_ran) {
        EXPECT_LT(distance(s(got), s(expected)), 1e-9) << "kind " << kind << " of " << p;
    } else {
        EXPECT_TRUE(got == expected) << "kind " << kind << " of " << p << ": " << got << expected;
    }
}

// `make` gives a surface of a kind; 25 points on each.
template <class Make, class Steps>
void compare_kinds(int kinds, int thorough, Make make, Steps steps) {
    for (int kind = 0; kind < kinds; ++kind) {
        Tally tally;
        auto s = make(kind);
        for (int n = repeats(thorough); n > 0; --n) {
            if (n % 25 == 0) s = make(kind);
            compare(s, steps, tally, kind);
        }
        EXPECT_GT(tally.found, 0);
        EXPECT_GT(tally.none, 0);
    }
}

TEST(SurfaceProjection, NurbsFeetAreThoseOfTheStepsBitForBit) {
    compare_kinds(9, 7000, random_nurbs, &ProjectionSteps::of_nurbs);
}

// The ways to solve directly give the same foot where there is one only, and see the same trim.
TEST(SurfaceProjection, EveryWayToSolveDirectlyFindsTheFoot) {
    using namespace velm::detail;
    ERMatrix<ERPole3DH> poles(6, 7);
    for (int j = 0; j < 6; ++j)
        for (int i = 0; i < 7; ++i)
            poles(j, i) = ERPole3DH(ERPoint3D(i, j, 0.3 * std::sin(i + 0.5 * j)), 1.0 + 0.1 * j);
    const ERSpoleNURBS3D s(poles, ERKnotVector(3, 7, {0, 4}), ERKnotVector(3, 6, {1, 4}));
    for (int n = repeats(10000); n > 0; --n) {
        const double from_joint = 0.01;
        const ERPoint2D at(draw.below(4) + draw.uniform(from_joint, 1 - from_joint),
                           1 + draw.below(3) + draw.uniform(from_joint, 1 - from_joint));
        const ERPoint3D p = s(at) + velm::limit_normal(s, at.x(), at.y()) * 0.5;
        ERPoint2D found[3];
        EXPECT_EQ(solve_directly<DirectSolve::as_it_is>(s, p, 0.5, found[0], n % 2), 1);
        EXPECT_EQ(solve_directly<DirectSolve::over_unit_knots>(s, p, 0.5, found[1], n % 2), 1);
        EXPECT_EQ(solve_directly<DirectSolve::patch_by_patch>(s, p, 0.5, found[2], n % 2), 1);
        for (const ERPoint2D& foot : found)
            EXPECT_TRUE(isEqual(foot, at, 1e-6)) << foot << at;
        ERSpoleNURBS3D cut(s);
        cut.setBound({0.7, 3.3}, {1.2, 3.6});
        const int inside = cut.getBoundU().inBound(at.x()) && cut.getBoundV().inBound(at.y());
        EXPECT_EQ(solve_directly<DirectSolve::as_it_is>(cut, p, 0.5, found[0], 1), inside);
        EXPECT_EQ(solve_directly<DirectSolve::over_unit_knots>(cut, p, 0.5, found[1], 1), inside);
        for (int k = inside ? 0 : 2; k < 3; ++k)
            EXPECT_TRUE(isEqual(found[k], at, 1e-6)) << k << found[k] << at;
    }
}

ERSpoleBezier3DR random_patch(int kind) {
    const ERSpoleNURBS3D whole = random_nurbs(kind == 0 ? 1 : 4);
    whole.UpdateCache();
    ERSpoleBezier3DR patch = *whole.decomposer()->Bezier(0, 0);
    if (draw.below(2)) patch.setBound(patch.getBoundU(), {patch.vdeb(), patch.getBoundV()(0.8)});
    return patch;
}

ERSpoleBezier3D random_polynomial_patch(int kind) {
    const ERSpoleBezier3DR like = random_patch(kind);
    ERMatrix<ERPoint3D> poles(like.nbPolesV(), like.nbPolesU());
    std::ranges::transform(like.poles().view(), poles.writable().begin(),
                           [](const ERPole3DH& pole) { return pole.castToPoint(); });
    return {poles, like.getBoundU(), like.getBoundV()};
}

TEST(SurfaceProjection, BezierFeetAreThoseOfTheStepsBitForBit) {
    compare_kinds(2, 7000, random_patch, &ProjectionSteps::of_bezier<ERSpoleBezier3DR>);
    compare_kinds(2, 5000, random_polynomial_patch, &ProjectionSteps::of_bezier<ERSpoleBezier3D>);
}

TEST(SurfaceProjection, FeetOnSurfacesOfRevolutionAreThoseOfTheSteps) {
    const auto vase = [](int kind) {
        ERVec<ERPoint3D> poles;
        for (int i = 0; i < 4; ++i)
            poles.push_back(ERPoint3D(draw.uniform(1, 3), kind == 1 ? 0.3 * i : 0, 2 * i));
        if (kind == 2) poles[3] = ERPoint3D(0, 0, 7); // ends on the axis
        return ERSurOfRevolution(new ERCpoleBezier3D(poles),
                                 ERInfLine3D(ERVector3D(0, 0, 1), ERPoint3D()), 0.0,
                                 draw.below(2) ? 2 * pi : 1.5);
    };
    compare_kinds(3, 6000, vase, &ProjectionSteps::of_revolution);
}

TEST(SurfaceProjection, CrossingsAreThoseOfTheStepsBitForBit) {
    int crossings = 0;
    for (int n = repeats(10000); n > 0; --n) {
        const int kind = draw.below(9);
        const ERSpoleNURBS3D s = random_nurbs(kind);
        const ERPoint3D p = query(s);
        const bool along_z = draw.below(2);
        const ERVector3D direction = along_z ? ERVector3D(0, 0, 1) : draw.direction<ERVector3D>();
        const ERPmIsometrie3D frame = ERChgRepere3D(direction, p);
        const ERSpoleNURBS3D again(s);
        again.UpdateCache();
        std::vector<ERPoint2D> expected;
        const ERMinimax3D box = again.getBox();
        const bool below =
            p.x() >= box.xmin && p.x() <= box.xmax && p.y() >= box.ymin && p.y() <= box.ymax;
        for (int i = 0; i < again.decomposer()->nv() && (below || !along_z); ++i)
            for (int j = 0; j < again.decomposer()->nu(); ++j) {
                ERSpoleBezier3DR patch = *again.decomposer()->Bezier(i, j);
                if (!along_z && !patch.getBox().intersect(p, direction)) continue;
                if (!along_z) patch.transformTo(frame);
                crossing_steps(patch, along_z ? p : ERPoint3D(), expected);
            }
        for (int repeated = 0; repeated < 2; ++repeated) {
            ERRaySurfaceResult result;
            s.ProjectPoint(p, direction, result, 1);
            ASSERT_EQ(result.size(), int(expected.size())) << "kind " << kind << " of " << p;
            auto known = expected.begin();
            for (const ERInfoPoint3DSurf& crossing : result) {
                EXPECT_TRUE(crossing.parametre() == *known++) << "kind " << kind << " of " << p;
                EXPECT_LT(distance(ERInfLine3D(direction, p), crossing.point()), 6e-8);
                EXPECT_LT(distance(s(crossing.parametre()), crossing.point()), 1e-12);
            }
        }
        crossings += int(expected.size());
    }
    EXPECT_GT(crossings, repeats(5000));
}

// A line through a known point of an analytic surface meets it there, and elsewhere only on it; its
// trimmed NURBS form agrees on how often.
TEST(SurfaceProjection, LinesThroughAnalyticSurfaces) {
    for (int n = repeats(100000); n > 0; --n) {
        const ERPmIsometrie3D frame = ERRotation3D(draw.direction<ERVector3D>(),
                                                   draw.value<ERPoint3D>(3), draw.uniform(-3, 3));
        const double from = draw.uniform(-4, 4), to = from + draw.uniform(1, 6);
        const double r = draw.uniform(0.5, 1.5);
        const t_SmartPtr<Surface> surfaces[] = {
            new ERBoundedPlane(frame, {-1, 2}, {-2, 1}),
            new ERBoundedCylinder(frame, 2.0, r, from, to),
            new ERBoundedCone(frame, ERRadian(r / 2), -1, 2),
            new ERBoundedSphere(frame, r, {from, to}, {-1, 1.2}),
            new ERBoundedTorus(frame, 3, r, from, to, -1, 2)};
        for (const t_SmartPtr<Surface>& s : surfaces) {
            const ERPoint2D known(s->getBoundU()(draw.uniform(0, 1)),
                                  s->getBoundV()(draw.uniform(0, 1)));
            const ERPoint3D on = (*s)(known);
            const ERVector3D direction = draw.direction<ERVector3D>();
            ERRaySurfaceResult inside, all;
            s->ProjectPoint(on + direction * draw.uniform(-3, 3), direction, inside, 1);
            s->ProjectPoint(on, direction, all, 0);
            EXPECT_GE(all.size(), inside.size());
            int hits = 0;
            for (const ERInfoPoint3DSurf& crossing : inside) {
                hits += isEqual(crossing.point(), on, 1e-7) ? 1 : 0;
                EXPECT_EQ(filtreOutsidePoint(&const_cast<ERInfoPoint3DSurf&>(crossing), s.get()),
                          0);
            }
            EXPECT_GE(hits, 1) << s->className() << known;
            for (const ERInfoPoint3DSurf& crossing : all) {
                EXPECT_LT(distance(ERInfLine3D(direction, on), crossing.point()), 1e-7)
                    << s->className();
                const double size = 1 + ERVector3D(crossing.point()).norme();
                EXPECT_TRUE(isEqual((*s)(crossing.parametre()), crossing.point(), 1e-12 * size));
            }
        }
    }
}

// From a place that Newton's method can't leave, a row in one point, and from a good one; where the
// trim cuts the foot off all is as it was. Points off the limits are filtered.
TEST(SurfaceProjection, ReadjustsAFootAndItsPoint) {
    ERMatrix<ERPoint3D> net(3, 3);
    for (int j = 0; j < 3; ++j)
        for (int i = 0; i < 3; ++i)
            net(j, i) = ERPoint3D(5 + 0.5 * j * (i - 1), 5 + j, 5 + 0.1 * j * j);
    const ERSpoleBezier3D fan(net); // the row v = 0 is (5, 5, 5)
    ERPoint3D p = fan(0.3, 0);
    ERPoint2D at;
    EXPECT_EQ(fan.ReajustProjection(p, at, 1), 1);
    EXPECT_TRUE(isEqual(p, ERPoint3D(5, 5, 5), 1e-6)) << p;

    const ERInfoPoint3DSurf foot = fan.PtCur(0.4, 0.6);
    const ERPoint3D above = foot.point() + foot.normale() * 0.2;
    p = above;
    at = ERPoint2D(0.35, 0.65);
    EXPECT_EQ(fan.ReajustProjection(p, at, 1), 1);
    EXPECT_TRUE(isEqual(p, foot.point(), 1e-8));
    EXPECT_TRUE(isEqual(at, ERPoint2D(0.4, 0.6), 1e-8));

    ERTrimmedSurface trimmed(fan);
    trimmed.addBound(ERArc2D({0.8, 0.5}, 0.1, 0, 6.2), ERSurfaceBoundary::outer);
    p = above;
    at = ERPoint2D(0.35, 0.65);
    EXPECT_EQ(trimmed.ReajustProjection(p, at, 1), 0);
    EXPECT_EQ(p, above);
    EXPECT_EQ(at, ERPoint2D(0.35, 0.65));

    ERSpoleBezier3D part(fan);
    ERInfoPoint3DSurf outside = fan.PtCur(0.9, 0.5), inside = fan.PtCur(0.2, 0.5);
    part.setBound({0, 0.5}, {0, 1});
    EXPECT_NE(filtreOutsidePoint(&outside, &part), 0);
    EXPECT_EQ(filtreOutsidePoint(&inside, &part), 0);

    // The base of an offset surface is looked for farther off.
    const EROffsetSurface moved(fan, 2, foot.normale());
    EXPECT_EQ(moved.ProjectionNormale(foot.point() + foot.normale() * 3.0, 1.5, at, 1), 1);
}

// An offset surface is where the base's normals lead; one of revolution is its own points.
TEST(SurfaceProjection, LinesThroughDerivedSurfaces) {
    for (int n = repeats(4000); n > 0; --n) {
        ERSpoleNURBS3D base = panel(10, 8, 0.2, true);
        while (base.degreeU() < 2) // an offset has gaps along creases
            base = panel(10, 8, 0.2, true);
        const EROffsetSurface moved(base, draw.uniform(-0.5, 0.5), ERVector3D(0, 0, 1));
        const ERSurOfRevolution turned(
            new ERCpoleBezier3D({ERPoint3D(1, 0, 0), ERPoint3D(2, 0.5, 1), ERPoint3D(1, 0, 3)}),
            ERInfLine3D(draw.direction<ERVector3D>(), ERPoint3D(0, 0, 9)), 0.5, 2.5);
        for (const Surface* s :
             {static_cast<const Surface*>(&moved), static_cast<const Surface*>(&turned)}) {
            const ERPoint2D at(s->getBoundU()(draw.uniform(0.05, 0.95)),
                               s->getBoundV()(draw.uniform(0.05, 0.95)));
            const ERPoint3D on = (*s)(at);
            const ERVector3D direction =
                (velm::limit_normal(*s, at.x(), at.y()) + draw.value<ERVector3D>(0.2))
                    .getnormalized();
            ERRaySurfaceResult result;
            s->ProjectPoint(on + direction * 2, direction, result, 1);
            const bool hit = std::ranges::any_of(result, [&](const ERInfoPoint3DSurf& crossing) {
                return isEqual(crossing.parametre(), at, 1e-6);
            });
            EXPECT_TRUE(hit) << s->className() << at;
            for (const ERInfoPoint3DSurf& crossing : result)
                EXPECT_LT(distance(ERInfLine3D(direction, on), crossing.point()), 1e-7);
        }
    }
}

// Coordinates and weights of every size, and such that are no numbers: all comes to an end, and
// what is found is in the limits and on the line.
TEST(SurfaceProjection, HostileSurfacesComeToAnEnd) {
    constexpr double nasty[] = {0, -1, 1e-300, 1e300, -1e300, 5e-324, 1e9, 1e150, 1e-9};
    for (int n = repeats(4000); n > 0; --n) {
        ERSpoleNURBS3D s = panel(3, 3, 0.5, false);
        ERMatrix<ERPole3DH> poles = s.poles();
        const bool has_nan = n % 4 == 0;
        if (has_nan) {
            const auto all = poles.writable();
            ERPole3DH& pole = draw.one_of(all);
            double* const of[] = {&pole.x_, &pole.y_, &pole.z_, &pole.weight};
            *of[n / 4 % 4] = NAN;
            if (n / 4 % 5 == 0) std::ranges::fill(all, ERPole3DH(NAN, NAN, NAN, NAN));
        }
        for (ERPole3DH& pole : poles.writable())
            if (!has_nan && draw.below(8) == 0)
                (draw.below(2) ? pole.weight : pole.z_) = draw.one_of(nasty);
        s = ERSpoleNURBS3D(poles, s.knotVectorU(), s.knotVectorV());
        EXPECT_FALSE(has_nan && (velm::prepare(s) || velm::prepare(ERSpoleBezier3DR(poles))));
        s.UpdateCache();
        const t_SmartPtr<ERSpoleBezier3DR> patch = s.decomposer()->Bezier(0, 0);
        for (const Surface* surface :
             {static_cast<const Surface*>(&s), static_cast<const Surface*>(patch.get())}) {
            const ERPoint3D p =
                draw.below(2) ? draw.value<ERPoint3D>(3) : ERPoint3D(1, draw.one_of(nasty), 1);
            ERPoint2D at;
            if (surface->ProjectionNormale(p, draw.one_of(nasty), at, 1)) {
                EXPECT_TRUE(surface->getBoundU().inBound(at.x())) << at;
                EXPECT_TRUE(surface->getBoundV().inBound(at.y())) << at;
            }
            ERRaySurfaceResult crossings;
            surface->ProjectPoint(p, draw.direction<ERVector3D>(), crossings, 1);
            surface->ProjectPoint(p, ERVector3D(0, 0, 1), crossings = {}, 1);
            for (const ERInfoPoint3DSurf& crossing : crossings)
                EXPECT_LT(std::fabs(crossing.point().x() - p.x()), 1e-6);
        }
    }
}

} // namespace
