#include "velm/curves/space_intersections.h"

#include "velm/curves/detail/intersection_parts.h"
#include "velm/curves/detail/piece_links.h"
#include "velm/curves/detail/piece_poles.h"
#include "velm/frame/point_functions.h"

#include <algorithm>
#include <cmath>

namespace velm {
namespace {

using namespace velm::detail;
using Tables = PreparedPieces<3>;
using Poles = PiecePoles<3>;
using Vector = Local<3>;

// Intervals this near to each other share a place.
constexpr double touching_slack = 0x1p-46;
// A part is straight if its poles are as near to its chord as this part of the tolerance.
constexpr double straight_part = 0.125;

Vector times(const Vector& a, double f) { return {{a[0] * f, a[1] * f, a[2] * f}}; }
Vector crossed(const Vector& a, const Vector& b) {
    return {{a[1] * b[2] - a[2] * b[1], a[2] * b[0] - a[0] * b[2], a[0] * b[1] - a[1] * b[0]}};
}
double norm(const Vector& a) { return std::sqrt(squared_norm(a)); }

// Three directions at right angles, the first along the chord.
struct Frame {
    explicit Frame(const Poles& poles) {
        const Vector chord = poles.chord();
        const double length = norm(chord);
        axis[0] = length > 0.0 ? times(chord, 1.0 / length) : Vector{{1.0, 0.0, 0.0}};
        int least = 0;
        for (int i = 1; i < 3; ++i)
            if (std::fabs(axis[0][i]) < std::fabs(axis[0][least])) least = i;
        Vector unit{};
        unit[least] = 1.0;
        axis[1] = crossed(axis[0], unit);
        axis[1] = times(axis[1], 1.0 / norm(axis[1]));
        axis[2] = crossed(axis[0], axis[1]);
    }
    Vector axis[3];
};

// Where `of` may come as near as `apart` to `by`, by the strips that hold the poles of `by`.
PartInterval clip(const Poles& by, const Poles& of, double apart) {
    const Frame frame(by);
    PartInterval kept;
    for (const Vector& axis : frame.axis) {
        double low = HUGE_VAL, high = -HUGE_VAL;
        for (int i = 0; i < by.count; ++i) {
            const double x = dot(axis, by.pole[i]);
            low = std::min(low, x - apart);
            high = std::max(high, x + apart);
        }
        double above[max_poles] = {}, below[max_poles] = {};
        for (int i = 0; i < of.count; ++i) {
            const double x = dot(axis, of.pole[i]);
            above[i] = of.weight[i] * (x - high);
            below[i] = of.weight[i] * (low - x);
        }
        keep_below(above, of.count - 1, kept);
        if (!kept.empty()) keep_below(below, of.count - 1, kept);
        if (kept.empty()) break;
    }
    return kept;
}

// How a part runs along its chord.
struct Course {
    explicit Course(const Poles& poles) {
        const Frame frame(poles);
        direction = frame.axis[0];
        const double error = 2.0 * poles.error();
        double least_step = HUGE_VAL, least_weight = HUGE_VAL, most_weight = 0.0;
        for (int i = 0; i < poles.count; ++i) {
            const Vector from = difference(poles.pole[i], poles.pole[0]);
            off = std::max(off, std::hypot(dot(from, frame.axis[1]), dot(from, frame.axis[2])));
            least_weight = std::min(least_weight, poles.weight[i]);
            most_weight = std::max(most_weight, poles.weight[i]);
            if (i == 0) continue;
            const Vector step = difference(poles.pole[i], poles.pole[i - 1]);
            const double along = dot(step, direction) - error;
            least_step = std::min(least_step, along);
            const double across =
                std::hypot(dot(step, frame.axis[1]), dot(step, frame.axis[2])) + error;
            turn = std::max(turn, along > 0.0 ? std::atan(across / along) : 4.0);
        }
        const double ratio = least_weight / most_weight;
        slope = (poles.count - 1) * std::max(0.0, least_step) * ratio * ratio;
    }

    Vector direction;
    double off = 0.0;   // the poles' largest distance from the chord's line
    double turn = 0.0;  // the largest angle of a tangent to the chord
    double slope = 0.0; // a lower bound of the derivative by the part's own parameter
};

// A rectangle of both parameters that holds places near each other.
struct Near {
    PiecePart a, b;
    double u, v; // the best place
    double distance;
};

struct NodePair {
    int level_a, a, level_b, b;
};
struct Task {
    int piece_a, piece_b;
    double a_low, a_high, b_low, b_high;
};

// A rectangle of an entry, with the turns by which its curves are further than the first one's.
struct Member {
    std::size_t index;
    int turn_a, turn_b;
};

struct Limits {
    double apart;    // parts farther apart than this don't come together
    double together; // places nearer than this do
    double straight;
};

// What a thread keeps from one search to the next, so that it doesn't allocate again.
struct Workspace {
    std::vector<NodePair> waiting;
    std::vector<Task> tasks;
    std::vector<Near> near;
    std::vector<char> seen;
    std::vector<double> reached;
    std::vector<Member> members;
};

Workspace& workspace() {
    thread_local Workspace own;
    return own;
}

class Search {
public:
    Search(const Tables& a, const Tables& b, const SpaceIntersectionOptions& options,
           Workspace& space)
        : a_(a), b_(b), near_(space.near), budget_(options.budget), waiting_(space.waiting),
          tasks_(space.tasks) {
        near_.clear();
        waiting_.clear();
        constexpr double default_part = 0x1p-30;
        const double tolerance =
            options.tolerance > 0.0 ? options.tolerance : default_part * (a.size + b.size);
        double largest = 0.0;
        for (const Tables* tables : {&a, &b})
            for (const ERPoint3D& p : {tables->box.MinPoint(), tables->box.MaxPoint()})
                for (int axis = 0; axis < 3; ++axis)
                    largest = std::max(largest, std::fabs(p[axis]));
        constexpr double roundings = 128.0; // of poles of degree 32 and their differences
        const double error = roundings * half_ulp * largest;
        limits_ = {tolerance + 2.0 * error, 2.0 * tolerance + 8.0 * error,
                   straight_part * tolerance};
    }

    // Returns whether the budget was enough.
    bool run() {
        const int top_a = a_.levels() - 1, top_b = b_.levels() - 1;
        for (int i = 0; i < nodes(a_, top_a); ++i)
            for (int k = 0; k < nodes(b_, top_b); ++k)
                push({top_a, i, top_b, k});
        while (!waiting_.empty() && budget_ >= 0) {
            const NodePair pair = waiting_.back();
            waiting_.pop_back();
            if (pair.level_a == 0 && pair.level_b == 0)
                search_pieces(pair.a, pair.b);
            else
                open(pair);
        }
        return budget_ >= 0;
    }

private:
    static int nodes(const Tables& tables, int level) {
        int count = tables.count();
        for (; level > 0; --level)
            count = (count + box_fan - 1) / box_fan;
        return count;
    }
    void push(const NodePair& pair) {
        const double* const x = a_.group(pair.level_a, pair.a / box_fan) + pair.a % box_fan;
        const double* const y = b_.group(pair.level_b, pair.b / box_fan) + pair.b % box_fan;
        for (int axis = 0; axis < 3; ++axis) {
            const int low = axis * box_fan, high = (3 + axis) * box_fan;
            if (x[low] > y[high] + limits_.apart || y[low] > x[high] + limits_.apart) return;
        }
        waiting_.push_back(pair);
    }
    void open(const NodePair& pair) {
        --budget_;
        const bool of_a = pair.level_a >= pair.level_b;
        const int level = (of_a ? pair.level_a : pair.level_b) - 1;
        const int first = box_fan * (of_a ? pair.a : pair.b);
        const int last = std::min(first + box_fan, nodes(of_a ? a_ : b_, level));
        for (int i = first; i < last; ++i)
            push(of_a ? NodePair{level, i, pair.level_b, pair.b}
                      : NodePair{pair.level_a, pair.a, level, i});
    }

    void search_pieces(int piece_a, int piece_b) {
        shift_ = difference(b_[piece_b].origin, a_[piece_a].origin);
        tasks_.assign(1, {piece_a, piece_b, 0.0, 1.0, 0.0, 1.0});
        while (!tasks_.empty() && budget_ >= 0) {
            const Task task = tasks_.back();
            tasks_.pop_back();
            refine(task);
        }
    }

    void refine(Task task) {
        while (true) {
            if (--budget_ < 0) return;
            Poles a = poles_of_a(task);
            Poles b = poles_of_b(task);
            const PartInterval of_b = clip(a, b, limits_.apart);
            if (of_b.empty()) return;
            const double left_b = take(of_b, task.b_low, task.b_high);
            if (left_b < 1.0) b = poles_of_b(task);
            const PartInterval of_a = clip(b, a, limits_.apart);
            if (of_a.empty()) return;
            const double left_a = take(of_a, task.a_low, task.a_high);
            if (left_a < 1.0) a = poles_of_a(task);
            const SegmentPlaces<3> at =
                nearest_on_segments(a.pole[0], a.chord(), b.pole[0], b.chord());
            const Vector way = difference(point(b, at.v), point(a, at.u));
            if (separation(a, b, way) > limits_.apart) return;
            if (is_settled(task, a, b, at, std::min(left_a, left_b))) return;
            if (std::min(left_a, left_b) < worth_repeating) continue;
            halve(task, a.extent() >= b.extent(), tasks_);
            return;
        }
    }
    Poles poles_of_a(const Task& task) const {
        return {a_, a_[task.piece_a], task.a_low, task.a_high, Vector{}};
    }
    Poles poles_of_b(const Task& task) const {
        return {b_, b_[task.piece_b], task.b_low, task.b_high, shift_};
    }
    // A point of the chord.
    static Vector point(const Poles& poles, double u) {
        const Vector& first = poles.pole[0];
        return difference(first, times(poles.chord(), -u));
    }
    // Takes over what a clip leaves; returns how much that is.
    static double take(const PartInterval& kept, double& low, double& high) {
        const double from = low, length = high - low;
        if (kept.low > 0.0) low = from + kept.low * length;
        if (kept.high < 1.0) high = from + kept.high * length;
        return std::min(1.0, kept.high) - std::max(0.0, kept.low);
    }

    // Whether the parts are an entry, or a part of one.
    bool is_settled(const Task& task, const Poles& a, const Poles& b, const SegmentPlaces<3>& at,
                    double left) {
        const double length_a = task.a_high - task.a_low, length_b = task.b_high - task.b_low;
        const bool point_a = a.extent() <= limits_.straight || length_a <= shortest_interval;
        const bool point_b = b.extent() <= limits_.straight || length_b <= shortest_interval;
        if (point_a && point_b) {
            add(task, at.u, at.v);
            return true;
        }
        const Course course_a(a), course_b(b);
        const double cosine = std::min(1.0, std::fabs(dot(course_a.direction, course_b.direction)));
        const double angle = std::acos(cosine) - course_a.turn - course_b.turn;
        constexpr double least_angle = 1e-6; // well above the rounding of the arc cosine
        if (angle > least_angle && course_a.slope > 0.0 && course_b.slope > 0.0)
            return meet_at_angle(task, at, std::sin(angle), course_a.slope, course_b.slope);
        const bool straight = std::max(course_a.off, course_b.off) <= limits_.straight;
        if (!straight || left < worth_repeating) return false;
        add(task, at.u, at.v);
        return true;
    }

    // Parts of different directions: where they are near, they have moved by no more than `reach`
    // from any near place.
    bool meet_at_angle(Task task, const SegmentPlaces<3>& at, double sine, double slope_a,
                       double slope_b) {
        double u = task.a_low + at.u * (task.a_high - task.a_low);
        double v = task.b_low + at.v * (task.b_high - task.b_low);
        approach(a_, a_[task.piece_a], b_, b_[task.piece_b], shift_, u, v);
        u = std::clamp(u, task.a_low, task.a_high);
        v = std::clamp(v, task.b_low, task.b_high);
        const double distance = distance_at(task.piece_a, u, task.piece_b, v);
        if (!(distance <= limits_.together)) return false;
        const double reach = (limits_.apart + distance) / sine;
        const double along_a = reach / slope_a * (task.a_high - task.a_low);
        const double along_b = reach / slope_b * (task.b_high - task.b_low);
        task.a_low = std::max(task.a_low, u - along_a);
        task.a_high = std::min(task.a_high, u + along_a);
        task.b_low = std::max(task.b_low, v - along_b);
        task.b_high = std::min(task.b_high, v + along_b);
        near_.push_back({{task.piece_a, task.a_low, task.a_high},
                         {task.piece_b, task.b_low, task.b_high},
                         u,
                         v,
                         distance});
        return true;
    }

    double distance_at(int piece_a, double u, int piece_b, double v) const {
        const Vector gap =
            difference(b_.local_point(b_[piece_b], v), a_.local_point(a_[piece_a], u));
        return norm(difference(gap, times(shift_, -1.0)));
    }

    void add(const Task& task, double at_u, double at_v) {
        const double u = task.a_low + at_u * (task.a_high - task.a_low);
        const double v = task.b_low + at_v * (task.b_high - task.b_low);
        near_.push_back({{task.piece_a, task.a_low, task.a_high},
                         {task.piece_b, task.b_low, task.b_high},
                         u,
                         v,
                         distance_at(task.piece_a, u, task.piece_b, v)});
    }

    const Tables& a_;
    const Tables& b_;
    std::vector<Near>& near_;
    int budget_;
    Limits limits_{};
    Vector shift_{};
    std::vector<NodePair>& waiting_;
    std::vector<Task>& tasks_;
};

// Makes one entry of the rectangles that hang together.
class Merger {
public:
    Merger(const Tables& a, const Tables& b, Workspace& space)
        : a_(a), b_(b), near_(space.near), seen_(space.seen), reached_(space.reached),
          members_(space.members) {
        seen_.assign(near_.size(), 0);
        reached_.clear();
        std::sort(near_.begin(), near_.end(), [](const Near& x, const Near& y) {
            return x.a.piece + x.a.from < y.a.piece + y.a.from;
        });
        double reached = -HUGE_VAL;
        for (const Near& x : near_) {
            reached = std::max(reached, x.a.piece + x.a.to);
            reached_.push_back(reached);
        }
    }

    void merge(std::vector<SpaceIntersection>& found) {
        for (std::size_t i = 0; i < near_.size(); ++i)
            if (!seen_[i]) found.push_back(entry_from(i));
        std::sort(found.begin(), found.end(),
                  [](const SpaceIntersection& x, const SpaceIntersection& y) {
                      return x.a.t != y.a.t ? x.a.t < y.a.t : x.b.t < y.b.t;
                  });
    }

private:
    struct Interval {
        double low = HUGE_VAL, high = -HUGE_VAL;
        void include(const PiecePart& part, int turns) {
            low = std::min(low, turns + part.piece + part.from);
            high = std::max(high, turns + part.piece + part.to);
        }
    };

    SpaceIntersection entry_from(std::size_t first) {
        members_.assign(1, {first, 0, 0});
        seen_[first] = 1;
        for (std::size_t next = 0; next < members_.size(); ++next) {
            const Member from = members_[next];
            for_neighbours(near_[from.index], [&](std::size_t i) {
                int turn_a = 0, turn_b = 0;
                const Near &x = near_[from.index], &y = near_[i];
                if (seen_[i] || !touches(a_, x.a, y.a, touching_slack, turn_a) ||
                    !touches(b_, x.b, y.b, touching_slack, turn_b))
                    return;
                seen_[i] = 1;
                members_.push_back(
                    {i, from.turn_a + turn_a * a_.count(), from.turn_b + turn_b * b_.count()});
            });
        }
        return entry();
    }

    // Those whose parts of a may touch this one's: the list is sorted by their starts, and
    // `reached_` is how far those up to each reach.
    template <class Visit>
    void for_neighbours(const Near& x, Visit visit) const {
        constexpr double rounding = 1e-9; // of counts of pieces
        const auto range = [&](double low, double high) {
            const auto begin = std::lower_bound(reached_.begin(), reached_.end(), low - rounding);
            for (auto i = static_cast<std::size_t>(begin - reached_.begin());
                 i < near_.size() && near_[i].a.piece + near_[i].a.from <= high + rounding; ++i)
                visit(i);
        };
        const double low = x.a.piece + x.a.from, high = x.a.piece + x.a.to;
        range(low, high);
        if (!a_.closed) return;
        if (low <= rounding) range(a_.count(), a_.count());
        if (high >= a_.count() - rounding) range(0.0, 0.0);
    }

    SpaceIntersection entry() const {
        SpaceIntersection found;
        Interval on_a, on_b;
        const Near* best = &near_[members_.front().index];
        for (const Member& member : members_) {
            const Near& x = near_[member.index];
            on_a.include(x.a, member.turn_a);
            on_b.include(x.b, member.turn_b);
            if (x.distance < best->distance) best = &x;
            include(a_, x.a, found.box);
            include(b_, x.b, found.box);
        }
        const Vector shift = difference(b_[best->b.piece].origin, a_[best->a.piece].origin);
        double u = best->u, v = best->v;
        approach(a_, a_[best->a.piece], b_, b_[best->b.piece], shift, u, v);
        u = std::clamp(u, best->a.from, best->a.to);
        v = std::clamp(v, best->b.from, best->b.to);
        found.a = a_.place(best->a.piece, u);
        found.b = b_.place(best->b.piece, v);
        const ERPoint3D p = a_.point(a_[best->a.piece], u), q = b_.point(b_[best->b.piece], v);
        found.distance = distance(p, q);
        found.point = milieu(p, q);
        found.a_parameters = parameters_along(a_, on_a.low, on_a.high);
        found.b_parameters = parameters_along(b_, on_b.low, on_b.high);
        return found;
    }
    static void include(const Tables& tables, const PiecePart& part, ERMinimax3D& box) {
        const Piece<3>& piece = tables[part.piece];
        const Poles poles(tables, piece, part.from, part.to, piece.origin);
        for (int i = 0; i < poles.count; ++i)
            box.Update(ERPoint3D(poles.pole[i][0], poles.pole[i][1], poles.pole[i][2]));
    }

    const Tables& a_;
    const Tables& b_;
    std::vector<Near>& near_;
    std::vector<char>& seen_;
    std::vector<double>& reached_; // of each the farthest end up to it
    std::vector<Member>& members_; // of the entry
};

} // namespace

bool intersections(const PreparedCurve<3>& a, const PreparedCurve<3>& b,
                   std::vector<SpaceIntersection>& found, const SpaceIntersectionOptions& options) {
    found.clear();
    Workspace& space = workspace();
    const bool enough = Search(a.tables(), b.tables(), options, space).run();
    Merger(a.tables(), b.tables(), space).merge(found);
    if (enough) return true;
    SpaceIntersection rest;
    rest.a = a.place(a.domain().start());
    rest.b = b.place(b.domain().start());
    rest.a_parameters = a.domain();
    rest.b_parameters = b.domain();
    rest.box = a.box();
    rest.unresolved = true;
    found.push_back(rest);
    return false;
}

} // namespace velm
