// Boxes of both dimensions against the lattice points they hold, and clipping against sampling.
#include "velm/frame/box.h"
#include "velm/frame/box_clipping.h"
#include "velm/frame/dimension.h"
#include "velm/frame/point_functions.h"
#include "velm/frame/vec.h"

#include "support/test.h"

namespace {

using velm_test::Random;

constexpr double largest = std::numeric_limits<double>::max();

// All points with coordinates 0 to 3: boxes between them touch in every way, and two boxes meet
// exactly if they share a lattice point.
template <class Dimension>
std::vector<typename Dimension::Point> lattice() {
    std::vector<typename Dimension::Point> points;
    for (int code = 0; code < (Dimension::size == 2 ? 16 : 64); ++code)
        points.push_back(Dimension::Point::each(
            [&](int axis) { return static_cast<double>(code >> (2 * axis) & 3); }));
    return points;
}

template <class Dimension>
class Boxes : public testing::Test {};
using Dimensions = testing::Types<velm::Plane, velm::Space>;
TYPED_TEST_SUITE(Boxes, Dimensions);

TYPED_TEST(Boxes, RelationsAgreeWithTheLattice) {
    using Point = typename TypeParam::Point;
    using Box = typename TypeParam::Box;
    Random random(31);
    const auto points = lattice<TypeParam>();
    for (int round = 0; round < 3000; ++round) {
        const Box a(random.one_of(points), random.one_of(points));
        const Box b(random.one_of(points), random.one_of(points));
        const auto holds = [](const Box& box) {
            return [&box](const Point& p) { return box.contains(p); };
        };
        const auto in_both = [&](const Point& p) { return a.contains(p) && b.contains(p); };
        const bool meet = std::any_of(points.begin(), points.end(), in_both);
        const auto a_corners = a.getVertice(), b_corners = b.getVertice();
        const bool a_in_b = std::all_of(a_corners.view().begin(), a_corners.view().end(), holds(b));
        const bool b_deep_in_a = std::all_of(b_corners.view().begin(), b_corners.view().end(),
                                             [&](const Point& p) { return a.stricklyContains(p); });
        const int expected = !meet ? 0 : b_deep_in_a ? 2 : a_in_b ? 1 : 3;

        EXPECT_EQ(RelativePosition(a, b), expected);
        EXPECT_EQ(a | b, !meet);
        EXPECT_EQ(a >> b, expected == 2);
        EXPECT_EQ(a << b, expected == 1);
        EXPECT_EQ(a < b, expected == 1 || expected == 3);
        EXPECT_EQ(a > b, expected == 2 || expected == 3);

        const Box both = Union(a, b), common = intersection(a, b);
        // a's minimum on b's maximum leaves nothing, also for flat boxes.
        bool left_of_touch = false;
        for (int axis = 0; axis < TypeParam::size; ++axis)
            left_of_touch = left_of_touch || a.lower(axis) == b.upper(axis);
        EXPECT_EQ(common.invalid(), !meet || left_of_touch);
        double nearest = 1e9, farthest = 0.0;
        const Point& p = random.one_of(points);
        for (const Point& q : points) {
            EXPECT_EQ(common.contains(q), !common.invalid() && in_both(q));
            EXPECT_TRUE(both.contains(q) || !(a.contains(q) || b.contains(q)));
            EXPECT_EQ(a.onBorder(q), a.contains(q) && !a.stricklyContains(q));
            if (!a.contains(q)) continue;
            nearest = std::min(nearest, distance2(p, q));
            farthest = std::max(farthest, distance2(p, q));
        }
        EXPECT_EQ(velm::squared_distance(a, p), nearest);
        EXPECT_EQ(velm::farthest_squared_distance(a, p), farthest);
        // The given measures take the coordinates of the clamped point themselves.
        const Point clamped = Point::each(
            [&](int axis) { return std::clamp(p[axis], a.lower(axis), a.upper(axis)); });
        EXPECT_EQ(minimumSquaredDistance(a, p), distance2(clamped, Point()));
    }
}

TYPED_TEST(Boxes, GrowByPointsPolesAndBoxes) {
    using Point = typename TypeParam::Point;
    using Pole = typename TypeParam::Pole;
    using Box = typename TypeParam::Box;
    Random random(32);
    Box grown;
    EXPECT_TRUE(grown.invalid());
    ERVec<Point> points;
    ERVec<Pole> poles;
    for (int n = 0; n < 50; ++n) {
        const Point p = random.value<Point>(9);
        points.append(p);
        poles.append(Pole(p * 2.0, 2.0));
        grown += p;
        EXPECT_TRUE(grown.contains(p) && grown.onBorder(n == 0 ? p : grown.MaxPoint()));
    }
    EXPECT_EQ(Box(points), grown);
    EXPECT_EQ(Box(poles), grown); // weight 2 divides exactly
    EXPECT_EQ(Box(grown.getVertice()), grown);

    Box deflated = Box(Point(), Point::each([](int axis) { return axis == 0 ? 1.0 : 4.0; }));
    deflated.Inflate(-1.0); // x from 1 to 0, the others from 1 to 3
    const auto at = [](double x, double rest) {
        return Point::each([&](int axis) { return axis == 0 ? x : rest; });
    };
    EXPECT_TRUE(deflated.onBorder(at(1.0, 2.0)) && deflated.onBorder(at(0.0, 2.0)));
    EXPECT_FALSE(deflated.onBorder(at(0.5, 1.0)) || deflated.onBorder(at(1.0, 4.0)));

    const Point beyond = grown.MaxPoint() * 2.0;
    EXPECT_EQ(grown + beyond, Box(grown.MinPoint(), beyond));
    Box same = grown;
    same.Update(Box());
    EXPECT_EQ(same, grown);
    EXPECT_EQ(Union(Box(), grown), grown);
    EXPECT_TRUE(Union(Box(), Box()).invalid());
    EXPECT_TRUE(intersection(Box(), grown).invalid() && intersection(grown, Box()).invalid());
    same += 1.0;
    EXPECT_TRUE(same >> grown && grown << same);
    same -= 1.0;
    EXPECT_TRUE(isEqual(same.MinPoint(), grown.MinPoint(), 1e-14));
    same.Reset();
    EXPECT_EQ(same, Box());
    EXPECT_EQ(minimumSquaredDistance(same, beyond) + maximumSquaredDistance(same, beyond), 0.0);
    EXPECT_EQ(velm::squared_distance(same, beyond), std::numeric_limits<double>::infinity());
}

// The line crosses the box if the point of the line nearest to the centre, by fine sampling, is
// inside; near misses are left out.
TYPED_TEST(Boxes, InfiniteLinesMeetTheBoxTheyPass) {
    using Point = typename TypeParam::Point;
    using Vector = typename TypeParam::Vector;
    using Box = typename TypeParam::Box;
    Random random(33);
    const Point low = Point::each([](int axis) { return axis - 1.0; });
    const Box box(low, low + Point::each([](int axis) { return 1.0 + axis; }));
    Box wider = box, narrower = box;
    wider.Inflate(1e-2);
    narrower.Inflate(-1e-2);
    for (int round = 0; round < 500; ++round) {
        const Point p = random.value<Point>(5);
        const Vector d(p, random.value<Point>(3));
        bool inside = false, near = false;
        for (double s = -4.0; s < 4.0; s += 5e-4) {
            inside = inside || narrower.contains(p + d * s);
            near = near || wider.contains(p + d * s);
        }
        if (inside) {
            EXPECT_TRUE(box.intersect(p, d));
        } else if (!near && d.norme() > 2.5) {
            EXPECT_FALSE(box.intersect(p, d));
        }
        // The hit counts on the other axes only, regardless of what it rounds to on the face's own.
        Point corner = Point::each([](int) { return 1e6; }), other = -corner;
        corner[0] = other[0] = 0.1;
        EXPECT_TRUE(Box(corner, other).intersect(p, d));
    }
    EXPECT_FALSE(box.intersect(box.MinPoint(), Vector())); // every face is skipped
    const Vector along = Vector::each([](int axis) { return axis == 0 ? 1.0 : 0.0; });
    EXPECT_TRUE(box.intersect(box.MinPoint() - along * 9.0, along)); // closed: along an edge
    EXPECT_FALSE(Box().intersect(Point(), along));
}

TEST(Box, IntersectionOfTouchingBoxesDependsOnTheirOrder) {
    const ERMinimax2D left(0, 1, 0, 1), right(1, 2, 0, 1);
    EXPECT_EQ(intersection(left, right), ERMinimax2D(1, 1, 0, 1));
    EXPECT_TRUE(intersection(right, left).invalid());
    const ERMinimax3D front(0, 1, 0, 1, 0, 1), back(0, 1, 0, 1, 1, 2);
    EXPECT_EQ(RelativePosition(front, back), 3);
    EXPECT_EQ(RelativePosition(ERMinimax2D(), left), 0); // only space looks for emptiness
    EXPECT_EQ(RelativePosition(ERMinimax3D(), front), 4);
    EXPECT_EQ(RelativePosition(front, ERMinimax3D()), 4);
    EXPECT_EQ(maximumSquaredDistance(front, ERPoint3D(0.5, 9, -9)), 1.0); // a tie takes the minimum
    EXPECT_EQ(maximumSquaredDistance(front, ERPoint3D(0.4, 0.4, -9)), 3.0);
}

// The part of the segment inside the box, from 4000 samples of it.
struct Sampled {
    double first = 2.0, last = -1.0;
};
template <class Box, class Point>
Sampled sample(const Box& box, const Point& a, const Point& step, double from, double to) {
    Sampled part;
    for (int n = 0; n <= 4000; ++n) {
        const double t = from + (to - from) * n / 4000.0;
        if (!box.contains(a + step * t)) continue;
        if (part.last < part.first) part.first = t;
        part.last = t;
    }
    return part;
}

TEST(SutherCohen, ClipsObliqueSegmentsAsSamplingDoes) {
    Random random(34);
    const ERMinimax2D box(-1, 2, 0, 1);
    ERMinimax2D margin = box;
    margin.Inflate(1e-9);
    for (int round = 0; round < 2000; ++round) {
        const ERPoint2D a = random.value<ERPoint2D>(4);
        const ERPoint2D b = random.value<ERPoint2D>(4);
        const Sampled inside = sample(box, a, b - a, 0.0, 1.0);
        ERPoint2D ra, rb;
        const auto result = SutherCohen(a, b, box, ra, rb);
        EXPECT_EQ(box.positionRelative(a, b), result);
        EXPECT_EQ(box.isVisible(a, b), result != 0);
        if (result == SEGMENT_OUTSIDE_BOX) {
            EXPECT_LT(inside.last, inside.first);
            continue;
        }
        EXPECT_EQ(result == SEGMENT_INSIDE_BOX, box.contains(a) && box.contains(b));
        EXPECT_TRUE(margin.contains(ra) && margin.contains(rb));
        if (inside.last < inside.first) continue; // a corner cut finer than the samples
        const double step = distance(a, b) / 4000.0 + 1e-12;
        EXPECT_NEAR(distance(ra, a), inside.first * distance(a, b), step);
        EXPECT_NEAR(distance(rb, a), inside.last * distance(a, b), step);
    }
}

TEST(SutherCohen, KeepsItsTieRules) {
    struct Case {
        ERPoint2D a, b;
        int result;
        ERPoint2D ra, rb;
    };
    const ERMinimax2D box(0, 2, 0, 2);
    const Case cases[] = {
        {{0, 0}, {2, 2}, 2, {0, 0}, {2, 2}},   // the border is inside
        {{3, 0}, {3, 1}, 0, {3, 0}, {3, 1}},   // both beyond xmax
        {{-1, 1}, {1, -1}, 1, {0, 0}, {0, 0}}, // through a corner: two hits on one point
        {{-1, 2}, {3, 2}, 1, {0, 2}, {2, 2}},  // along the border
        {{1, 1}, {5, 1}, 1, {1, 1}, {0, 1}},   // cut at xmin beyond the inner end
        {{1, 1}, {-3, 1}, 1, {1, 1}, {0, 1}},  //
        {{-3, 1}, {1, 1}, 1, {0, 1}, {1, 1}},  //
        {{1, 1}, {1, 5}, 1, {1, 1}, {1, 0}},   // the same at ymin
        {{2, 1}, {4, 3}, 1, {2, 1}, {2, 1}},   // starts on the border, leaves at once
        {{-2, 1}, {1, 4}, 0, {-2, 1}, {1, 4}}, // passes the corner (0, 2) outside
        {{-1, 4}, {3, -4}, 1, {0, 2}, {1, 0}}, // enters by a corner
    };
    for (const Case& c : cases) {
        ERPoint2D ra, rb;
        EXPECT_EQ(SutherCohen(c.a, c.b, box, ra, rb), c.result) << c.a << c.b;
        EXPECT_EQ(ra, c.ra) << c.a << c.b;
        EXPECT_EQ(rb, c.rb) << c.a << c.b;
    }
    ERPoint2D ra(7, 7), rb(8, 8);
    EXPECT_EQ(SutherCohen({0, 0}, {1, 1}, ERMinimax2D(), ra, rb), SEGMENT_BOX_EMPTY);
    EXPECT_EQ(ra, ERPoint2D(7, 7));
    EXPECT_EQ(ERMinimax2D().isVisible({0, 0}, {1, 1}), 0);
}

TEST(Clip, NarrowsTheIntervalToTheSampledOne) {
    Random random(35);
    const ERMinimax3D box(-1, 2, 0, 1, 3, 7);
    for (int round = 0; round < 1000; ++round) {
        const ERPoint3D p = random.value<ERPoint3D>(6) + ERPoint3D(0, 0, 3);
        ERVector3D d(p, random.value<ERPoint3D>(6) + ERPoint3D(0, 0, 3));
        if (round % 5 == 0) d[random.below(3)] = 0.0;
        const double from = random.uniform(-2, 1), to = from + random.uniform(0, 3);
        const Sampled inside = sample(box, p, ERPoint3D(d), from, to);
        double t0 = from, t1 = to;
        const gmClipStatus status = box.clip_bounded(p, d, t0, t1);
        double whole0, whole1;
        const bool passes = box.clip(p, d, whole0, whole1);
        if (status == gmClipMissed) {
            EXPECT_LT(inside.last, inside.first);
        } else if (inside.first <= inside.last) {
            EXPECT_NEAR(t0, inside.first, 1e-3);
            EXPECT_NEAR(t1, inside.last, 1e-3);
            EXPECT_TRUE(passes && whole0 <= t0 && t1 <= whole1);
        }
        if (status != gmClipNarrowed) {
            EXPECT_TRUE(t0 == from && t1 == to);
        }
    }
}

TEST(Clip, SpecialBoundsAndParallels) {
    double t0 = 0, t1 = 0;
    const ERMinimax3D box(0, 1, 0, 1, 0, 1);
    const ERVector3D x(1, 0, 0);
    EXPECT_FALSE(box.clip(ERPoint3D(0, 2, 0), x, t0, t1));
    EXPECT_TRUE(t0 == -largest && t1 == largest);
    EXPECT_FALSE(ERMinimax3D().clip(ERPoint3D(), x, t0, t1));
    EXPECT_TRUE(box.clip(ERPoint3D(0, 1, 0), -x, t0, t1)); // along an edge
    EXPECT_TRUE(t0 == -1 && t1 == 0);
    // A slope below the tolerance is parallel, though the line gets there.
    const ERMinimax3D rail(-largest, largest, 0, 1, 0, 1);
    EXPECT_FALSE(rail.clip(ERPoint3D(0, 2, 0), ERVector3D(1, -9e-10, 0), t0, t1));
    EXPECT_TRUE(rail.clip(ERPoint3D(0, 2, 0), ERVector3D(1, -1e-9, 0), t0, t1));
    t0 = 0, t1 = 1;
    EXPECT_EQ(box.clip_bounded(ERPoint3D(), x, t0, t1), gmClipUnchanged); // all of it just fits
    t0 = 1, t1 = 2;
    EXPECT_EQ(box.clip_bounded(ERPoint3D(), x, t0, t1), gmClipNarrowed); // one end touches
    EXPECT_TRUE(t0 == 1 && t1 == 1);
}

} // namespace
