// surface_alignment.h: measured points moved onto the faces of their part, `fit_to_surfaces`, or
// onto its reference points, `fit_to_references`.
#pragma once

#include "inspect/inspection/held_points.h"
#include "inspect/inspection/part_comparison.h"
#include "velm/inspection/applied_alignment.h"
#include "velm/inspection/surface_result.h"

#include <array>
#include <optional>
#include <string>

namespace velm::inspect {

struct BestFitOptions {
    std::array<bool, 6> held{}; ///< as velm::AlignmentOptions has it
    /// Points further from the part than this have no part in the fit.
    std::optional<double> max_distance;
    std::string name; ///< of the points, for sentences
};

/// The rigid motion with the least sum of squared deviations. Throws `Failure` (input) if there is
/// none.
///
/// Each step of `velm::align` uses the nearest places of the points after the last step, as the
/// alignment of a section does. A few hundred points are tried from several starts, since the
/// nearest place may be on a wrong face: as measured, with the middles of the boxes brought
/// together, and turned about that. The best end is then refined with more of the points, and with
/// all. With `max_distance` the points that count are those within it, or at first within three
/// times the median distance; they are chosen again until they stay the same.
AppliedAlignment fit_to_surfaces(const HeldPoints& points, const PartComparison& comparison,
                                 const BestFitOptions& options);

/// The motion by the reference points of a table, whose measured points are those with their ids.
/// Throws `Failure`: (file), or (input) where a point is missing, where the points leave a freedom
/// open, and where they contradict each other.
AppliedAlignment fit_to_references(const HeldPoints& points, const PartComparison& comparison,
                                   const SurfaceHead& head, const std::string& table,
                                   const std::string& name);

} // namespace velm::inspect
