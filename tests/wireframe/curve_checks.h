// Checks that hold for every arc of the plane and of space: its box, its nearest points, its
// derivatives, its parts and its images.
#pragma once

#include "support/geometry.h"
#include "velm/frame/finite_entity.h"
#include "velm/wireframe/closest_point.h"

namespace velm_test {

inline constexpr double pi = std::numbers::pi;

template <class Curve>
using DimensionOf =
    std::conditional_t<std::is_base_of_v<ERFiniteEntity2DWF, Curve>, velm::Plane, velm::Space>;

/// The box holds all samples and none of its sides is farther out than they reach.
template <class Curve>
void expect_tight_box(Curve& curve) {
    using Box = typename DimensionOf<Curve>::Box;
    const ERLimites bound = curve.getBound();
    Box sampled;
    for (int n = 0; n <= 4000; ++n)
        sampled.Update(curve(bound(n / 4000.0)));
    const Box box = curve.getBox();
    EXPECT_TRUE(isEqual(box.MinPoint(), sampled.MinPoint(), 1e-5));
    EXPECT_TRUE(isEqual(box.MaxPoint(), sampled.MaxPoint(), 1e-5));
    sampled.Inflate(-1e-12);
    EXPECT_EQ(Union(box, sampled), box);
}

template <class Curve, class Point>
velm::ClosestPoint<Point> expect_closest(Curve& curve, const Point& p) {
    const velm::ClosestPoint<Point> found = velm::closest_point(curve, p);
    const ERLimites bound = curve.getBound();
    EXPECT_TRUE(bound.inBound(found.parameter));
    EXPECT_TRUE(isEqual(curve(found.parameter), found.point, 1e-12));
    EXPECT_NEAR(distance(found.point, p), found.distance, 1e-12);
    double least = HUGE_VAL;
    for (int n = 0; n <= 200; ++n)
        least = std::min(least, distance(curve(bound(n / 200.0)), p));
    EXPECT_LE(found.distance, least + 1e-12);
    return found;
}

/// At t, by differences; and the two parts that it is split into there.
template <class Curve>
void expect_derivatives_and_parts(Curve& curve, double t) {
    using D = DimensionOf<Curve>;
    using Vector = typename D::Vector;
    const double h = 1e-5, wide = 1e-4;
    const auto info = curve.PtCur(t);
    EXPECT_TRUE(isEqual(info.point(), curve(t), 1e-13));
    EXPECT_TRUE(isEqual(info.tangente(), Vector(curve(t - h), curve(t + h)) * (0.5 / h), 1e-8));
    const Vector bend((curve(t + wide) + curve(t - wide) - curve(t) * 2.0) / (wide * wide));
    EXPECT_TRUE(isEqual(info.second_derivative(), bend, 1e-4));

    t_SmartPtr<typename D::FiniteEntity> first, second;
    ASSERT_EQ(curve.splitAt(first, second, t), 1);
    EXPECT_TRUE(isEqual(first->firstPt(), curve.firstPt(), 1e-9));
    EXPECT_TRUE(isEqual(first->lastPt(), curve(t), 1e-9));
    EXPECT_TRUE(isEqual(second->firstPt(), curve(t), 1e-9));
    EXPECT_TRUE(isEqual(second->lastPt(), curve.lastPt(), 1e-9));
    EXPECT_NEAR(first->arcLength(0) + second->arcLength(0), curve.arcLength(0), 1e-8);

    // Turning the sense round leaves the points in place.
    Curve reversed(curve);
    reversed.reverse();
    EXPECT_TRUE(isEqual(reversed.firstPt(), curve.lastPt(), 1e-13));
    EXPECT_EQ(reversed.getBound(), curve.getBound());
}

/// A random map of the plane, a mirror in every other case, takes the points onto the image,
/// scales the length and keeps the sense.
template <class Curve>
void expect_image(const Curve& curve, Random& draw) {
    ERTransfo2D map = ERTransfo2D(draw.value<ERVector2D>(1), draw.value<ERPoint2D>(9)) *
                      ERTransfo2D::Scaling(draw.uniform(0.5, 2));
    if (draw.below(2)) map = map * ERTransfo2D(draw.below(2) ? Coord2D_X : Coord2D_Y);
    Curve image(curve), original(curve);
    image.transformFrom(map);
    EXPECT_NEAR(image.arcLength(0), original.arcLength(0) * map.factHomo(), 1e-9);
    EXPECT_EQ(image.isDirect(), original.isDirect());
    const ERLimites bound = original.getBound();
    for (int n = 0; n <= 10; ++n) {
        const ERPoint2D p = map.TransFrom(original(bound(n / 10.0)));
        EXPECT_NEAR(velm::closest_point(image, p).distance, 0.0, 1e-9);
    }
    if (!map.isDirect()) return; // a mirror has no way back
    image.transformTo(map);
    EXPECT_TRUE(isEqual(image.firstPt(), original.firstPt(), 1e-9));
    EXPECT_TRUE(isEqual(image.lastPt(), original.lastPt(), 1e-9));
}

} // namespace velm_test
