// inspection_end.h: what an inspection leaves to the command: `InspectionEnd`.
#pragma once

#include "velm/inspection/summary.h"

#include <algorithm>
#include <cmath>
#include <string>
#include <vector>

namespace velm::inspect {

struct InspectionEnd {
    bool is_in_tolerance = true;
    std::vector<std::string> notes; ///< sentences for the user about the inputs
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
