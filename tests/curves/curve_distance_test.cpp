// Least distances of curves and intersections in space, against each other and against dense
// questions to prepared curves.
#include "support/geometry.h"
#include "support/random_curves.h"
#include "velm/curves/nearest_points.h"
#include "velm/curves/nurbs_curve.h"
#include "velm/curves/prepare.h"
#include "velm/curves/space_intersections.h"
#include "velm/surfaces/plane.h"
#include "velm/transforms/transformation_handle.h"
#include "velm/wireframe/circle_in_space.h"

namespace {

using velm::BezierPiece;
using velm::NearestPoints;
using velm::SpaceIntersection;
using velm_test::Random;

// A chain of random rational curves within size 1 of a place.
template <int N>
velm::PreparedCurve<N> random_chain(Random& random, int spans, double away = 0.0,
                                    double scale = 1.0) {
    const int degree = 1 + random.below(5);
    std::vector<std::vector<double>> rows;
    const bool rational = random.below(2) == 0;
    for (int s = 0; s < spans; ++s) {
        std::vector<double> row;
        if (s > 0) row.assign(rows.back().end() - (N + 1), rows.back().end());
        while (row.size() < std::size_t((degree + 1) * (N + 1))) {
            const double w = rational ? random.uniform(0.5, 2.0) : 1.0;
            for (int axis = 0; axis < N; ++axis)
                row.push_back((random.uniform(-1, 1) + (axis == 0 ? away : 0.0)) * w * scale);
            row.push_back(w);
        }
        rows.push_back(row);
    }
    return velm_test::prepared_rows<N>(rows).value();
}

template <int N>
void expect_least_distances(int rounds) {
    Random random(81);
    for (int round = 0; round < rounds; ++round) {
        const double scale = std::pow(10.0, random.uniform(-6, 6));
        const auto a = random_chain<N>(random, 1 + random.below(5), 0.0, scale);
        const auto b = random_chain<N>(random, 1 + random.below(5), random.uniform(0, 4), scale);
        const NearestPoints<N> found = nearest_points(a, b);
        ASSERT_TRUE(found.certified) << round;
        ASSERT_LE(found.distance - found.lower, 1e-11 * scale);
        ASSERT_NEAR(distance(found.on_a, found.on_b), found.distance, 1e-13 * scale);
        ASSERT_NEAR(distance(a(found.a.t), b(found.b.t)), found.distance, 1e-13 * scale);
        for (int i = 0; i <= 50; ++i)
            ASSERT_GE(b.nearest(a(a.domain()(i / 50.0))).distance, found.lower) << round;
        // The pair is a least one: nothing is nearer to either point.
        ASSERT_NEAR(a.nearest(found.on_b).distance, found.distance, 1e-12 * scale) << round;
        ASSERT_NEAR(b.nearest(found.on_a).distance, found.distance, 1e-12 * scale) << round;
    }
}

TEST(NearestPoints, AreCertifiedInThePlaneAndInSpace) {
    expect_least_distances<2>(150);
    expect_least_distances<3>(150);
    const auto circle = [](double x, double radius) {
        return *velm::prepare(ERCircle2D({x, 0.0}, radius));
    };
    EXPECT_NEAR(nearest_points(circle(0, 1), circle(5, 2)).distance, 2.0, 1e-15);
    EXPECT_EQ(nearest_points(circle(0, 1), circle(2, 2)).lower, 0.0);
    // Parallels: certified where they are straight; else the budget ends near the distance.
    const auto line = [](double x, double y) {
        return *velm::prepare(ERSegment2D({x, y}, {x + 3, y}));
    };
    EXPECT_TRUE(nearest_points(line(0, 0), line(1, 1e-3)).certified);
    const NearestPoints<2> rings = nearest_points(circle(0, 1), circle(0, 2), 1 << 12);
    EXPECT_FALSE(rings.certified);
    EXPECT_NEAR(rings.distance, 1.0, 1e-14);
    EXPECT_GT(rings.lower, 1.0 - 1e-3);
}

bool holds(const ERLimites& parameters, double t) {
    return parameters.start() <= t + 1e-12 && t <= parameters.end() + 1e-12;
}

// Curves through a chosen pair of places at a chosen distance, in space.
TEST(SpaceIntersections, HoldWhatIsWithinTheTolerance) {
    Random random(82);
    for (int round = 0; round < 400; ++round) {
        const double scale = std::pow(10.0, random.uniform(-4, 4));
        velm::SpaceIntersectionOptions options;
        options.tolerance = scale * std::pow(10.0, -random.uniform(3, 9));
        const double apart[] = {0.0, 0.9, 3.0};
        const double gap = apart[round % 3] * options.tolerance;
        const auto a = random_chain<3>(random, 1 + random.below(4), 0.0, scale);
        const auto chain = random_chain<3>(random, 1 + random.below(4), 0.0, scale);
        const double s = a.domain()(random.uniform(0, 1)), t = chain.domain()(random.uniform(0, 1));
        std::vector<std::vector<double>> rows;
        std::vector<BezierPiece> pieces;
        const ERVector3D shift(chain(t), a(s) + ERPoint3D(0, 0, gap));
        for (int i = 0; i < chain.pieces(); ++i) {
            const auto piece = chain.piece(i);
            rows.emplace_back(piece.poles.begin(), piece.poles.end());
            for (std::size_t k = 0; k < rows.back().size(); k += 4)
                for (int axis = 0; axis < 3; ++axis)
                    rows.back()[k + std::size_t(axis)] +=
                        (piece.origin[axis] + shift[axis]) * rows.back()[k + 3];
        }
        for (int i = 0; i < chain.pieces(); ++i)
            pieces.push_back({rows[std::size_t(i)], chain.piece(i).parameters.start(),
                              chain.piece(i).parameters.end()});
        const auto b = velm::PreparedCurve<3>::from_pieces(pieces).value();
        std::vector<SpaceIntersection> found;
        ASSERT_TRUE(intersections(a, b, found, options)) << round;
        bool chosen = false;
        for (const SpaceIntersection& i : found) {
            ASSERT_LE(i.distance, 2.0 * options.tolerance + 1e-13 * scale) << round;
            ASSERT_TRUE(holds(i.a_parameters, i.a.t) && holds(i.b_parameters, i.b.t)) << round;
            ASSERT_NEAR(distance(a(i.a.t), b(i.b.t)), i.distance, 1e-13 * scale);
            chosen = chosen ||
                     (holds(i.a_parameters, s) && holds(i.b_parameters, t) && i.box.contains(a(s)));
        }
        ASSERT_TRUE(chosen || gap > options.tolerance) << round << " of " << found.size();
        ASSERT_TRUE(!found.empty() || nearest_points(a, b).distance > options.tolerance) << round;
    }
}

// A part of a curve, of raised degree and over another interval, lies along it in one stretch; on
// a closed curve through the seam too.
TEST(SpaceIntersections, StretchesAreOneEntry) {
    ERCpoleNURBS3D curve({{0, 0, 0, 1}, {1, 2, 0.5, 1}, {2, -1, 1, 1}, {3, 1, 0, 1}},
                         ERKnotVector(3, {0, 0, 0, 0, 1, 1, 1, 1}));
    ERCpoleNURBS3D part(curve);
    part.setBound(ERLimites(0.3, 0.8));
    part.adjust();
    part.incrDegree(2);
    std::vector<SpaceIntersection> found;
    velm::SpaceIntersectionOptions options;
    for (const double tolerance : {1e-2, 1e-4, 1e-6}) {
        options.tolerance = tolerance;
        ASSERT_TRUE(intersections(*velm::prepare(curve), *velm::prepare(part), found, options));
        ASSERT_EQ(found.size(), 1u);
        EXPECT_NEAR(found[0].a_parameters.start(), 0.3, tolerance);
        EXPECT_NEAR(found[0].a_parameters.end(), 0.8, tolerance);
        EXPECT_NEAR(found[0].b_parameters.start(), part.udeb(), 1e-12);
        EXPECT_NEAR(found[0].b_parameters.end(), part.ufin(), 1e-12);
    }
    const auto ring = *velm::prepare(ERCircle3D(ERPmIsometrie3D(), 1.0));
    const auto line = [](double x, double y) {
        return *velm::prepare(ERSegment3D(ERPoint3D(x, -1, 0), ERPoint3D(y, 1, 0)));
    };
    options.tolerance = 1e-3;
    intersections(ring, line(1, 1), found, options); // it touches at the seam
    ASSERT_EQ(found.size(), 1u);
    EXPECT_GT(found[0].a_parameters.start(), 6.2);
    EXPECT_LT(found[0].a_parameters.end(), 0.1);
    intersections(ring, line(0, 0), found, options);
    EXPECT_EQ(found.size(), 2u);
    intersections(ring, line(1.01, 1.01), found, options);
    EXPECT_TRUE(found.empty());
    // A budget that ends says so.
    options.budget = 3;
    EXPECT_FALSE(intersections(ring, line(1, 1), found, options));
    EXPECT_TRUE(found.back().unresolved);
    // A plane, which the ring crosses twice.
    std::vector<velm::CurveCrossing<3>> crossings;
    intersections(ring, ERPlane(ERPoint3D(0.6, 0, 0), ERVector3D(1, 0, 0)), crossings);
    ASSERT_EQ(crossings.size(), 2u);
    EXPECT_NEAR(crossings[0].t, std::acos(0.6), 1e-15);
    EXPECT_TRUE(crossings[0].before == 1 && crossings[0].after == -1);
}

} // namespace
