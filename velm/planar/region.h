// ERRegion2D: a domain of the plane bounded by closed polygons. PosContours; _Intersect and
// ERDebugIntersect, a look at the clipping of a polyline.
#pragma once

#include "velm/export.h"
#include "velm/frame/box.h"
#include "velm/frame/enumerations.h"
#include "velm/frame/memory_pool.h"
#include "velm/frame/object.h"
#include "velm/frame/point.h"
#include "velm/frame/val_vector.h"
#include "velm/frame/vec.h"
#include "velm/planar/point_in_polygon.h"

#include <atomic>
#include <iosfwd>
#include <memory>
#include <vector>

class ERGrid2D;
namespace velm::detail {
class RegionIndex;
struct RegionContours;
} // namespace velm::detail

/// Where a point lies against a region. The values are fixed.
enum PosContours {
    REGION_INSIDE = 0,
    REGION_OUTSIDE = 1,
    REGION_ON_EDGE = 2,
    REGION_ON_VERTEX = 3,
};

/// A stop on the way along a polyline: a point of it or a crossing with a contour. The parameter
/// counts the polyline's different points, 0, 1, 2, ..., with fractions between them.
class _Intersect : public ERMemoryPool {
public:
    _Intersect(const ERPoint2D& p, double t, PosContours where, int which)
        : point(p), parameter(t), position(where), contour(which) {}

    /// By the parameter alone.
    bool operator<(const _Intersect& other) const { return parameter < other.parameter; }

    ERPoint2D point;
    double parameter;
    PosContours position;
    int contour;
};

/// Is shown the stops of a polyline in order, before the pieces are made.
class VELM_API ERDebugIntersect {
public:
    virtual ~ERDebugIntersect() = default;
    virtual void onIntersect(_Intersect const* stop) = 0;
};

/// The domain within the first contour, if that is the outer one, and outside all others, which are
/// holes; without an outer contour it reaches to infinity. Contours are simple polygons of either
/// orientation, whose last vertex may repeat the first; a contour that crosses itself counts by the
/// parity of `Inside`.
///
/// Once its contours are added, several threads may ask one region: answers keep all their state in
/// the call. After some questions the region makes an index for itself that changes no answer;
/// `Add` and `CleanUpTemporaries` give it back.
///
/// A copy and its source share their contours, intended: what is added to one of them at an index
/// replaces what the other has there. A region is not stored.
class VELM_API ERRegion2D : public ERObject {
    VELM_DECLARE_CLASS(ERRegion2D)

public:
    /// Without contours; `capacity` tells how many to expect.
    ERRegion2D(int capacity, int firstOuter);
    ERRegion2D(const ERRegion2D& other);
    ERRegion2D& operator=(const ERRegion2D& other);
    ~ERRegion2D() override;

    /// Takes the contour in, by reference count.
    void Add(ERVec<ERPoint2D> const& contour);
    /// 0 <= i < entries().
    ERVec<ERPoint2D> const& Contour(int i) const;
    int entries() const { return added; }
    int IsFirstOuter() const { return firstOuter; }
    /// The box of contour 0, empty without contours.
    ERMinimax2D getBox() const;

    /// Where p lies, and the index of the contour that decided: the outer one where p lies outside
    /// or on it, the first hole that p lies in or on, else the last contour. Without contours the
    /// plane is inside, and `contour` is left alone.
    PosContours CheckPoint(ERPoint2D const& p, int& contour) const;
    /// BOX_INSIDE_POLYGONE for a box in the domain, POLYGONE_DISJOINT for one outside of it,
    /// POLYGONE_CROSSES_BOX for one that a contour crosses, POLYGONE_INSIDE_BOX for one that holds
    /// the outer contour. Intended: in a region of holes alone a box in the domain counts as
    /// crossed, and without contours every box as POLYGONE_INSIDE_BOX.
    ER_MINMAX_POSITION_POLYGONE IsInDomain(ERMinimax2D const& box) const;

    /// Appends the pieces of the polyline that lie in the region to `result`, in order. Points that
    /// repeat the one before are dropped; a piece begins and ends in a point of the polyline or in
    /// a crossing, and may hold the same place twice where a crossing lies on a point. Without
    /// contours the whole polyline is one piece.
    ///
    /// Between two stops on contours the middle decides. Intended: on an edge it counts as inside,
    /// on a vertex as outside; and only at the very first stop the position of the next one is
    /// looked at first. A crossing counts from parameter 0 to 1 of its segment, without tolerance.
    void Intersect(ERVec<ERPoint2D> const& polyline, ERTValVector<ERVec<ERPoint2D>>& result,
                   ERDebugIntersect* debug = nullptr) const;
    /// The same for a polyline that may run along a contour. Where the polyline moved sideways by
    /// `snap` (see OffsetPolyline), to one side or the other, leaves pieces that are together
    /// longer than all of `result` by more than ten times snap, those replace `result`. Intended:
    /// they stay where they were moved to.
    void IntersectWithSnap(ERVec<ERPoint2D> const& polyline, ERTValVector<ERVec<ERPoint2D>>& result,
                           double snap) const;

    void printOn(std::ostream& out) const override;
    /// Null, intended.
    ERObject* getCopy() const override;
    /// Gives the index back; not while another thread asks.
    void CleanUpTemporaries(int level) override;

protected:
    /// A raster that a derived class may keep with the region; null here.
    std::shared_ptr<ERGrid2D> grid;

private:
    const velm::detail::RegionIndex* index(int questions) const;
    const velm::detail::RegionIndex* make_index(int questions) const;
    relpos position(int contour, const ERPoint2D& p, const velm::detail::RegionIndex* index) const;
    PosContours position(const ERPoint2D& p, int& contour,
                         const velm::detail::RegionIndex* index) const;
    PosContours position_by_contours(const ERPoint2D& p, int& contour,
                                     const velm::detail::RegionIndex* index) const;
    ER_MINMAX_POSITION_POLYGONE position(int contour, const ERMinimax2D& box,
                                         const velm::detail::RegionIndex* index) const;
    void append_crossings(const _Intersect& from, const _Intersect& to,
                          const velm::detail::RegionIndex* index,
                          std::vector<_Intersect>& stops) const;
    std::vector<_Intersect> stops_of(const ERVec<ERPoint2D>& polyline,
                                     const velm::detail::RegionIndex* index) const;
    void drop_index();

    std::shared_ptr<velm::detail::RegionContours> contours;
    int firstOuter;
    int added = 0;
    int capacity;
    mutable std::atomic<const velm::detail::RegionIndex*> index_{nullptr};
    mutable std::atomic<int> questions_{0}; // before there is an index
};
