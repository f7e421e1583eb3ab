// tqkEllipse2, tqkCurvePoint2, tqkCurvePointList2: the nearest points of an ellipse, with the names
// of a host's kernel library. Defined in wireframe/ellipse_kernel.cpp; a host that has the real
// kernel swaps this header.
#pragma once

#include "velm/export.h"

/// A point of a curve of the plane with its parameter.
struct VELM_API tqkCurvePoint2 {
    double x = 0.0;
    double y = 0.0;
    double parameter = 0.0;
};

/// The points found by a query: at most two, kept in place.
class VELM_API tqkCurvePointList2 {
public:
    int size() const { return count_; }
    const tqkCurvePoint2& operator[](int n) const { return points_[n]; }
    const tqkCurvePoint2* begin() const { return points_; }
    const tqkCurvePoint2* end() const { return points_ + count_; }

    void clear() { count_ = 0; }
    /// Adds a point; a third one is dropped.
    void append(const tqkCurvePoint2& point) {
        if (count_ < capacity) points_[count_++] = point;
    }

private:
    static constexpr int capacity = 2;
    tqkCurvePoint2 points_[capacity];
    int count_ = 0;
};

/// The ellipse (half_x cos t, half_y sin t). Either half axis may be the longer one; one that is 0
/// makes it a segment, both a point.
class VELM_API tqkEllipse2 {
public:
    /// The result of global_closest_point. The values are fixed; 2, 3 and 4 are answers.
    enum status {
        closest_invalid = 0, ///< the query has a NaN or an infinity: no points
        closest_unique = 2,
        closest_two = 3, ///< two points are equally near, the one with the greater y (x) first
        closest_everywhere = 4 ///< the centre of a circle: the point of parameter 0 represents all
    };

    tqkEllipse2(double half_x, double half_y) : half_x_(half_x), half_y_(half_y) {}

    /// The points of the ellipse nearest to (x, y), with their parameters in (-pi, pi].
    ///
    /// Each coordinate is right to a few units in its last place for every query and shape, the
    /// centre, the axes, the evolute and its cusps included, as long as the products of the
    /// lengths, taken against the largest of them, do not underflow. The Lagrange multiplier is
    /// measured from its pole on the shorter axis, so that points near the longer axis keep their
    /// digits; the one difference that cancels, next to the cusps, is formed in doubled precision
    /// (Dekker 1971). Newton's iteration on the reciprocal norm of the secular equation (More and
    /// Sorensen 1983) starts below the root by a factor of at most 2 sqrt(2) and rises
    /// monotonically; millions of random and contrived queries took at most seven steps. Nothing is
    /// allocated.
    status global_closest_point(double x, double y, tqkCurvePointList2& points) const;

private:
    double half_x_;
    double half_y_;
};
