// velm::detail::JointCut: places that belong together on stretches of loops that run along each
// other, as many as it takes for the chords between them to be near.
#pragma once

#include "velm/surfaces/detail/lifted_loop.h"

#include <vector>

namespace velm::detail {

/// A stretch of a loop: `to` is after `from` by at most a round. A reversed one goes from `to` to
/// `from`.
struct LoopStretch {
    const LiftedLoop* loop = nullptr;
    double from = 0.0, to = 0.0;
    bool reversed = false;

    double start() const { return reversed ? to : from; }
    double end() const { return reversed ? from : to; }
};

/// Places, one on each stretch, and the point of that on the first one.
struct JointPlace {
    std::vector<double> on;
    ERPoint3D point;
    double gap = 0.0; ///< the largest distance of the others' points from it
};

class JointCut {
public:
    explicit JointCut(std::vector<LoopStretch> stretches);

    /// How far from its chord a stretch may be between two neighbouring places.
    struct Limits {
        double trim = 0.0;             ///< in the parameters, as a length
        double deviation = 0.0;        ///< of the surface over the chord in the parameters
        double largest_gap = HUGE_VAL; ///< the cut ends where a gap is larger
        std::size_t most_places = 1 << 20;
    };
    /// False if it ended early.
    bool cut(const Limits& limits);
    /// One more place in the middle between places i and i + 1. False if there is no room.
    bool halve(std::size_t i);

    const std::vector<LoopStretch>& stretches() const { return stretches_; }
    /// In order, from the stretches' starts to their ends. Those at breaks of a surface are among
    /// them.
    const std::vector<JointPlace>& places() const { return places_; }
    double largest_gap() const;
    /// No point of a stretch is farther from all of another one's than this.
    double bound() const;

private:
    JointPlace place_of(std::size_t stretch, double place, const JointPlace& before,
                        const JointPlace& after) const;
    bool between(const JointPlace& before, const JointPlace& after, double part,
                 JointPlace& made) const;
    double excess(const JointPlace& before, const JointPlace& after, const Limits& limits) const;
    void insert_breaks();
    void insert_break(std::size_t stretch, double place);

    std::vector<LoopStretch> stretches_;
    std::vector<JointPlace> places_;
};

} // namespace velm::detail
