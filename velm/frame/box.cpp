#include "velm/frame/box.h"

#include "velm/frame/vec.h"

namespace velm::detail {

template <class Box, class Dimension>
void BoxOperations<Box, Dimension>::Update(const ERVec<Point>& points) {
    for (const Point& p : points)
        Update(p);
}

template <class Box, class Dimension>
void BoxOperations<Box, Dimension>::Update(const ERVec<Pole>& poles) {
    for (const Pole& pole : poles)
        Update(pole.castToPoint());
}

template <class Box, class Dimension>
bool BoxOperations<Box, Dimension>::intersect(const Point& p, const Vector& d) const {
    if (Box::tests_emptiness && invalid()) return false;
    const auto hits_face = [&](int across, double face) {
        const double s = (face - p[across]) / d[across];
        return Dimension::all_axes(
            [&](int axis) { return axis == across || within(axis, p[axis] + s * d[axis]); });
    };
    return !Dimension::all_axes([&](int axis) {
        return d[axis] == 0.0 || (!hits_face(axis, lower(axis)) && !hits_face(axis, upper(axis)));
    });
}

template <class Box, class Dimension>
ERVec<typename Dimension::Point> BoxOperations<Box, Dimension>::getVertice() const {
    const Box& b = self();
    if constexpr (Dimension::size == 2) {
        return {{b.xmin, b.ymin}, {b.xmax, b.ymin}, {b.xmin, b.ymax}, {b.xmax, b.ymax}};
    } else {
        return {{b.xmin, b.ymin, b.zmin}, {b.xmax, b.ymin, b.zmin}, {b.xmax, b.ymax, b.zmin},
                {b.xmin, b.ymax, b.zmin}, {b.xmin, b.ymin, b.zmax}, {b.xmax, b.ymin, b.zmax},
                {b.xmax, b.ymax, b.zmax}, {b.xmin, b.ymax, b.zmax}};
    }
}

template class BoxOperations<ERMinimax2D, Plane>;
template class BoxOperations<ERMinimax3D, Space>;

namespace {

struct Range {
    double low, high;
};

// The box with the ranges `limits(axis)`.
template <class Dimension, class Limits>
typename Dimension::Box box_of_limits(Limits limits) {
    typename Dimension::Box box;
    Dimension::for_axes([&](int axis) {
        const auto [low, high] = limits(axis);
        Dimension::Box::at(box, axis) = low;
        Dimension::Box::at(box, axis + Dimension::size) = high;
    });
    return box;
}

template <class Dimension, class Box>
Box united(const Box& a, const Box& b) {
    if (a.invalid() && b.invalid()) return Box();
    return box_of_limits<Dimension>([&](int axis) {
        return Range{std::min(a.lower(axis), b.lower(axis)),
                     std::max(a.upper(axis), b.upper(axis))};
    });
}

template <class Dimension, class Box>
Box shared(const Box& a, const Box& b) {
    if (a.invalid() || b.invalid()) return Box();
    // >= on one side and > on the other: part of the contract.
    const bool meet = Dimension::all_axes([&](int axis) {
        return !(a.lower(axis) >= b.upper(axis) || b.lower(axis) > a.upper(axis));
    });
    if (!meet) return Box();
    return box_of_limits<Dimension>([&](int axis) {
        return Range{std::max(a.lower(axis), b.lower(axis)),
                     std::min(a.upper(axis), b.upper(axis))};
    });
}

// p clamped into the range.
double nearest(double low, double high, double p) { return low >= p ? low : std::min(high, p); }
double farthest(double low, double high, double p) { return 2.0 * p >= low + high ? low : high; }

// The sum over the axes of the squared distance from `origin` to the coordinate that `choose`
// picks for p.
template <class Dimension, class Point>
double squared_sum(const typename Dimension::Box& box, const Point& p, const Point& origin,
                   double (*choose)(double, double, double)) {
    double sum = 0.0;
    Dimension::for_axes([&](int axis) {
        const double c = choose(box.lower(axis), box.upper(axis), p[axis]) - origin[axis];
        sum += c * c;
    });
    return sum;
}

} // namespace

} // namespace velm::detail

using namespace velm::detail;
using velm::Plane;
using velm::Space;

ERMinimax2D Union(const ERMinimax2D& a, const ERMinimax2D& b) { return united<Plane>(a, b); }
ERMinimax3D Union(const ERMinimax3D& a, const ERMinimax3D& b) { return united<Space>(a, b); }

ERMinimax2D intersection(const ERMinimax2D& a, const ERMinimax2D& b) { return shared<Plane>(a, b); }
ERMinimax3D intersection(const ERMinimax3D& a, const ERMinimax3D& b) { return shared<Space>(a, b); }

double minimumSquaredDistance(const ERMinimax2D& box, const ERPoint2D& p) {
    return box.invalid() ? 0.0 : squared_sum<Plane>(box, p, ERPoint2D(), nearest);
}
double minimumSquaredDistance(const ERMinimax3D& box, const ERPoint3D& p) {
    return box.invalid() ? 0.0 : squared_sum<Space>(box, p, ERPoint3D(), nearest);
}
double maximumSquaredDistance(const ERMinimax2D& box, const ERPoint2D& p) {
    return box.invalid() ? 0.0 : squared_sum<Plane>(box, p, ERPoint2D(), farthest);
}
double maximumSquaredDistance(const ERMinimax3D& box, const ERPoint3D& p) {
    return box.invalid() ? 0.0 : squared_sum<Space>(box, p, ERPoint3D(), farthest);
}

namespace velm {

double squared_distance(const ERMinimax2D& box, const ERPoint2D& p) {
    constexpr double infinity = std::numeric_limits<double>::infinity();
    return box.invalid() ? infinity : squared_sum<Plane>(box, p, p, nearest);
}
double squared_distance(const ERMinimax3D& box, const ERPoint3D& p) {
    constexpr double infinity = std::numeric_limits<double>::infinity();
    return box.invalid() ? infinity : squared_sum<Space>(box, p, p, nearest);
}
double farthest_squared_distance(const ERMinimax2D& box, const ERPoint2D& p) {
    return box.invalid() ? 0.0 : squared_sum<Plane>(box, p, p, farthest);
}
double farthest_squared_distance(const ERMinimax3D& box, const ERPoint3D& p) {
    return box.invalid() ? 0.0 : squared_sum<Space>(box, p, p, farthest);
}

} // namespace velm
