// velm::detail::straight_line: a segment as a curve over an interval.
#pragma once

#include "velm/curves/bezier_curve.h"
#include "velm/wireframe/segment.h"

namespace velm::detail {

/// The Bezier curve of degree 1 over these limits.
inline t_SmartPtr<ERFiniteEntity3DWF> straight_line(const ERSegment3D& segment,
                                                    const ERLimites& limits) {
    return new ERCpoleBezier3D({segment.getP1(), segment.getP2()}, limits);
}

} // namespace velm::detail
