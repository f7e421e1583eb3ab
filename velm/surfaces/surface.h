// ERSurface: the interface of every surface, bounded or not.
#pragma once

#include "velm/frame/entity.h"

/// A surface of space. It holds no data of its own.
class VELM_API ERSurface : public EREntity3D {
    VELM_DECLARE_CLASS(ERSurface)

public:
    /// Reverses the normal.
    virtual void reverse() = 0;
    /// The foot of the perpendicular from p and the unit normal of the surface there. Returns 1, or
    /// 0 with both unchanged if p has no unique foot.
    virtual int ProjectionNormale(const ERPoint3D& p, ERPoint3D& foot,
                                  ERVector3D& normal) const = 0;
    /// Moves every point by d along the normal.
    virtual void offset(double d) = 0;
};
