// ERRegion2D: a domain of the plane bounded by closed polygons. PosContours; _Intersect and
// ERDebugIntersect, for watching how a polyline is clipped.
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

/// The position of a point relative to a region. The values are fixed.
enum PosContours {
    REGION_INSIDE = 0,
    REGION_OUTSIDE = 1,
    REGION_ON_EDGE = 2,
    REGION_ON_VERTEX = 3,
};

/// A stop along a polyline: one of its points or a crossing with a contour. The parameter counts
/// the polyline's distinct points, 0, 1, 2, ..., with fractions between them.
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

/// Receives the stops of a polyline in order, before the pieces are made.
class VELM_API ERDebugIntersect {
public:
    virtual ~ERDebugIntersect() = default;
    virtual void onIntersect(_Intersect const* stop) = 0;
};

/// The domain within the first contour, if that is the outer one, and outside all others, which are
/// holes; without an outer contour it reaches to infinity. Contours are simple polygons of either
/// orientation, whose last vertex may repeat the first; of a contour that crosses itself the parity
/// of `Inside` gives the interior.
///
/// Once its contours are added, several threads may query one region: a query keeps all its state
/// in the call. After some queries the region builds an index, which changes no answer; `Add` and
/// `CleanUpTemporaries` drop it.
///
/// A copy and its source share their contours, which is part of the contract: a contour added to
/// one of them at an index replaces the other's contour there. A region is not stored.
class VELM_API ERRegion2D : public ERObject {
    VELM_DECLARE_CLASS(ERRegion2D)

public:
    /// No contours yet; `capacity` is the number to expect.
    ERRegion2D(int capacity, int firstOuter);
    ERRegion2D(const ERRegion2D& other);
    ERRegion2D& operator=(const ERRegion2D& other);
    ~ERRegion2D() override;

    /// Adds the contour; its array is shared, not copied.
    void Add(ERVec<ERPoint2D> const& contour);
    /// 0 <= i < entries().
    ERVec<ERPoint2D> const& Contour(int i) const;
    int entries() const { return added_; }
    int IsFirstOuter() const { return first_outer_; }
    /// The box of contour 0, empty without contours.
    ERMinimax2D getBox() const;

    /// The position of p, and the index of the contour that decided: the outer one if p is outside
    /// or on it, else the first hole that p is in or on, else the last contour. Without contours
    /// the whole plane is inside, and `contour` is unchanged.
    PosContours CheckPoint(ERPoint2D const& p, int& contour) const;
    /// BOX_INSIDE_POLYGONE for a box in the domain, POLYGONE_DISJOINT for one outside of it,
    /// POLYGONE_CROSSES_BOX for one that a contour crosses, POLYGONE_INSIDE_BOX for one that holds
    /// the outer contour. Part of the contract: if a region has only holes, a box in the domain
    /// counts as crossed; without contours every box gives POLYGONE_INSIDE_BOX.
    ER_MINMAX_POSITION_POLYGONE IsInDomain(ERMinimax2D const& box) const;

    /// Appends the pieces of the polyline in the region to `result`, in order. Points that repeat
    /// the previous one are dropped; a piece begins and ends at a point of the polyline or at a
    /// crossing, and may hold the same place twice if a crossing is on a point. Without contours
    /// the whole polyline is one piece.
    ///
    /// Between two stops on contours their midpoint decides. Part of the contract: a midpoint on an
    /// edge counts as inside, one on a vertex as outside; and only for the very first stop the
    /// position of the next one is checked first. A crossing counts from parameter 0 to 1 of its
    /// segment, without tolerance.
    void Intersect(ERVec<ERPoint2D> const& polyline, ERTValVector<ERVec<ERPoint2D>>& result,
                   ERDebugIntersect* debug = nullptr) const;
    /// Intersect for a polyline that may run along a contour. The polyline is also moved sideways
    /// by `snap` (see OffsetPolyline), to either side; pieces that are together longer than all of
    /// `result` by more than ten times snap replace `result`. Part of the contract: they keep their
    /// moved position.
    void IntersectWithSnap(ERVec<ERPoint2D> const& polyline, ERTValVector<ERVec<ERPoint2D>>& result,
                           double snap) const;

    /// Builds the index now, so that no query does and none allocates for it.
    void build_index() const;

    void printOn(std::ostream& out) const override;
    /// Null: a region can't be copied this way, which is part of the contract.
    ERObject* getCopy() const override;
    /// Drops the index; not to be called while another thread queries.
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

    std::shared_ptr<velm::detail::RegionContours> contours_;
    int first_outer_;
    int added_ = 0;
    int capacity_;
    mutable std::atomic<const velm::detail::RegionIndex*> index_{nullptr};
    mutable std::atomic<int> questions_{0}; // queries before there is an index
};
