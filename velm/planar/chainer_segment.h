// ERChainerSeg2D: a piece of the plane that can be chained with others by its ends. SegCompState.
#pragma once

#include "velm/export.h"
#include "velm/frame/object.h"
#include "velm/frame/point.h"
#include "velm/frame/vector.h"

#include <iosfwd>

/// How the ends of two pieces A and B meet. The values are fixed.
enum SegCompState {
    SEGCOMP_APART = 0,
    SEGCOMP_REFUSED = 1,         ///< both ends of B are at the same end of A
    SEGCOMP_REFUSED_BY_HOST = 2, ///< for a host's own comparison; treated as SEGCOMP_REFUSED
    SEGCOMP_FIRST_FIRST = 3,
    SEGCOMP_FIRST_LAST = 4, ///< A's first end meets B's last
    SEGCOMP_LAST_FIRST = 5,
    SEGCOMP_LAST_LAST = 6,
};

/// A piece reports its two ends and the tangents there in its natural direction; a chain may use it
/// in the reverse direction. Reversing does not negate the tangents, which is part of the contract.
class VELM_API ERChainerSeg2D : public ERObject {
    VELM_DECLARE_CLASS(ERChainerSeg2D)

public:
    virtual void reverse() { reversed = !reversed; }
    virtual ERPoint2D first() const { return reversed ? getExt2() : getExt1(); }
    virtual ERPoint2D last() const { return reversed ? getExt1() : getExt2(); }
    virtual ERVector2D firstT() const { return reversed ? getTan2() : getTan1(); }
    virtual ERVector2D lastT() const { return reversed ? getTan1() : getTan2(); }
    /// The distance of the ends.
    virtual double length() const;
    /// How the ends of this piece (A) and of another (B) meet, nearer than `tol`.
    ///
    /// Part of the contract: the first ends count as met only if the squared distance of the last
    /// ones exceeds the longer of the two lengths, a comparison of unlike units. For two short or
    /// two equal pieces that share their first ends the result may be another value, or
    /// SEGCOMP_APART.
    virtual SegCompState compareWith(ERChainerSeg2D const* other, double tol) const;
    /// 0 for a piece that meets nothing.
    virtual int isChainable() const { return 1; }
    virtual ERPoint2D getExt1() const = 0;
    virtual ERPoint2D getExt2() const = 0;
    virtual ERVector2D getTan1() const = 0;
    virtual ERVector2D getTan2() const = 0;

    void printOn(std::ostream& out) const override;

protected:
    int reversed = 0;
};
