// Rectangles, regular polygons and rounded slots against the same outlines made of segments and
// arcs; their recognition in points with noise below and above the tolerance.
#include "velm/wireframe/shapes_in_space.h"

#include "support/geometry.h"
#include "support/records.h"
#include "velm/curves/composite_curve.h"
#include "velm/surfaces/plane.h"
#include "velm/wireframe/polyline.h"
#include "velm/wireframe/shape_recognition.h"

namespace {

using velm_test::Random;

ERPmIsometrie3D random_frame(Random& draw) {
    return ERChgRepere3D(draw.direction<ERVector3D>(), draw.value<ERPoint3D>(9));
}

// The shape's points, nearest points, box and signed distances are those of its composite curve.
template <class Shape>
void expect_outline(Shape& shape, int edges, Random& draw) {
    ERCompCurve2D outline = shape.composite_curve();
    ASSERT_EQ(outline.nbElements(), edges);
    EXPECT_EQ(outline.isClosed(1e-12), 1);
    ERMinimax2D sampled;
    for (int n = 0; n <= 100 * edges; ++n) {
        const ERPoint2D p = shape.PtCur(n / 100.0).point();
        EXPECT_TRUE(isEqual(p, outline(n / 100.0), 1e-12)) << n;
        sampled.Update(p);
    }
    const ERMinimax2D box = shape.getBox();
    EXPECT_TRUE(isEqual(box.MinPoint(), sampled.MinPoint(), 2e-3) &&
                isEqual(box.MaxPoint(), sampled.MaxPoint(), 2e-3));
    const ERPolygone2D dense(outline.approxime(outline.getBound(), 1e-7));
    for (int round = 0; round < 20; ++round) {
        const ERPoint2D p = draw.value<ERPoint2D>(8);
        double least = HUGE_VAL;
        int winding = 0; // crossings of the ray to the right
        for (int i = 0; i < dense.getPoints().size(); ++i) {
            ERSegment2D edge(dense.getPoints()[i],
                             dense.getPoints()[(i + 1) % dense.getPoints().size()]);
            double from_edge, t;
            edge.SignedMinimalDistance(p, from_edge, t);
            least = std::min(least, std::fabs(from_edge));
            const ERPoint2D &a = edge.getP1(), &b = edge.getP2();
            if ((a.y() > p.y()) != (b.y() > p.y()) &&
                a.x() + (p.y() - a.y()) / (b.y() - a.y()) * (b.x() - a.x()) > p.x())
                ++winding;
        }
        ERPoint2D foot;
        double away, signed_distance;
        int entity = -1, same = -1;
        ASSERT_EQ(shape.Project(p, foot, away, entity), 1);
        EXPECT_NEAR(away, least, 1e-6);
        EXPECT_NEAR(distance(foot, p), away, 1e-12);
        EXPECT_EQ(shape.Get_Entity_Number(p, same), 1);
        EXPECT_EQ(same, entity);
        EXPECT_TRUE(isEqual(shape.ProjectPt(p), foot, 0.0));
        EXPECT_NEAR(distance(ERCompCurve2D(outline.element(entity)).approxime(2)[0],
                             outline(double(entity))),
                    0.0, 1e-12);
        EXPECT_EQ(shape.SignedMinimalDistance(p, signed_distance), EREntity::DISTMIN_FOUND);
        EXPECT_NEAR(signed_distance, winding % 2 ? -away : away, 1e-9);
    }
}

// The same shape in a frame: points and distances go with the frame, and back on the plane.
template <class Solid, class Flat>
void expect_lifted(Flat& flat, Random& draw) {
    const ERPmIsometrie3D frame = random_frame(draw);
    const auto lifted = flat.get3DEquiv(frame);
    Solid& solid = Solid::castdown(static_cast<ERObject&>(*lifted));
    ERCompCurve3D outline = solid.composite_curve();
    for (double t = 0.0; t <= outline.nbElements(); t += 0.37) {
        EXPECT_TRUE(isEqual(frame.Project(solid.PtCur(t).point()), flat.PtCur(t).point(), 1e-12));
        EXPECT_TRUE(isEqual(solid.PtCur(t).point(), outline(t), 1e-12));
    }
    const ERPoint3D p = draw.value<ERPoint3D>(8);
    ERPoint3D foot;
    double away, dist, flat_dist;
    int entity;
    ASSERT_EQ(solid.Project(p, foot, away, entity), 1);
    EXPECT_NEAR(distance(p, foot), away, 1e-12);
    solid.SignedMinimalDistance(p, dist);
    flat.SignedMinimalDistance(frame.Project(p), flat_dist);
    EXPECT_NEAR(std::fabs(dist), away, 1e-12);
    EXPECT_EQ(dist < 0.0, flat_dist < 0.0);
    EXPECT_EQ(solid.SignedMinimalDistance(foot, dist), EREntity::DISTMIN_IN_SPACE);
    EXPECT_TRUE(isEqual(solid.ProjectPt(p), foot, 0.0));

    // In a parallel plane the same shape, in another the projected edges.
    const ERPmIsometrie3D above = frame * ERTranslation3D(ERPoint3D(1, 2, 3));
    const auto same = solid.get2DEntProjectedOn(above);
    Flat& image = Flat::castdown(static_cast<ERObject&>(*same));
    EXPECT_TRUE(
        isEqual(image.PtCur(1.3).point(), flat.PtCur(1.3).point() - ERPoint2D(1, 2), 1e-12));
    const ERPmIsometrie3D tilted = random_frame(draw);
    const auto other = solid.get2DEntProjectedOn(tilted);
    ERCompCurve2D& projected = ERCompCurve2D::castdown(static_cast<ERObject&>(*other));
    ASSERT_EQ(projected.nbElements(), outline.nbElements());
    for (int i = 0; i < outline.nbElements(); ++i)
        EXPECT_TRUE(isEqual(projected(double(i)), tilted.Project(outline(double(i))), 1e-11)) << i;

    const std::string record = velm_test::record_of(solid);
    EXPECT_EQ(record, velm_test::record_of(solid.getRepere()) + velm_test::record_of(flat));
    const std::unique_ptr<ERObject> made(ERClassRegistration::findCreator(solid.className())());
    EXPECT_EQ(velm_test::record_of(velm_test::restore(Solid::castdown(*made), record)), record);
    Solid scaled(solid);
    scaled.scale(3.0);
    EXPECT_TRUE(isEqual(scaled.PtCur(0.7).point(), solid.PtCur(0.7).point() * 3.0, 1e-11));
    scaled = solid;
    const ERPmSimilitude3D map = ERPmSimilitude3D(frame) * ERPmSimilitude3D(ERScaling3D(2));
    scaled.transformFrom(map);
    ERPoint3D moved = solid.PtCur(0.7).point();
    EXPECT_TRUE(isEqual(scaled.PtCur(0.7).point(), map.TransFrom(moved), 1e-11));
}

template <class Shape>
void expect_moves(const Shape& shape, Random& draw) {
    const ERTransfo2D map =
        ERTransfo2D(draw.value<ERVector2D>(1), draw.value<ERPoint2D>(9)) * ERTransfo2D::Scaling(2);
    Shape image(shape);
    image.transformFrom(map);
    EXPECT_TRUE(isEqual(image.PtCur(1.4).point(), map.TransFrom(shape.PtCur(1.4).point()), 1e-12));
    image.transformTo(map);
    EXPECT_TRUE(isEqual(image.PtCur(0.4).point(), shape.PtCur(0.4).point(), 1e-12));
    image.translate(shape.PtCur(0.4).point() * -1.0);
    image.scale(0.5);
    EXPECT_TRUE(isEqual(image.PtCur(0.4).point(), ERPoint2D(), 1e-12));
}

TEST(Shapes, AreTheirOutlines) {
    Random draw(420);
    for (int round = 0; round < 10; ++round) {
        const auto place = draw.value<ERPoint2D>(3);
        const auto direction = draw.value<ERVector2D>(2);
        const double length = draw.uniform(0.5, 5), width = draw.uniform(0.5, 5);
        ERRectangle2D rectangle(place, direction, length, width);
        EXPECT_NEAR(rectangle.length(), length, 1e-13);
        EXPECT_NEAR(rectangle.width(), width, 1e-13);
        EXPECT_TRUE(isEqual(rectangle.centre(), place, 1e-13));
        EXPECT_TRUE(isEqual(rectangle.main_direction(), direction.getnormalized(), 1e-13));
        EXPECT_NEAR(velm::cross(rectangle.main_direction(), rectangle.auxiliary_direction()), 1.0,
                    1e-13);
        expect_outline(rectangle, 4, draw);
        expect_lifted<ERRectangle3D>(rectangle, draw);
        expect_moves(rectangle, draw);

        const int n = 3 + draw.below(8);
        ERRegularPolygon2D polygon(place, direction, length, n);
        EXPECT_NEAR(polygon.composite_curve().arcLength(0.0), n * length, 1e-11);
        EXPECT_NEAR(polygon.inside_circle().radius(), length / (2 * std::tan(std::numbers::pi / n)),
                    1e-12);
        EXPECT_NEAR(polygon.outside_circle().radius(),
                    length / (2 * std::sin(std::numbers::pi / n)), 1e-12);
        EXPECT_TRUE(isEqual(polygon.PtCur(0).point(),
                            place + direction.getnormalized() * polygon.outside_circle().radius(),
                            1e-12));
        expect_outline(polygon, n, draw);
        expect_lifted<ERRegularPolygon3D>(polygon, draw);
        expect_moves(polygon, draw);
        const double inner = polygon.inside_circle().radius();
        EXPECT_EQ(polygon.offset(0.5), 1);
        EXPECT_NEAR(polygon.inside_circle().radius(), inner + 0.5, 1e-12);
        EXPECT_EQ(polygon.offset(-inner - 1.0), 0);

        ERRoundedSlot2D slot(place, draw.value<ERPoint2D>(3), width * 0.5);
        EXPECT_NEAR(slot.length(), distance(slot.center1(), slot.center2()) + width, 1e-13);
        expect_outline(slot, 4, draw);
        expect_lifted<ERRoundedSlot3D>(slot, draw);
        expect_moves(slot, draw);
        const ERPoint2D start = slot.PtCur(0.5).point();
        slot.reverse();
        EXPECT_TRUE(isEqual(slot.PtCur(2.5).point(), start, 1e-13));
    }
    ERRoundedSlot2D circle({1, 2}, {1, 2}, 3);
    expect_outline(circle, 4, draw);
}

TEST(Shapes, AnswerAtEveryParameter) {
    ERRectangle2D plate({0, 0}, {1, 0}, 4, 2);
    struct Row {
        double t, parameter, x, y, i;
    };
    for (const Row& row : {Row{5.5, 1.5, 2, 0, 0}, Row{-2.5, 1.5, 2, 0, 0}, Row{4, 4, -2, -1, 0},
                           Row{8, 4, -2, -1, 0}, Row{0, 0, -2, -1, 4}, Row{-4, 0, -2, -1, 4},
                           Row{1, 1, 2, -1, 4}, Row{2, 2, 2, 1, 0}, Row{3, 3, -2, 1, -4},
                           Row{0x1p60, 4, -2, -1, 0}, Row{-0x1p60, 0, -2, -1, 4}}) {
        const ERInfoPoint2D info = plate.PtCur(row.t);
        EXPECT_EQ(info.point(), ERPoint2D(row.x, row.y)) << row.t;
        EXPECT_EQ(info.tangente().i(), row.i) << row.t;
        EXPECT_EQ(info.Parametre, row.parameter);
    }
    const ERRoundedSlot2D slot({0, 0}, {4, 0}, 1);
    for (const Row& row : {Row{0, 0, 0, 1, 0}, Row{1, 1, 0, -1, 0}, Row{1.5, 0, 2, -1, 4},
                           Row{2, 2, 4, -1, 4}, Row{2.5, 0, 5, 0, 0}, Row{3, 3, 4, 1, 0},
                           Row{4, 4, 0, 1, -4}, Row{4.001, 0, 0, 0, 0}, Row{-0.001, 0, 0, 0, 0}}) {
        const ERInfoPoint2D info = slot.PtCur(row.t);
        EXPECT_TRUE(isEqual(info.point(), ERPoint2D(row.x, row.y), 1e-15)) << row.t;
        EXPECT_EQ(info.tangente(), ERVector2D(row.i, 0)) << row.t;
    }
    for (const double t : {HUGE_VAL, -HUGE_VAL, std::nan("")}) {
        EXPECT_TRUE(std::isnan(plate.PtCur(t).point().x()));
        EXPECT_TRUE(std::isnan(ERRegularPolygon2D().PtCur(t).point().x()));
        EXPECT_EQ(slot.PtCur(t).point(), ERPoint2D());
    }
    int entity;
    EXPECT_EQ(plate.Get_Entity_Number({HUGE_VAL, 0}, entity), 0);
    double dist;
    EXPECT_EQ(ERRegularPolygon2D().SignedMinimalDistance({}, dist), EREntity::DISTMIN_NONE);
    EXPECT_EQ(ERRegularPolygon2D({}, {1, 0}, 2.0, 0).nb_sides(), 0);
    EXPECT_EQ(ERRegularPolygon2D({}, {1, 0}, 2.0, -7).nb_sides(), 0);
    const ERRegularPolygon2D two({}, {1, 0}, 2.0, 2);
    EXPECT_TRUE(isEqual(two.PtCur(1.0).point(), ERPoint2D(-1, 0), 1e-15));
    // Fewer corners, more corners, and what a damaged record leaves.
    EXPECT_EQ(ERRectangle2D(ERVec<ERPoint2D>{{1, 2}, {3, 4}}).getPoints()[3], ERPoint2D(3, 4));
    EXPECT_EQ(ERRectangle3D(ERVec<ERPoint3D>{{1, 2, 3}}).getPoints()[3], ERPoint3D(1, 2, 3));
    EXPECT_EQ(ERRectangle3D(ERVec<ERPoint3D>{}).getPoints().size(), 4);
    for (const int bytes : {-1, 0, 16, 80, 12}) {
        ERRectangle2D restored;
        velm_test::restore(restored, velm_test::bytes_of(bytes) + std::string(80, '\0'));
        EXPECT_EQ(restored.getPoints().size(), 4) << bytes;
    }
}

TEST(Shapes, TextsAndRecords) {
    const ERRectangle2D plate({0, 0}, {1, 0}, 4, 2);
    EXPECT_EQ(velm_test::text_of(plate).substr(0, 36), "Rectangle 2D:\n            : Corner1 ");
    const std::string text = velm_test::text_of(plate);
    EXPECT_NE(text.find("\n            : Length  4\n            : Width   2\n"), std::string::npos);
    EXPECT_NE(velm_test::text_of(ERRegularPolygon3D(ERIdentity3D(), 2.0, 5))
                  .find("Number of side    : 5\nLength of side    : 2\n"),
              std::string::npos);
    const ERRoundedSlot2D slot({0, 0}, {4, 0}, 1);
    EXPECT_EQ(velm_test::text_of(ERRoundedSlot3D(ERIdentity3D(), slot)).substr(0, 42),
              "Rounded Slot 3D:\n               : Center1 ");
    EXPECT_EQ(velm_test::record_of(slot), velm_test::bytes_of(0.0, 0.0, 4.0, 0.0, 1.0));
    EXPECT_EQ(velm_test::record_of(plate),
              velm_test::bytes_of(64, -2.0, -1.0, 2.0, -1.0, 2.0, 1.0, -2.0, 1.0));
}

// Points moved by exactly this distance each, in random directions.
template <class Point>
ERVec<Point> with_noise(ERVec<Point> points, double distance, Random& draw) {
    using Vector = std::conditional_t<Point::components == 2, ERVector2D, ERVector3D>;
    for (Point& p : points)
        p += draw.direction<Vector>() * distance;
    return points;
}

TEST(Recognition, AcceptsNoiseBelowItsToleranceOnly) {
    Random draw(423);
    int found = -1;
    for (int round = 0; round < 100; ++round) {
        const double size = std::pow(10.0, draw.uniform(-6, 6));
        const ERPmIsometrie3D frame = random_frame(draw);
        const ERRectangle2D plate(draw.value<ERPoint2D>(size), draw.value<ERVector2D>(1), size,
                                  draw.uniform(0.2, 5) * size);
        const ERRectangle3D solid(frame, plate);
        const double diagonal = std::hypot(plate.length(), plate.width());
        ERRectangle2D made;
        ERRectangle3D made_in_space;
        // A box may be 1.5 times as large as a diagonal and the fit takes up a part of the noise.
        const double below = 0.6e-6 * diagonal, above = 6e-6 * diagonal;
        const auto flat = with_noise(plate.getPoints(), below, draw);
        const auto raised = with_noise(solid.getPoints(), below, draw);
        ASSERT_EQ(CreateRectangle2D(flat, made, found, 1), 1);
        ASSERT_EQ(found, 1);
        EXPECT_NEAR(made.length() * made.width(), plate.length() * plate.width(),
                    4e-6 * diagonal * diagonal);
        EXPECT_NEAR(made.main_direction() * made.auxiliary_direction(), 0.0, 1e-12);
        ASSERT_EQ(CreateRectangle3D(raised, made_in_space, found, 1), 1);
        EXPECT_TRUE(isEqual(made_in_space.getPoints()[0], solid.getPoints()[0], 3e-6 * diagonal));
        // In any order, with the closing point, in the other sense.
        const ERVec<ERPoint2D> crossed{flat[0], flat[2], flat[1], flat[3], flat[0]};
        EXPECT_EQ(CreateRectangle2D(crossed, made, found, 1), 0);
        EXPECT_EQ(CreateRectangle2D(crossed, made, found, 0), 1);
        EXPECT_EQ(CreateRectangle2D({flat[3], flat[2], flat[1], flat[0]}, made, found, 1), 1);
        EXPECT_TRUE(isEqual(made.getPoints()[0], flat[3], 3e-6 * diagonal));
        EXPECT_EQ(CreateRectangle3D({raised[0], raised[2], raised[1], raised[3]}, made_in_space,
                                    found, 0),
                  1);
        const ERSegment3D side(raised[0], raised[1]), far(raised[2], raised[3]),
            near(raised[3], raised[2]);
        EXPECT_EQ(CreateRectangleFrom2Segments(side, far, made_in_space) +
                      CreateRectangleFrom2Segments(side, near, made_in_space),
                  2);

        auto skewed = plate.getPoints();
        skewed[2] += ERVector2D(above * 4, 0);
        const ERVec<ERPoint2D> kept = made.getPoints();
        EXPECT_EQ(CreateRectangle2D(skewed, made, found, 1), 0);
        EXPECT_EQ(found, 0);
        EXPECT_EQ(made.getPoints()[1], kept[1]);
        auto warped = solid.getPoints();
        warped[2] += frame.getVector(Coord3D_Z) * (above * 4);
        EXPECT_EQ(CreateRectangle3D(warped, made_in_space, found, 1), 0);

        const int n = 3 + draw.below(9);
        const ERRegularPolygon2D polygon(draw.value<ERPoint2D>(size), draw.value<ERVector2D>(1),
                                         size, n);
        const double reach = 2 * polygon.outside_circle().radius();
        ERRegularPolygon2D made_polygon;
        ERRegularPolygon3D made_solid;
        auto vertices = with_noise(polygon.getPoints(), 0.4e-6 * reach, draw);
        if (round % 2) std::reverse(vertices.begin(), vertices.end());
        ASSERT_EQ(CreateRegularPolygon2D(vertices, made_polygon, found), 1) << n;
        EXPECT_NEAR(made_polygon.length_side(), size, 4e-6 * reach);
        EXPECT_EQ(made_polygon.nb_sides(), n);
        vertices.push_back(ERPoint2D(std::as_const(vertices)[0]));
        EXPECT_EQ(CreateRegularPolygon2D(vertices, made_polygon, found), 1);
        EXPECT_EQ(CreateRegularPolygon3D(with_noise(ERRegularPolygon3D(frame, polygon).getPoints(),
                                                    0.4e-6 * reach, draw),
                                         made_solid, found),
                  1);
        EXPECT_EQ(made_solid.nb_sides(), n);
        vertices = polygon.getPoints();
        vertices[1] += ERVector2D(polygon.barycenter(), ERPoint2D(vertices[1])) * 1e-5;
        EXPECT_EQ(CreateRegularPolygon2D(vertices, made_polygon, found), 0) << n;
    }
    ERRectangle2D none;
    ERRegularPolygon3D nowhere;
    for (const auto& points : {ERVec<ERPoint2D>{}, ERVec<ERPoint2D>{{1, 1}},
                               ERVec<ERPoint2D>{{1, 1}, {1, 1}, {1, 1}, {1, 1}},
                               ERVec<ERPoint2D>{{0, 0}, {1, 0}, {1, std::nan("")}, {0, 1}},
                               ERVec<ERPoint2D>{{0, 0}, {1, 0}, {2, 0}, {3, 0}}})
        EXPECT_EQ(CreateRectangle2D(points, none, found, 0), 0);
    EXPECT_EQ(CreateRegularPolygon3D({{0, 0, 0}, {1, 1, 1}, {2, 2, 2}}, nowhere, found), 0);
}

TEST(Recognition, SlotArcsTouchTheCommonTangents) {
    Random draw(424);
    for (int round = 0; round < 50; ++round) {
        const ERCircle2D first(draw.value<ERPoint2D>(5), draw.uniform(0.5, 2)),
            second(first.center() + draw.direction<ERVector2D>() * 4.0,
                   round % 2 ? first.radius() : draw.uniform(0.5, 2));
        ERArc2D start, end;
        ASSERT_EQ(BuildSlot(first, second, start, end), 1);
        EXPECT_NEAR(start.arcLength(0) / first.radius() + end.arcLength(0) / second.radius(),
                    2 * std::numbers::pi, 1e-12);
        for (const auto& [from, to] :
             {std::pair(start.lastPt(), end.firstPt()), std::pair(end.lastPt(), start.firstPt())}) {
            const ERVector2D side(from, to);
            EXPECT_NEAR(side * ERVector2D(first.center(), from == start.lastPt() ? from : to), 0.0,
                        1e-11);
            EXPECT_NEAR(side * ERVector2D(second.center(), from == start.lastPt() ? to : from), 0.0,
                        1e-11);
        }
        // The far sides.
        EXPECT_NEAR(distance(start(start.getBound()(0.5)), second.center()), 4 + first.radius(),
                    1e-12);
        EXPECT_NEAR(distance(end(end.getBound()(0.5)), first.center()), 4 + second.radius(), 1e-12);
        const ERPlane plane(ERPoint3D(0, 0, 7), ERVector3D(1, 2, 3));
        const ERPmIsometrie3D frame = plane.getTransfo();
        ERArc3D start3, end3;
        ASSERT_EQ(
            BuildSlot(plane, ERCircle3D(frame, first), ERCircle3D(frame, second), start3, end3), 1);
        EXPECT_TRUE(isEqual(frame.Project(end3.lastPt()), end.lastPt(), 1e-12));
        EXPECT_NEAR(plane.distancePt(start3(start3.getBound()(0.3))), 0.0, 1e-12);
        EXPECT_EQ(BuildSlot(ERCircle2D({}, 5), ERCircle2D({1, 1}, 1), start, end), 0);
    }
}

} // namespace
