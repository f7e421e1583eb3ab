// ERMinimax2D, ERMinimax3D: axis-parallel boxes, with union, intersection and relative position.
// The operations that both classes share are declared in box_operations.h; clipping of segments and
// lines is in box_clipping.h.
#pragma once

#include "velm/export.h"
#include "velm/frame/box_operations.h"
#include "velm/frame/point.h"
#include "velm/frame/pole.h"
#include "velm/frame/vector.h"
#include "velm/fwd.h"

/// An axis-parallel box of the plane. Note the order of the arguments, which isn't that of the
/// fields.
class VELM_API ERMinimax2D : public velm::detail::BoxOperations<ERMinimax2D, velm::Plane> {
public:
    /// Inflate, intersect and RelativePosition of the plane don't check for empty boxes: part of
    /// the contract.
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

    /// The position of the segment from a to b relative to the box, by SutherCohen.
    ER_MINMAX_POSITION_SEGMENT positionRelative(const ERPoint2D& a, const ERPoint2D& b) const;
    /// The position of a closed polygon relative to the box. Defined in planar/box_and_polygon.cpp.
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

/// An axis-parallel box of space. Note the order of the arguments, which isn't that of the fields.
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
    /// means infinity; a slope below 1e-9 counts as parallel.
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

/// The position of box a relative to box b: 0 disjoint, 2 b strictly inside a, 1 a inside b
/// (borders allowed, so also for equal boxes), 3 otherwise. The 3D form gives 4 if a or b is empty;
/// the 2D form doesn't check for that, and an empty box is disjoint from every other: part of the
/// contract.
constexpr RELATIVE_BOX_POSITION RelativePosition(const ERMinimax2D& a, const ERMinimax2D& b) {
    return ERMinimax2D::position(a, b);
}
constexpr RELATIVE_BOX_POSITION RelativePosition(const ERMinimax3D& a, const ERMinimax3D& b) {
    return ERMinimax3D::position(a, b);
}

/// The smallest box that contains both.
VELM_API ERMinimax2D Union(const ERMinimax2D& a, const ERMinimax2D& b);
VELM_API ERMinimax3D Union(const ERMinimax3D& a, const ERMinimax3D& b);

/// The intersection of a and b. Empty if a's minimum is b's maximum on some axis, flat if they
/// touch the other way round: part of the contract.
VELM_API ERMinimax2D intersection(const ERMinimax2D& a, const ERMinimax2D& b);
VELM_API ERMinimax3D intersection(const ERMinimax3D& a, const ERMinimax3D& b);

/// The sum of the squared coordinates of the point of the box that is nearest to p (farthest from
/// p, axis by axis): its squared distance from the origin, not from p, as the contract has it; for
/// distances from p see velm::squared_distance. 0.0 for an empty box.
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
