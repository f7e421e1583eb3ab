// velm-inspect section --align: known motions come back, nothing nearby is better, and what it
// reports of them.
#include "inspect/base/failure.h"
#include "inspect/base/number_text.h"
#include "inspect/input/outline_reader.h"
#include "inspect/inspection/alignment.h"
#include "inspect/inspection/section_points.h"
#include "inspect/workshop.h"
#include "support/geometry.h"

namespace {

using velm::AppliedAlignment;
using velm::Profile;
using velm::SectionRow;
using velm::inspect::align_section;
using velm::inspect::compare;
using namespace velm_test;

constexpr double size = 75.0;
constexpr const char* link = "link\nM 0 0\nL 60 0\nA 60 30 60 15 ccw\nL 25 30\nL 20 18\nL 0 25\nZ\n"
                             "C 60 15 6\nM 10 6\nL 10 12\nL 40 12\nL 40 6\nZ\n";

velm::Outline outline_of(const char* text) {
    velm::inspect::TextSource source("outline", text);
    return velm::inspect::read_outline(source, velm::OutlineForm::automatic, 0.001);
}

ERTransfo2D motion(Random& random, double way, double angle) {
    const auto u = [&] { return random.uniform(-1, 1); };
    const ERVector2D middle(30, 15);
    return ERTransfo2D(middle + ERVector2D(u(), u()) * way) *
           ERTransfo2D::rotation(ERRadian(u() * angle)) * ERTransfo2D(-middle);
}

// Balls that touch the outline with errors along its normal, where their place is the nearest one.
std::vector<SectionRow> probed(const Profile& profile, Random& random, double diameter,
                               double noise, const ERTransfo2D& away) {
    std::vector<SectionRow> rows;
    while (rows.size() < 150) {
        SectionRow row;
        const auto found = profile.compare({random.uniform(-5, 80), random.uniform(-5, 35)});
        row.diameter = rows.size() % 3 != 0 ? diameter : 0.0;
        const double off = row.diameter / 2 + random.uniform(-noise, noise);
        const ERPoint2D centre = found.foot + off * found.outward;
        if (std::fabs(profile.compare(centre).distance - off) > 1e-12) continue;
        row.measured = away << centre;
        compare(row, profile, 60.0);
        rows.push_back(row);
    }
    return rows;
}

double squares(const std::vector<SectionRow>& rows, const Profile& profile, const ERTransfo2D& by) {
    double sum = 0.0;
    for (const SectionRow& row : rows)
        sum += std::pow(profile.compare(by >> row.placed()).distance - row.diameter / 2, 2);
    return sum;
}

TEST(SectionAlignment, KnownMotionsComeBackAndNoneNearbyIsBetter) {
    const Profile profile(outline_of(link));
    Random random(71);
    for (int round = 0; round < 40; ++round) {
        const double diameter = round % 2 * 2.0, noise = round % 4 < 2 ? 0.0 : 0.02;
        const ERTransfo2D away = motion(random, 0.04 * size, 0.06);
        std::vector<SectionRow> rows = probed(profile, random, diameter, noise, away);
        const double before = squares(rows, profile, {});
        const AppliedAlignment found = align_section(rows, profile, 60.0, "points");
        EXPECT_TRUE(found.held.empty() && found.in_plane);
        EXPECT_NEAR(found.before.rms, std::sqrt(before / 150), 1e-12) << round;
        const double after = squares(rows, profile, {});
        EXPECT_NEAR(found.after.rms, std::sqrt(after / 150), 1e-12) << round;
        for (const SectionRow& row : rows)
            EXPECT_LT(distance(*row.aligned, away >> row.measured),
                      noise > 0.0 ? noise : 1e-9 * size);
        for (double amount = noise > 0.0 ? 1e-1 : 0.0; amount > 1e-5; amount /= 4)
            EXPECT_GT(squares(rows, profile, motion(random, amount, amount / size)), after)
                << round << ' ' << amount;
    }
}

TEST(SectionAlignment, HoldsWhatTheOutlineLeavesOpenAndRefusesWhatDoesNotConverge) {
    Workshop shop;
    shop.write("plate.txt", plate);
    shop.write("side.csv", "id,x,y\na,2,-.5\nb,5,-.4\nc,8,-.3\n");
    const auto held = [&](const std::string& files) {
        const std::string arguments = "section " + files;
        EXPECT_EQ(shop.run(arguments + " --align bestfit --tolerance 1e-9 --json j.json").code, 0);
        return shop.read_json("j.json")["alignment"]["held"];
    };
    using Names = std::vector<std::string>;
    EXPECT_EQ(held("plate.txt side.csv"), Names{"sliding along <1,0,0>"});
    for (const std::string unit : {"", "e-180"}) {
        std::string ring = "id,x,y\n";
        for (int n = 0; n < 12; ++n)
            ring += "p," + velm::inspect::fixed(3.3 + 11 * std::cos(n), 9) + unit + "," +
                    velm::inspect::fixed(4.4 + 11 * std::sin(n), 9) + unit + "\n";
        shop.write("ring.csv", ring);
        shop.write("ring.txt", "C 3" + unit + " 4" + unit + " 10" + unit + "\n");
        EXPECT_EQ(
            held("ring.txt ring.csv --diameter 2" + unit),
            Names{"turning about the axis through [3" + unit + ",4" + unit + ",0] along <0,0,1>"});
    }

    // Balls that are wider than their slot swing between its sides.
    shop.write("slot.txt", "0 0\n40 0\n40 10\n0 10\n\n10 4\n10 6\n30 6\n30 4\n");
    shop.write("slot.csv", "id,x,y\na,13,5.03\nb,17,5.04\nc,22,5.05\nd,26,5.06\n");
    const Ended ended = shop.run("section slot.txt slot.csv --diameter 2.2 --align bestfit "
                                 "--json slot.json --csv slot.out --store slot.velm");
    EXPECT_EQ(ended.code, 3);
    EXPECT_EQ(ended.error.find("velm-inspect: slot.csv: the alignment doesn't converge: after "),
              0u)
        << ended.error;
    EXPECT_EQ(shop.names().size(), 7u); // the six inputs and j.json
    EXPECT_EQ(shop.run("section slot.txt slot.csv --diameter 2.2 --align none").code, 0);
}

// A section in space, turned in its plane: the machine's numbers stay, the heights too.
TEST(SectionAlignment, ReportsTellTheMotionAndTheDeviationsBefore) {
    Workshop shop;
    Random random(72);
    const Profile profile(outline_of(link));
    const ERTransfo2D away = motion(random, 2, 0.05);
    std::string points = "id,x,y,z\n";
    for (const SectionRow& row : probed(profile, random, 0.0, 0.01, away))
        points += "p," + velm::inspect::shortest(row.measured.y() + 7) + ",0.25," +
                  velm::inspect::shortest(row.measured.x() - 9) + "\n";
    shop.write("n.txt", link);
    shop.write("m.csv", points);
    const std::string run = "section n.txt m.csv --frame 7 0 -9 0 1 0 0 0 1 --tolerance .02 ";
    EXPECT_EQ(shop.run(run + "--json b.json --quiet").code, 1);
    const Ended ended = shop.run(run + "--align bestfit --json a.json");
    EXPECT_EQ(ended.code, 0) << ended.error;
    const auto before = shop.read_json("b.json"), after = shop.read_json("a.json");
    const auto& stated = after["alignment"];
    EXPECT_NEAR(stated["angle"], double(away.angle()), 1e-3);
    for (const char* figure : {"rms", "minimum", "maximum"}) {
        EXPECT_EQ(stated[figure + std::string("_before")], before["summary"][figure]);
        EXPECT_EQ(stated[figure + std::string("_after")], after["summary"][figure]);
    }
    for (std::size_t n = 0; n < before["points"].size(); ++n) {
        const auto &was = before["points"][n], &is = after["points"][n];
        EXPECT_EQ(is["deviation_before"], was["deviation"]);
        EXPECT_TRUE(is["measured"] == was["measured"] && is["height"] == 0.25);
        const double x = is["measured"][2].get<double>() + 9,
                     y = is["measured"][0].get<double>() - 7;
        for (std::size_t axis = 0; axis < 2; ++axis)
            EXPECT_NEAR(is["aligned"][axis],
                        stated["rotation"][axis][0].get<double>() * x +
                            stated["rotation"][axis][1].get<double>() * y +
                            stated["translation"][axis].get<double>(),
                        1e-12);
    }
}

} // namespace
