// The defaults of the finite, limited and trimmed curves, on a class that a host might add.
#include "frame/circle_curve.h"
#include "support/records.h"

#include <gtest/gtest.h>

#include <cmath>

namespace {

using velm_test::CircleCurve2D;
using velm_test::CircleCurve3D;

struct InPlane : velm::Plane {
    using Circle = CircleCurve2D;
};
struct InSpace : velm::Space {
    using Circle = CircleCurve3D;
};

template <class D>
class CurveOf : public testing::Test {};

using Dimensions = testing::Types<InPlane, InSpace>;
TYPED_TEST_SUITE(CurveOf, Dimensions);

TYPED_TEST(CurveOf, TrimAnswersFromItsOwnDomain) {
    typename TypeParam::Circle curve(ERLimites(1.0, 5.0));
    EXPECT_EQ(curve.isTrimmed(), 0);
    EXPECT_EQ(curve.setBound(ERLimites(2.0, 3.0)), ERLimites(1.0, 5.0));
    EXPECT_EQ(curve.isTrimmed(), 1);
    EXPECT_EQ(curve.getBound(), ERLimites(2.0, 3.0));
    EXPECT_EQ(ERLimites(curve.udeb(), curve.ufin()), ERLimites(2.0, 3.0));
    EXPECT_EQ(ERLimites(curve.Ndeb(), curve.Nfin()), ERLimites(1.0, 5.0));
    EXPECT_EQ(curve.firstPt(), curve(2.0));
    EXPECT_EQ(curve.lastPt(), curve(3.0));

    curve.setBound(ERLimites(2.0, 3.0));
    curve.reparametrize(ERLimites(-10.0, 30.0));
    EXPECT_EQ(curve.getBound(), ERLimites(0.0, 10.0));
    EXPECT_EQ(curve.Nfin(), 30.0);
    curve.adjust();
    EXPECT_EQ(curve.isTrimmed(), 0);
    EXPECT_EQ(curve.Nfin(), 10.0);
    curve.redefineDomain(ERLimites(-1.0, 1.0));
    EXPECT_EQ(ERLimites(curve.Ndeb(), curve.Nfin()), ERLimites(-1.0, 1.0));
    EXPECT_EQ(curve.getBound(), ERLimites(-1.0, 1.0));
}

TYPED_TEST(CurveOf, ReverseMirrorsTheTrim) {
    typename TypeParam::Circle curve(ERLimites(0.0, 8.0), ERLimites(1.0, 5.0));
    curve.reverse();
    EXPECT_EQ(curve.getBound(), ERLimites(3.0, 7.0));
    EXPECT_EQ(ERLimites(curve.Ndeb(), curve.Nfin()), ERLimites(0.0, 8.0));
    curve.reverse();
    EXPECT_EQ(curve.getBound(), ERLimites(1.0, 5.0));
}

TYPED_TEST(CurveOf, SamplesTheTrim) {
    typename TypeParam::Circle curve(ERLimites(0.0, 6.0), ERLimites(1.0, 2.0));
    auto points = curve.approxime(5);
    ASSERT_EQ(points.size(), 5);
    for (int i = 0; i < 5; ++i)
        EXPECT_EQ(points[i], curve(1.0 + 0.25 * i));
    EXPECT_TRUE(std::isnan(curve.approxime(1)[0].x()));
    EXPECT_EQ(curve.approxime(0).size(), 0);
    EXPECT_EQ(curve.approxime(-3).size(), 0);
}

TYPED_TEST(CurveOf, ClosedWithinAToleranceOnEveryAxis) {
    typename TypeParam::Circle curve(ERLimites(0.0, 3.0));
    double x = std::fabs(curve(0.0).x() - curve(3.0).x());
    EXPECT_EQ(curve.isClosed(x), 1);
    EXPECT_EQ(curve.isClosed(std::nextafter(x, 0.0)), 0);
}

TYPED_TEST(CurveOf, StoredAndPrintedForms) {
    typename TypeParam::Circle curve(ERLimites(-1.0, 4.0), ERLimites(0.5, 2.25));
    EXPECT_EQ(velm_test::text_of(curve), "Natural boundary =Limites( -1,4 )\n"
                                         "Trimm boundaries   = Limites( 0.5,2.25 )\n");
    velm_test::MemoryFile file;
    file << curve;
    EXPECT_EQ(file.bytes, velm_test::bytes_of(-1.0, 4.0, 0.5, 2.25));
    EXPECT_EQ(curve.binaryStoreSize(), 32u);
    file.SeekToBegin();
    typename TypeParam::Circle restored;
    file >> restored;
    EXPECT_EQ(restored.getBound(), curve.getBound());
    EXPECT_EQ(ERLimites(restored.Ndeb(), restored.Nfin()), ERLimites(-1.0, 4.0));
}

TEST(CurveDefaults, TheDistanceIsZeroWhereAnythingIsFound) {
    CircleCurve2D curve(ERLimites(0.0, 6.0));
    double dist = 7.0, t = 9.0;
    EXPECT_EQ(curve.SignedMinimalDistance({-1, 0}, dist, t), EREntity::DISTMIN_NONE);
    EXPECT_EQ(dist, 7.0);
    EXPECT_EQ(curve.SignedMinimalDistance({9, 0}, dist, t), EREntity::DISTMIN_FOUND);
    EXPECT_TRUE(dist == 0.0 && t == 9.0);
    EXPECT_EQ(curve.SignedMinimalDistance({0, 0}, dist), EREntity::DISTMIN_EVERYWHERE);
}

} // namespace
