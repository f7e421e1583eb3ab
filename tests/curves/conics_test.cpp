// Arcs, ellipses and conics as NURBS curves against the circle, the ellipse and the implicit conic.
#include "velm/curves/conics.h"

#include "support/geometry.h"

namespace {

using std::numbers::pi;

// The greatest |distance from the center - radius|, in long double, over the curve.
template <class Curve, class Point>
double off_circle(Curve curve, const Point& center, double radius, int samples = 200) {
    long double worst = 0.0L;
    for (int i = 0; i <= samples; ++i) {
        const Point p = curve(curve.getBound()(double(i) / samples));
        long double square = 0.0L;
        for (int c = 0; c < Point::components; ++c)
            square += (static_cast<long double>(p[c]) - center[c]) *
                      (static_cast<long double>(p[c]) - center[c]);
        EXPECT_TRUE(std::isfinite(square)); // std::max would pass over a NaN
        worst = std::max(worst, std::fabs(std::sqrt(square) - radius));
    }
    return double(worst);
}

// The point of a curve of equal quadratic pieces, in long double from its poles.
std::pair<long double, long double> unrounded(const ERCpoleNURBS2D& curve, double t) {
    const auto& poles = curve.getPoles();
    const int pieces = poles.size() / 2;
    const int piece = std::min(static_cast<int>(t * pieces), pieces - 1);
    const long double u = static_cast<long double>(t) * pieces - piece;
    const long double basis[] = {(1 - u) * (1 - u), 2 * u * (1 - u), u * u};
    long double sums[3] = {};
    for (int i = 0; i < 3; ++i)
        for (int c = 0; c < 3; ++c)
            sums[c] += basis[i] * poles[2 * piece + i][c];
    return {sums[0] / sums[2], sums[1] / sums[2]};
}

double ulp(double x) { return std::nextafter(x, 2 * x) - x; }

TEST(Conics, ExactArcsStayWithinTwoUnitsOfTheRadiusAtEverySweep) {
    velm_test::Random random(61);
    for (int round = 0; round < 2000; ++round) {
        const double sweep = std::exp(random.uniform(std::log(1e-9), std::log(2 * pi)));
        const double start = random.uniform(-pi, pi);
        const double radius = std::exp(random.uniform(-7.0, 7.0));
        const double end = start + (round % 2 == 0 ? sweep : -sweep);
        ERArc2D arc(ERPoint2D(), radius, start, end);
        ERCpoleNURBS2D curve = velm::to_nurbs(arc);
        for (int i = 0; i <= 40; ++i) {
            const auto [x, y] = unrounded(curve, i / 40.0);
            ASSERT_LE(std::fabs(std::sqrt(x * x + y * y) - radius), 2.0L * ulp(radius))
                << sweep << " from " << start << ", radius " << radius;
        }
        ASSERT_LE(off_circle(curve, ERPoint2D(), radius, 40), 4 * ulp(radius)); // evaluated
        // The side of a reversed arc is kept: both run from start to end.
        ASSERT_TRUE(isEqual(curve(0.0), arc(start), 2 * ulp(radius)));
        ASSERT_TRUE(isEqual(curve(1.0), arc(end), 2 * ulp(radius)));
        ASSERT_TRUE(isEqual(curve(0.5), arc((start + end) / 2), 8 * ulp(radius)));
    }
    EXPECT_EQ(velm::to_nurbs(ERArc2D(ERPoint2D(), 1.0, 0.0, INFINITY)).nbPoles(), 0);
    EXPECT_LE(velm::to_nurbs(ERArc2D(ERPoint2D(), 1.0, 0.0, 1e9)).nbPoles(), 17);
}

TEST(Conics, ArcsByCrossingsHaveTheGivenPieces) {
    const ERPoint2D center(3.0, -2.0);
    const struct {
        double sweep;
        int pieces;
    } rows[] = {{0.3, 1}, {pi / 2, 1}, {1.6, 2}, {pi, 2}, {4.7, 3}, {4.72, 4}, {2 * pi, 4}};
    for (const auto& [sweep, pieces] : rows) {
        ERArc2D arc(center, 5.0, 0.25, 0.25 + sweep);
        ERCpoleNURBS2D curve = Convert(arc);
        ASSERT_EQ(curve.nbPoles(), 2 * pieces + 1) << sweep;
        EXPECT_EQ(curve.knotVector().length(), 2 * pieces + 4);
        for (int i = 1; i < pieces; ++i)
            EXPECT_EQ(curve.knotVector()[2 * i + 2], double(i) / pieces);
        EXPECT_LE(off_circle(curve, center, 5.0), 1e-14) << sweep;
        EXPECT_TRUE(isEqual(curve(1.0), arc(arc.ufin()), 1e-14));
        EXPECT_TRUE(isEqual(arc.ConvertToNurbs()(0.4), curve(0.4), 0.0));
    }
    // A reversed arc comes out as its complement, a very short one leaves the circle.
    const ERArc2D reversed(center, 5.0, 1.0, 0.0);
    EXPECT_TRUE(isEqual(Convert(reversed)(0.5),
                        center + ERPoint2D(5 * std::cos(0.5 + pi), 5 * std::sin(0.5 + pi)), 1e-13));
    const ERPoint2D far(1000.0, 2000.0);
    EXPECT_GT(off_circle(Convert(ERArc2D(far, 1000.0, 0.0, 3e-6)), far, 1000.0), 100.0);
    EXPECT_LT(off_circle(Convert(ERArc2D(far, 1000.0, 0.0, 4e-6)), far, 1000.0), 1e-9);
    EXPECT_LT(off_circle(velm::to_nurbs(ERArc2D(far, 1000.0, 0.0, 3e-6)), far, 1000.0), 1e-12);
    const ERCpoleNURBS2D dot = Convert(ERCircle2D(center, 0.0));
    ASSERT_EQ(dot.nbPoles(), 9);
    for (int i = 0; i < 9; ++i)
        EXPECT_TRUE(isEqual(dot[i], center, 1e-14)) << i;
    EXPECT_EQ(Convert(ERArc2D(center, 5.0, std::nan(""), 1.0)).nbPoles(), 3);
}

TEST(Conics, InSpaceTheyLieInTheirFrame) {
    const ERPmIsometrie3D frame = ERChgRepere3D(ERVector3D(1, 2, 3), ERPoint3D(3, -2, 1));
    ERArc3D arc(ERArc2D(ERPoint2D(2, 1), 4.0, 0.5, 2.5), frame);
    const ERPoint3D center = arc.center();
    for (ERCpoleNURBS3D curve :
         {Convert(arc), velm::to_nurbs(arc), Convert(static_cast<const ERCircle3D&>(arc))})
        EXPECT_LE(off_circle(curve, center, 4.0), 1e-14);
    EXPECT_TRUE(isEqual(Convert(arc)(1.0), arc(2.5), 1e-14));
    ERArcEllipse3D oval(ERArcEllipse2D(5.0, 2.0, 0.3, ERPoint2D(1, 1), 0.2, 4.0), frame);
    ERCpoleNURBS3D curve = velm::to_nurbs(oval);
    EXPECT_TRUE(isEqual(curve(0.0), oval(oval.udeb()), 1e-13));
    EXPECT_TRUE(isEqual(curve(1.0), oval(oval.ufin()), 1e-13));
    EXPECT_TRUE(isEqual(oval.ConvertToNurbs()(1.0), oval(oval.ufin()), 1e-12));
}

TEST(Conics, EllipticalArcsFulfilTheEquationInTheSenseOfTravel) {
    velm_test::Random random(62);
    for (int round = 0; round < 300; ++round) {
        const double a = random.uniform(1.0, 10.0);
        const double b = a * random.uniform(0.05, 1.0);
        const ERPoint2D center = random.value<ERPoint2D>(10.0);
        const double start = random.uniform(0.0, 3.0);
        double limits[2] = {start, start + random.uniform(0.01, 3.2)};
        if (round % 3 == 0) std::swap(limits[0], limits[1]);
        ERArcEllipse2D arc(a, b, 0.0, center, limits[0], limits[1]);
        for (ERCpoleNURBS2D curve : {Convert(arc), velm::to_nurbs(arc), arc.ConvertToNurbs()}) {
            ASSERT_GT(curve.nbPoles(), 0);
            for (int i = 0; i <= 20; ++i) {
                const ERPoint2D p = curve(i / 20.0) - center;
                ASSERT_NEAR(p.x() * p.x() / (a * a) + p.y() * p.y() / (b * b), 1.0, 1e-7) << round;
            }
            EXPECT_TRUE(isEqual(curve(0.0), arc(arc.udeb()), 1e-12));
            EXPECT_TRUE(isEqual(curve(1.0), arc(arc.ufin()), 1e-12));
            EXPECT_TRUE(
                isEqual(velm::to_nurbs(arc)(0.5), arc((arc.udeb() + arc.ufin()) / 2), 1e-12));
        }
    }
    ERArcEllipse2D flat(5.0, 0.0, 0.0, ERPoint2D(), 0.0, 2 * pi);
    for (ERCpoleNURBS2D curve : {Convert(flat), velm::to_nurbs(flat)})
        EXPECT_TRUE(isEqual(curve(0.5), ERPoint2D(-5.0, 0.0), 1e-12));
}

TEST(Conics, OpenConicsGoThroughTheirPointsOnTheirTangents) {
    velm_test::Random random(63);
    int pieces[5] = {};
    for (int round = 0; round < 500; ++round) {
        const double weight = round % 5 == 0   ? 1.0
                              : round % 5 == 1 ? random.uniform(1.0, 4.0)
                                               : random.uniform(-0.9, 0.99);
        const ERPoint2D p0 = random.value<ERPoint2D>(5.0);
        const ERPoint2D p1 = random.value<ERPoint2D>(5.0);
        const ERPoint2D p2 = random.value<ERPoint2D>(5.0);
        const ERVector2D sides[] = {ERVector2D(p0, p1), ERVector2D(p1, p2)};
        const double area = sides[0].i() * sides[1].j() - sides[0].j() * sides[1].i();
        if (std::fabs(area) < 2.0) continue;
        const auto at = [&](double u) {
            const double b0 = (1 - u) * (1 - u), b1 = 2 * u * (1 - u) * weight, b2 = u * u;
            return (p0 * b0 + p1 * b1 + p2 * b2) / (b0 + b1 + b2);
        };
        // The conic of the poles: 4 w^2 l0 l2 = l1^2 in barycentric coordinates.
        const auto implicit = [&](const ERPoint2D& p) {
            const ERVector2D to(p1, p);
            const ERVector2D e0(p1, p0), e2(p1, p2);
            const double l0 =
                (to.i() * e2.j() - to.j() * e2.i()) / (e0.i() * e2.j() - e0.j() * e2.i());
            const double l2 =
                (e0.i() * to.j() - e0.j() * to.i()) / (e0.i() * e2.j() - e0.j() * e2.i());
            const double l1 = 1.0 - l0 - l2;
            return (4 * weight * weight * l0 * l2 - l1 * l1) / (1.0 + l0 * l0 + l1 * l1 + l2 * l2);
        };
        ERCpoleNURBS2D curve =
            MakeOpenConic(p0, sides[0], p2, sides[1], at(random.uniform(0.2, 0.8)));
        ASSERT_GT(curve.nbPoles(), 0) << round << " weight " << weight;
        ++pieces[curve.nbPoles() / 2];
        const double room = weight < -0.5 ? 1e-9 : 1e-11;
        for (int i = 0; i <= 20; ++i)
            ASSERT_NEAR(implicit(curve(i / 20.0)), 0.0, room) << round << " weight " << weight;
        EXPECT_TRUE(isEqual(curve(0.0), p0, 1e-13));
        EXPECT_TRUE(isEqual(curve(1.0), p2, 1e-13));
    }
    EXPECT_GT(std::min({pieces[1], pieces[2], pieces[4]}), 10);

    // A half turn has its middle pole at infinity; -1 is no conic, nor is a point outside.
    const ERVector2D up(0, 1);
    ERCpoleNURBS2D half = MakeOpenConic({2, 0}, up, {-2, 0}, -up, {0, 2});
    EXPECT_EQ(half.nbPoles(), 5);
    EXPECT_LE(off_circle(half, ERPoint2D(), 2.0), 1e-15);
    EXPECT_EQ(MakeOpenConic({1, 0}, {-1, 1}, {-1, 0}, {1, 1}, {0, 5}).nbPoles(), 0);
    EXPECT_EQ(MakeOpenConic({1, 0}, {-1, 1}, {-1, 0}, {1, 1}, {9, 3}).nbPoles(), 0);
    EXPECT_EQ(MakeOpenConic({1, 0}, {0, 0}, {1, 0}, {0, 0}, {1, 0}).nbPoles(), 0);
}

} // namespace
