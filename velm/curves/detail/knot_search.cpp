#include "velm/curves/detail/knot_search.h"

namespace velm::detail {

InsertionPlace insertion_place(const KnotView& knots, double t) {
    InsertionPlace place{};
    KnotRun low = run_at_or_below(knots, t);
    const int end = std::max(knots.count - knots.degree - 1, 0);
    if (low.index != 0 && end < knots.count && knots[low.index] >= knots[end])
        low = run_at_or_below(knots, knots[low.index - 1]);
    place.last = low.index + low.multiplicity - 1;
    const int next = place.last + 1;
    place.high = next < knots.count ? KnotRun{next, run_end(knots, next) - next} : low;
    if (knots[low.index] < t && t < knots[place.high.index]) low.multiplicity = 0;
    place.low = low;
    return place;
}

} // namespace velm::detail
