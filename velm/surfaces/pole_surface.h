// ERSpoleRep: surfaces that are given by a matrix of control poles, the ground of the Bezier and
// NURBS classes.
//
// The pole with index i along U and j along V is element (j, i) of the matrix: rows run along U. As
// all bounded surfaces these have natural limits, those of the poles, and working limits, those of
// a trim; evaluation reads the whole surface, adjust() bakes the trim in.
//
// Box, hull and estimates are computed on first use and kept, in operations that only read too: a
// surface is for one thread at a time. velm::PreparedSurface is what threads share.
#pragma once

#include "velm/frame/box.h"
#include "velm/frame/pole.h"
#include "velm/numerics/matrix.h"
#include "velm/surfaces/bounded_surface.h"
#include "velm/surfaces/derived_cache.h"
#include "velm/transforms/transformation_handle.h"

#include <limits>
#include <memory>

namespace velm::detail {
struct ProjectionCache;
VELM_API ProjectionCache& projection_cache(const ERSpoleRep& surface);
} // namespace velm::detail

/// A surface with control poles.
class VELM_API ERSpoleRep : public ERBoundedSurface {
    VELM_DECLARE_CLASS(ERSpoleRep)

public:
    ERSpoleRep() = default;
    /// Untrimmed.
    ERSpoleRep(const ERLimites& u, const ERLimites& v) : ERBoundedSurface(u, v) {}

    /// 0 on a surface without poles.
    virtual int degreeU() const = 0;
    virtual int degreeV() const = 0;
    virtual int nbPolesU() const = 0;
    virtual int nbPolesV() const = 0;
    /// 1 here, and on every class whose poles have weights.
    virtual int isRational() const;
    /// 1 for a single Bezier piece; 1 here.
    virtual int isBezier() const;
    /// Raise the degrees along U and V by so much; the surface stays the same. Nothing happens for
    /// numbers below 1.
    virtual void incrDegree(int alongU, int alongV) = 0;
    /// Lower the degrees; see the classes.
    virtual void decrDegree(int alongU, int alongV) = 0;

    /// The box of the poles as points. It holds the surface if all weights are positive, and isn't
    /// tight; velm::tight_box is.
    ERMinimax3D getBox() const override;
    /// The hull of the poles as points in the frame's x and y, by CalculateConvexeHull; without a
    /// frame in the coordinates x and y. Kept until another frame is asked for; frames that differ
    /// within 1e-9 count as the same.
    virtual const ERVec<ERPoint2D>& getConvexHull() const;
    virtual const ERVec<ERPoint2D>& getConvexHull(const ERPmIsometrie3D& frame) const;
    /// The longest polygon of poles as points along U, among those of all rows, and along V among
    /// those of all columns; 0 without poles.
    double upperEstimateInU() const override;
    double upperEstimateInV() const override;

    /// Compute what is kept, regardless of whether it is there.
    virtual void _calculateConvexHull(const ERPmIsometrie3D& frame) const;
    virtual void _calculateBox() const;
    virtual void _calculateUpperEstimateU() const;
    virtual void _calculateUpperEstimateV() const;

    /// Forget the box; the hull; both and all else that is derived from poles, knots and natural
    /// limits, except the estimates.
    void ResetCacheBox() const;
    void ResetCacheConvexHull() const;
    virtual void ResetCacheInfo() const;
    /// Also forgets what projections have kept.
    void CleanUpTemporaries(int level) override;

    using ERBoundedSurface::ProjectionNormale;
    /// ReajustAtSeam, see surfaces/surface_projection.h.
    int ReajustProjection(ERPoint3D& p, ERPoint2D& parameter, int inBound) const override;

    /// Apply to the poles, weights unchanged. Estimates are forgotten unless lengths stay.
    void scale(double s) override;
    void translate(const ERPoint3D& v) override;
    void transformFrom(const ERPmSimilitude3D& t) override;
    void transformFrom(const ERPmIsometrie3D& t) override;
    void transformTo(const ERPmSimilitude3D& t) override;
    void transformTo(const ERPmIsometrie3D& t) override;
    /// Exchanges U and V: the same points with the opposite normal.
    void reverse() override;

    void restoreGuts(ERFile& file) override;

protected:
    /// The matrix that holds the poles; the other pointer is null.
    struct PoleMatrix {
        ERMatrix<ERPoint3D>* points = nullptr;
        ERMatrix<ERPole3DH>* weighted = nullptr;
    };
    /// All that reads or moves poles here uses this.
    virtual PoleMatrix pole_matrix() = 0;

    /// Calls f with the matrix of the poles, for reading or, after ResetCacheInfo, for writing.
    template <class F>
    auto with_poles(F f);
    template <class F>
    auto with_poles(F f) const;
    void forget_estimates() const;

    /// The trim of an axis as natural limits where a part is split off: either side of x.
    struct Halves {
        ERLimites before, after;
    };
    static Halves halves(const ERLimites& limits, double x) {
        return {{limits.start(), x}, {x, limits.end()}};
    }
    /// Whether both working limits lie in the natural ones.
    bool is_within_natural() const;

private:
    friend velm::detail::ProjectionCache& velm::detail::projection_cache(const ERSpoleRep& surface);

    template <class Map>
    void map_poles(Map map);

    static constexpr double no_estimate = std::numeric_limits<double>::max();

    /// What has been computed. A copy of the surface starts with the estimates alone.
    struct Kept {
        Kept() = default;
        Kept(const Kept& other) noexcept { *this = other; }
        Kept& operator=(const Kept& other) noexcept {
            estimate_u = other.estimate_u;
            estimate_v = other.estimate_v;
            box.reset();
            hull = ERVec<ERPoint2D>();
            projection.reset();
            return *this;
        }
        std::unique_ptr<ERMinimax3D> box;
        ERPmIsometrie3D hull_frame;
        ERVec<ERPoint2D> hull;
        double estimate_u = no_estimate;
        double estimate_v = no_estimate;
        velm::detail::DerivedCache<velm::detail::ProjectionCache> projection;
    };
    mutable Kept kept_;
};

template <class F>
auto ERSpoleRep::with_poles(F f) {
    const PoleMatrix matrix = pole_matrix();
    return matrix.points != nullptr ? f(*matrix.points) : f(*matrix.weighted);
}

template <class F>
auto ERSpoleRep::with_poles(F f) const {
    const PoleMatrix matrix = const_cast<ERSpoleRep&>(*this).pole_matrix();
    return matrix.points != nullptr ? f(std::as_const(*matrix.points))
                                    : f(std::as_const(*matrix.weighted));
}
