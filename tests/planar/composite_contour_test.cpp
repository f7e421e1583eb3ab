// Contours and regions of composite curves against the shapes that they are made of.
#include "velm/planar/composite_contour.h"

#include "support/test.h"
#include "velm/frame/point_functions.h"
#include "velm/planar/outline_nesting.h"
#include "velm/planar/profile.h"
#include "velm/wireframe/planar_shapes.h"
#include "velm/wireframe/polyline.h"
#include "velm/wireframe/segment.h"

namespace velm {
namespace {

// The distance of p from a slot along the x axis, below 0 inside.
double off_slot(const ERPoint2D& p, double half, double radius) {
    return std::hypot(std::max(std::fabs(p.x()) - half, 0.0), p.y()) - radius;
}

// A slot with a hole, the same slot smaller; its elements as they are, turned round, or as NURBS
// curves, and within one another.
TEST(CompositeContour, KnowsTheExactPlaceOfAPoint) {
    velm_test::Random random(65);
    for (int kind = 0; kind < 4; ++kind) {
        const auto slot = [&](double half, double radius) {
            ERCompCurve2D shape = ERRoundedSlot2D({-half, 0}, {half, 0}, radius).composite_curve();
            ERCompCurve2D curve;
            if (kind == 1) shape.reverse();
            if (kind == 2) curve.append(shape.ConvertToNurbs(), 1e-9);
            if (kind == 3)
                for (int i = 0; i < shape.nbElements(); ++i)
                    curve.append(ERCompCurve2D(shape.element(i)), 1e-9);
            return kind < 2 ? shape : curve;
        };
        const ERCompCurve2D curves[] = {slot(3, 2), slot(2, 1)};
        Outline outline;
        for (const ERCompCurve2D& curve : curves)
            outline.contours.push_back(contour_of(curve, 1e-9).value());
        ASSERT_FALSE(settle_areas(outline));
        const Profile profile(outline);
        const double chord_error = 1e-4;
        const auto polygons = region(curves, chord_error, 1e-9);
        ASSERT_TRUE(polygons);
        for (int round = 0; round < 2000; ++round) {
            const ERPoint2D p(random.uniform(-6, 6), random.uniform(-3, 3));
            const double outer = off_slot(p, 3, 2), inner = off_slot(p, 2, 1);
            const double off = std::max(outer, -inner);
            const OutlineComparison found = profile.compare(p);
            ASSERT_EQ(found.place, off > 0.0 ? OutlinePlace::outside : OutlinePlace::inside)
                << kind << ' ' << p.x() << ' ' << p.y();
            ASSERT_NEAR(found.distance, off, 1e-13);
            if (std::fabs(off) <= chord_error) continue;
            int contour = 0;
            ASSERT_EQ(polygons->CheckPoint(p, contour), off > 0.0 ? REGION_OUTSIDE : REGION_INSIDE);
        }
        // On the curve itself, by the foot of the comparison.
        const ERPoint2D foot = profile.compare({4.0, 2.0}).foot;
        EXPECT_EQ(profile.compare(foot).place, OutlinePlace::on_edge) << kind;
    }
}

TEST(CompositeContour, OfOpenOrEmptyCurvesThereIsNone) {
    ERCompCurve2D curve;
    EXPECT_FALSE(contour_of(curve, 1.0));
    curve.append(ERPolyline2D({{0, 0}, {4, 0}, {4, 3}}), 0.0);
    EXPECT_FALSE(contour_of(curve, 1.0));
    curve.append(ERSegment2D({4, 3}, {0, 0.001}), 0.0);
    EXPECT_FALSE(contour_of(curve, 1e-4));
    EXPECT_EQ(contour_of(curve, 1e-2).value_or(Contour()).size(), 3);
    EXPECT_FALSE(region({&curve, 1}, 0.0, 1e-2));
    // A polygon closes itself; a gap in the middle is found.
    const ERCompCurve2D triangle(ERPolygone2D({{0, 0}, {4, 0}, {4, 3}}));
    EXPECT_EQ(contour_of(triangle, 0.0).value_or(Contour()).size(), 3);
    curve.append(ERSegment2D({9, 9}, {0, 0}), -1.0);
    EXPECT_FALSE(contour_of(curve, 1e-2));
}

} // namespace
} // namespace velm
