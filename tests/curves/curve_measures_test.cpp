#include "velm/curves/arc_length.h"
#include "velm/curves/curve_bounds.h"
#include "velm/curves/prepare.h"

#include "support/geometry.h"

namespace {

using velm::BezierPiece;
using velm::PreparedCurve;
using velm_test::Random;

// A random plane cubic, weighted or not, over [0, 1].
PreparedCurve<2> random_cubic(Random& random, bool rational) {
    std::vector<double> row;
    for (int i = 0; i < 4; ++i) {
        const double w = rational ? random.uniform(0.2, 3.0) : 1.0;
        row.insert(row.end(), {w * random.uniform(-1, 1), w * random.uniform(-1, 1), w});
    }
    const BezierPiece piece{row, 0.0, 1.0};
    return *PreparedCurve<2>::from_pieces({&piece, 1});
}

PreparedCurve<2> cubic(const std::vector<double>& xy) {
    std::vector<double> row;
    for (std::size_t i = 0; i < xy.size(); i += 2)
        row.insert(row.end(), {xy[i], xy[i + 1], 1.0});
    const BezierPiece piece{row, 0.0, 1.0};
    return *PreparedCurve<2>::from_pieces({&piece, 1});
}

// The bounds hold and come within the tolerance, where it is above the roundings.
template <int N>
void check_length(const PreparedCurve<N>& curve, double expected) {
    for (const double tolerance : {1e-2, 1e-6, 1e-10, 1e-12, 0.0}) {
        const velm::CurveLength length = velm::arc_length(curve, tolerance * expected);
        EXPECT_LE(length.lower, expected * (1 + 1e-15)) << tolerance;
        EXPECT_GE(length.upper, expected * (1 - 1e-15)) << tolerance;
        EXPECT_EQ(length.reached, tolerance > 0.0);
        EXPECT_LE(length.upper - length.lower, std::max(tolerance, 2e-13) * expected) << expected;
    }
}

TEST(ArcLength, EnclosesKnownLengths) {
    check_length(*velm::prepare(ERSegment3D({1, 2, 3}, {2, 4, 5})), 3.0);
    check_length(*velm::prepare(ERArc2D({1e3, 2}, 2.5, 0.3, 5.1)), 2.5 * 4.8);
    check_length(*velm::prepare(ERCircle3D({1, 2, 3}, {1, 1, 0}, 4.0)), 8.0 * std::numbers::pi);
    for (const double small : {1.0, 0.1, 1e-3}) {
        const ERArcEllipse2D ellipse(2.0, small, 0.5, {1, 2}, 0.1, 2.8);
        check_length(*velm::prepare(ellipse), ellipse.arcLength(1e-15));
    }
    // The parabola y = x^2 on [-1, 1].
    check_length(cubic({-1, 1, 0, -1, 1, 1}), std::sqrt(5.0) + 0.5 * std::asinh(2.0));
    // The semicubical parabola (t^2, t^3), -1 <= t <= 1, with its cusp.
    check_length(cubic({1, -1, -1.0 / 3, 1, -1.0 / 3, -1, 1, 1}),
                 2.0 / 27 * (std::pow(13.0, 1.5) - 8));
    // A curve that runs back over itself: x = 4 t (1 - t).
    check_length(cubic({0, 0, 2, 0, 0, 0}), 2.0);
}

TEST(ArcLength, AgreesWithQuadratureAndItsInverse) {
    Random random(21);
    for (int k = 0; k < 60; ++k) {
        const PreparedCurve<2> curve = random_cubic(random, k % 2 == 0);
        const velm::ArcLengthTable<2> table(curve, 1e-11);
        const velm::CurveLength total = table.total();
        EXPECT_TRUE(total.reached);
        // Simpson's rule, fine enough for 1e-8 where there is no cusp nearby.
        double sum = 0.0;
        constexpr int steps = 4000;
        for (int i = 0; i <= steps; ++i) {
            const double speed = curve.point_at(double(i) / steps).tangente().norme();
            sum += speed * (i == 0 || i == steps ? 1 : i % 2 == 1 ? 4 : 2);
        }
        EXPECT_NEAR(total.value, sum / (3.0 * steps), 1e-6) << k;
        EXPECT_EQ(table.length_at(-1.0), 0.0);
        EXPECT_NEAR(table.length_at(2.0), total.value, 1e-14);
        for (int i = 0; i < 50; ++i) {
            const double t = random.uniform(0, 1);
            const double length = table.length_at(t);
            EXPECT_NEAR(table.length_at(table.parameter_at(length)), length, 1e-13);
            EXPECT_LE(length, table.length_at(t + 1e-3));
        }
        const std::vector<double> even = table.evenly_spaced(17);
        ASSERT_EQ(even.size(), 17u);
        for (std::size_t i = 0; i < even.size(); ++i)
            EXPECT_NEAR(table.length_at(even[i]), total.value * double(i) / 16, 1e-13);
    }
}

// The distance of p from the segment from a to b.
double segment_distance(const ERPoint2D& p, const ERPoint2D& a, const ERPoint2D& b) {
    const ERVector2D d(a, b), from(a, p);
    const double square = d.i() * d.i() + d.j() * d.j();
    const double t =
        square > 0.0 ? std::clamp((from.i() * d.i() + from.j() * d.j()) / square, 0.0, 1.0) : 0.0;
    return ERVector2D(a + ERPoint2D(d.i(), d.j()) * t, p).norme();
}

TEST(CurveBounds, ChordsStayWithinTheirErrorAndAreNotWasted) {
    Random random(22);
    for (int k = 0; k < 100; ++k) {
        const PreparedCurve<2> curve = random_cubic(random, k % 2 == 0);
        for (const double error : {1e-1, 1e-3, 1e-5}) {
            const auto vertices = velm::polyline(curve, error);
            double worst = 0.0;
            for (std::size_t i = 1; i < vertices.size(); ++i) {
                for (int step = 1; step < 16; ++step) {
                    const double t =
                        vertices[i - 1].t + (vertices[i].t - vertices[i - 1].t) * step / 16.0;
                    worst = std::max(worst, segment_distance(curve(t), vertices[i - 1].point,
                                                             vertices[i].point));
                }
            }
            EXPECT_LE(worst, error) << k;
            EXPECT_TRUE(error > 1e-4 || worst > 0.03 * error) << k << " " << worst;
        }
    }
    const auto circle = velm::prepare(ERCircle2D({5, 5}, 1.0));
    EXPECT_LE(velm::polyline(*circle, 1e-4).size(), 2u * 222u); // the least number is 222
    EXPECT_TRUE(velm::polyline(*circle, 0.0).empty());
    EXPECT_TRUE(velm::polyline(*circle, 1e-20).empty());
    EXPECT_EQ(velm::polyline(*velm::prepare(ERSegment2D({0, 0}, {1, 1})), 1e-9).size(), 2u);
}

TEST(CurveBounds, TheTightBoxIsTheBoxOfTheExtremes) {
    ERArcEllipse2D ellipse(3, 1, 0.7, {10, 20}, 0.2, 2.9);
    ERArc3D arc({1, 2, 3}, {1, 1, 1}, 2.0, -0.5, 4.0);
    const ERMinimax2D flat = velm::tight_box(*velm::prepare(ellipse)),
                      flat_expected = ellipse.getBox();
    const ERMinimax3D box = velm::tight_box(*velm::prepare(arc)), expected = arc.getBox();
    for (int i = 0; i < 4; ++i)
        EXPECT_NEAR(ERMinimax2D::at(flat, i), ERMinimax2D::at(flat_expected, i), 1e-14 * 30);
    for (int i = 0; i < 6; ++i)
        EXPECT_NEAR(ERMinimax3D::at(box, i), ERMinimax3D::at(expected, i), 1e-14);
    Random random(23);
    for (int k = 0; k < 200; ++k) {
        const PreparedCurve<2> curve = random_cubic(random, k % 2 == 0);
        const ERMinimax2D tight = velm::tight_box(curve);
        ERMinimax2D sampled;
        for (int i = 0; i <= 2000; ++i)
            sampled.Update(curve(i / 2000.0));
        for (int i = 0; i < 4; ++i) {
            const double outward =
                (i < 2 ? 1 : -1) * (ERMinimax2D::at(sampled, i) - ERMinimax2D::at(tight, i));
            EXPECT_GE(outward, -1e-15) << k;
            EXPECT_LE(outward, 1e-4) << k;
        }
    }
}

} // namespace
