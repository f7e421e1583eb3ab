// velm::detail::best_first: the largest value over parts, by bounds of parts that shrink as they
// are halved.
#pragma once

#include <algorithm>
#include <queue>
#include <utility>
#include <vector>

namespace velm::detail {

/// What is known of the largest value: it is between `attained` and `upper`.
struct LargestValue {
    double attained;
    double upper;
    bool enough; ///< false: the budget ended
};

/// `parts` have the members attained and upper; halve(part, low, high) sets both halves with
/// theirs. Looks at the part of the largest bound first, until enough(attained, upper) or `budget`
/// halvings.
template <class Part, class Halve, class Enough>
LargestValue best_first(std::vector<Part> parts, Halve halve, Enough enough, int budget) {
    const auto less = [](const Part& a, const Part& b) { return a.upper < b.upper; };
    double attained = parts.front().attained;
    for (const Part& part : parts)
        attained = std::max(attained, part.attained);
    std::make_heap(parts.begin(), parts.end(), less);
    for (;; --budget) {
        const double upper = parts.empty() ? attained : std::max(attained, parts.front().upper);
        if (enough(attained, upper)) return {attained, upper, true};
        if (budget == 0) return {attained, upper, false};
        std::pop_heap(parts.begin(), parts.end(), less);
        const Part whole = std::move(parts.back());
        parts.pop_back();
        Part halves[2];
        halve(whole, halves[0], halves[1]);
        for (Part& half : halves) {
            attained = std::max(attained, half.attained);
            half.upper = std::min(half.upper, whole.upper);
            if (!(half.upper > attained)) continue;
            parts.push_back(std::move(half));
            std::push_heap(parts.begin(), parts.end(), less);
        }
    }
}

} // namespace velm::detail
