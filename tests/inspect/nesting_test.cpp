// How contours lie in each other: random nests against how they were made, what touches and what
// crosses.
#include <gtest/gtest.h>

#include <cmath>
#include <numbers>

#include "inspect/base/failure.h"
#include "inspect/input/outline_reader.h"
#include "inspect/result/outline_nesting.h"
#include "support/random.h"

namespace velm::inspect {
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
        for (const Area& area : outline.areas)
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

// Each told as it stands in a file, both ways round: the areas, or a clash at a place.
TEST(Nesting, ContoursMayTouchButNotCross) {
    const std::string square = "M 0 0\nL 10 0\nL 10 10\nL 0 10\nZ\n";
    const struct {
        std::string other;
        std::size_t areas; // 0 for a clash
        const char* place;
    } cases[] = {
        {"M 10 2\nL 12 2\nL 12 8\nL 10 8\nZ\n", 2, ""},             // along an edge, outside
        {"M 10 2\nL 8 2\nL 8 8\nL 10 8\nZ\n", 1, ""},               // and inside
        {"M 0 0\nL 10 10\nL 0 10\nZ\n", 1, ""},                     // vertices of the other alone
        {"M 5 0\nL 10 5\nL 5 10\nL 0 5\nZ\n", 1, ""},               // vertices on its edges
        {"C 5 5 5\n", 1, ""},                                       // from within
        {"C 15 5 5\n", 2, ""},                                      // from without
        {"M 9 5\nL 10.000001 5\nL 9 6\nZ\n", 1, ""},                // by less than six digits
        {"C 5 5 5.001\n", 0, " about "},                            // by more
        {"M -1 4\nL 31 4\nL 31 4.1\nL -1 4.1\nZ\n", 0, " about "},  // no vertex or middle inside
        {"M 0 10\nL 10 0\nL 20 20\nZ\n", 0, " about 10 0"},         // through vertices
        {"M 0 10\nL 10 10\nL 10 0\nL 0 0\nZ\n", 0, " all the way"}, // the same
        {"M -5 5\nA 15 5 5 -15 cw\nA -5 5 5 -17 ccw\nZ\n", 0, " about "},
    };
    for (const auto& c : cases) {
        for (const std::string& text : {square + c.other, c.other + square}) {
            TextSource source("o.txt", text);
            try {
                const Outline outline = read_outline(source);
                EXPECT_EQ(outline.areas.size(), c.areas) << text;
            } catch (const Failure& failure) {
                EXPECT_EQ(c.areas, 0u) << text << failure.what();
                const std::string told = failure.what();
                EXPECT_NE(told.find("of line 1" + std::string(c.place)), std::string::npos) << told;
            }
        }
    }
}

} // namespace
} // namespace velm::inspect
