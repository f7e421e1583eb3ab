// How contours lie in each other: random nests against how they were made.
#include "support/test.h"
#include "velm/frame/point_functions.h"
#include "velm/planar/contour_curve.h"
#include "velm/planar/outline_nesting.h"

namespace velm {
namespace {

constexpr double turn = 2.0 * std::numbers::pi;

// A disc in straight edges, in arcs, or in both.
Contour disc(velm_test::Random& random, const ERPoint2D& centre, double radius) {
    const int count = 1 + random.below(12), kind = count < 3 ? 2 : random.below(3);
    if (count == 1) return Contour::circle(centre, radius);
    Contour contour;
    for (int i = 0; i < count; ++i) {
        const double from = turn * i / count, to = turn * (i + 1) / count;
        const ERPoint2D p = centre + ERVector2D(std::cos(from), std::sin(from)) * radius;
        if (kind == 2 || (kind == 1 && i % 2 == 0))
            contour.append(p, ERArc2D(centre, radius, from, to));
        else
            contour.append(p);
    }
    return contour;
}

struct Made {
    std::vector<Contour> contours;
    std::vector<int> parents; // -1 for none
};

// Four discs within each disc, near each other and near its border, down to a depth.
void fill(velm_test::Random& random, Made& made, int parent, const ERPoint2D& centre, double radius,
          int depth) {
    for (int i = 0; depth > 0 && i < 4; ++i) {
        const double angle = turn * (i + random.uniform(0.2, 0.3)) / 4.0;
        const ERPoint2D at =
            centre + ERVector2D(std::cos(angle), std::sin(angle)) * (0.25 * radius);
        made.contours.push_back(disc(random, at, 0.16 * radius));
        made.parents.push_back(parent);
        fill(random, made, static_cast<int>(made.parents.size()) - 1, at, 0.16 * radius,
             random.below(depth));
    }
}

TEST(Nesting, AreasAreThoseOfTheNestTheyWereMadeOf) {
    velm_test::Random random(61);
    for (int round = 0; round < 60; ++round) {
        Made made;
        const double scale = round % 10 == 3 ? 1e-200 : round % 10 == 7 ? 1e250 : 100.0;
        fill(random, made, -1, ERPoint2D(round * scale, 0.0), scale, 5);
        std::vector<int> order(made.parents.size()); // the outline's place of each
        Outline outline;
        for (std::size_t i = 0; i < order.size(); ++i)
            order[i] = static_cast<int>(i);
        for (std::size_t i = order.size(); i > 1; --i)
            std::swap(order[i - 1], order[random.next() % i]);
        outline.contours.resize(order.size());
        for (std::size_t i = 0; i < order.size(); ++i)
            outline.contours[static_cast<std::size_t>(order[i])] = made.contours[i];
        ASSERT_FALSE(settle_areas(outline)) << "round " << round;

        std::vector<int> area_of(order.size(), -1);
        for (const OutlineArea& area : outline.areas)
            for (const int hole : area.holes)
                area_of[static_cast<std::size_t>(hole)] = area.outer;
        std::size_t holes = 0;
        std::vector<bool> is_hole(order.size());
        for (std::size_t i = 0; i < order.size(); ++i) { // parents come first
            const int parent = made.parents[i];
            is_hole[i] = parent >= 0 && !is_hole[static_cast<std::size_t>(parent)];
            holes += is_hole[i];
            EXPECT_EQ(area_of[static_cast<std::size_t>(order[i])],
                      is_hole[i] ? order[static_cast<std::size_t>(parent)] : -1);
        }
        EXPECT_EQ(outline.areas.size() + holes, order.size());
    }
}

// A disc of free-form edges, each a quarter or some quarters turn.
Contour free_form_disc(const ERPoint2D& centre, double radius, int count) {
    Contour contour;
    for (int i = 0; i < count; ++i) {
        ERArc2D arc(centre, radius, turn * i / count, turn * (i + 1) / count);
        for (const ERCpoleNURBS2D& part : CurveEdge::smooth_parts(arc.ConvertToNurbs())) {
            const auto edge = CurveEdge::make(part);
            contour.append(edge->start(), edge);
        }
    }
    return contour;
}

TEST(Nesting, FreeFormContoursThatCrossAreNamed) {
    velm_test::Random random(62);
    for (int round = 0; round < 200; ++round) {
        const double scale = round % 2 == 0 ? 1.0 : std::pow(10.0, random.uniform(-9, 9));
        const double big = 2.0 * scale, small = random.uniform(0.2, 1.0) * scale;
        // From inside through touching inside, crossing, touching outside, to outside.
        const double gaps[] = {0.1, 1e-8, 0.0};
        const double gap = scale * gaps[round % 3];
        const int place = random.below(3); // inside, crossing, outside
        const double away = place == 0   ? big - small - gap
                            : place == 1 ? big + random.uniform(-0.8, 0.8) * small
                                         : big + small + gap;
        const double angle = random.uniform(0.0, turn);
        const ERPoint2D at(away * std::cos(angle), away * std::sin(angle));
        Outline outline;
        outline.contours = {free_form_disc({0.0, 0.0}, big, 3 + random.below(3)),
                            round % 4 == 0 ? Contour::circle(at, small)
                                           : free_form_disc(at, small, 3 + random.below(3))};
        const auto clash = settle_areas(outline);
        ASSERT_EQ(clash.has_value(), place == 1) << "round " << round;
        if (place != 1) {
            ASSERT_EQ(outline.areas.size(), place == 0 ? 1u : 2u) << "round " << round;
            continue;
        }
        ASSERT_TRUE(clash->crossing) << "round " << round;
        const double tolerance = 1e-4 * scale;
        EXPECT_NEAR(distance(*clash->crossing, ERPoint2D(0.0, 0.0)), big, tolerance);
        EXPECT_NEAR(distance(*clash->crossing, at), small, tolerance);
    }
    // The same curve twice.
    Outline twice;
    twice.contours = {free_form_disc({1.0, 0.0}, 1.0, 4), free_form_disc({1.0, 0.0}, 1.0, 3)};
    const auto clash = settle_areas(twice);
    ASSERT_TRUE(clash.has_value());
    EXPECT_FALSE(clash->crossing.has_value());
}

// Where a lone contour crosses itself.
std::optional<ERPoint2D> crossing_of(const Contour& contour) {
    Outline outline;
    outline.contours = {contour};
    const auto clash = settle_areas(outline);
    EXPECT_EQ(outline.areas.size(), clash ? 0u : 1u);
    if (!clash) return std::nullopt;
    EXPECT_EQ(clash->contour, clash->other);
    return clash->crossing;
}

// Snails r = 1 + a cos: with an inner loop from the origin for a > 1, of a width near a - 1.
TEST(Nesting, ContoursThatCrossThemselvesAreNamed) {
    velm_test::Random random(63);
    for (int round = 0; round < 100; ++round) {
        const double loops[] = {-0.3, 0.3, 1e-3, 1e-9};
        const double a = 1.0 + loops[round % 4] * random.uniform(1.0, 2.0);
        const double scale = round % 2 == 0 ? 1.0 : std::pow(10.0, random.uniform(-9, 9));
        const int count = 200 + random.below(400), first = random.below(count);
        const double start = random.uniform(0.0, turn);
        const ERPoint2D at(scale * random.uniform(-3, 3), scale * random.uniform(-3, 3));
        Contour contour;
        for (int i = 0; i < count; ++i) {
            // Vertices at both ways through the origin, so that these meet in vertices as well.
            const double through = a > 1.0 ? std::acos(-1.0 / a) : 0.5 * turn;
            double angle = turn * ((first + i) % count) / count;
            if (std::fabs(angle - through) < 0.5 * turn / count) angle = through;
            if (std::fabs(turn - through - angle) < 0.5 * turn / count) angle = turn - through;
            const double r = scale * (1.0 + a * std::cos(angle));
            contour.append(at + ERVector2D(std::cos(angle + start), std::sin(angle + start)) * r);
        }
        const auto place = crossing_of(contour);
        ASSERT_EQ(place.has_value(), a > 1.0 + 1e-4) << "round " << round;
        EXPECT_LT(place ? distance(*place, at) : 0.0, 1e-9 * scale) << "round " << round;
    }
}

TEST(Nesting, EdgesOfEveryKindMayCrossThemselves) {
    // An arc through a straight edge.
    const double radius = 3.0, half = std::hypot(5.0, 1.0) / 2.0;
    const ERVector2D across(-1.0 / (2.0 * half), 5.0 / (2.0 * half));
    const double away = std::sqrt(radius * radius - half * half);
    for (const double side : {-1.0, 1.0}) { // the arc below the chord or above it
        const ERPoint2D centre = ERPoint2D(2.5, 0.5) + across * (side * away);
        const auto angle = [&](double x, double y) {
            return std::atan2(y - centre.y(), x - centre.x());
        };
        double from = angle(5, 1), to = angle(0, 0);
        if (side < 0.0 && to < from) to += turn;
        if (side > 0.0 && to > from) to -= turn;
        Contour contour;
        contour.append({0, 0});
        contour.append({10, 0});
        contour.append({5, 1}, ERArc2D(centre, radius, from, to));
        const auto place = crossing_of(contour);
        ASSERT_EQ(place.has_value(), side > 0.0);
        if (!place) continue;
        EXPECT_NEAR(place->y(), 0.0, 1e-12);
        EXPECT_NEAR(distance(*place, centre), radius, 1e-12);
    }
    // A curve with a loop, by its symmetry; without one where its poles change places.
    for (const double x : {0.0, 3.0}) {
        const ERCpoleNURBS2D curve({{0, 0, 1}, {1.0 + x, 2, 1}, {-x, 2, 1}, {1, 0, 1}},
                                   ERKnotVector(3, {0, 0, 0, 0, 1, 1, 1, 1}));
        Contour contour;
        contour.append({0, 0}, CurveEdge::make(curve));
        contour.append({1, 0});
        contour.append({0.5, -1});
        const auto place = crossing_of(contour);
        ASSERT_EQ(place.has_value(), x > 1.0);
        EXPECT_NEAR(place ? place->x() : 0.5, 0.5, 1e-12);
    }
    // Twice through one vertex, crossing and not; a hole with a cut from outside.
    EXPECT_TRUE(
        crossing_of(Polygon{{0, 0}, {1, 0}, {1, 1}, {1, 2}, {2, 2}, {2, 1}, {1, 1}, {0, 1}}));
    EXPECT_FALSE(
        crossing_of(Polygon{{0, 0}, {1, 0}, {1, 1}, {2, 1}, {2, 2}, {1, 2}, {1, 1}, {0, 1}}));
    EXPECT_FALSE(crossing_of(
        Polygon{{0, 0}, {9, 0}, {9, 9}, {0, 9}, {0, 5}, {3, 5}, {6, 6}, {6, 3}, {3, 5}, {0, 5}}));
}

// Polygons whose edges keep a stated distance from an outline of all kinds of edges.
TEST(Nesting, PolygonsKeepTheChordError) {
    velm_test::Random random(64);
    const Contour discs[] = {Contour::circle({3, 4}, 2.0), free_form_disc({3, 4}, 2.0, 3),
                             Contour(Polygon{{0, 0}, {1, 0}, {0, 1}})};
    for (const Contour& contour : discs) {
        for (const double error : {1.0, 1e-2, 1e-5}) {
            const Polygon polygon = polygon_within(contour, error);
            if (contour.is_polygon()) {
                EXPECT_EQ(polygon.size(), 3);
                continue;
            }
            // The sagitta of n chords is r (1 - cos(pi / n)).
            const double chords = 0.5 * turn / std::acos(1.0 - std::min(error, 1.9) / 2.0);
            EXPECT_LE(polygon.size(), 1.5 * chords + 8.0);
            const EdgeTree tree(polygon);
            for (int i = 0; i < 1000; ++i) {
                const double angle = random.uniform(0.0, turn);
                const ERPoint2D p(3 + 2 * std::cos(angle), 4 + 2 * std::sin(angle));
                NearestEdge nearest{HUGE_VAL, {}};
                tree.find_nearest(p, 0, nearest);
                ASSERT_LE(std::sqrt(nearest.squared_distance), error * (1 + 1e-12) + 1e-14);
            }
        }
        EXPECT_EQ(polygon_within(contour, 0.0).size(), 0);
    }
}

} // namespace
} // namespace velm
