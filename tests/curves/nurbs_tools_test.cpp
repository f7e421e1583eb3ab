#include "velm/curves/nurbs_editing.h"
#include "velm/curves/nurbs_fit.h"

#include "support/test.h"

namespace {

using velm_test::Random;

double distance(const ERPoint3D& a, const ERPoint3D& b) { return ERVector3D(a, b).norme(); }

// A clamped curve with n poles and simple knots on [0, 1].
ERCpoleNURBS3D random_curve(Random& random, int degree, int n, double weights) {
    ERVec<ERPole3DH> poles;
    for (int i = 0; i < n; ++i) {
        const double w = std::pow(weights, random.uniform(-1, 1));
        poles.append(ERPole3DH(random.value<ERPoint3D>(1) * w, w));
    }
    return {poles, ERKnotVector(degree, n, ERLimites(0.0, 1.0))};
}

// The largest distance of points of a and b, b's parameter being mapped.
template <class Map>
double deviation(ERCpoleNURBS3D& a, ERCpoleNURBS3D& b, double from, double to, Map map) {
    double worst = 0.0;
    for (int i = 0; i <= 400; ++i) {
        const double t = from + (to - from) * i / 400.0;
        worst = std::max(worst, distance(a(t), b(map(t))));
    }
    return worst;
}
double same(double t) { return t; }

TEST(RemoveKnot, UndoesInsertionAndKeepsWithinTheTolerance) {
    Random random(31);
    for (int k = 0; k < 100; ++k) {
        const int degree = 1 + k % 6, copies = 1 + random.below(degree);
        ERCpoleNURBS3D curve = random_curve(random, degree, degree + 6, k % 2 == 0 ? 1.0 : 5.0);
        ERCpoleNURBS3D refined = curve;
        const double t = random.uniform(0.05, 0.95);
        refined.insertKnot(t, copies);
        refined.setBound(ERLimites(0.1, 0.8));
        const velm::KnotRemoval removal = velm::remove_knot(refined, t, 1e-9);
        EXPECT_EQ(removal.removed, copies) << "degree " << degree;
        EXPECT_EQ(refined.nbPoles(), curve.nbPoles());
        EXPECT_EQ(refined.getBound(), ERLimites(0.1, 0.8));
        EXPECT_LE(deviation(curve, refined, 0, 1, same), 1e-9);

        // A knot of the curve itself: never farther than reported, nor than allowed.
        const double knot = curve.getKnots()[degree + 2];
        for (const double tolerance : {1e-6, 0.3, 10.0}) {
            ERCpoleNURBS3D changed = curve;
            const velm::KnotRemoval real = velm::remove_knot(changed, knot, tolerance);
            EXPECT_LE(real.deviation, tolerance);
            EXPECT_LE(deviation(curve, changed, 0, 1, same), real.deviation + 1e-14);
            EXPECT_EQ(changed.nbPoles(), curve.nbPoles() - real.removed);
        }
        EXPECT_EQ(velm::remove_knot(curve, 0.0, 1.0).removed, 0);
        EXPECT_EQ(velm::remove_knot(curve, 0.123, 1.0).removed, 0);
    }
}

TEST(Join, MakesTheCurveAgainThatWasCut) {
    Random random(32);
    for (int k = 0; k < 100; ++k) {
        const int degree = 2 + k % 4;
        ERCpoleNURBS3D curve = random_curve(random, degree, degree + 5, k % 2 == 0 ? 1.0 : 3.0);
        const double cut = random.uniform(0.1, 0.9);
        ERCpoleNURBS3D a, b;
        ASSERT_EQ(curve.splitAt(a, b, cut), 1);
        // The second part gets weights, parameters and a sense of its own.
        ERVec<ERPole3DH> poles = b.getPoles();
        for (ERPole3DH& pole : poles)
            pole = pole * 3.7;
        ERCpoleNURBS3D second(poles, b.getKnots());
        second.reparametrize(ERLimites(5.0, 5.5));
        second.setBound(ERLimites(5.0, 5.5));
        if (k % 3 == 0) second.reverse();
        auto joined = velm::join(a, second, 1e-8);
        ASSERT_TRUE(joined) << k;
        EXPECT_EQ(joined->removed, degree) << k;
        EXPECT_LE(joined->deviation, 1e-8);
        EXPECT_LE(deviation(curve, joined->curve, 0, 1, same), 1e-8) << k;

        // A gap is shared; a kink stays; what is farther apart stays apart.
        ERCpoleNURBS3D moved = second;
        moved.translate({0, 0, 1e-3});
        auto shared = velm::join(a, moved, 2e-3);
        ASSERT_TRUE(shared);
        EXPECT_LE(shared->deviation, 2e-3);
        const double start = a.getBound().start(), end = a.getBound().end();
        EXPECT_LE(deviation(a, shared->curve, start, end, same), shared->deviation + 1e-14);
        EXPECT_FALSE(velm::join(a, moved, 1e-4));
    }
    const ERCpoleNURBS3D along({{0, 0, 0, 1}, {1, 0, 0, 1}}, 1),
        up({{1, 0, 0, 1}, {1, 2, 0, 1}}, 1);
    auto corner = velm::join(along, up, 1e-9);
    ASSERT_TRUE(corner);
    EXPECT_EQ(corner->removed, 0);
    EXPECT_EQ(corner->curve(1.0), ERPoint3D(1, 0, 0));
    EXPECT_EQ(corner->curve.lastPt(), ERPoint3D(1, 2, 0));
}

TEST(Interpolate, PassesThroughItsPoints) {
    Random random(33);
    for (int k = 0; k < 60; ++k) {
        const int degree = 1 + k % 7;
        const auto kind = static_cast<velm::PointParameters>(k % 3);
        std::vector<ERPoint3D> points;
        for (int i = 0; i < degree + 1 + random.below(60); ++i)
            points.push_back(random.value<ERPoint3D>(10));
        auto curve = velm::interpolate(points, degree, kind);
        if (points.size() < static_cast<std::size_t>(degree) + 1) {
            EXPECT_FALSE(curve);
            continue;
        }
        ASSERT_TRUE(curve);
        EXPECT_EQ(curve->degree(), degree);
        EXPECT_EQ(curve->nbPoles(), static_cast<int>(points.size()));
        EXPECT_EQ(curve->firstPt(), points.front());
        EXPECT_EQ(curve->lastPt(), points.back());
        double total = 0.0;
        std::vector<double> t{0.0};
        for (std::size_t i = 1; i < points.size(); ++i) {
            const double chord = distance(points[i], points[i - 1]);
            total += kind == velm::PointParameters::even           ? 1.0
                     : kind == velm::PointParameters::chord_length ? chord
                                                                   : std::sqrt(chord);
            t.push_back(total);
        }
        for (std::size_t i = 0; i < points.size(); ++i)
            EXPECT_LE(distance((*curve)(t[i] / total), points[i]), 1e-11) << k << " point " << i;
    }
    const ERPoint3D twice[] = {{0, 0, 0}, {1, 0, 0}, {1, 0, 0}, {2, 1, 0}};
    EXPECT_FALSE(velm::interpolate(twice, 3));
    EXPECT_FALSE(velm::interpolate(std::span(twice).first(2), 3));
}

TEST(Approximate, LeavesTheLeastSumOfSquares) {
    Random random(34);
    for (int k = 0; k < 30; ++k) {
        const int degree = 1 + k % 5, count = degree + 1 + random.below(10);
        std::vector<ERPoint2D> points;
        for (int i = 0; i < 60; ++i)
            points.push_back({i * 0.1 + random.uniform(-0.02, 0.02),
                              std::sin(i * 0.2) + random.uniform(-0.1, 0.1)});
        const auto fit = velm::approximate(points, degree, count);
        ASSERT_TRUE(fit) << k;
        const auto squares = [&](const ERCpoleNURBS2D& given) {
            ERCpoleNURBS2D curve = given;
            double sum = 0.0;
            for (std::size_t i = 0; i < points.size(); ++i) {
                const double d = ERVector2D(curve(fit->parameters[i]), points[i]).norme();
                EXPECT_LE(&given == &fit->curve ? d : 0.0, fit->deviation);
                sum += d * d;
            }
            return sum;
        };
        const double least = squares(fit->curve);
        for (int i = 1; i + 1 < count; ++i) {
            for (const double step : {-1e-4, 1e-4}) {
                ERVec<ERPole2DH> poles = fit->curve.getPoles();
                poles[i] = poles[i] + ERPole2DH(step, 2 * step, 0);
                EXPECT_GT(squares(ERCpoleNURBS2D(poles, fit->curve.getKnots())), least) << k;
            }
        }
        ERCpoleNURBS2D curve = fit->curve;
        EXPECT_EQ(curve.firstPt(), points.front());
        EXPECT_EQ(curve.lastPt(), points.back());
    }
    // Points of a parabola at even parameters come back exactly.
    std::vector<ERPoint2D> parabola;
    for (int i = 0; i <= 40; ++i)
        parabola.push_back({i / 40.0, i * i / 1600.0});
    const auto exact = velm::approximate(parabola, 2, 5, velm::PointParameters::even);
    ASSERT_TRUE(exact);
    EXPECT_LE(exact->deviation, 1e-14);
    EXPECT_FALSE(velm::approximate(parabola, 2, 2));
    EXPECT_FALSE(velm::approximate(parabola, 2, 41));
}

} // namespace
