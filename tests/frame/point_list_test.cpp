// Smash against a recursive model, and where it must stop.
#include "velm/frame/point_list.h"

#include "frame/circle_curve.h"
#include "velm/frame/point_functions.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <vector>

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
class PointList : public testing::Test {
public:
    using Point = typename D::Point;
    using List = typename D::PointList;
    using Listed = typename D::ListedPoint;

    void fill(List& list, std::initializer_list<double> parameters) {
        for (double t : parameters)
            list.append(circle(t), t);
    }

    /// The parameters between a and b that refinement inserts, by recursion.
    void model(double a, double b, double tol, std::vector<double>& parameters) {
        double m = (a + b) * 0.5;
        if (b - a <= 1e-7 || height(circle(a), circle(b), circle(m)) <= tol) return;
        model(a, m, tol, parameters);
        parameters.push_back(m);
        model(m, b, tol, parameters);
    }
    static double height(const Point& a, const Point& b, const Point& m) {
        auto along = typename D::Vector(a, b).getnormalized();
        return distance(m, a + along * (typename D::Vector(a, m) * along));
    }
    static std::vector<double> parameters(const List& list) {
        std::vector<double> found;
        for (const Listed& listed : list)
            found.push_back(listed.parameter);
        return found;
    }

    typename D::Circle circle;
};

using Dimensions = testing::Types<InPlane, InSpace>;
TYPED_TEST_SUITE(PointList, Dimensions);

TYPED_TEST(PointList, SmashInsertsWhatTheModelInserts) {
    for (double tol : {1.0, 1e-2, 1e-5}) {
        typename TypeParam::PointList list;
        this->fill(list, {0.0, 1.0, 5.5});
        list.Smash(this->circle, tol);

        std::vector<double> expected{0.0};
        this->model(0.0, 1.0, tol, expected);
        expected.push_back(1.0);
        this->model(1.0, 5.5, tol, expected);
        expected.push_back(5.5);
        EXPECT_EQ(this->parameters(list), expected);
        EXPECT_EQ(list.size(), static_cast<int>(expected.size()));

        auto points = list.toVec();
        ASSERT_EQ(points.size(), list.size());
        for (int i = 0; i < points.size(); ++i)
            EXPECT_EQ(points[i], this->circle(expected[static_cast<std::size_t>(i)]));
    }
}

TYPED_TEST(PointList, SmashEndsAtTheShortestPiece) {
    // A tolerance below 0 accepts no chord: 1e-6 is halved four times.
    typename TypeParam::PointList list;
    this->fill(list, {0.0, 1e-6});
    list.Smash(this->circle, -1.0);
    EXPECT_EQ(list.size(), 17);

    // Neighbours among the doubles, further apart than the shortest piece.
    double t = 4e9;
    typename TypeParam::PointList far;
    this->fill(far, {t, std::nextafter(t, 5e9)});
    far.Smash(this->circle, -1.0);
    EXPECT_EQ(far.size(), 2);

    typename TypeParam::PointList unknown;
    this->fill(unknown, {0.0, std::numeric_limits<double>::quiet_NaN()});
    unknown.Smash(this->circle, 0.0);
    EXPECT_EQ(unknown.size(), 2);
}

} // namespace
