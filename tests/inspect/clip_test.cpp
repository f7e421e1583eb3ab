// velm-inspect clip, run as a user would: pieces and their reports.
#include "inspect/workshop.h"

namespace {

using namespace velm_test;

TEST(Clip, PiecesComeOutAndGoInAgain) {
    const Workshop shop;
    shop.write("plate.txt", plate);
    // Through plate, hole and plate; wholly inside; wholly outside.
    shop.write("path.txt", "a path\n-1 5\n11 5\n\n1 1\n2 1\n2 2\n\n20 20\n30 20\n");
    const auto ended = shop.run("clip plate.txt path.txt");
    EXPECT_EQ(ended.out.substr(0, 52), "# 3 pieces of path.txt in plate.txt, 10 of 24 long\n#");
    // What comes out goes in again, and stays as it is.
    shop.write("again.txt", ended.out);
    EXPECT_EQ(shop.run("clip plate.txt again.txt").out.substr(0, 60),
              "# 3 pieces of again.txt in plate.txt, 10 of 10 long\n# piece ");
    // So small a plate needs scaling.
    shop.write("tiny.txt", "0 0\n1e-9 0\n1e-9 1e-9\n0 1e-9\n");
    shop.write("tiny_path.txt", "-1e-9 5e-10\n2e-9 5e-10\n");
    EXPECT_EQ(shop.run("clip tiny.txt tiny_path.txt").out.substr(0, 30),
              "# 1 piece of tiny_path.txt in ");
}

TEST(Clip, LoosePiecesMakeTheRegion) {
    const Workshop shop;
    // The plate from pieces a quarter long, hole first, directions mixed, ends blurred.
    std::string pieces;
    const double corner[2][2] = {{4, 6}, {0, 10}};
    for (const auto& [low, high] : corner) {
        const double x[] = {low, high, high, low, low}, y[] = {low, low, high, high, low};
        for (int side = 0, n = 0; side < 4; ++side)
            for (int i = 0, count = static_cast<int>(4 * (high - low)); i < count; ++i, ++n) {
                const auto at = [&](const double* v, double t) {
                    return std::to_string(v[side] + (v[side + 1] - v[side]) * t / count) + ' ';
                };
                const double blur = (n % 2) * 1e-4;
                const std::string a = at(x, i + blur) + at(y, i + blur),
                                  b = at(x, i + 1) + at(y, i + 1);
                pieces += (n * 7 % 3 == 0 ? a + b : b + a) + '\n';
            }
    }
    shop.write("loose.txt", pieces);
    shop.write("path.txt", "-1 5.1\n11 5.1\n");
    const auto ended = shop.run("clip loose.txt path.txt");
    EXPECT_EQ(ended.out.substr(0, 12), "# 2 pieces o") << ended.error;
    // Tighter than the blur: open, at the place of the gap.
    shop.refused("clip loose.txt path.txt --chain-tolerance 1e-5", 3,
                 "the contour is open: no other end meets that at");
    shop.write("branch.txt", pieces + "0 0 3 3\n");
    EXPECT_TRUE(has(shop.run("clip branch.txt path.txt").error, "3 ends meet at 0 0"));
    shop.write("apart.txt", pieces + "20 0 30 0\n30 0 20 1\n20 1 20 0\n");
    EXPECT_EQ(shop.run("clip apart.txt path.txt").out.substr(0, 12), "# 2 pieces o");
}

// A disc of two arcs with a hole between the parabolas y = 1 - x^2 and y = x^2 - 1.
TEST(Clip, ArcsAndCurvesAreTakenAsChords) {
    const Workshop shop;
    shop.write("disc.txt", "M -2 0\nA 2 0 0 0 ccw\nA -2 0 0 0 ccw\nZ\nM -1 0\n"
                           "N 2 knots 0 0 0 1 1 1 poles -1 0 1 0 2 1 1 0 1\n"
                           "N 2 knots 0 0 0 1 1 1 poles 1 0 1 0 -2 1 -1 0 1\nZ\n");
    shop.write("path.txt", "-3 0.5\n3 0.5\n");
    const auto ended =
        shop.run("clip disc.txt path.txt --json r.json --svg r.svg --chord-error 1e-5");
    ASSERT_EQ(ended.code, 0) << ended.error;
    EXPECT_TRUE(has(ended.out, "# arcs and curves as chords within 1e-05\n"));
    EXPECT_TRUE(has(shop.read("r.svg"), " d=\"M"));
    const auto report = shop.read_json("r.json");
    EXPECT_EQ(report["summary"]["chord_error"], 1e-5);
    ASSERT_EQ(report["pieces"].size(), 2u);
    const double outer = std::sqrt(4.0 - 0.25), inner = std::sqrt(0.5);
    const double expected[2][2] = {{-outer, -inner}, {inner, outer}};
    for (const std::size_t i : {0u, 1u})
        for (const std::size_t k : {0u, 1u})
            EXPECT_NEAR(report["pieces"][i]["points"][k][0], expected[i][k], 2e-5);
    EXPECT_TRUE(
        has(shop.run("clip disc.txt path.txt --chord-error 1e-30").error, "too many chords"));
}

// An island in the hole and a plate beside, in any order of the file; a way through them all.
TEST(Clip, PiecesOfSeveralAreasComeAlongTheWay) {
    const Workshop shop;
    const std::string contours[] = {"4 4\n4 6\n6 6\n6 4\n", "0 0\n10 0\n10 10\n0 10\n",
                                    "12 0\n14 0\n14 10\n12 10\n",
                                    "4.5 4.5\n5.5 4.5\n5.5 5.5\n4.5 5.5\n"};
    shop.write("path.txt", "15 5\n-1 5\n");
    for (const auto& order : {std::array{0, 1, 2, 3}, {3, 2, 1, 0}, {1, 0, 3, 2}}) {
        std::string plate;
        for (const int i : order)
            plate += contours[i] + "\n";
        shop.write("plate.txt", plate);
        const auto ended = shop.run("clip plate.txt path.txt");
        EXPECT_EQ(ended.out, "# 4 pieces of path.txt in plate.txt, 11 of 16 long\n"
                             "# piece 1, of polyline 1, 2 long\n14 5\n12 5\n\n"
                             "# piece 2, of polyline 1, 4 long\n10 5\n6 5\n\n"
                             "# piece 3, of polyline 1, 1 long\n5.5 5\n4.5 5\n\n"
                             "# piece 4, of polyline 1, 4 long\n4 5\n0 5\n")
            << ended.error;
    }
}

} // namespace
