// intersect of Bezier and NURBS curves: crossings that are known by construction or published, the
// method without its shortcuts, and what it loses.
#include "velm/planar/pole_curve_intersection.h"

#include "support/geometry.h"
#include "velm/curves/knot_vector.h"
#include "velm/numerics/newton_solvers.h"
#include "velm/planar/convex_hull.h"
#include "velm/planar/polygon_intersection.h"
#include "velm/wireframe/intersections.h"

namespace {

using velm_test::Random;
using Curve = ERCpoleBezier2DR;
using Pairs = std::vector<std::pair<double, double>>;

ERVec<ERPole2DH> random_poles(Random& draw, int count, double size) {
    ERVec<ERPole2DH> poles(count);
    for (ERPole2DH& pole : poles) {
        const double w = draw.uniform(0.5, 2);
        pole = ERPole2DH(draw.value<ERPoint2D>(size) * w, w);
    }
    return poles;
}
Curve random_curve(Random& draw, int degree, double size, const ERLimites& domain = {0, 1}) {
    return Curve(random_poles(draw, degree + 1, size), domain);
}

template <class Any>
Pairs pairs_of(const Any& a, const Any& b) {
    ERVec<double> ta{9.0}, tb{8.0};
    const int count = intersect(a, b, ta, tb);
    EXPECT_EQ(count, ta.size());
    EXPECT_EQ(ta.size(), tb.size());
    EXPECT_EQ(std::as_const(ta)[0] + std::as_const(tb)[0], 17.0); // those before stay
    Pairs pairs;
    for (int i = 1; i < ta.size(); ++i)
        pairs.emplace_back(std::as_const(ta)[i], std::as_const(tb)[i]);
    return pairs;
}

bool holds(const Pairs& pairs, double s, double t, double tolerance) {
    return std::any_of(pairs.begin(), pairs.end(), [&](const auto& pair) {
        return std::fabs(pair.first - s) <= tolerance && std::fabs(pair.second - t) <= tolerance;
    });
}

// The closed convex hull of the poles.
ERVec<ERPoint2D> outline(const Curve& c) {
    ERVec<ERPoint2D> points;
    for (const ERPole2DH& pole : c.getPoles().view())
        points.append(pole.castToPoint());
    ERVec<ERPoint2D> hull = CalculateConvexeHull(points);
    hull.append(ERPoint2D(std::as_const(hull)[0]));
    return hull;
}

// The steps one by one: no hull is kept and nothing is passed over.
void by_the_steps(Curve a, Curve b, ERVec<double>& ta, ERVec<double>& tb) {
    ERMinimax2D box = a.getBox();
    box.Update(b.getBox());
    const auto bend = [](Curve& c) {
        return 1.0 - distance(c.firstPt(), c.lastPt()) / c.upperEstimate();
    };
    if (bend(a) >= 0.01 || bend(b) >= 0.01) {
        const bool first = a.upperEstimate() >= b.upperEstimate();
        Curve halves[2];
        (first ? a : b).split(halves[0], halves[1]);
        const ERVec<ERPoint2D> other = outline(first ? b : a);
        for (const Curve& half : halves) {
            if (!intersect(outline(half), other)) continue;
            if (first) {
                by_the_steps(half, b, ta, tb);
            } else {
                by_the_steps(half, a, tb, ta);
            }
        }
        return;
    }
    const ERSegment2D s1(a.firstPt(), a.lastPt()), s2(b.firstPt(), b.lastPt());
    ERPoint2D p;
    if (velm::cross(s1.dirVector().getnormalized(), s2.dirVector().getnormalized()) == 0.0 ||
        !intersect(ERInfLine2D(s1), ERInfLine2D(s2), p))
        return;
    ERVec<double> x{distance(p, s1.getP1()) / s1.arcLength(1e-7),
                    distance(p, s2.getP1()) / s2.arcLength(1e-7)};
    const ERTransfo2D larger(100.0 / distance(box.MinPoint(), box.MaxPoint()),
                             (box.MinPoint() + box.MaxPoint()) * 0.5);
    a.transformFrom(larger);
    b.transformFrom(larger);
    FonctionnelleIntersectionDeBezier problem(a, b);
    ERNewtonMSolver solver(&problem, 2, 1e-12, 400);
    if (solver.Resoudre(x, 1e-9) >= 2) return;
    ta.append(a.getBound()(std::as_const(x)[0]));
    tb.append(b.getBound()(std::as_const(x)[1]));
}

TEST(PoleCurveIntersection, TakesItsStepsToTheBit) {
    Random draw(71);
    int found = 0;
    for (int round = 0; round < 400; ++round) {
        const double size = std::pow(10.0, draw.uniform(-5, 6));
        Curve a = random_curve(draw, 1 + draw.below(6), size, ERLimites(1, 3));
        Curve b = random_curve(draw, 1 + draw.below(6), size);
        if (round % 4 == 1) b.scale(0.01);                                    // small beside large
        if (round % 4 == 2) b.translate(a(draw.uniform(1, 3)) - b.firstPt()); // from a point of a
        if (round % 8 == 3) { // pieces of one line, or of one curve
            a = Curve({{0, 0, 1}, {1, 3, 1}, {2, 6, 1}});
            b = Curve({{2.5, 7.5, 1}, {5, 15, 1}});
        } else if (round % 8 == 7) {
            Curve rest;
            const Curve whole(a);
            whole.splitAt(a, rest, 2.0);
            whole.splitAt(rest, b, 1.5);
        }
        ERVec<double> sa, sb, ta, tb;
        by_the_steps(a, b, sa, sb);
        intersect(a, b, ta, tb);
        found += sa.size();
        ASSERT_EQ(std::vector<double>(sa.cbegin(), sa.cend()),
                  std::vector<double>(ta.cbegin(), ta.cend()))
            << round;
        ASSERT_EQ(std::vector<double>(sb.cbegin(), sb.cend()),
                  std::vector<double>(tb.cbegin(), tb.cend()));
    }
    EXPECT_GT(found, 400);
}

// All that it finds are common points; a chosen transversal crossing of ordinary curves is found.
TEST(PoleCurveIntersection, FindsChosenCrossings) {
    Random draw(72);
    int lost = 0, chosen = 0, outside = 0;
    for (int round = 0; round < 300; ++round) {
        const double size = std::pow(10.0, draw.uniform(-3, 6));
        Curve a = random_curve(draw, 2 + draw.below(4), size, ERLimites(-1, 4));
        Curve b = random_curve(draw, 2 + draw.below(4), size);
        const double s = draw.uniform(-0.9, 3.9), t = draw.uniform(0.02, 0.98);
        b.translate(a(s) - b(t));
        const Pairs pairs = pairs_of(a, b);
        for (const auto& [pa, pb] : pairs) {
            EXPECT_LE(distance(a(pa), b(pb)), 1e-9 * size) << round;
            outside += pa < -1 || pa > 4 || pb < 0 || pb > 1;
        }
        const ERVector2D u = a.PtCur(s).tangente(), v = b.PtCur(t).tangente();
        if (std::fabs(velm::cross(u.getnormalized(), v.getnormalized())) < 0.1) continue;
        ++chosen;
        lost += !holds(pairs, s, t, 1e-6);
        // Exchanged, the same ones.
        EXPECT_NEAR(double(pairs_of(b, a).size()), double(pairs.size()), 2.0);
    }
    EXPECT_GT(chosen, 200);
    EXPECT_LE(lost, chosen / 100) << "of " << chosen;
    EXPECT_LE(outside, 3);
}

TEST(PoleCurveIntersection, OfNurbsCurvesGoesSpanBySpan) {
    Random draw(73);
    int found = 0, continued = 0;
    for (int round = 0; round < 40; ++round) {
        const int p = 1 + draw.below(4), n = p + 4 + draw.below(5);
        const auto random_nurbs = [&] {
            return ERCpoleNURBS2D(random_poles(draw, n, 10), ERKnotVector(p, n, ERLimites(2, 7)));
        };
        ERCpoleNURBS2D a = random_nurbs(), b = random_nurbs();
        const Pairs pairs = pairs_of(a, b);
        for (const auto& [s, t] : pairs) {
            ++found;
            continued += distance(a(s), b(t)) > 1e-8; // a span's polynomial beyond the span
        }
        // The same spans by trimming.
        Pairs expected;
        const auto spans = [](const ERCpoleNURBS2D& curve) {
            std::vector<Curve> parts;
            const auto& knots = curve.getKnots();
            for (int i = 1; i < knots.length(); ++i) {
                if (knots[i] == knots[i - 1]) continue;
                ERCpoleNURBS2D part(curve);
                part.setBound(ERLimites(knots[i - 1], knots[i]));
                part.adjust();
                parts.emplace_back(part.getPoles(), ERLimites(knots[i - 1], knots[i]));
            }
            return parts;
        };
        for (const Curve& pa : spans(a)) {
            for (const Curve& pb : spans(b)) {
                if (!intersect(outline(pa), outline(pb))) continue;
                for (const auto& pair : pairs_of(pa, pb))
                    expected.push_back(pair);
            }
        }
        ASSERT_EQ(pairs.size(), expected.size()) << round;
        for (std::size_t i = 0; i < pairs.size(); ++i) {
            EXPECT_NEAR(pairs[i].first, expected[i].first, 1e-8);
            EXPECT_NEAR(pairs[i].second, expected[i].second, 1e-8);
        }
        // A trim leaves the pairs inside it.
        a.setBound(ERLimites(3, 6));
        for (const auto& [s, t] : pairs_of(a, b))
            EXPECT_TRUE(s > 3 - 1e-9 && s < 6 + 1e-9);
        EXPECT_TRUE(pairs_of(a, a).empty());
        ERCpoleNURBS2D back(b);
        back.reverse();
        back.reparametrize(ERLimites(-3.1, 0.7)); // over another interval
        EXPECT_TRUE(pairs_of(b, back).empty());
    }
    EXPECT_LE(continued, found / 50);
}

TEST(PoleCurveIntersection, EndsOnEveryInput) {
    Curve parabola({{0, 0, 1}, {1, 2, 1}, {2, 0, 1}}), line({{0, 0.5, 1}, {2, 0.6, 1}});
    EXPECT_EQ(pairs_of(parabola, line).size(), 2u);
    // Two straight curves: one solve, one pair.
    EXPECT_EQ(pairs_of(line, Curve({{1, 0, 1}, {1, 1, 1}})).size(), 1u);
    EXPECT_TRUE(pairs_of(line, Curve({{0, 0.6, 1}, {2, 0.7, 1}})).empty());
    // The same curve, also turned round; poles that can't be used; no poles.
    Curve back(parabola);
    back.reverse();
    EXPECT_TRUE(pairs_of(parabola, parabola).empty() && pairs_of(parabola, back).empty());
    for (const ERPole2DH& bad : {ERPole2DH(HUGE_VAL, 0, 1), ERPole2DH(std::nan(""), 0, 1),
                                 ERPole2DH(1, 1, 0), ERPole2DH(1e300, 0, 1)}) {
        Curve damaged({{0, 0, 1}, bad, {2, 1, 1}});
        EXPECT_TRUE(pairs_of(damaged, line).empty() && pairs_of(line, damaged).empty());
        EXPECT_TRUE(pairs_of(damaged.ConvertToNurbs(), parabola.ConvertToNurbs()).empty());
    }
    EXPECT_TRUE(pairs_of(Curve(), line).empty() && pairs_of(line, Curve()).empty());
    FonctionnelleIntersectionDeBezier without_poles(Curve(), line);
    EXPECT_TRUE(std::isnan(without_poles.f({0.5, 0.5}).data()[0]));
    EXPECT_TRUE(std::isnan(without_poles.fprime({0.5, 0.5})(0, 0)));
    EXPECT_TRUE(pairs_of(ERCpoleNURBS2D(), parabola.ConvertToNurbs()).empty());
    EXPECT_TRUE(pairs_of(Curve({{1, 0.55, 1}}), line).empty());
    // One array for both.
    ERVec<double> both;
    EXPECT_EQ(intersect(parabola, line, both, both), 4);
    const auto pairs = pairs_of(parabola, line);
    EXPECT_EQ(std::as_const(both)[1], pairs[0].second);
    // Curves smaller than the hull's tolerance.
    Curve small(parabola), small_line(line);
    small.scale(1e-8);
    small_line.scale(1e-8);
    EXPECT_TRUE(pairs_of(small, small_line).empty());
}

// Published pairs of curves with their crossings, tangencies and overlaps.
TEST(PoleCurveIntersection, OfPublishedPairs) {
    std::ifstream in(std::filesystem::path(VELM_REAL_DATA) / "bezier/curve_intersections.txt");
    if (!in) GTEST_SKIP() << "the published curves are not there";
    struct Case {
        std::string name, kind;
        Curve curves[2];
        Pairs solutions;
    };
    std::vector<Case> cases;
    for (std::string line; std::getline(in, line);) {
        std::istringstream fields(line);
        std::string word;
        fields >> word;
        if (word == "pair") {
            cases.emplace_back();
            fields >> cases.back().name >> cases.back().kind;
        } else if (word == "c1" || word == "c2") {
            ERVec<ERPole2DH> poles;
            for (double x, y; fields >> x >> y;)
                poles.append(ERPole2DH(x, y, 1));
            cases.back().curves[word == "c2"] = Curve(poles);
        } else if (word == "sol") {
            double s, t;
            fields >> s >> t;
            cases.back().solutions.emplace_back(s, t);
        }
    }
    EXPECT_EQ(cases.size(), 36u);
    int found = 0, there = 0;
    for (const Case& c : cases) {
        const Pairs pairs = pairs_of(c.curves[0], c.curves[1]);
        if (c.kind != "standard") continue;
        for (const auto& [s, t] : c.solutions) {
            ++there;
            found += holds(pairs, s, t, 1e-7);
        }
    }
    EXPECT_GE(found, there - 6);
}

} // namespace
