// velm::contour_of, velm::region: outlines and regions from closed composite curves.
//
//     const auto plate = velm::contour_of(outline, 1e-6), bore = velm::contour_of(hole, 1e-6);
//     velm::Outline both{{*plate, *bore}, {}, {}};
//     if (velm::settle_areas(both)) return;             // they cross (outline_nesting.h)
//     const velm::Profile profile(both);                // the exact place of a point (profile.h)
//     if (profile.compare(p).place == velm::OutlinePlace::inside) use(p);
//
//     const ERCompCurve2D curves[] = {outline, hole};   // or polygons, for ERRegion2D's questions
//     const auto region = velm::region(curves, 0.01, 1e-6);
#pragma once

#include "velm/curves/composite_curve.h"
#include "velm/export.h"
#include "velm/planar/contour.h"
#include "velm/planar/region.h"

#include <optional>
#include <span>

namespace velm {

/// The contour of a closed composite: segments and polylines as straight edges, arcs as arcs, other
/// curves as the smooth parts of their NURBS form, composites in it as their elements. The whole
/// curve, trimmed or not. Edges without length are left out.
///
/// Nothing if a part of it starts farther than `tolerance` from where the one before ends, the
/// first from the last; for an element that can't be prepared; and without elements.
VELM_API std::optional<Contour> contour_of(const ERCompCurve2D& curve, double tolerance);

/// The region within the first curve and outside of the others, each as the polygon of points on
/// it whose chords stay within `chord_error` (see polygon_within). Nothing where there is no
/// contour of a curve, or no such polygon.
VELM_API std::optional<ERRegion2D> region(std::span<const ERCompCurve2D> curves, double chord_error,
                                          double tolerance);

} // namespace velm
