// Contours that touch and contours that cross, in files.
#include "inspect/input/outline_reader.h"

#include "inspect/sentences.h"

namespace velm::inspect {
namespace {

// Each written as a file has it, both ways round: the areas, or a clash at a place.
TEST(Nesting, ContoursMayTouchButNotCross) {
    const std::string square = "M 0 0\nL 10 0\nL 10 10\nL 0 10\nZ\n";
    const struct {
        std::string other;
        std::size_t areas; // 0 for a clash
        const char* place;
    } cases[] = {
        {"M 10 2\nL 12 2\nL 12 8\nL 10 8\nZ\n", 0, ", from 10 "},   // along an edge, outside
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
            std::size_t areas = 0;
            const std::string said =
                velm_test::sentence_of([&] { areas = read_outline(source).areas.size(); });
            EXPECT_EQ(areas, c.areas) << text << said;
            EXPECT_TRUE(areas > 0 || velm_test::has(said, "of line 1" + std::string(c.place)));
        }
    }
}

TEST(Nesting, AContourThatCrossesItselfIsRefusedWithThePlace) {
    for (const std::string text : {"0 0\n4 0\n0 4\n4 4\n", "M 0 0\nL 4 0\nL 0 4\nL 4 4\nZ\n"}) {
        TextSource source("o.txt", text);
        EXPECT_EQ(velm_test::sentence_of([&] { read_outline(source); }),
                  "o.txt, line 1: the contour that starts here crosses itself about 2 2");
    }
}

} // namespace
} // namespace velm::inspect
