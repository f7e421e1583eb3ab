// ERPoint12, ERPoint13: a point with its parameter on a curve. ERPoint12List, ERPoint13List: lists
// of them, refined by Smash until their polyline follows the curve.
#pragma once

#include "velm/frame/dimension.h"
#include "velm/frame/point.h"
#include "velm/frame/pooled_list.h"
#include "velm/frame/vec.h"

/// A point of the plane with its parameter on a curve.
class VELM_API ERPoint12 {
public:
    ERPoint2D point;
    double parameter = 0.0;
};

/// A point of space with its parameter on a curve.
class VELM_API ERPoint13 {
public:
    ERPoint3D point;
    double parameter = 0.0;
};

namespace velm::detail {

/// The list of either dimension.
template <class D>
class VELM_API CurvePointList : public PooledList<typename D::ListedPoint> {
public:
    using Point = typename D::Point;

    /// Adds a point at the end.
    void append(const Point& point, double parameter);

    /// The points, in order.
    ERVec<Point> toVec() const;

    /// Inserts points of `curve` at parameter midpoints until the middle of each piece is within
    /// tol of its chord, depth first from the left. A chord is judged by that one sample; pieces of
    /// a parameter length up to 1e-7 are not split. A height within the rounding of the coordinates
    /// counts as none, so that a straight piece stays whole with any tol from 0 on.
    void Smash(const typename D::FiniteEntity& curve, double tol);
};

} // namespace velm::detail

/// Points of a curve in the plane.
class VELM_API ERPoint12List : public velm::detail::CurvePointList<velm::Plane> {};

/// Points of a curve in space.
class VELM_API ERPoint13List : public velm::detail::CurvePointList<velm::Space> {};

extern template class velm::detail::CurvePointList<velm::Plane>;
extern template class velm::detail::CurvePointList<velm::Space>;
