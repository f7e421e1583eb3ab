// Polylines and polygons against the segments that they consist of.
#include "velm/wireframe/polyline.h"

#include "support/geometry.h"
#include "support/records.h"
#include "velm/curves/nurbs_curve.h"

namespace {

template <class Pair>
class Polylines : public testing::Test {
public:
    using Open = typename Pair::first_type;
    using Closed = typename Pair::second_type;
    using Point = typename Open::Point;
    using D = std::conditional_t<Point::components == 2, velm::Plane, velm::Space>;
    using Segment = typename D::Segment;

    static ERVec<Point> random_points(velm_test::Random& draw, int n) {
        ERVec<Point> points(n);
        for (Point& p : points)
            p = draw.value<Point>(5.0);
        return points;
    }
    static std::vector<Segment> edges(const ERVec<Point>& points, bool closed) {
        std::vector<Segment> segments;
        for (int i = 0; i + (closed ? 0 : 1) < points.size(); ++i)
            segments.emplace_back(points[i], points[(i + 1) % points.size()]);
        return segments;
    }
    // Points inside edges, at vertices and beyond both ends, lengths, box, parts, NURBS form and
    // polylines.
    void expect_edges(Open& line, bool closed) {
        std::vector<Segment> segments = edges(line.getPoints(), closed);
        const int n = static_cast<int>(segments.size());
        EXPECT_EQ(line.getBound(), ERLimites(0.0, n));
        double length = 0.0;
        ERCpoleNURBS<D> nurbs = line.ConvertToNurbs();
        for (int i = 0; i < n; ++i) {
            Segment& edge = segments[std::size_t(i)];
            for (const double s : {0.25, 0.75}) {
                const auto info = line.PtCur(i + s);
                EXPECT_TRUE(isEqual(info.point(), edge(s), 1e-14)) << i;
                EXPECT_TRUE(isEqual(info.tangente(), edge.dirVector(), 0.0)) << i;
                EXPECT_EQ(info.Parametre, i + s);
                EXPECT_TRUE(isEqual(nurbs(i + s), edge(s), 1e-13)) << i;
            }
            const double before = length;
            length += edge.arcLength(0.0);
            EXPECT_NEAR(line.arcLength(ERLimites(i + 0.5, 0.0), 0.0), (before + length) / 2, 1e-12);
            if (i == 0) continue;
            const auto corner = line.PtCur(i);
            EXPECT_TRUE(isEqual(corner.point(), edge.getP1(), 0.0));
            EXPECT_TRUE(isEqual(corner.tangente(),
                                (segments[std::size_t(i - 1)].dirVector() + edge.dirVector()) * 0.5,
                                0.0));
        }
        EXPECT_NEAR(line.arcLength(0.0), length, 1e-12);
        EXPECT_TRUE(isEqual(line(-0.5), segments.front()(-0.5), 1e-14));
        EXPECT_TRUE(isEqual(line(-2.5), segments.front()(-2.5), 1e-14));
        EXPECT_TRUE(isEqual(line(n + 0.5), segments.back()(1.5), 1e-14));
        // An open one goes back; a polygon goes straight on.
        EXPECT_TRUE(isEqual(line(n + 1.0), segments.back()(closed ? 2.0 : 1.0), 1e-13));
        EXPECT_TRUE(isEqual(line(n), segments.back().getP2(), 1e-14));

        t_SmartPtr<typename D::FiniteEntity> first, second;
        for (double t = 0.5; t < n; t += 0.5) {
            ASSERT_EQ(line.splitAt(first, second, t), 1);
            EXPECT_TRUE(isEqual(first->lastPt(), line(t), 1e-14));
            EXPECT_TRUE(isEqual(second->firstPt(), line(t), 0.0));
            EXPECT_EQ(first->ufin(), std::ceil(t));
            EXPECT_EQ(second->ufin(), n - std::floor(t));
            EXPECT_NEAR(first->arcLength(0.0) + second->arcLength(0.0), length, 1e-12);
        }
        EXPECT_EQ(line.splitAt(first, second, 0.0) + line.splitAt(first, second, n), 0);
        EXPECT_EQ(line.approxime(ERLimites(0.5, n - 0.5), 1.0).size(), n + 1);
        EXPECT_EQ(line.approxime(ERLimites(n, 0.0), 1.0).size(), n + 1);
    }
    template <class Dim>
    using ERCpoleNURBS = typename Dim::NurbsCurve;
};
using Pairs =
    testing::Types<std::pair<ERPolyline2D, ERPolygone2D>, std::pair<ERPolyline3D, ERPolygone3D>>;
TYPED_TEST_SUITE(Polylines, Pairs);

TYPED_TEST(Polylines, AreTheirEdges) {
    velm_test::Random draw(42);
    for (int n = 3; n < 8; ++n) {
        typename TestFixture::Open open(this->random_points(draw, n));
        typename TestFixture::Closed closed(open.getPoints());
        this->expect_edges(open, false);
        this->expect_edges(closed, true);
        EXPECT_EQ(open.isClosed() + open.isClosed(1e-3), 0);
        EXPECT_EQ(closed.isClosed() + closed.isClosed(0.0), 2);
        // Turned round they pass the same points.
        typename TestFixture::Open back(open);
        back.reverse();
        EXPECT_TRUE(isEqual(back(0.25), open(n - 1.25), 1e-14));
        typename TestFixture::Closed round(closed);
        round.reverse();
        for (const double t : {0.0, 0.25, 1.5})
            EXPECT_TRUE(isEqual(round(t), closed(n - t), 1e-14)) << t;
        back = open;
        back.scale(2.0);
        back.translate(open(0.0) * -2.0);
        EXPECT_TRUE(isEqual(back(1.5), (open(1.5) - open(0.0)) * 2.0, 1e-13));
    }
}

TYPED_TEST(Polylines, DropRepeatedVertices) {
    using Place = typename TestFixture::Point;
    const auto at = [](double x) { return Place::each([x](int) { return x; }); };
    using Line = typename TestFixture::Open;
    EXPECT_EQ(Line({at(1), at(1), at(2)}).getPoints().size(), 2);
    EXPECT_EQ(Line({at(1), at(1)}).getPoints().size(), 2); // two are taken as they stand
    Line line({at(1), at(1 + 1e-12), at(1 + 2e-12), at(2), at(1)});
    EXPECT_EQ(line.getPoints().size(), 5);
    line.cleanUp();
    EXPECT_EQ(line.getPoints().size(), 3);
    EXPECT_EQ(line.isClosed(), 1);
    Line limit({at(0), at(1e-11), at(1)}); // exactly the distance stays
    limit.cleanUp();
    EXPECT_EQ(limit.getPoints().size(), 3);
    // One vertex, none.
    Line single({at(3)}), none;
    EXPECT_EQ(single.isClosed(), 1);
    EXPECT_EQ(none.isClosed(), 0);
    for (const double t : {-5.0, 0.0, 0.5, 1e300, std::nan("")}) {
        EXPECT_EQ(single(t)[0], 3.0);
        EXPECT_EQ(none(t)[0], 0.0);
        EXPECT_EQ(line(t)[0] == line(t)[0], t == t);
    }
    EXPECT_EQ(single.ConvertToNurbs().nbPoles() + none.ConvertToNurbs().nbPoles(), 0);
}

// The feet of a scan, in the order of the edges; the tolerance cuts those that are farther.
TYPED_TEST(Polylines, FindTheFeetOnEveryEdge) {
    using Place = typename TestFixture::Point;
    using Vector = typename TestFixture::Open::Vector;
    velm_test::Random draw(421);
    for (int round = 0; round < 200; ++round) {
        const typename TestFixture::Open line(this->random_points(draw, 5));
        const Place p = draw.value<Place>(5.0);
        const double tol = draw.below(2) ? 100.0 : 2.0;
        std::vector<double> expected;
        int i = 0;
        for (auto& edge : this->edges(line.getPoints(), true)) { // the closing one too
            const Vector along = edge.dirVector();
            const double s = Vector(edge.getP1(), p) * along / along.norme2();
            if (s >= 0.0 && s < 1.0 && distance(edge(s), p) <= tol) expected.push_back(i + s);
            ++i;
        }
        ERVec<double> found{7.0, 8.0};
        ASSERT_EQ(line.ProjectPoint(p, found, tol), static_cast<int>(expected.size()));
        for (std::size_t k = 0; k < expected.size(); ++k)
            EXPECT_NEAR(found[std::ptrdiff_t(k)], expected[k], 1e-12);
    }
    // A vertex belongs to the edge that starts there, the first one to edge 0.
    const auto at = [](double x) { return Place::each([x](int c) { return c == 0 ? x : 2.0; }); };
    ERVec<double> feet{1.0};
    const typename TestFixture::Open there_and_back({at(0), at(4), at(8), at(0)});
    EXPECT_EQ(there_and_back.ProjectPoint(at(0), feet, 0.0), 1);
    EXPECT_EQ(std::as_const(feet)[0], 0.0);
    EXPECT_EQ(typename TestFixture::Open().ProjectPoint(Place(), feet, 1.0), 0);
    EXPECT_TRUE(feet.empty());
}

TYPED_TEST(Polylines, AreStoredAndRefuseDamage) {
    velm_test::Random draw(422);
    typename TestFixture::Closed line(this->random_points(draw, 3));
    std::string expected = velm_test::bytes_of(int(3 * sizeof(typename TestFixture::Point)));
    for (const auto& p : line.getPoints().view())
        expected += velm_test::bytes_of(p);
    const auto made = velm_test::expect_stored(line, expected, velm_test::text_of(line));
    auto& restored = TestFixture::Closed::castdown(*made);
    EXPECT_EQ(restored.ufin(), 3.0);
    for (const std::string& damaged :
         {std::string(), velm_test::bytes_of(-1), velm_test::bytes_of(1 << 30, 1.0),
          velm_test::bytes_of(12) + std::string(12, 'x'),
          expected.substr(0, 12) + velm_test::bytes_of(HUGE_VAL) + expected.substr(20)})
        EXPECT_EQ(velm_test::restore(restored, damaged).getPoints().size(), 0);
}

TEST(PolylineImages, GoWithTheirVertices) {
    const ERPmIsometrie3D frame = ERChgRepere3D(ERVector3D(1, 2, 3), ERPoint3D(3, -2, 1));
    ERPolygone2D flat(ERVec<ERPoint2D>{{0, 0}, {4, 0}, {4, 3}});
    const auto lifted = flat.get3DEquiv(frame);
    ERPolygone3D& solid = ERPolygone3D::castdown(static_cast<ERObject&>(*lifted));
    EXPECT_NEAR(solid.arcLength(0.0), 12.0, 1e-12);
    const auto back = solid.get2DEntProjectedOn(frame);
    EXPECT_TRUE(
        isEqual(ERPolygone2D::castdown(static_cast<ERObject&>(*back))(2.5), flat(2.5), 1e-14));
    ERPolyline3D moved = solid;
    moved.transformFrom(ERTranslation3D(ERPoint3D(1, 1, 1)));
    EXPECT_TRUE(isEqual(moved(1.5), solid(1.5) + ERPoint3D(1, 1, 1), 1e-14));
    ERPolyline2D turned = flat;
    const ERTransfo2D turn = ERTransfo2D::rotation(0.7);
    turned.transformFrom(turn);
    EXPECT_TRUE(isEqual(turned(1.5), turn.TransFrom(flat(1.5)), 1e-14));
    turned.transformTo(turn);
    EXPECT_TRUE(isEqual(turned(1.5), flat(1.5), 1e-14));
    EXPECT_EQ(velm_test::text_of(flat).substr(0, 23), "Polygone 2D : 3 points\n");
}

} // namespace
