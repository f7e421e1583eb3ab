// Gap and flush: its frame, what moves it, its record and text. Lengths with units.
#include "velm/measure/gap_and_flush.h"

#include "support/records.h"
#include "support/test.h"
#include "velm/frame/point_functions.h"
#include "velm/transforms/transformation_factories.h"

namespace {

using namespace velm_test;

TEST(GapAndFlush, FrameFollowsTheNormal) {
    const gmGapAndFlush result({1, 2, 3}, {1, 0, 1}, {0, 0, 1}, 3.5, -0.25);
    EXPECT_EQ(result.centre(), ERPoint3D(1, 2, 3));
    EXPECT_EQ(result.direction(), ERVector3D(1, 0, 0));
    EXPECT_EQ(result.auxiliary_direction(), ERVector3D(0, 1, 0));
    EXPECT_EQ(result.normal(), ERVector3D(0, 0, 1));

    const gmGapAndFlush slanted({0, 0, 0}, {1, 2, 0}, {2, 2, 1}, 0, 0);
    EXPECT_NEAR((slanted.normal() ^ ERVector3D(2, 2, 1)).norme(), 0, 1e-15);
    EXPECT_NEAR(slanted.direction() * slanted.normal(), 0, 1e-15);
    EXPECT_GT(slanted.direction() * ERVector3D(1, 2, 0), 0);
    EXPECT_NEAR((slanted.direction() ^ slanted.auxiliary_direction()) * slanted.normal(), 1, 1e-15);
}

TEST(GapAndFlush, MovesWithItsFrameAndTakesTheFactorBothWays) {
    const gmGapAndFlush start({1, 2, 3}, {1, 0, 0}, {0, 0, 1}, 3, -1);
    const ERPmIsometrie3D quarter = ERRotation3D(Coord3D_Z, std::numbers::pi / 2);
    const ERPmSimilitude3D twice = ERScaling3D(2), mirrored = ERScaling3D(-2);
    struct Step {
        const char* name;
        void (*move)(gmGapAndFlush&, const ERPmIsometrie3D&, const ERPmSimilitude3D&);
        const ERPmSimilitude3D& similitude;
        ERPoint3D centre;
        double gap, flush;
    };
    const Step steps[] = {
        {"scale", [](auto& g, auto&, auto&) { g.scale(2); }, twice, {2, 4, 6}, 6, -2},
        {"isometry", [](auto& g, auto& q, auto&) { g.transformFrom(q); }, twice, {-2, 1, 3}, 3, -1},
        {"back", [](auto& g, auto& q, auto&) { g = q << (q >> g); }, twice, {1, 2, 3}, 3, -1},
        {"from", [](auto& g, auto&, auto& s) { g.transformFrom(s); }, twice, {2, 4, 6}, 6, -2},
        {"to", [](auto& g, auto&, auto& s) { g.transformTo(s); }, twice, {.5, 1, 1.5}, 6, -2},
        {"negative",
         [](auto& g, auto&, auto& s) { g.transformFrom(s); },
         mirrored,
         {-2, -4, -6},
         -6,
         2},
    };
    for (const Step& step : steps) {
        SCOPED_TRACE(step.name);
        gmGapAndFlush moved(start);
        step.move(moved, quarter, step.similitude);
        EXPECT_NEAR(distance(moved.centre(), step.centre), 0, 1e-14);
        EXPECT_EQ(moved.gap(), step.gap);
        EXPECT_EQ(moved.flush(), step.flush);
    }
}

TEST(GapAndFlush, RecordAndText) {
    const gmGapAndFlush result({1, 2, 3}, {1, 0, 0}, {0, 0, 1}, 3.5, -0.25);
    const std::string record = record_of(result);
    EXPECT_EQ(record.size(), result.ERPlanarEntity3DWF::binaryStoreSize() + 16);
    EXPECT_EQ(record.substr(record.size() - 16), bytes_of(3.5, -0.25));
    gmGapAndFlush restored;
    restore(restored, record);
    EXPECT_EQ(text_of(restored), text_of(result));
    const std::string text = text_of(result);
    EXPECT_EQ(text.find("Gap and Flush:\n"), 0u);
    EXPECT_NE(text.find("               : Gap 3.5\n               : Flush -0.25\n"),
              std::string::npos);
}

TEST(Dimension, ConvertsInches) {
    const PWI_Units unknown = static_cast<PWI_Units>(7);
    EXPECT_EQ(gmDimension(1.0, PWI_inches), 25.4);
    EXPECT_EQ(gmDimension(1.0, PWI_inches).get(PWI_inches), 1.0);
    EXPECT_EQ(gmDimension(3.0, PWI_millimetres).get(PWI_millimetres), 3.0);
    EXPECT_EQ(gmDimension(3.0, unknown).get(PWI_millimetres), 0.0);
    EXPECT_EQ(gmDimension(3.0, PWI_millimetres).get(unknown), 0.0);
}

} // namespace
