// velm::detail::BoxOperations: the operations that the boxes of the plane and of space share. The
// classes are in box.h.
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

/// The operations of both boxes. A box is empty when its xmin is exactly the largest finite double;
/// no other field is looked at. `Box` has `at(box, n)`, its field by index: the minima of the axes,
/// then the maxima.
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

    /// Extends the box to the point.
    constexpr void Update(const Point& p) {
        Dimension::for_axes([&](int axis) { widen(axis, p[axis], p[axis]); });
    }
    /// Extends the box to the other one; an empty one changes nothing.
    constexpr void Update(const Box& other) {
        if (other.invalid()) return;
        Dimension::for_axes([&](int axis) { widen(axis, other.lower(axis), other.upper(axis)); });
    }
    /// Extends the box to all the points; to the points of poles, not to their weighted
    /// coordinates.
    void Update(const QuickAlgebra::ERVec<Point>& points);
    void Update(const QuickAlgebra::ERVec<Pole>& poles);
    constexpr Box& operator+=(const Point& p) {
        Update(p);
        return self();
    }
    /// A copy extended to the point.
    constexpr Box operator+(const Point& p) const { return Box(self()) += p; }

    /// Moves every border outwards by `distance`, inwards if it is negative. An empty box stays
    /// empty in 3D; in 2D the distance is applied regardless: part of the contract.
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

    /// Whether the point is in the box, borders included.
    constexpr bool contains(const Point& p) const {
        return Dimension::all_axes([&](int axis) { return within(axis, p[axis]); });
    }
    /// Whether the point is in the box, borders excluded.
    constexpr bool stricklyContains(const Point& p) const {
        return Dimension::all_axes(
            [&](int axis) { return p[axis] > lower(axis) && upper(axis) > p[axis]; });
    }
    /// Whether a coordinate is exactly a border's, the others being in their closed ranges. The
    /// coordinate on the border need not be in its own range, so that a box deflated too far still
    /// has borders.
    constexpr bool onBorder(const Point& p) const {
        return !Dimension::all_axes([&](int border) {
            if (p[border] != lower(border) && p[border] != upper(border)) return true;
            return !Dimension::all_axes(
                [&](int axis) { return axis == border || within(axis, p[axis]); });
        });
    }
    /// Whether the infinite line p + s d meets the box. Each face is tested separately: it counts
    /// if d isn't exactly parallel to it and the hit is in its closed range.
    bool intersect(const Point& p, const Vector& d) const;

    /// The corners: in 2D rows of a Z, (xmin, ymin), (xmax, ymin), (xmin, ymax), (xmax, ymax); in
    /// 3D rings, (xmin, ymin), (xmax, ymin), (xmax, ymax), (xmin, ymax) at zmin, then at zmax. The
    /// orders differ: part of the contract.
    QuickAlgebra::ERVec<Point> getVertice() const;

    /// All fields exactly equal.
    friend constexpr bool operator==(const Box& a, const Box& b) {
        return a.MinPoint() == b.MinPoint() && a.MaxPoint() == b.MaxPoint();
    }
    /// The other box is strictly inside this one: RelativePosition is 2.
    constexpr bool operator>>(const Box& other) const {
        return position(self(), other) == BOX_CONTAINS;
    }
    /// This box is inside the other, borders allowed: RelativePosition is 1.
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

    /// RelativePosition(a, b), see box.h.
    static constexpr RELATIVE_BOX_POSITION position(const Box& a, const Box& b) {
        if (Box::tests_emptiness && (a.invalid() || b.invalid())) return BOXES_EMPTY;
        if (a | b) return BOXES_DISJOINT;
        const bool b_strictly_in_a = Dimension::all_axes([&](int axis) {
            return b.lower(axis) > a.lower(axis) && a.upper(axis) > b.upper(axis);
        });
        if (b_strictly_in_a) return BOX_CONTAINS;
        const bool a_in_b = Dimension::all_axes([&](int axis) {
            return b.lower(axis) <= a.lower(axis) && a.upper(axis) <= b.upper(axis);
        });
        return a_in_b ? BOX_INSIDE : BOXES_OVERLAP;
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
