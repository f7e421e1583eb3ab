// ERMinimax2D, ERMinimax3D: axis-parallel boxes, with union, intersection and relative position.
// Clipping of segments and lines against boxes stands in box_clipping.h.
#pragma once

#include "velm/export.h"
#include "velm/frame/dimension.h"
#include "velm/frame/enumerations.h"
#include "velm/frame/point.h"
#include "velm/frame/pole.h"
#include "velm/frame/stored_value.h"
#include "velm/frame/vector.h"
#include "velm/fwd.h"

#include <algorithm>
#include <limits>

namespace velm::detail {

/// What both boxes do. A box is empty when its xmin is the largest finite double, exactly; nothing
/// else is looked at. `Box` offers `at(box, n)`, its field by index: the minima of the axes, then
/// the maxima.
template <class Box, class Dimension>
class VELM_API BoxOperations : public StoredValue<Box> {
public:
    using Point = typename Dimension::Point;
    using Vector = typename Dimension::Vector;
    using Pole = typename Dimension::Pole;

    /// Whether the box is empty.
    constexpr bool invalid() const { return self().xmin == std::numeric_limits<double>::max(); }
    /// Makes the box empty.
    constexpr void Reset() { self() = Box(); }

    /// The least and the greatest value on an axis, by the axis's index.
    constexpr double lower(int axis) const { return Box::at(self(), axis); }
    constexpr double upper(int axis) const { return Box::at(self(), axis + Dimension::size); }

    constexpr Point MinPoint() const {
        return Point::each([this](int axis) { return lower(axis); });
    }
    constexpr Point MaxPoint() const {
        return Point::each([this](int axis) { return upper(axis); });
    }
    constexpr double operator[](typename Dimension::BoxField field) const {
        return Box::at(self(), field);
    }
    constexpr double& operator[](typename Dimension::BoxField field) {
        return Box::at(self(), field);
    }

    /// Takes the point in.
    constexpr void Update(const Point& p) {
        Dimension::for_axes([&](int axis) { widen(axis, p[axis], p[axis]); });
    }
    /// Takes the other box in; an empty one changes nothing.
    constexpr void Update(const Box& other) {
        if (other.invalid()) return;
        Dimension::for_axes([&](int axis) { widen(axis, other.lower(axis), other.upper(axis)); });
    }
    /// Takes all the points in; of poles, the points they stand for.
    void Update(const QuickAlgebra::ERVec<Point>& points);
    void Update(const QuickAlgebra::ERVec<Pole>& poles);
    constexpr Box& operator+=(const Point& p) {
        Update(p);
        return self();
    }
    /// A copy with the point taken in.
    constexpr Box operator+(const Point& p) const { return Box(self()) += p; }

    /// Moves every border outwards by `distance`, inwards if it is negative. An empty box stays
    /// empty in 3D; in 2D the distance is applied regardless: intended.
    constexpr void Inflate(double distance) {
        if (Box::tests_emptiness && invalid()) return;
        Dimension::for_axes([&](int axis) {
            Box::at(self(), axis) -= distance;
            Box::at(self(), axis + Dimension::size) += distance;
        });
    }
    constexpr Box& operator+=(double distance) {
        Inflate(distance);
        return self();
    }
    constexpr Box& operator-=(double distance) {
        Inflate(-distance);
        return self();
    }

    constexpr double xlength() const { return upper(0) - lower(0); }
    constexpr double ylength() const { return upper(1) - lower(1); }

    /// Whether the point lies in the box, borders included.
    constexpr bool contains(const Point& p) const {
        return Dimension::all_axes([&](int axis) { return within(axis, p[axis]); });
    }
    /// Whether the point lies in the box, borders excluded.
    constexpr bool stricklyContains(const Point& p) const {
        return Dimension::all_axes(
            [&](int axis) { return p[axis] > lower(axis) && upper(axis) > p[axis]; });
    }
    /// Whether the point lies on a border exactly.
    constexpr bool onBorder(const Point& p) const {
        const bool apart = Dimension::all_axes(
            [&](int axis) { return p[axis] != lower(axis) && p[axis] != upper(axis); });
        return !apart && contains(p);
    }
    /// Whether the infinite line p + s d meets the box. Each face is tried by itself: it counts if
    /// d isn't exactly parallel to it and the hit lies in its closed range.
    bool intersect(const Point& p, const Vector& d) const;

    /// The corners: in 2D rows of a Z, (xmin, ymin), (xmax, ymin), (xmin, ymax), (xmax, ymax); in
    /// 3D rings, (xmin, ymin), (xmax, ymin), (xmax, ymax), (xmin, ymax) at zmin, then at zmax.
    /// The orders differ, intended.
    QuickAlgebra::ERVec<Point> getVertice() const;

    /// All fields exactly equal.
    friend constexpr bool operator==(const Box& a, const Box& b) {
        return a.MinPoint() == b.MinPoint() && a.MaxPoint() == b.MaxPoint();
    }
    /// The other box lies strictly inside this one: RelativePosition is 2.
    constexpr bool operator>>(const Box& other) const {
        return position(self(), other) == BOX_CONTAINS;
    }
    /// This box lies inside the other, borders allowed: RelativePosition is 1.
    constexpr bool operator<<(const Box& other) const {
        return position(self(), other) == BOX_INSIDE;
    }
    /// RelativePosition is 1 or 3.
    constexpr bool operator<(const Box& other) const {
        const RELATIVE_BOX_POSITION relation = position(self(), other);
        return relation == BOX_INSIDE || relation == BOXES_OVERLAP;
    }
    /// RelativePosition is 2 or 3.
    constexpr bool operator>(const Box& other) const {
        const RELATIVE_BOX_POSITION relation = position(self(), other);
        return relation == BOX_CONTAINS || relation == BOXES_OVERLAP;
    }
    /// Whether the boxes are disjoint; boxes that touch aren't.
    constexpr bool operator|(const Box& other) const {
        return !Dimension::all_axes([&](int axis) {
            return !(lower(axis) > other.upper(axis) || other.lower(axis) > upper(axis));
        });
    }

    /// RelativePosition(a, b), see below.
    static constexpr RELATIVE_BOX_POSITION position(const Box& a, const Box& b) {
        if (Box::tests_emptiness && (a.invalid() || b.invalid())) return BOXES_EMPTY;
        if (a | b) return BOXES_DISJOINT;
        int ends_inside = 0;
        Dimension::for_axes([&](int axis) {
            ends_inside += b.lower(axis) > a.lower(axis) ? 1 : 0;
            ends_inside += a.upper(axis) > b.upper(axis) ? 1 : 0;
        });
        if (ends_inside == 2 * Dimension::size) return BOX_CONTAINS;
        return ends_inside == 0 ? BOX_INSIDE : BOXES_OVERLAP;
    }

protected:
    /// Sets the box to the span of two points.
    constexpr void span(const Point& p, const Point& q) {
        Dimension::for_axes([&](int axis) {
            Box::at(self(), axis) = std::min(p[axis], q[axis]);
            Box::at(self(), axis + Dimension::size) = std::max(p[axis], q[axis]);
        });
    }
    constexpr bool within(int axis, double value) const {
        return value >= lower(axis) && upper(axis) >= value;
    }

private:
    constexpr void widen(int axis, double low, double high) {
        double& least = Box::at(self(), axis);
        double& greatest = Box::at(self(), axis + Dimension::size);
        least = std::min(least, low);
        greatest = std::max(greatest, high);
    }
    constexpr Box& self() { return static_cast<Box&>(*this); }
    constexpr const Box& self() const { return static_cast<const Box&>(*this); }
};

inline constexpr double box_empty_minimum = std::numeric_limits<double>::max();
inline constexpr double box_empty_maximum = std::numeric_limits<double>::lowest();

} // namespace velm::detail

/// An axis-parallel box of the plane. Mind the arguments' order, which isn't that of the fields.
class VELM_API ERMinimax2D : public velm::detail::BoxOperations<ERMinimax2D, velm::Plane> {
public:
    /// Inflate, intersect and RelativePosition of the plane don't look for empty boxes: intended.
    static constexpr bool tests_emptiness = false;

    /// An empty box.
    constexpr ERMinimax2D() = default;
    constexpr ERMinimax2D(double x_min, double x_max, double y_min, double y_max)
        : xmin(x_min), ymin(y_min), xmax(x_max), ymax(y_max) {}
    /// The box that two points span, in any order.
    constexpr ERMinimax2D(const ERPoint2D& p, const ERPoint2D& q) { span(p, q); }
    ERMinimax2D(const QuickAlgebra::ERVec<ERPoint2D>& points) { Update(points); }
    ERMinimax2D(const QuickAlgebra::ERVec<ERPole2DH>& poles) { Update(poles); }

    constexpr void Garnir(double x_min, double x_max, double y_min, double y_max) {
        *this = ERMinimax2D(x_min, x_max, y_min, y_max);
    }
    /// The length of the diagonal.
    double DiametreBoule() const { return ERVector2D(MinPoint(), MaxPoint()).norme(); }
    /// Whether the segment from a to b meets the box, by SutherCohen (see box_clipping.h); 0 for an
    /// empty box.
    int isVisible(const ERPoint2D& a, const ERPoint2D& b) const;

    /// How the segment from a to b lies to the box, by SutherCohen.
    ER_MINMAX_POSITION_SEGMENT positionRelative(const ERPoint2D& a, const ERPoint2D& b) const;
    /// How a closed polygon lies to the box. Defined in planar/box_and_polygon.cpp.
    ER_MINMAX_POSITION_POLYGONE positionRelative(const ERPoint2D* polygon, int count) const;
    /// The same; a last vertex that repeats the first is left out.
    ER_MINMAX_POSITION_POLYGONE
    positionRelative(const QuickAlgebra::ERVec<ERPoint2D>& polygon) const;

    /// The field by its index; for an index out of range the last.
    static constexpr double& at(ERMinimax2D& box, int n) { return box.*field(n); }
    static constexpr double at(const ERMinimax2D& box, int n) { return box.*field(n); }
    static constexpr double ERMinimax2D::*field(int n) {
        return n == 0   ? &ERMinimax2D::xmin
               : n == 1 ? &ERMinimax2D::ymin
               : n == 2 ? &ERMinimax2D::xmax
                        : &ERMinimax2D::ymax;
    }

    double xmin = velm::detail::box_empty_minimum;
    double ymin = velm::detail::box_empty_minimum;
    double xmax = velm::detail::box_empty_maximum;
    double ymax = velm::detail::box_empty_maximum;
};

/// An axis-parallel box of space. Mind the arguments' order, which isn't that of the fields.
class VELM_API ERMinimax3D : public velm::detail::BoxOperations<ERMinimax3D, velm::Space> {
public:
    static constexpr bool tests_emptiness = true;

    /// An empty box.
    constexpr ERMinimax3D() = default;
    constexpr ERMinimax3D(double x_min, double x_max, double y_min, double y_max, double z_min,
                          double z_max)
        : xmin(x_min), ymin(y_min), zmin(z_min), xmax(x_max), ymax(y_max), zmax(z_max) {}
    /// The box that two points span, in any order.
    constexpr ERMinimax3D(const ERPoint3D& p, const ERPoint3D& q) { span(p, q); }
    ERMinimax3D(const QuickAlgebra::ERVec<ERPoint3D>& points) { Update(points); }
    ERMinimax3D(const QuickAlgebra::ERVec<ERPole3DH>& poles) { Update(poles); }

    constexpr void Garnir(double x_min, double x_max, double y_min, double y_max, double z_min,
                          double z_max) {
        *this = ERMinimax3D(x_min, x_max, y_min, y_max, z_min, z_max);
    }
    constexpr double zlength() const { return zmax - zmin; }
    /// The length on an axis; 0.0 for an axis out of range.
    constexpr double length(Coord3D axis) const {
        return axis >= Coord3D_X && axis <= Coord3D_Z ? upper(axis) - lower(axis) : 0.0;
    }
    constexpr ERPoint3D center_point() const { return (MinPoint() + MaxPoint()) * 0.5; }
    /// The length of the diagonal.
    double diagonal() const { return ERVector3D(MinPoint(), MaxPoint()).norme(); }

    /// Clips the line p + t d on the interval [t0, t1], slab by slab. The interval is narrowed only
    /// when the result is gmClipNarrowed. A bound that is the largest finite double or its negative
    /// stands for infinity; a slope below 1e-9 counts as parallel.
    gmClipStatus clip_bounded(const ERPoint3D& p, const ERVector3D& d, double& t0,
                              double& t1) const;
    /// The same from the whole line: t0 and t1 start at the most negative and the largest double,
    /// and stay there when the line misses or nothing bounds it. Returns whether the line passes.
    bool clip(const ERPoint3D& p, const ERVector3D& d, double& t0, double& t1) const;

    /// The field by its index; for an index out of range the last.
    static constexpr double& at(ERMinimax3D& box, int n) { return box.*field(n); }
    static constexpr double at(const ERMinimax3D& box, int n) { return box.*field(n); }
    static constexpr double ERMinimax3D::*field(int n) {
        return n == 0   ? &ERMinimax3D::xmin
               : n == 1 ? &ERMinimax3D::ymin
               : n == 2 ? &ERMinimax3D::zmin
               : n == 3 ? &ERMinimax3D::xmax
               : n == 4 ? &ERMinimax3D::ymax
                        : &ERMinimax3D::zmax;
    }

    double xmin = velm::detail::box_empty_minimum;
    double ymin = velm::detail::box_empty_minimum;
    double zmin = velm::detail::box_empty_minimum;
    double xmax = velm::detail::box_empty_maximum;
    double ymax = velm::detail::box_empty_maximum;
    double zmax = velm::detail::box_empty_maximum;
};

/// How box a lies to box b: 0 disjoint, 2 b strictly inside a, 1 a inside b (borders allowed, so
/// also for equal boxes), 3 otherwise. The 3D form gives 4 if a or b is empty; the 2D form doesn't
/// look for that, and an empty box is disjoint from every other: intended.
constexpr RELATIVE_BOX_POSITION RelativePosition(const ERMinimax2D& a, const ERMinimax2D& b) {
    return ERMinimax2D::position(a, b);
}
constexpr RELATIVE_BOX_POSITION RelativePosition(const ERMinimax3D& a, const ERMinimax3D& b) {
    return ERMinimax3D::position(a, b);
}

/// The least box that holds both.
VELM_API ERMinimax2D Union(const ERMinimax2D& a, const ERMinimax2D& b);
VELM_API ERMinimax3D Union(const ERMinimax3D& a, const ERMinimax3D& b);

/// What a and b share. Empty when a's minimum lies on b's maximum on some axis, flat when they
/// touch the other way round: intended.
VELM_API ERMinimax2D intersection(const ERMinimax2D& a, const ERMinimax2D& b);
VELM_API ERMinimax3D intersection(const ERMinimax3D& a, const ERMinimax3D& b);

/// The sum of the squared coordinates of the point of the box that is nearest to p (farthest from
/// p, axis by axis): its squared distance from the origin, not from p. Intended; for distances from
/// p see velm::squared_distance. 0.0 for an empty box.
VELM_API double minimumSquaredDistance(const ERMinimax2D& box, const ERPoint2D& p);
VELM_API double minimumSquaredDistance(const ERMinimax3D& box, const ERPoint3D& p);
VELM_API double maximumSquaredDistance(const ERMinimax2D& box, const ERPoint2D& p);
VELM_API double maximumSquaredDistance(const ERMinimax3D& box, const ERPoint3D& p);

namespace velm {

/// The squared distance from p to the nearest point of the box, 0 inside; infinite for an empty
/// box.
VELM_API double squared_distance(const ERMinimax2D& box, const ERPoint2D& p);
VELM_API double squared_distance(const ERMinimax3D& box, const ERPoint3D& p);
/// The squared distance from p to the farthest corner of the box; 0 for an empty box.
VELM_API double farthest_squared_distance(const ERMinimax2D& box, const ERPoint2D& p);
VELM_API double farthest_squared_distance(const ERMinimax3D& box, const ERPoint3D& p);

} // namespace velm
