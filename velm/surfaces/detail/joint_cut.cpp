#include "velm/surfaces/detail/joint_cut.h"

#include "velm/frame/point_functions.h"

#include <algorithm>
#include <cmath>

namespace velm::detail {

namespace {

// Places that are nearer than this to each other are one.
constexpr double least_step = 1e-9;
// A foot that is nearer than this much of the way to an end of it is none.
constexpr double at_end = 1e-3;

} // namespace

JointCut::JointCut(std::vector<LoopStretch> stretches) : stretches_(std::move(stretches)) {
    for (const bool at_start : {true, false}) {
        JointPlace place;
        for (const LoopStretch& stretch : stretches_)
            place.on.push_back(at_start ? stretch.start() : stretch.end());
        place.point = stretches_[0].loop->point(place.on[0]);
        for (std::size_t k = 1; k < stretches_.size(); ++k)
            place.gap =
                std::max(place.gap, distance(place.point, stretches_[k].loop->point(place.on[k])));
        places_.push_back(place);
    }
    insert_breaks();
}

// A place of one stretch, and the nearest ones of the others between their neighbours; where these
// are at an end, those at the same part of the way.
JointPlace JointCut::place_of(std::size_t stretch, double place, const JointPlace& before,
                              const JointPlace& after) const {
    JointPlace made;
    made.on.resize(stretches_.size());
    made.on[stretch] = place;
    const LiftedLoop& own = *stretches_[stretch].loop;
    const auto [from, to] = std::minmax(before.on[stretch], after.on[stretch]);
    const double part = own.length_between(from, place) / own.length_between(from, to);
    const ERPoint3D p = own.point(place);
    for (std::size_t k = 0; k < stretches_.size(); ++k) {
        if (k == stretch) continue;
        const LiftedLoop& loop = *stretches_[k].loop;
        const auto [low, high] = std::minmax(before.on[k], after.on[k]);
        const LoopFoot foot = loop.nearest(p, low, high);
        const double whole = loop.length_between(low, high);
        const double way = loop.length_between(low, foot.place);
        const bool inside = way > at_end * whole && way < (1.0 - at_end) * whole;
        const bool against = stretches_[k].reversed != stretches_[stretch].reversed;
        made.on[k] =
            inside ? foot.place : loop.place_at_way(low, (against ? 1.0 - part : part) * whole);
        if (!(made.on[k] > low && made.on[k] < high)) made.on[k] = 0.5 * (low + high);
    }
    made.point = stretches_[0].loop->point(made.on[0]);
    for (std::size_t k = 1; k < stretches_.size(); ++k)
        made.gap = std::max(made.gap, distance(made.point, stretches_[k].loop->point(made.on[k])));
    return made;
}

// At a part of the way along the first stretch, or at the end of an edge near that.
bool JointCut::between(const JointPlace& before, const JointPlace& after, double part,
                       JointPlace& made) const {
    for (std::size_t k = 0; k < stretches_.size(); ++k)
        if (std::fabs(before.on[k] - after.on[k]) < 4.0 * least_step) return false;
    const LiftedLoop& loop = *stretches_[0].loop;
    const auto [low, high] = std::minmax(before.on[0], after.on[0]);
    const double whole = loop.length_between(low, high);
    if (before.on[0] > after.on[0]) part = 1.0 - part;
    double place = loop.place_at_way(low, part * whole);
    const double end = std::round(place);
    const double to_end = end > low && end < high ? loop.length_between(low, end) : 0.0;
    if (to_end > 0.25 * whole && to_end < 0.75 * whole) place = end;
    if (!(place > low + least_step && place < high - least_step)) return false;
    made = place_of(0, place, before, after);
    return true;
}

// The largest deviation as a part of its limit.
double JointCut::excess(const JointPlace& before, const JointPlace& after,
                        const Limits& limits) const {
    double most = 0.0;
    for (std::size_t k = 0; k < stretches_.size(); ++k) {
        const auto [low, high] = std::minmax(before.on[k], after.on[k]);
        const LiftedLoop& loop = *stretches_[k].loop;
        const double off = loop.metric().deviation(loop.parameter(low), loop.parameter(high));
        most =
            std::max({most, loop.trim_deviation(low, high) / limits.trim, off / limits.deviation});
    }
    return most;
}

// Deviations fall with the square of the length: where they ask for n parts, n / 2 of them come
// first.
static double first_part(double excess) {
    constexpr double most_parts = 64.0;
    const double parts = std::clamp(std::ceil(std::sqrt(excess)), 2.0, most_parts);
    return std::floor(0.5 * parts) / parts;
}

bool JointCut::cut(const Limits& limits) {
    std::vector<JointPlace> pending(places_.rbegin(), places_.rend());
    std::vector<JointPlace> done = {pending.back()};
    pending.pop_back();
    bool complete = true;
    while (!pending.empty()) {
        complete = complete && !(pending.back().gap > limits.largest_gap);
        const bool has_room = done.size() + pending.size() < limits.most_places;
        const double off = complete && has_room ? excess(done.back(), pending.back(), limits) : 0.0;
        if (off > 1.0) {
            JointPlace made;
            if (between(done.back(), pending.back(), first_part(off), made)) {
                pending.push_back(std::move(made));
                continue;
            }
        }
        done.push_back(std::move(pending.back()));
        pending.pop_back();
    }
    places_ = std::move(done);
    return complete;
}

bool JointCut::halve(std::size_t i) {
    JointPlace made;
    if (!between(places_[i], places_[i + 1], 0.5, made)) return false;
    places_.insert(places_.begin() + static_cast<std::ptrdiff_t>(i) + 1, std::move(made));
    return true;
}

void JointCut::insert_breaks() {
    for (std::size_t k = 0; k < stretches_.size(); ++k) {
        const LoopStretch& stretch = stretches_[k];
        const double round = stretch.loop->edges();
        for (const double place : stretch.loop->on_breaks())
            for (double turn = place + std::ceil((stretch.from - place) / round) * round;
                 turn < stretch.to; turn += round)
                insert_break(k, turn);
    }
}

void JointCut::insert_break(std::size_t stretch, double place) {
    const bool falls = stretches_[stretch].reversed;
    const auto after = std::ranges::find_if(places_, [&](const JointPlace& p) {
        return falls ? p.on[stretch] <= place : p.on[stretch] >= place;
    });
    if (after == places_.end() || after == places_.begin()) return;
    for (const auto& near : {after, after - 1})
        if (std::fabs(near->on[stretch] - place) < least_step) {
            near->on[stretch] = place;
            return;
        }
    for (std::size_t k = 0; k < stretches_.size(); ++k)
        if (std::fabs((after - 1)->on[k] - after->on[k]) < 4.0 * least_step) return;
    places_.insert(after, place_of(stretch, place, *(after - 1), *after));
}

double JointCut::largest_gap() const {
    double largest = 0.0;
    for (const JointPlace& place : places_)
        largest = std::max(largest, place.gap);
    return largest;
}

// Between two places a stretch is near to its chord, and chords between places are as near to each
// other as their ends are.
double JointCut::bound() const {
    double largest = 0.0;
    for (std::size_t i = 0; i + 1 < places_.size(); ++i) {
        double own = 0.0, others = 0.0;
        for (std::size_t k = 0; k < stretches_.size(); ++k) {
            const auto [low, high] = std::minmax(places_[i].on[k], places_[i + 1].on[k]);
            const double off = stretches_[k].loop->deviation(low, high);
            (k == 0 ? own : others) = std::max(k == 0 ? own : others, off);
        }
        largest = std::max(largest, own + others + std::max(places_[i].gap, places_[i + 1].gap));
    }
    return largest;
}

} // namespace velm::detail
