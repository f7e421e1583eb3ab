// Gap and flush: its frame, what moves it, its record and text. Lengths with units.
#include "velm/measure/gap_and_flush.h"

#include "support/geometry.h"
#include "support/records.h"

namespace {

using namespace velm_test;

TEST(GapAndFlush, FrameFollowsTheNormal) {
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
    const auto expect = [](const gmGapAndFlush& moved, const ERPoint3D& centre, double factor) {
        EXPECT_NEAR(distance(moved.centre(), centre), 0, 1e-14) << factor;
        EXPECT_EQ(moved.gap(), 3 * factor);
        EXPECT_EQ(moved.flush(), -1 * factor);
    };
    gmGapAndFlush scaled(start), from(start), to(start), negative(start);
    scaled.scale(2);
    from.transformFrom(twice);
    to.transformTo(twice);
    negative.transformFrom(mirrored);
    expect(scaled, {2, 4, 6}, 2);
    expect(quarter >> start, {-2, 1, 3}, 1);
    expect(quarter << (quarter >> start), {1, 2, 3}, 1);
    expect(from, {2, 4, 6}, 2);
    expect(to, {.5, 1, 1.5}, 2);
    expect(negative, {-2, -4, -6}, -2);
}

TEST(GapAndFlush, RecordAndText) {
    const gmGapAndFlush result({1, 2, 3}, {1, 0, 0}, {0, 0, 1}, 3.5, -0.25);
    const std::string record = record_of(result), text = text_of(result);
    EXPECT_EQ(record.size(), result.ERPlanarEntity3DWF::binaryStoreSize() + 16);
    EXPECT_EQ(record.substr(record.size() - 16), bytes_of(3.5, -0.25));
    expect_stored(result, record, text);
    EXPECT_EQ(text.find("Gap and Flush:\n"), 0u);
    EXPECT_NE(text.find("               : Gap 3.5\n               : Flush -0.25\n"),
              std::string::npos);
}

TEST(Dimension, ConvertsInches) {
    const PWI_Units unknown = static_cast<PWI_Units>(7);
    EXPECT_EQ(gmDimension(2.0, PWI_inches), 50.8);
    EXPECT_EQ(gmDimension(2.0, PWI_inches).get(PWI_inches), 2.0);
    EXPECT_EQ(gmDimension(3.0, unknown).get(PWI_millimetres), 0.0);
    EXPECT_EQ(gmDimension(3.0, PWI_millimetres).get(unknown), 0.0);
}

} // namespace
