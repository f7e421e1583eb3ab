// velm::closest_point: the nearest points of circles, ellipses and their arcs, with their true
// distances.
#pragma once

#include "velm/export.h"
#include "velm/frame/point.h"
#include "velm/fwd.h"

namespace velm {

/// The nearest point of a curve, its parameter (brought between the limits of an arc) and its
/// distance, never negative.
template <class Point>
struct ClosestPoint {
    Point point;
    double parameter = 0.0;
    double distance = 0.0;
};

/// The nearest point of the whole curve, or of the arc with its ends. If several are equally near,
/// one of them. Nothing is allocated.
///
/// Ellipses use tqkEllipse2. If an arc doesn't contain the nearest point of its ellipse, the other
/// local minimum is looked for inside the evolute, across the big axis from the query, by
/// bisection.
VELM_API ClosestPoint<ERPoint2D> closest_point(const ERCircle2D& circle, const ERPoint2D& p);
VELM_API ClosestPoint<ERPoint2D> closest_point(const ERArc2D& arc, const ERPoint2D& p);
VELM_API ClosestPoint<ERPoint2D> closest_point(const EREllipse2D& ellipse, const ERPoint2D& p);
VELM_API ClosestPoint<ERPoint2D> closest_point(const ERArcEllipse2D& arc, const ERPoint2D& p);
VELM_API ClosestPoint<ERPoint3D> closest_point(const ERCircle3D& circle, const ERPoint3D& p);
VELM_API ClosestPoint<ERPoint3D> closest_point(const ERArc3D& arc, const ERPoint3D& p);
VELM_API ClosestPoint<ERPoint3D> closest_point(const EREllipse3D& ellipse, const ERPoint3D& p);
VELM_API ClosestPoint<ERPoint3D> closest_point(const ERArcEllipse3D& arc, const ERPoint3D& p);

} // namespace velm
