#include "velm/curves/nearest_points.h"

#include "velm/curves/detail/nearest_search.h"
#include "velm/curves/detail/piece_poles.h"

#include <algorithm>
#include <cmath>
#include <vector>

namespace velm {
namespace {

using namespace velm::detail;

constexpr double certified_sizes_part = 0x1p-40;
// A part is no shorter than this.
constexpr double shortest_part = 0x1p-48;

// Nodes of both trees of boxes, or parts of two pieces.
struct WaitingPair {
    double bound; // of the distance
    int level_a, a, level_b, b;
    double a_low = 0.0, a_high = 1.0, b_low = 0.0, b_high = 1.0;
};
bool comes_later(const WaitingPair& x, const WaitingPair& y) { return x.bound > y.bound; }

template <int N>
class Search {
public:
    Search(const PreparedCurve<N>& a, const PreparedCurve<N>& b, int budget)
        : curve_a_(a), curve_b_(b), a_(a.tables()), b_(b.tables()), budget_(budget),
          waiting_(workspace()) {
        waiting_.clear();
    }

    NearestPoints<N> run() {
        start();
        const int top_a = a_.levels() - 1, top_b = b_.levels() - 1;
        for (int i = 0; i < curve_a_.nodes(top_a); ++i)
            for (int k = 0; k < curve_b_.nodes(top_b); ++k)
                push_nodes(top_a, i, top_b, k);
        while (!waiting_.empty() && best_ > allowed()) {
            std::pop_heap(waiting_.begin(), waiting_.end(), comes_later);
            const WaitingPair pair = waiting_.back();
            waiting_.pop_back();
            if (is_done(pair.bound)) break; // and all that wait
            if (--budget_ < 0) {
                lower_ = std::min(lower_, pair.bound);
                break;
            }
            if (pair.level_a == 0 && pair.level_b == 0)
                examine(pair);
            else
                open(pair);
        }
        return result();
    }

private:
    static std::vector<WaitingPair>& workspace() {
        thread_local std::vector<WaitingPair> own;
        return own;
    }

    double allowed() const {
        return certified_sizes_part * (a_.size + b_.size) + certified_distance_part * best_;
    }
    // Whether nothing that is farther than `bound` needs to be looked at.
    bool is_done(double bound) {
        if (bound < best_ - 0.5 * allowed()) return false;
        lower_ = std::min(lower_, bound);
        return true;
    }
    void push(const WaitingPair& pair) {
        if (is_done(pair.bound)) return;
        waiting_.push_back(pair);
        std::push_heap(waiting_.begin(), waiting_.end(), comes_later);
    }

    // From the middle of a to and fro.
    void start() {
        const double middle = 0.5 * (a_.ends.front() + a_.ends.back());
        NearestPoint<N> on_b = curve_b_.nearest(curve_a_(middle));
        const NearestPoint<N> on_a = curve_a_.nearest(on_b.point);
        on_b = curve_b_.nearest(on_a.point);
        offer(on_a.piece, on_a.u, on_b.piece, on_b.u);
    }

    Local<N> shift(int piece_a, int piece_b) const {
        return difference(b_[piece_b].origin, a_[piece_a].origin);
    }
    void offer(int piece_a, double u, int piece_b, double v) {
        const double distance =
            approach(a_, a_[piece_a], b_, b_[piece_b], shift(piece_a, piece_b), u, v);
        if (!(distance < best_)) return;
        best_ = distance;
        at_a_ = a_.place(piece_a, u);
        at_b_ = b_.place(piece_b, v);
    }

    void push_nodes(int level_a, int i, int level_b, int k) {
        const double* const x = a_.group(level_a, i / box_fan) + i % box_fan;
        const double* const y = b_.group(level_b, k / box_fan) + k % box_fan;
        double squared = 0.0;
        for (int axis = 0; axis < N; ++axis) {
            const int low = axis * box_fan, high = (N + axis) * box_fan;
            const double gap = std::max({0.0, x[low] - y[high], y[low] - x[high]});
            squared += gap * gap;
        }
        constexpr double rounding = 8.0 * half_ulp;
        push({std::sqrt(squared) * (1.0 - rounding), level_a, i, level_b, k});
    }
    void open(const WaitingPair& pair) {
        const bool of_a = pair.level_a >= pair.level_b;
        const int level = (of_a ? pair.level_a : pair.level_b) - 1;
        const int first = box_fan * (of_a ? pair.a : pair.b);
        const int last = std::min(first + box_fan, (of_a ? curve_a_ : curve_b_).nodes(level));
        for (int i = first; i < last; ++i) {
            if (of_a)
                push_nodes(level, i, pair.level_b, pair.b);
            else
                push_nodes(pair.level_a, pair.a, level, i);
        }
    }

    void examine(const WaitingPair& pair) {
        const Local<N> none{};
        const PiecePoles<N> a(a_, a_[pair.a], pair.a_low, pair.a_high, none);
        const PiecePoles<N> b(b_, b_[pair.b], pair.b_low, pair.b_high, shift(pair.a, pair.b));
        const SegmentPlaces<N> near =
            nearest_on_segments(a.pole[0], a.chord(), b.pole[0], b.chord());
        double u = pair.a_low + near.u * (pair.a_high - pair.a_low);
        double v = pair.b_low + near.v * (pair.b_high - pair.b_low);
        Local<N> way = difference(b_.local_point(b_[pair.b], v), a_.local_point(a_[pair.a], u));
        const Local<N> apart = shift(pair.a, pair.b);
        for (int axis = 0; axis < N; ++axis)
            way[axis] += apart[axis];
        const double distance = std::sqrt(squared_norm(way));
        if (distance < best_ * near_enough) offer(pair.a, u, pair.b, v);
        WaitingPair next = pair;
        next.bound = std::max(pair.bound, separation(a, b, way));
        if (is_done(next.bound)) return;
        const double length_a = pair.a_high - pair.a_low, length_b = pair.b_high - pair.b_low;
        bool of_a = a.extent() >= b.extent();
        if (length_a <= shortest_part) of_a = false;
        if (!of_a && length_b <= shortest_part) of_a = true;
        if (of_a && length_a <= shortest_part) { // both are points
            lower_ = std::min(lower_, next.bound);
            return;
        }
        const double middle =
            of_a ? 0.5 * (pair.a_low + pair.a_high) : 0.5 * (pair.b_low + pair.b_high);
        WaitingPair after = next;
        (of_a ? next.a_high : next.b_high) = middle;
        (of_a ? after.a_low : after.b_low) = middle;
        push(next);
        push(after);
    }

    NearestPoints<N> result() const {
        NearestPoints<N> found;
        found.a = at_a_;
        found.b = at_b_;
        found.on_a = a_.point(a_[at_a_.piece], at_a_.u);
        found.on_b = b_.point(b_[at_b_.piece], at_b_.u);
        found.distance = best_;
        const double lower = best_ <= allowed() ? 0.0 : lower_;
        found.lower = std::clamp(lower - 2.0 * (a_.point_error + b_.point_error), 0.0, best_);
        found.certified = best_ - found.lower <= allowed();
        return found;
    }

    // Newton's method starts where this may lead to a nearer pair.
    static constexpr double near_enough = 1.5;

    const PreparedCurve<N>& curve_a_;
    const PreparedCurve<N>& curve_b_;
    const PreparedPieces<N>& a_;
    const PreparedPieces<N>& b_;
    int budget_;
    std::vector<WaitingPair>& waiting_; // a heap
    double best_ = HUGE_VAL;
    double lower_ = HUGE_VAL; // of what isn't waiting any more
    CurvePlace at_a_, at_b_;
};

} // namespace

template <int N>
NearestPoints<N> nearest_points(const PreparedCurve<N>& a, const PreparedCurve<N>& b, int budget) {
    return Search<N>(a, b, budget).run();
}

template NearestPoints<2> nearest_points(const PreparedCurve<2>&, const PreparedCurve<2>&, int);
template NearestPoints<3> nearest_points(const PreparedCurve<3>&, const PreparedCurve<3>&, int);

} // namespace velm
