// velm::detail::StretchEnds: the stretches of a curve that follow a given one, by their ends.
#pragma once

#include <cstddef>
#include <vector>

namespace velm::detail {

/// A meeting on one of the curves: from `low` to `high`, counted in pieces from the start of the
/// curve on, at `at`. Beyond 0 and the number of pieces a closed curve goes on.
struct Stretch {
    double low, high, at;
};

/// The ends of stretches on one curve, sorted: which of them come next.
class StretchEnds {
public:
    void clear();
    void add(const Stretch& stretch, std::size_t number);
    void sort();
    /// How far it is from an end of the stretch with this number to the next other stretch that
    /// begins there or beyond; infinite if there is none.
    double way_to_next(const Stretch& own, std::size_t number, bool forward) const;

private:
    struct End {
        double at; ///< the opposite when looking backward, so that both lists rise
        std::size_t number;
    };
    std::vector<End> lows_, highs_;
};

} // namespace velm::detail
