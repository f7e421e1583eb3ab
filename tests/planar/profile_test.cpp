// Points against outlines: the index against a scan of all edges, signs at corners, extreme sizes.
#include "support/test.h"
#include "velm/planar/outline_checks.h"
#include "velm/planar/outline_nesting.h"
#include "velm/planar/point_in_polygon.h"
#include "velm/planar/polygon_measures.h"
#include "velm/planar/profile.h"

namespace velm {
namespace {

Outline outline_of(std::initializer_list<Polygon> contours) {
    Outline outline;
    outline.contours.assign(contours.begin(), contours.end());
    EXPECT_FALSE(settle_areas(outline));
    return outline;
}

// A star whose radius wanders, with runs of vertices on a lattice so that ties happen.
Polygon random_star(velm_test::Random& random, int count, double size, bool on_lattice) {
    Polygon star(count);
    for (int i = 0; i < count; ++i) {
        const double angle = 2.0 * std::numbers::pi * i / count;
        const double radius = size * random.uniform(0.4, 1.0);
        ERPoint2D p(radius * std::cos(angle), radius * std::sin(angle));
        if (on_lattice) p = ERPoint2D(std::round(p.x()), std::round(p.y()));
        star[i] = p;
    }
    return star;
}

NearestEdge scan(const Polygon& polygon, const ERPoint2D& p) {
    NearestEdge best{std::numeric_limits<double>::infinity(), {}};
    for (int i = 0; i < polygon.size(); ++i) {
        const ERPoint2D a = polygon[i], b = polygon[(i + 1) % polygon.size()];
        const ERVector2D along(a, b);
        const double length2 = along.norme2();
        double t = length2 > 0.0 ? ERVector2D(a, p) * along / length2 : 0.0;
        t = t < 0.0 ? 0.0 : t > 1.0 ? 1.0 : t;
        const ERPoint2D foot = t == 1.0 ? b : a + along * t;
        const double d2 = ERVector2D(foot, p).norme2();
        if (d2 < best.squared_distance) best = {d2, foot, t, 0, i};
    }
    return best;
}

TEST(EdgeTree, GivesTheAnswersOfAScanTiesIncluded) {
    velm_test::Random random(71);
    for (int round = 0; round < 60; ++round) {
        const bool on_lattice = round % 2 == 0;
        const Polygon star = random_star(random, 3 + random.below(300), 20.0, on_lattice);
        const EdgeTree tree(star);
        for (int k = 0; k < 200; ++k) {
            ERPoint2D p(random.uniform(-25.0, 25.0), random.uniform(-25.0, 25.0));
            if (on_lattice) p = ERPoint2D(std::round(p.x()), std::round(p.y()));
            if (k % 10 == 0) p = star[random.below(star.size())];
            const NearestEdge expected = scan(star, p);
            NearestEdge found{std::numeric_limits<double>::infinity(), {}};
            tree.find_nearest(p, 0, found);
            ASSERT_EQ(found.edge, expected.edge) << "round " << round << ", point " << p;
            ASSERT_EQ(found.squared_distance, expected.squared_distance);
            ASSERT_EQ(found.foot, expected.foot);
        }
    }
}

// On a lattice every place is decided by whole numbers. A small scale, a power of two, brings all
// of it within the tolerance of a region's edges.
TEST(Profile, PlacesAreExactOnALattice) {
    velm_test::Random random(83);
    int found[place_count] = {};
    for (int round = 0; round < 80; ++round) {
        Outline outline; // an island in a hole, and a part beside, in any order
        for (const double size : {40.0, 13.0, 3.5, -20.0}) {
            Polygon star =
                random_star(random, size == 3.5 ? 8 : 12 + random.below(9), std::fabs(size), true);
            Polygon ring;
            for (const ERPoint2D& v : star)
                if (ring.empty() || !(v == ring.back()))
                    ring.push_back(ERPoint2D(v.x() + (size < 0.0 ? 62.0 : 0.0), v.y()));
            if (ring.front() == ring.back()) ring.resize(ring.size() - 1);
            if (random.below(2)) ReversePolygoneKeepFirstPoint(ring);
            const int count = static_cast<int>(outline.contours.size());
            outline.contours.insert(outline.contours.begin() + random.below(count + 1),
                                    Contour(ring));
        }
        const double scale = std::ldexp(1.0, round % 4 == 0 ? -20 : 0);
        Outline scaled;
        for (const Contour& contour : outline.contours)
            scaled.contours.push_back(contour.scaled(scale));
        ASSERT_FALSE(settle_areas(scaled)) << "round " << round;
        const Profile profile(scaled);
        for (int k = 0; k < 1000; ++k) {
            const ERPoint2D p(random.below(130) - 42, random.below(84) - 42);
            bool inside = false, on_edge = false, on_vertex = false;
            for (const Contour& contour : outline.contours)
                for (int i = 0; i < contour.size(); ++i) {
                    const ERVector2D a(p, contour[i]), b(p, contour[i + 1]);
                    const double cross = a.i() * b.j() - a.j() * b.i();
                    on_vertex |= contour[i] == p;
                    on_edge |= cross == 0.0 && a * b <= 0.0;
                    if ((a.j() > 0.0) != (b.j() > 0.0)) inside ^= (cross > 0.0) == (b.j() > a.j());
                }
            const OutlinePlace expected = on_vertex ? OutlinePlace::on_vertex
                                          : on_edge ? OutlinePlace::on_edge
                                          : inside  ? OutlinePlace::inside
                                                    : OutlinePlace::outside;
            const OutlineComparison got = profile.compare(p * scale);
            ASSERT_EQ(name_of_place(got.place), name_of_place(expected))
                << "round " << round << ", point " << p;
            ASSERT_FALSE(std::signbit(got.distance) && got.distance == 0.0) << p;
            const Contour& nearest = outline.contours[static_cast<std::size_t>(got.contour)];
            ASSERT_NEAR(std::sqrt(scan(nearest.vertices(), p).squared_distance) * scale,
                        std::fabs(got.distance), 1e-13 * scale);
            ASSERT_EQ((got.distance > 0.0) - (got.distance < 0.0), on_edge || on_vertex ? 0
                                                                   : inside             ? -1
                                                                                        : 1);
            ++found[static_cast<int>(expected)];
        }
    }
    EXPECT_GT(std::min({found[0], found[1], found[2], found[3]}), 300);
}

// Where Inside says edge, within its tolerance, the side of the nearest edge decides. A part of
// some micrometres in metres lies within that tolerance as a whole, corners included.
TEST(Profile, WithinTheToleranceOfInsideTheNearestEdgesDecide) {
    // An L with a sharp horn: convex corners and one concave corner at (1, 1).
    const Polygon shape{{0, 0}, {3, 0}, {3, 1}, {1, 1}, {1, 3}, {0.5, 9}, {0, 3}};
    const auto scaled = [&](double scale, const ERPoint2D& shift) {
        Polygon polygon = shape;
        for (ERPoint2D& v : polygon)
            v = v * scale + shift;
        return polygon;
    };
    const Profile model(outline_of({shape}));
    velm_test::Random random(5);
    for (const double scale : {1e-6, 1e-9, 1e-120, 1e14, 1e290}) {
        const Profile profile(outline_of({scaled(scale, {})}));
        for (int k = 0; k < 2000; ++k) {
            ERPoint2D p(random.uniform(-1.0, 4.0), random.uniform(-1.0, 10.0));
            if (k % 4 == 0) { // beside a corner
                const double angle = random.uniform(0.0, 6.2831853);
                p = shape[random.below(shape.size())] +
                    ERVector2D(std::cos(angle), std::sin(angle)) * 0.05;
            }
            const OutlineComparison expected = model.compare(p);
            if (std::fabs(expected.distance) < 1e-9) continue;
            const OutlineComparison found = profile.compare(p * scale);
            ASSERT_NEAR(found.distance / scale, expected.distance, 1e-12)
                << p << " times " << scale;
        }
    }
    // Far from the origin the turning of a small contour is still found.
    const ERPoint2D far(1e6, -1e6);
    const Profile shifted(outline_of({scaled(1e-3, far)}));
    EXPECT_GT(shifted.compare(far + ERVector2D(-1e-4, 1e-3)).distance, 0.0);
    EXPECT_LT(shifted.compare(far + ERVector2D(1e-4, 1e-3)).distance, 0.0);
}

// A convex polygon grown by a radius: the signed distance is that to the polygon less the radius.
// Many edges, arcs cut anywhere, turned either way, alone or as a hole, near and far.
TEST(Profile, ArcsGiveTheDistancesOfGrownPolygons) {
    constexpr double turn = 2.0 * std::numbers::pi;
    velm_test::Random random(29);
    for (int round = 0; round < 40; ++round) {
        const int count = 3 + random.below(round % 4 == 0 ? 200 : 9);
        const double radius = random.uniform(0.1, 5.0);
        const ERPoint2D middle(random.uniform(-50.0, 50.0), random.uniform(-50.0, 50.0));
        Polygon inner(count);
        for (int i = 0; i < count; ++i) {
            const double t = turn * (i + 0.1) / count;
            inner[i] = middle + ERVector2D(8.0 * std::cos(t), 5.0 * std::sin(t));
        }
        const bool turned = round % 2 == 1, is_hole = round % 3 == 1;
        Contour grown;
        const auto at = [&](int i, double angle) {
            return inner[i] + ERVector2D(std::cos(angle), std::sin(angle)) * radius;
        };
        const auto normal = [&](int i) { // of the edge from vertex i on
            const ERPoint2D &a = inner[i], &b = inner[(i + 1) % count];
            return std::atan2(a.x() - b.x(), b.y() - a.y());
        };
        for (int k = 0; k < count; ++k) {
            const int i = turned ? (2 * count - k) % count : k;
            double from = normal((i + count - 1) % count), to = normal(i);
            if (to < from) to += turn;
            const double cut = random.uniform(from, to);
            if (turned) std::swap(from, to);
            grown.append(at(i, from), ERArc2D(inner[i], radius, from, cut));
            grown.append(at(i, cut), ERArc2D(inner[i], radius, cut, to));
            grown.append(at(i, to));
        }
        Outline outline;
        if (is_hole) outline.contours.push_back(Contour::circle(middle, 1000.0));
        outline.contours.push_back(grown);
        ASSERT_FALSE(settle_areas(outline));
        const Profile profile(outline);
        for (int k = 0; k < 400; ++k) {
            ERPoint2D p =
                middle + ERVector2D(random.uniform(-20.0, 20.0), random.uniform(-20.0, 20.0));
            if (k % 4 == 0) p = at(random.below(count), turn * random.below(4) / 4.0);
            if (k % 8 == 1) p = ERPoint2D(p.x(), grown[random.below(grown.size())].y());
            const double side = Inside(p, inner) == relpos_outside ? 1.0 : -1.0;
            const double expected = (side * std::sqrt(scan(inner, p).squared_distance) - radius) *
                                    (is_hole ? -1.0 : 1.0);
            const OutlineComparison found = profile.compare(p);
            ASSERT_NEAR(found.distance, expected, 1e-12) << "round " << round << ", point " << p;
            ASSERT_NEAR(ERVector2D(found.foot, p).norme(), std::fabs(expected), 1e-12);
            ASSERT_NEAR(found.outward.norme(), 1.0, 1e-12);
            ASSERT_EQ(found.place,
                      std::fabs(found.distance) > 2e-13
                          ? found.distance < 0.0 ? OutlinePlace::inside : OutlinePlace::outside
                      : k % 4 == 0 || found.place == OutlinePlace::on_vertex
                          ? found.place
                          : OutlinePlace::on_edge);
            ASSERT_NEAR(profile.compare(p - found.outward * found.distance).outward * found.outward,
                        1.0, 1e-5)
                << p;
        }
    }
}

// Two circles that touch from within, as one contour of two whole turns: a cusp on both sides.
TEST(Profile, ACrescentIsToldToItsCusp) {
    const ERPoint2D cusp(5.0, 0.0), big(0.0, 0.0), small(2.0, 0.0);
    const double pi = std::numbers::pi;
    Outline outline;
    outline.contours.resize(1);
    outline.contours[0].append(cusp, ERArc2D(big, 5.0, 0.0, 2.0 * pi));
    outline.contours[0].append(cusp, ERArc2D(small, 3.0, 0.0, -2.0 * pi));
    ASSERT_FALSE(settle_areas(outline));
    const Profile profile(outline);
    velm_test::Random random(31);
    for (int k = 0; k < 4000; ++k) {
        const double reach = std::pow(10.0, random.uniform(-14.0, 1.0));
        const double angle = random.uniform(-pi, pi);
        const ERPoint2D p = cusp + ERVector2D(std::cos(angle), std::sin(angle)) * reach;
        const double from_big = ERVector2D(big, p).norme() - 5.0;
        const double from_small = 3.0 - ERVector2D(small, p).norme();
        const double least = std::min(std::fabs(from_big), std::fabs(from_small));
        const double expected = std::max(from_big, from_small) > 0.0 ? least : -least;
        ASSERT_NEAR(profile.compare(p).distance, expected, 2e-14) << reach << " at " << angle;
    }
}

// A plate with a round end, a bore and a free-form bump: the nearest of many places whose outward
// normal is near enough to the direction.
TEST(Profile, ADirectionChoosesAmongThePlacesThatFaceIt) {
    Outline outline;
    Contour plate;
    plate.append({0, 0});
    plate.append({8, 0}, ERArc2D({8, 2}, 2, -std::numbers::pi / 2, std::numbers::pi / 2));
    plate.append({8, 4});
    plate.append({0, 4},
                 CurveEdge::make(ERCpoleNURBS2D({{0, 4, 1}, {0, 1, 1}, {-1, 3, 1}, {0, 0, 1}},
                                                ERKnotVector(3, {0, 0, 0, 0, 1, 1, 1, 1}))));
    outline.contours = {plate, Contour::circle({4, 2}, 1)};
    ASSERT_FALSE(settle_areas(outline));
    std::vector<std::pair<ERPoint2D, ERVector2D>> places; // with their outward normals
    for (std::size_t c = 0; c < 2; ++c) {
        const Contour& contour = outline.contours[c];
        const bool is_left = (contour.signed_area() > 0.0) != (c == 1);
        for (int e = 0; e < contour.size(); ++e)
            for (int n = 0; n <= 4000; ++n) {
                const double part = n / 4000.0;
                ERPoint2D p = contour[e] + ERVector2D(contour[e], contour[e + 1]) * part;
                ERVector2D along(contour[e], contour[e + 1]);
                if (const ERArc2D* const arc = contour.arc(e)) {
                    const double angle =
                        arc->startAngle() + part * (arc->endAngle() - arc->startAngle());
                    const ERVector2D radial(std::cos(angle), std::sin(angle));
                    p = arc->center() + radial * arc->radius();
                    along = ERVector2D(-radial.j(), radial.i()) * (arc->isDirect() ? 1.0 : -1.0);
                } else if (const CurveEdge* const curve = contour.curve(e)) {
                    p = curve->point(part);
                    along = curve->direction(part);
                }
                along = along.getnormalized() * (is_left ? 1.0 : -1.0);
                places.emplace_back(p, ERVector2D(along.j(), -along.i()));
            }
    }
    const Profile profile(outline);
    velm_test::Random random(15);
    const double least = 0.9;
    for (int i = 0; i < 300; ++i) {
        const ERPoint2D p(random.uniform(-2, 12), random.uniform(-2, 6));
        const double angle = random.uniform(0, 2 * std::numbers::pi);
        const ERVector2D direction(std::cos(angle), std::sin(angle));
        double nearest = std::numeric_limits<double>::infinity();
        for (const auto& [place, outward] : places)
            if (outward * direction >= least)
                nearest = std::min(nearest, ERVector2D(place, p).norme());
        const auto found = profile.compare(p, direction, least);
        ASSERT_TRUE(found.has_value()) << i;
        EXPECT_NEAR(std::fabs(found->distance), nearest, 4e-3) << i << ' ' << p.x() << ' ' << p.y();
        EXPECT_LT(std::fabs(found->distance), nearest + 1e-3) << i;
    }
    EXPECT_FALSE(profile.compare({1, 1}, {0.5, 0}, 0.9)) << "out of the plane";
}

} // namespace
} // namespace velm
