// Uncompensated curves: order, box, moves, text; nothing of them goes into a file.
#include "velm/measure/uncompensated_curve.h"

#include "support/records.h"
#include "velm/frame/point_functions.h"
#include "velm/transforms/transformation_factories.h"

namespace {

using namespace velm_test;

ERCpoleNURBS3D segment(const ERPoint3D& a, const ERPoint3D& b) {
    return {{ERPole3DH(a, 1.0), ERPole3DH(b, 1.0)}, 1};
}

TEST(UncompensatedCurve, IsTurnedAndMovedSpanBySpan) {
    gmUncompensatedCurve path(segment({0, 0, 0}, {1, 2, 3}));
    path.append_span(segment({1, 2, 3}, {4, 0, 9}));
    ASSERT_EQ(path.number_of_spans(), 2);
    EXPECT_EQ(path.box(), ERMinimax3D(ERPoint3D(0, 0, 0), ERPoint3D(4, 2, 9)));
    path.reverse();
    EXPECT_EQ(path.span(0)[0], ERPoint3D(4, 0, 9));
    EXPECT_EQ(path.span(1)[1], ERPoint3D(0, 0, 0));
    path.scale(2.0);
    path.translate({1, 1, 1});
    EXPECT_EQ(path.span(0)[0], ERPoint3D(9, 1, 19));

    const ERPmIsometrie3D quarter = ERRotation3D(Coord3D_Z, std::numbers::pi / 2);
    const gmUncompensatedCurve turned = quarter >> path;
    EXPECT_TRUE(isEqual(turned.span(0)[0], ERPoint3D(-1, 9, 19), 1e-14));
    EXPECT_TRUE(isEqual((quarter << turned).span(0)[0], path.span(0)[0], 1e-14));
    EXPECT_TRUE(isEqual(path.span(0)[0], ERPoint3D(9, 1, 19), 0.0)); // a copy was moved
    path.transformTo(ERPmSimilitude3D(ERScaling3D(2)));
    EXPECT_TRUE(isEqual(path.span(0)[0], ERPoint3D(4.5, 0.5, 9.5), 1e-15));
    EXPECT_FALSE(path.get2DEntProjectedOn(quarter));
}

TEST(UncompensatedCurve, PrintsItsSpansAndStoresNothing) {
    gmUncompensatedCurve path;
    EXPECT_TRUE(path.box().invalid());
    path.reverse();
    EXPECT_EQ(record_of(*expect_stored(path, "", "gmUncompensatedCurve {\n(0)[]\n}\n")), "");
    path.append_span(segment({0, 0, 0}, {1, 2, 3}));
    path.append_span(path.span(0));
    EXPECT_EQ(record_of(path), "");
    const std::string span = text_of(path.span(0));
    EXPECT_EQ(text_of(path), "gmUncompensatedCurve {\n(2)[" + span + "," + span + "]\n}\n");
    const t_SmartPtr<ERObject> copy(path.getCopy());
    EXPECT_EQ(text_of(*copy), text_of(path));
}

} // namespace
