// settle_areas: how the contours of an outline lie in each other, and so where the material is.
//
//     if (const auto clash = velm::settle_areas(outline))
//         report(clash->contour, clash->other, clash->crossing); // the outline is unchanged
//     for (const velm::OutlineArea& area : outline.areas) // an outer contour and its holes
//         fill(outline.contours[area.outer], area.holes);
#pragma once

#include "velm/export.h"
#include "velm/planar/contour.h"

#include <array>
#include <optional>

namespace velm {

/// Two contours that bound no material together, or one that crosses itself.
struct ContourClash {
    /// The one that comes later in the outline, and the other; both the same if that crosses
    /// itself.
    int contour, other;
    std::optional<ERPoint2D> crossing; ///< about where they cross; none where they coincide
    /// The ends of the stretch along which two parts share an edge.
    std::optional<std::array<ERPoint2D, 2>> shared;
};

/// Two contours may touch: they clash only where each lies deeper than this part of the outline's
/// box diagonal on both sides of the other. A contour may touch itself: it crosses itself only if
/// both its loops are wider than that. It is what coordinates of six digits lose.
inline constexpr double touching_part = 1e-6;

/// Fills in the areas of the contours: what lies in an even number of other contours is an outer
/// one, what lies in an odd number a hole of the next one round it. The order of the contours and
/// the sense in which they turn don't matter: a lone contour, or one outside of all others, is an
/// outer one, and so is an island in a hole.
///
/// Two outer contours that run along each other, on straight edges or on arcs of one circle, clash,
/// too: whether there is material between them or a cut can't be said.
///
/// Returns the first clash, if any; the areas are unchanged then. Contours that cross themselves
/// come first, see `self_crossing` (contour_curve.h). Only pairs whose boxes meet are compared,
/// edge by edge where these meet; free-form edges by `velm::intersections`.
VELM_API std::optional<ContourClash> settle_areas(Outline& outline);

} // namespace velm
