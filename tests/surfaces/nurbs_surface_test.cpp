#include "support/random_curves.h"
#include "support/records.h"
#include "support/surfaces.h"
#include "support/text_fields.h"
#include "velm/surfaces/nurbs_decomposer.h"
#include "velm/surfaces/pole_matrix.h"
#include "velm/surfaces/revolved_nurbs.h"

namespace {

using Surface = ERSpoleNURBS3D;
using SurfacePtr = t_SmartPtr<Surface>;

velm_test::Random& generator() {
    static velm_test::Random random{2026};
    return random;
}

ERKnotVector random_knots(int p, int n, bool clamped) {
    const auto knots = velm_test::random_knots(generator(), p, n, clamped);
    return {p, knots.data(), static_cast<int>(knots.size())};
}

// Poles near the unit box, weights 0.3 to 3; the domain is the unit square.
Surface random_surface(int p, int q, int extra, bool clamped) {
    auto& random = generator();
    const int n = p + 1 + random.below(extra), m = q + 1 + random.below(extra);
    ERMatrix<ERPole3DH> poles(m, n);
    for (ERPole3DH& pole : poles.writable())
        pole = ERPole3DH(random.value<ERPoint3D>(1), 1.0) * random.uniform(0.3, 3);
    return {poles, random_knots(p, n, clamped), random_knots(q, m, clamped)};
}

// Calls f with surfaces of degrees 1 to 5, every third unclamped.
template <class F>
void for_surfaces(int rounds, F f) {
    for (int i = 0; i < rounds; ++i)
        f(random_surface(1 + i % 5, 1 + (i + i / 5) % 5, 8, i % 3 != 0));
}

// Points and first derivatives of a(u, v) and b(u, v) on the part of the square.
void expect_same(const ERAnyBoundedSurface& a, const ERAnyBoundedSurface& b,
                 const ERLimites& in_u = {0, 1}, const ERLimites& in_v = {0, 1},
                 double tol = 1e-12) {
    for (int i = 0; i <= 14; ++i)
        for (int j = 0; j <= 14; ++j) {
            const double u = in_u(i / 14.0), v = in_v(j / 14.0);
            ASSERT_TRUE(isEqual(a(u, v), b(u, v), tol)) << u << " " << v;
            ASSERT_TRUE(isEqual(a.PtCur(u, v).point(), b(u, v), tol)) << u << " " << v;
        }
}

// References.

// |found - exact| in units of the sizes that the data states.
double deviation(const ERInfoPoint3DSurf& found, int row, const ERPoint3D& exact, double unit) {
    constexpr int in_v[] = {0, 0, 1, 0, 1, 2}, in_u[] = {0, 1, 0, 2, 1, 0};
    const ERPoint3D value(found.derivative(in_v[row], in_u[row]));
    return distance(value, exact) / unit;
}

TEST(NurbsSurfaceReference, PointsAndDerivativesAgreeWithExactArithmetic) {
    double worst[3][6] = {}; // as NURBS, its patches (points), as Bezier surface
    std::ifstream file(VELM_TEST_FOLDER "/surfaces/data/nurbs.txt");
    int p = 0, q = 0, n = 0, m = 0, row = 0, rows = 0;
    std::size_t at = 0;
    ERKnotVector knots_u, knots_v;
    ERMatrix<ERPole3DH> poles;
    ERPoint2D place;
    Surface surface;
    for (std::string line; std::getline(file, line);) {
        velm_test::TextFields fields(line);
        const std::string word = fields.word();
        const std::vector<double> given = fields.rest();
        if (word == "surface") {
            p = int(given[0]), q = int(given[1]), n = int(given[2]), m = int(given[3]);
            at = 0;
            poles = ERMatrix<ERPole3DH>(m, n);
        } else if (word == "knots") {
            knots_u = {p, given.data(), n + p + 1};
            knots_v = {q, given.data() + n + p + 1, m + q + 1};
        } else if (word == "pole") {
            poles.writable()[at++] = ERPole3DH(given[0], given[1], given[2], given[3]);
            surface = Surface(poles, knots_u, knots_v);
        } else if (word == "at") {
            place = ERPoint2D(given[0], given[1]);
            row = 0;
        } else {
            ASSERT_EQ(word, "row");
            const ERPoint3D exact(given[0], given[1], given[2]);
            const double unit = given[3] * std::numeric_limits<double>::epsilon() / 2;
            const auto compare = [&](int way, const auto& made) {
                double& most = worst[way][row];
                most =
                    std::max(most, deviation(made.PtCur(place.x(), place.y()), row, exact, unit));
                if (row == 0 && way != 1)
                    most = std::max(most, distance(made(place.x(), place.y()), exact) / unit);
            };
            compare(0, surface);
            surface.UpdateCache();
            const auto& patches = *surface.decomposer();
            for (int k = 0; row == 0 && k < patches.nv() * patches.nu(); ++k) {
                const auto patch = patches.Bezier(k / patches.nu(), k % patches.nu());
                if (patch->getBoundU().inBound(place.x()) && patch->getBoundV().inBound(place.y()))
                    compare(1, *patch);
            }
            if (n == p + 1 && m == q + 1 && !knots_u.isUnclamped())
                compare(2, ERSpoleBezier3DR(poles));
            ++row, ++rows;
        }
    }
    EXPECT_EQ(rows, 36 * 12);
    for (int way = 0; way < 3; ++way)
        for (int k = 0; k < 6; ++k) {
            EXPECT_LE(worst[way][k], 8) << way << " " << k;
            EXPECT_GT(worst[way][k] + way % 2 * k, 0.0) << way << " " << k;
        }
}

// Edits: the surface before against the surface after.

TEST(NurbsSurface, EditsThatKeepTheSurface) {
    auto& random = generator();
    for_surfaces(60, [&](const Surface& before) {
        Surface after(before);
        after.insertKnotU(random.uniform(0, 1), 1 + random.below(3));
        after.insertKnotV(before.knotVectorV()[before.degreeV() + 1], random.below(3));
        after.insertKnotU(1.0, random.below(2));
        after.insertKnotV(2.0, 3); // outside
        after.insertKnotV(0.5, -2);
        ASSERT_EQ(after.isValid(), 1);
        expect_same(before, after);
        after.incrDegree(random.below(3), random.below(2));
        after.decrDegree(1, 1);
        expect_same(before, after);
        EXPECT_GE(after.degreeU(), before.degreeU());

        ERMatrix<ERPole3DH> poles = before.poles();
        ERKnotVector u = before.knotVectorU(), v = before.knotVectorV();
        u.insertAt(0, u.first(), 1); // a copy too many, with a pole that has no part
        ERMatrix<ERPole3DH> wider(poles.rows(), poles.columns() + 1);
        for (int j = 0; j < poles.rows(); ++j)
            for (int i = 0; i < poles.columns(); ++i)
                wider(j, i + 1) = poles(j, i);
        u = ERKnotVector(u.degree(), u.getVec());
        ASSERT_EQ(CreateCompatibleSurfaceData(wider, u, v), 1);
        EXPECT_FALSE(u.isUnclamped() || v.isUnclamped());
        expect_same(before, Surface(wider, u, v));

        after = before;
        after.UpdateCache();
        const auto patch = after.decomposer()->Bezier(0, 0);
        after.reverse();
        after.scale(-2.0);
        for (int k = 0; k < 20; ++k) {
            const double s = random.uniform(0, 1), t = random.uniform(0, 1);
            EXPECT_TRUE(isEqual(after(t, s), before(s, t) * -2.0, 1e-12));
        }
        expect_same(after, *patch, patch->getBoundU(), patch->getBoundV());
        EXPECT_EQ(after.decomposer()->Bezier(0, 0).get(), patch.get());
    });
}

TEST(NurbsSurface, PatchesCoverTheDomainOnceAndAreTheSurface) {
    for_surfaces(30, [](const Surface& surface) {
        surface.UpdateCache();
        const auto& patches = *surface.decomposer();
        int nu = 0, nv = 0;
        surface.GetNumberOfSpans(nu, nv);
        EXPECT_TRUE(patches.nu() == nu && patches.nv() == nv);
        EXPECT_FALSE(patches.Bezier(nv, 0) || patches.Bezier(0, nu) || patches.Bezier(-1, 0));
        ERSimpleVec2<ERMinimax3D> boxes;
        surface.GetSpanBoxes(boxes);
        double area = 0.0;
        for (int i = 0; i < nv; ++i)
            for (int j = 0; j < nu; ++j) {
                const auto patch = patches.Bezier(i, j);
                const ERLimites u = patch->getBoundU(), v = patch->getBoundV();
                area += u.amplitude() * v.amplitude();
                ERMinimax3D box = boxes(j, i);
                box.Inflate(1e-13);
                for (int k = 0; k <= 9; ++k) {
                    const double s = u((k % 4 + 0.5) / 4), t = v((k + 0.5) / 10);
                    EXPECT_TRUE(isEqual((*patch)(s, t), surface(s, t), 1e-12)) << s << " " << t;
                    EXPECT_TRUE(box.contains((*patch)(s, t)));
                }
            }
        EXPECT_NEAR(area, 1.0, 1e-14);
    });
}

TEST(NurbsSurface, PartsAndContinuationsAreTheSurface) {
    auto& random = generator();
    for_surfaces(60, [&](const Surface& whole) {
        // Both cuts, of a trimmed surface, with V as it is; the open interval.
        Surface trimmed(whole);
        trimmed.setBound({0.2, 0.9}, {0.1, 0.8});
        SurfacePtr a, b;
        t_SmartPtr<ERAnyBoundedSurface> c, d;
        EXPECT_EQ(trimmed.SplitInU(a, b, 0.2), 0);
        EXPECT_EQ(trimmed.SplitInV(c, d, 0.8), 0);
        EXPECT_FALSE(a || b || c || d);
        const auto& knots = whole.knotVectorU();
        const double knot = knots[knots.degree() + 1];
        const double x = knot > 0.2 && knot < 0.9 ? knot : random.uniform(0.21, 0.89);
        ASSERT_EQ(trimmed.SplitInU(a, b, x), 1);
        EXPECT_EQ(a->getBoundU(), ERLimites(0.2, x));
        EXPECT_EQ(b->getBoundU(), ERLimites(x, 0.9));
        EXPECT_EQ(b->getBoundV(), trimmed.getBoundV());
        EXPECT_TRUE(a->NUfin() == x && b->NUdeb() == x && b->NUfin() == 1.0);
        expect_same(whole, *a, {0, x - 1e-9});
        expect_same(whole, *b, {x, 1});
        ASSERT_EQ(trimmed.SplitInV(c, d), 1);
        EXPECT_EQ(d->vdeb(), 0.45);
        expect_same(whole, *c, {0, 1}, {0, 0.44});
        expect_same(whole, *d, {0, 1}, {0.46, 1});

        // Cut to a part, then continued: the polynomials of the part's end spans.
        Surface part(whole);
        part.redefinedDomain({0.3, 0.7}, {0.25, 1});
        expect_same(whole, part, {0.3, 0.7}, {0.25, 1});
        EXPECT_FALSE(part.knotVectorU().isUnclamped());
        // With equal weights, by a part of the spans there: rounding and poles stay small.
        ERMatrix<ERPole3DH> flat = part.poles();
        for (ERPole3DH& pole : flat.writable())
            pole = ERPole3DH(pole.castToPoint(), 2.0);
        Surface shorter(flat, part.knotVectorU(), part.knotVectorV());
        shorter.UpdateCache();
        const auto corner = shorter.decomposer()->Bezier(0, 0);
        const double by = 0.3 * corner->getBoundU().amplitude();
        Surface longer(shorter);
        longer.redefineDomainU({0.3 - by, 0.7});
        expect_same(shorter, longer, {0.3, 0.7}, {0.25, 1}, 1e-11);
        expect_same(*corner, longer, {0.3 - by, corner->ufin() - 1e-9},
                    {0.25, corner->vfin() - 1e-9}, 1e-10);
        const auto last = shorter.decomposer()->Bezier(shorter.decomposer()->nv() - 1, 0);
        const double end = 1.0 + 0.3 * last->getBoundV().amplitude();
        longer.redefineDomainV({0.25, end});
        expect_same(*last, longer, {0.3, corner->ufin() - 1e-9}, {last->vdeb(), end}, 1e-10);
        Surface empty(whole);
        empty.redefineDomainU({0.4, 0.4});
        expect_same(whole, empty);
    });
}

TEST(NurbsSurface, SectionsFollowTheSurface) {
    for_surfaces(20, [](const Surface& whole) {
        Surface surface(whole);
        surface.setBound({0.1, 0.9}, {0.2, 0.8});
        for (const double x : {0.0, 0.4, 1.0}) {
            ERCpoleNURBS3D along_v = surface.getIsoU(x), along_u = surface.getIsoV(x);
            EXPECT_EQ(along_v.getBound(), surface.getBoundV());
            EXPECT_EQ(along_u.getBound(), surface.getBoundU());
            for (const double t : {0.0, 0.3, 0.8, 1.0}) {
                EXPECT_TRUE(isEqual(along_v(t), surface(x, t), 1e-13));
                EXPECT_TRUE(isEqual(along_u(t), surface(t, x), 1e-13));
            }
        }
    });
}

TEST(NurbsSurface, BoundsAreKeptAsLongAsThePolesAllow) {
    ERMatrix<ERPole3DH> column(3, 1);
    for (int j = 0; j < 3; ++j)
        column(j, 0) = ERPole3DH(ERPoint3D(j, j * j, 0) * 2.0, 2.0);
    Surface one(column, ERKnotVector(0, ERLimites(0, 1)), ERKnotVector(2, ERLimites(0, 1)));
    EXPECT_EQ(one.upperEstimateInU(), 0.0);
    const double length = std::sqrt(2.0) + std::sqrt(10.0);
    EXPECT_DOUBLE_EQ(one.upperEstimateInV(), length);
    EXPECT_EQ(Surface().upperEstimateInU(), 0.0);

    for_surfaces(12, [](const Surface& made) {
        Surface surface(made);
        const double u = surface.upperEstimateInU(), v = surface.upperEstimateInV();
        const auto* const hull = surface.getConvexHull().view().data();
        EXPECT_EQ(surface.getConvexHull().view().data(), hull); // computed once
        const ERMinimax3D box = surface.getBox();
        surface.translate(ERPoint3D(5, 0, 0));
        EXPECT_NEAR(surface.getBox().xmin, box.xmin + 5, 1e-12);
        surface.scale(2.0);
        EXPECT_NEAR(surface.upperEstimateInU(), 2 * u, 1e-12);
        surface.reverse();
        EXPECT_NEAR(surface.upperEstimateInU(), 2 * v, 1e-12);
        surface.transformFrom(ERRotation3D(ERVector3D(0, 0, 1), 0.5 * std::numbers::pi));
        EXPECT_NEAR(surface.getBox().ymin, 2 * (box.xmin + 5), 1e-12);
        surface.insertKnotU(0.5, 1);
        EXPECT_LE(surface.upperEstimateInU(), 2 * v + 1e-12); // a polygon nearer to the surface
    });
}

// Bezier surfaces.

TEST(BezierSurface, EditsAgreeWithTheFormAsNurbs) {
    auto& random = generator();
    for (int round = 0; round < 40; ++round) {
        const int p = 1 + round % 4, q = 1 + round / 4 % 3;
        ERMatrix<ERPoint3D> points(q + 1, p + 1);
        ERMatrix<ERPole3DH> poles(q + 1, p + 1), unit(q + 1, p + 1);
        for (int k = 0; k < points.size(); ++k) {
            const auto at = std::size_t(k);
            points.writable()[at] = random.value<ERPoint3D>(1);
            unit.writable()[at] = ERPole3DH(points.view()[at], 1.0);
            poles.writable()[at] = unit.view()[at] * random.uniform(0.3, 3);
        }
        const ERLimites in_u(-1, 1), in_v(2, 5);
        const auto check = [&](auto surface, const ERMatrix<ERPole3DH>& weighted) {
            using Bezier = decltype(surface);
            const Surface nurbs(weighted, ERKnotVector(p, in_u), ERKnotVector(q, in_v));
            expect_same(nurbs, surface, in_u, in_v);
            EXPECT_EQ(nurbs.isBezier(), 1);
            for (const ERLimites& part : {ERLimites(-0.5, 0.25), ERLimites(-1.5, 1.25),
                                          ERLimites(0.5, -1), ERLimites(1, 0), ERLimites(-2, -1)}) {
                Bezier cut(surface);
                cut.redefineDomainU(part);
                const ERLimites inside(std::max(-1.0, std::min(part.start(), part.end())), 0.25);
                expect_same(surface, cut, inside, in_v, 1e-10);
                EXPECT_TRUE(isEqual(cut.poles().view()[0], cut.poles().view()[0], 0.0)); // no NaN
            }
            Bezier other(surface);
            other.redefineDomainV({3, 7});
            expect_same(surface, other, in_u, {3, 5}, 1e-10);

            t_SmartPtr<Bezier> a, b;
            surface.setBound({-0.5, 0.5}, in_v);
            EXPECT_EQ(surface.SplitInU(a, b, 0.5), 0);
            surface.getMatricePoint(2, 2); // not the grid of a part
            ASSERT_EQ(surface.SplitInU(a, b), 1);
            for (const t_SmartPtr<Bezier>& part : {a, b})
                EXPECT_EQ(part->getMatricePoint(2, 2)(0, 0), (*part)(part->udeb(), part->vdeb()));
            EXPECT_TRUE(a->NUdeb() == -1 && a->udeb() == -0.5 && a->ufin() == 0 && b->NUfin() == 1);
            expect_same(surface, *a, {-1, 0}, in_v);
            expect_same(surface, *b, {0, 1}, in_v);
            surface.setBound({-2, 0.5}, in_v); // sticks out
            ASSERT_EQ(surface.SplitInV(a, b, 3), 1);
            EXPECT_EQ(b->NUdeb(), -2);
            expect_same(surface, *b, {-1, 0.5}, {3, 5}, 1e-10);
            surface.setBound(in_u, in_v);

            Bezier raised(surface);
            raised.incrDegree(2, 1);
            expect_same(surface, raised, in_u, in_v);
            raised.decrDegree(2, 1);
            expect_same(surface, raised, in_u, in_v, 1e-11);
            EXPECT_EQ(raised.degreeU(), surface.degreeU());

            auto iso_u = surface.getIsoU(0.3);
            auto iso_v = surface.getIsoV(2.5);
            EXPECT_TRUE(isEqual(iso_u(2.5), iso_v(0.3), 1e-13));
            EXPECT_TRUE(isEqual(iso_u(2.5), surface(0.3, 2.5), 1e-13));
            surface.reverse();
            EXPECT_TRUE(isEqual(iso_u(2.5), surface(2.5, 0.3), 1e-13));
        };
        check(ERSpoleBezier3D(points, in_u, in_v), unit);
        check(ERSpoleBezier3DR(poles, in_u, in_v), poles);
        EXPECT_EQ(ERSpoleBezier3D(points).isRational(), 0);
        EXPECT_EQ(ERSpoleBezier3DR(poles).isRational(), 1);
    }
}

TEST(BezierSurface, PolesOfPolynomialsGiveTheirValues) {
    auto& random = generator();
    for (int given = 3; given <= 4; ++given) {
        ERTValOrderedVector<ERPolynome2Var> polynomials;
        for (int c = 0; c < given; ++c) {
            ERPolynome2Var f(1 + c % 3, 2 + c);
            for (int j = 0; j <= 1 + c % 3; ++j)
                for (int i = 0; i <= 2 + c; ++i)
                    f.coefficient(j, i) = random.uniform(0.1, 1);
            polynomials.append(f);
        }
        ERMatrix<ERPole3DH> poles;
        SpolyPatch2Pole(polynomials, poles);
        EXPECT_EQ(poles.rows(), 4);
        EXPECT_EQ(poles.columns(), given + 2);
        const ERSpoleBezier3DR surface(poles);
        for (const double u : {0.0, 0.3, 1.0})
            for (const double v : {0.0, 0.7, 1.0}) {
                const double w = given == 4 ? polynomials[3].eval(u, v) : 1.0;
                const auto expected =
                    ERPoint3D::each([&](int c) { return polynomials[c].eval(u, v) / w; });
                EXPECT_TRUE(isEqual(surface(u, v), expected, 1e-13)) << u << " " << v;
            }
    }
    ERMatrix<ERPole3DH> none(1, 1);
    SpolyPatch2Pole(ERTValOrderedVector<ERPolynome2Var>(), none);
    EXPECT_TRUE(none.empty());
    // A net without columns, and one whose array is cut short.
    ERMatrix<ERPoint3D> cut(3, 3);
    static_cast<ERVec<ERPoint3D>&>(cut) = ERVec<ERPoint3D>(4);
    for (const ERMatrix<ERPoint3D>& net : {ERMatrix<ERPoint3D>(2, 0), cut}) {
        const ERSpoleBezier3D surface(net);
        EXPECT_EQ(surface.isValid(), 0);
        EXPECT_TRUE(surface.getIsoU(0.5).nbPoles() == 0 && surface.getIsoV(0.5).nbPoles() == 0);
        EXPECT_TRUE(std::isnan(surface(0.5, 0.5).x()));
    }
}

TEST(RevolvedNurbs, TurnsTheCurveAboutTheAxis) {
    const double angles[][2] = {{0, 1}, {0.5, 2.0}, {-1, 4}, {0, 2 * std::numbers::pi}, {3, -1}};
    for (const auto& [a, b] : angles) {
        const ERInfLine3D axis(ERVector3D(1, 2, -1), ERPoint3D(3, 1, 0));
        const ERPmIsometrie3D frame = ERChgRepere3D(ERVector3D(1, 2, -1), axis.origine());
        ERCpoleNURBS3D curve({ERPole3DH(0, 0, 0, 1), ERPole3DH(2, 0, 2, 2), ERPole3DH(2, 0, 5, 1)});
        curve.transformFrom(frame); // starts on the axis
        curve.reparametrize({1, 3});
        const Surface surface = CreateSurfOfRevolution(curve, axis, a, b);
        const double end = b > a ? b : b + 2 * std::numbers::pi;
        EXPECT_EQ(surface.getBoundV(), ERLimites(a, end));
        const ERSurOfRevolution revolved(new ERCpoleNURBS3D(curve), axis, a, end);
        EXPECT_EQ(velm_test::record_of(revolved.ConvertToNurbs()), velm_test::record_of(surface));
        for (const double t : {1.0, 1.4, 2.4, 3.0}) {
            const ERPoint3D from = curve(t);
            for (const double v : {a, end}) {
                ERPoint3D turned = from;
                ERRotation3D(axis.dirVector(), axis.origine(), v).TransFrom(turned);
                EXPECT_TRUE(isEqual(surface(t, v), turned, 1e-12)) << a << " " << b << " " << t;
            }
            const ERPoint3D middle = surface(t, 0.3 * a + 0.7 * end);
            EXPECT_NEAR(distance(axis, middle), distance(axis, from), 1e-12);
            EXPECT_NEAR(ERVector3D(from, middle) * axis.dirVector(), 0.0, 1e-12);
        }
    }
}

// Stored forms.

TEST(StoredPoleSurfaces, BytesAreTheLimitsThenPolesThenKnots) {
    using velm_test::bytes_of;
    const ERLimites u(0, 2), v(1, 4);
    const ERPole3DH a(1, 2, 3, 1), b(4, 5, 6, 2), c(7, 8, 9, 4), d(0, 1, 0, 1);
    const auto limits = bytes_of(0.0, 2.0, 1.0, 4.0, 0.5, 2.0, 1.0, 4.0);
    const auto net = bytes_of(2, 2, 4 * 32, a, b, c, d);
    const ERPole3DH poles[] = {a, b, c, d};
    const ERMatrix<ERPole3DH> matrix(2, 2, poles);
    Surface nurbs(matrix, ERKnotVector(1, u), ERKnotVector(1, v));
    nurbs.setBound({0.5, 2.0}, v);
    nurbs.getMatricePoint(3, 3); // what is kept is not stored
    nurbs.UpdateCache();
    EXPECT_EQ(velm_test::record_of(nurbs), limits + net + bytes_of(32, 0.0, 0.0, 2.0, 2.0, 1, 0) +
                                               bytes_of(32, 1.0, 1.0, 4.0, 4.0, 1, 0));
    ERSpoleBezier3DR bezier(matrix, u, v);
    bezier.setBound({0.5, 2.0}, v);
    EXPECT_EQ(velm_test::record_of(bezier), limits + net);
    const ERPoint3D points[] = {{1, 2, 3}, {4, 5, 6}, {7, 8, 9}};
    ERSpoleBezier3D row(ERMatrix<ERPoint3D>(1, 3, points));
    EXPECT_EQ(velm_test::record_of(row), bytes_of(0.0, 1.0, 0.0, 1.0, 0.0, 1.0, 0.0, 1.0, 1, 3, 72,
                                                  points[0], points[1], points[2]));
    EXPECT_EQ(velm_test::text_of(bezier).substr(0, 7), "Lim  U ");
    EXPECT_NE(velm_test::text_of(nurbs).find("Knot v         :KnotVector degree +1"),
              std::string::npos);
    EXPECT_NE(velm_test::text_of(row).find("Les Poles :( r= +1, c=+3"), std::string::npos);
}

// Regardless of what was read, operations end, and give numbers or NaN.
template <class AnySurface>
void use(AnySurface& surface) {
    for (const double x : {0.0, 0.5, 1.0, std::nan("")}) {
        surface(x, 0.5);
        surface.PtCur(0.5, x);
    }
    surface.getBox();
    surface.getConvexHull();
    surface.upperEstimateInU();
    (*surface.getEntityIsoU(0.4))(0.5);
    (*surface.getEntityIsoV(0.4))(0.5);
    t_SmartPtr<ERAnyBoundedSurface> a, b;
    surface.SplitInU(a, b);
    surface.SplitInV(a, b);
    surface.setBound({0.1, 1.2}, {0.3, 0.9});
    surface.adjust();
    surface.incrDegree(1, 0);
    surface.reverse();
    velm_test::record_of(surface);
}

TEST(StoredPoleSurfaces, KnotsOutOfOrderGiveADefinedSurface) {
    const double knots[] = {0, 0, 0, 0.1, 0.2, 5, 0.3, 0.4};
    Surface surface(ERMatrix<ERPole3DH>(3, 5), ERKnotVector(2, knots, 8),
                    ERKnotVector(2, ERLimites(0, 1)));
    EXPECT_EQ(surface.isValid(), 0);
    t_SmartPtr<Surface> a, b;
    EXPECT_EQ(surface.SplitInU(a, b, 0.15), 0);
    use(surface);
}

TEST(StoredPoleSurfaces, DamagedRecordsGiveADefinedSurface) {
    auto& random = generator();
    for_surfaces(12, [&](const Surface& made) {
        const std::string record = velm_test::record_of(made);
        Surface back;
        EXPECT_EQ(velm_test::record_of(velm_test::restore(back, record)), record);
        expect_same(made, back);
        for (int k = 0; k < 60; ++k) {
            std::string damaged = record;
            if (k % 3 == 0) damaged.resize(std::size_t(random.below(int(record.size()))));
            if (k % 3 != 0 && !damaged.empty()) {
                const auto at = std::size_t(random.below(int(record.size()) / 4)) * 4;
                const int values[] = {0, -1, 0x7ff00000, 0x7fffffff, random.below(9), 1 << 30};
                std::memcpy(&damaged[at], &values[random.below(6)], 4);
            }
            Surface nurbs(made);
            use(velm_test::restore(nurbs, damaged));
            ERSpoleBezier3DR rational;
            use(velm_test::restore(rational, damaged));
            ERSpoleBezier3D points;
            use(velm_test::restore(points, damaged));
        }
        ERKnotVector descending = made.knotVectorU();
        descending[0] = 2.0;
        Surface refused(made);
        velm_test::restore(
            refused, velm_test::record_of(Surface(made.poles(), descending, made.knotVectorV())));
        EXPECT_EQ(refused.isValid(), 0);
        EXPECT_TRUE(std::isnan(refused(0.5, 0.5).x()) && std::isnan(refused.PtCur(0, 0).u()) == 0);
        EXPECT_TRUE(std::isnan(refused.PtCur(0.5, 0.5).point().x()));
    });
}

} // namespace
