// match3DCurveOnSurface: a curve of space in the parameters of a surface.
//
//     t_SmartPtr<ERFiniteEntity2DWF> outline;
//     if (match3DCurveOnSurface(surface, nullptr, edge, outline))
//         face.addBound(*outline, ERSurfaceBoundary::outer);
#pragma once

#include "velm/frame/finite_entity.h"
#include "velm/frame/smart_pointer.h"
#include "velm/surfaces/any_bounded_surface.h"

/// The polyline, an ERPolyline2D, of the feet on `target` of the points of `curve` as a polyline
/// within 0.01. If there is a `source`, each point is first moved to its foot there, where it has
/// one. A foot farther than 0.05 from its point is polished by ReajustProjection; one that is then
/// farther than 0.5, or none, leaves the point out. These lengths are absolute: part of the
/// contract. Returns 1, or 0 with `result` unchanged if fewer than two points are left.
///
/// The feet are asked for with the distance 0, so that a surface of poles finds none for points
/// outside of its box; parameters are those of single feet, and may jump across the seam of a
/// closed surface.
VELM_API int match3DCurveOnSurface(const t_SmartPtr<ERAnyBoundedSurface>& target,
                                   t_SmartPtr<ERAnyBoundedSurface> source,
                                   t_SmartPtr<ERFiniteEntity3DWF> curve,
                                   t_SmartPtr<ERFiniteEntity2DWF>& result);
