#include "velm/curves/detail/stretch_ends.h"

#include <algorithm>
#include <cmath>

namespace velm::detail {

void StretchEnds::clear() {
    lows_.clear();
    highs_.clear();
}

void StretchEnds::add(const Stretch& stretch, std::size_t number) {
    lows_.push_back({stretch.low, number});
    highs_.push_back({-stretch.high, number});
}

void StretchEnds::sort() {
    for (std::vector<End>* const ends : {&lows_, &highs_})
        std::sort(ends->begin(), ends->end(),
                  [](const End& x, const End& y) { return x.at < y.at; });
}

double StretchEnds::way_to_next(const Stretch& own, std::size_t number, bool forward) const {
    const std::vector<End>& ends = forward ? lows_ : highs_;
    const double from = forward ? own.high : -own.low;
    auto next = std::lower_bound(ends.begin(), ends.end(), from,
                                 [](const End& end, double at) { return end.at < at; });
    // A stretch of no length begins where it ends.
    if (next != ends.end() && next->number == number) ++next;
    return next == ends.end() ? HUGE_VAL : next->at - from;
}

} // namespace velm::detail
