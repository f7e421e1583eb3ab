// inspection_end.h: what an inspection leaves to the command: `InspectionEnd`.
#pragma once

#include "velm/inspection/summary.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <optional>
#include <string>
#include <variant>
#include <vector>

namespace velm::inspect {

/// Points to which no place belongs; they are not judged.
struct UnassignedPoints {
    std::string measured; ///< the name of the file, as in the others
    std::uint64_t count = 0;
    const char* nominal = ""; ///< "outline" or "part"
    std::optional<double> max_distance;
    std::optional<double> max_angle; ///< where points have directions
};
/// Points whose place was not proved to be the nearest.
struct UncertainPlaces {
    std::string measured;
    std::uint64_t count = 0;
};
/// Heights of points that no frame uses.
struct UnusedHeights {
    std::string measured;
    double lowest = 0.0, highest = 0.0;
};
/// What the user should know of an inspection and its inputs. A text is the sentence of a reader.
using InspectionNote = std::variant<std::string, UnassignedPoints, UncertainPlaces, UnusedHeights>;

struct InspectionEnd {
    bool is_in_tolerance = true;
    std::vector<InspectionNote> notes;
    /// The points seem to be in other coordinates than the nominal, see `may_be_misplaced`.
    bool may_be_misplaced = false;
};

/// Whether more than half of at least three points are out of tolerance, by a mean far beyond the
/// limits: what a part that was set up elsewhere looks like, rather than one that is bad.
inline bool may_be_misplaced(const Summary& summary) {
    constexpr double far = 10.0; // times the width of the band, or the greater limit
    if (!summary.tolerance || summary.count() < 3) return false;
    const Tolerance& band = *summary.tolerance;
    const double limit =
        std::max({band.upper - band.lower, std::fabs(band.lower), std::fabs(band.upper)});
    return 2 * summary.out_of_tolerance > summary.count() &&
           summary.deviations().rms() > far * limit;
}

} // namespace velm::inspect
