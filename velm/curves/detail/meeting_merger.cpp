#include "velm/curves/detail/meeting_merger.h"

#include "velm/curves/detail/curve_side.h"
#include "velm/frame/point_functions.h"

#include <algorithm>
#include <cmath>

namespace velm::detail {
namespace {

// Intervals this near to each other share a place.
constexpr double touching_slack = 0x1p-48;
// A place this near to a joint is on it if its enclosure says that it may.
constexpr double joint_reach = 0x1p-36;
// How far from a meeting its sides are looked at, in pieces, if nothing else is nearer.
constexpr double side_step = 0x1p-10;
// A turn of the tangent above this, as a sine, is an angle.
constexpr double parallel_sine = 0x1p-20;

// By how much a part is widened when neighbours are looked for: two searches next to each other
// bound one meeting a little differently.
double widening(const Meeting& meeting, const PiecePart& part) {
    const bool sharp = meeting.flat || meeting.unresolved;
    return touching_slack + (sharp ? 0.0 : part.to - part.from);
}

void swap_curves(Meeting& meeting) {
    std::swap(meeting.a, meeting.b);
    std::swap(meeting.u, meeting.v);
    if (meeting.before == 0 && meeting.after == 0) return;
    const bool crosses = meeting.before != meeting.after;
    if (crosses || meeting.same_direction) {
        meeting.before = -meeting.before;
        meeting.after = -meeting.after;
    }
}

ERPoint2D point_along(const PreparedPieces<2>& curve, double along) {
    const CurvePlace place = place_along(curve, along);
    return curve.point(curve[place.piece], place.u);
}

double along(const PiecePart& part, double u) { return part.piece + u; }

void include(Stretch& stretch, double low, double high) {
    stretch.low = std::min(stretch.low, low);
    stretch.high = std::max(stretch.high, high);
}

// Whether a stretch reaches an end of the curve or a gap.
bool is_at_end(const PreparedPieces<2>& curve, const Stretch& stretch) {
    return free_step(curve, stretch.low, -side_step) == 0.0 ||
           free_step(curve, stretch.high, side_step) == 0.0;
}

bool at_border(const PiecePart& part) { return part.from <= 0.0 || part.to >= 1.0; }

// Which of two meetings shows the contact better.
bool is_better(const Meeting& x, const Meeting& y) {
    if (x.order != y.order) return x.order > y.order;
    if ((x.sine > 0.0) != (y.sine > 0.0)) return x.sine > 0.0;
    return x.a.to - x.a.from < y.a.to - y.a.from;
}

} // namespace

void MeetingMerger::merge(std::vector<Meeting>& meetings, std::vector<CurveIntersection>& found) {
    if (of_itself() && a_.closed) turn_at_seam(meetings);
    link(meetings);
    clusters_.clear();
    const int count = static_cast<int>(meetings.size());
    cluster_of_.assign(meetings.size(), -1);
    turns_a_.assign(meetings.size(), 0);
    turns_b_.assign(meetings.size(), 0);
    for (int i = 0; i < count; ++i)
        if (cluster_of_[static_cast<std::size_t>(i)] < 0) gather(meetings, i);
    std::sort(clusters_.begin(), clusters_.end(), [](const Cluster& x, const Cluster& y) {
        return x.a.low != y.a.low ? x.a.low < y.a.low : x.b.low < y.b.low;
    });
    find_sides();
    for (Cluster& cluster : clusters_)
        if (!cluster.on_diagonal || turns_back(cluster)) found.push_back(entry_of(cluster));
    std::sort(found.begin(), found.end(),
              [](const CurveIntersection& x, const CurveIntersection& y) {
                  return x.a.t != y.a.t ? x.a.t < y.a.t : x.b.t < y.b.t;
              });
}

// A meeting of the seam with a place k comes as (seam, k) and (k, seam): one of them is turned
// round, so that they share a place.
void MeetingMerger::turn_at_seam(std::vector<Meeting>& meetings) {
    for (Meeting& x : meetings) {
        if (x.b.piece != a_.count() - 1 || x.b.to < 1.0 - touching_slack) continue;
        int own_turn = 0;
        if (touches(a_, x.a, x.b, touching_slack, own_turn)) continue;
        for (const Meeting& y : meetings) {
            int turn = 0;
            if (y.a.piece == 0 && y.a.from <= touching_slack &&
                touches(a_, x.a, y.b, std::max(widening(x, x.a), widening(y, y.b)), turn)) {
                swap_curves(x);
                break;
            }
        }
    }
}

// Whether a meeting of neighbouring places is a stretch in common, not just a cusp.
bool MeetingMerger::turns_back(const Cluster& cluster) const {
    constexpr double least_part = 0x1p-10; // of the size
    return cluster.is_flat && distance(point_along(a_, cluster.flat_a.low),
                                       point_along(a_, cluster.flat_a.high)) > least_part * a_.size;
}

// Finds the pairs of rectangles that share a place, by a sweep along a.
void MeetingMerger::link(const std::vector<Meeting>& meetings) {
    links_.clear();
    const std::size_t count = meetings.size();
    order_.resize(count);
    for (std::size_t i = 0; i < count; ++i)
        order_[i] = static_cast<int>(i);
    const auto start = [&](int i) {
        const Meeting& m = meetings[static_cast<std::size_t>(i)];
        return along(m.a, m.a.from) - widening(m, m.a);
    };
    const auto end = [&](int i) {
        const Meeting& m = meetings[static_cast<std::size_t>(i)];
        return along(m.a, m.a.to) + widening(m, m.a);
    };
    std::sort(order_.begin(), order_.end(), [&](int i, int k) { return start(i) < start(k); });
    constexpr double rounding = 1e-9; // of counts of pieces
    for (std::size_t i = 0; i < count; ++i)
        for (std::size_t k = i + 1; k < count && start(order_[k]) <= end(order_[i]) + rounding; ++k)
            link_pair(meetings, order_[i], order_[k]);
    if (!a_.closed) return;
    for (const int last : order_) {
        if (end(last) < a_.count()) continue;
        for (const int first : order_) {
            if (start(first) > rounding) break;
            if (first != last) link_pair(meetings, first, last);
        }
    }
}

void MeetingMerger::link_pair(const std::vector<Meeting>& meetings, int i, int k) {
    const Meeting &x = meetings[static_cast<std::size_t>(i)],
                  &y = meetings[static_cast<std::size_t>(k)];
    if (x.unresolved != y.unresolved) return;
    int turn_a = 0, turn_b = 0;
    if (!touches(a_, x.a, y.a, std::max(widening(x, x.a), widening(y, y.a)), turn_a)) return;
    if (!touches(b_, x.b, y.b, std::max(widening(x, x.b), widening(y, y.b)), turn_b)) return;
    links_.push_back({i, k, turn_a, turn_b});
    links_.push_back({k, i, -turn_a, -turn_b});
}

// Collects all that hangs together with one rectangle.
void MeetingMerger::gather(std::vector<Meeting>& meetings, int first) {
    if (clusters_.empty()) {
        std::sort(links_.begin(), links_.end(),
                  [](const Link& x, const Link& y) { return x.from < y.from; });
        first_link_.assign(meetings.size() + 1, 0);
        for (const Link& link : links_)
            ++first_link_[static_cast<std::size_t>(link.from) + 1];
        for (std::size_t i = 1; i < first_link_.size(); ++i)
            first_link_[i] += first_link_[i - 1];
    }
    const int number = static_cast<int>(clusters_.size());
    members_.assign(1, first);
    cluster_of_[static_cast<std::size_t>(first)] = number;
    for (std::size_t next = 0; next < members_.size(); ++next) {
        const std::size_t from = static_cast<std::size_t>(members_[next]);
        for (int l = first_link_[from]; l < first_link_[from + 1]; ++l) {
            const Link& link = links_[static_cast<std::size_t>(l)];
            const std::size_t to = static_cast<std::size_t>(link.to);
            if (cluster_of_[to] >= 0) continue;
            cluster_of_[to] = number;
            turns_a_[to] = turns_a_[from] + link.turn_a;
            turns_b_[to] = turns_b_[from] + link.turn_b;
            members_.push_back(link.to);
        }
    }
    complete(meetings, members_, clusters_.emplace_back());
}

// Makes one entry of the rectangles that hang together.
void MeetingMerger::complete(const std::vector<Meeting>& meetings, std::span<const int> members,
                             Cluster& cluster) {
    constexpr Stretch nothing{HUGE_VAL, -HUGE_VAL, 0.0};
    cluster.a = cluster.b = cluster.flat_a = cluster.flat_b = nothing;
    Summary summary;
    for (const int member : members) {
        const std::size_t index = static_cast<std::size_t>(member);
        const Meeting& m = meetings[index];
        const double start_a = a_.count() * turns_a_[index] + m.a.piece;
        const double start_b = b_.count() * turns_b_[index] + m.b.piece;
        include_stretches(m, start_a, start_b, cluster);
        include_facts(m, cluster, summary);
        if (summary.best == nullptr || is_better(m, *summary.best)) {
            summary.best = &m;
            cluster.a.at = start_a + m.u;
            cluster.b.at = start_b + m.v;
        }
    }
    Meeting whole = *summary.best;
    if (!cluster.is_flat && !cluster.on_diagonal && !whole.unresolved && !summary.all_at_angle &&
        (members.size() > 1 || whole.order < 0))
        settle(meetings, members, cluster, whole);
    CurveIntersection& entry = cluster.entry;
    entry.a = a_.place(whole.a.piece, whole.u);
    entry.b = b_.place(whole.b.piece, whole.v);
    entry.order = whole.order;
    cluster.sides_known = summary.inside && summary.sides_agree && entry.before != 0;
    entry.same_direction =
        cluster.is_flat ? summary.flat_direction > 0 : summary.best->same_direction;
}

// Widens the stretches and the box of a cluster; the pieces of the rectangle begin at `start_a`
// and `start_b`, counted as in Stretch.
void MeetingMerger::include_stretches(const Meeting& m, double start_a, double start_b,
                                      Cluster& cluster) const {
    include(cluster.a, start_a + m.a.from, start_a + m.a.to);
    include(cluster.b, start_b + m.b.from, start_b + m.b.to);
    if (m.flat) {
        include(cluster.flat_a, start_a + m.a.from, start_a + m.a.to);
        include(cluster.flat_b, start_b + m.b.from, start_b + m.b.to);
    }
    cluster.entry.box.Update(ERMinimax2D(m.left, m.low, m.right, m.high));
}

void MeetingMerger::include_facts(const Meeting& m, Cluster& cluster, Summary& summary) const {
    CurveIntersection& entry = cluster.entry;
    if (m.unresolved) entry.kind = IntersectionKind::unresolved;
    if (m.flat) {
        cluster.is_flat = true;
        summary.flat_direction += m.same_direction ? 1 : -1;
    }
    summary.all_at_angle = summary.all_at_angle && m.sine > 0.0;
    summary.inside = summary.inside && !at_border(m.a) && !at_border(m.b);
    if (m.before != 0 && m.after != 0) {
        if (entry.before == 0) {
            entry.before = m.before;
            entry.after = m.after;
        }
        summary.sides_agree =
            summary.sides_agree && m.before == entry.before && m.after == entry.after;
    }
    int turn = 0;
    if (of_itself() && touches(a_, m.a, m.b, touching_slack, turn)) cluster.on_diagonal = true;
}

// The highest order that is certain in one of the pairs of pieces, with its place.
void MeetingMerger::settle(const std::vector<Meeting>& meetings, std::span<const int> members,
                           Cluster& cluster, Meeting& best) {
    best.order = -1;
    bool certain = false;
    for (const int member : members) {
        const std::size_t index = static_cast<std::size_t>(member);
        Meeting whole = meetings[index];
        bool first = true;
        for (const int other : members) {
            const Meeting& m = meetings[static_cast<std::size_t>(other)];
            if (m.a.piece != whole.a.piece || m.b.piece != whole.b.piece) continue;
            first = first && other >= member;
            whole.a = {m.a.piece, std::min(whole.a.from, m.a.from), std::max(whole.a.to, m.a.to)};
            whole.b = {m.b.piece, std::min(whole.b.from, m.b.from), std::max(whole.b.to, m.b.to)};
        }
        if (!first) continue;
        const bool now_certain = search_.settle(whole);
        if (now_certain != certain ? !now_certain : whole.order <= best.order) continue;
        certain = now_certain;
        best = whole;
        cluster.a.at = a_.count() * turns_a_[index] + whole.a.piece + whole.u;
        cluster.b.at = b_.count() * turns_b_[index] + whole.b.piece + whole.v;
    }
}

// A step along the curve to where it is some `reach` away, which is small.
double MeetingMerger::reaching_step(const PreparedPieces<2>& curve, double along, double sense,
                                    double reach) const {
    constexpr double far_enough = 2.0, longest = 0.75, first = 0x1p-14;
    const ERPoint2D start = point_along(curve, along);
    double step = first;
    while (step < longest &&
           distance(point_along(curve, along + sense * step), start) < far_enough * reach)
        step *= 2.0;
    return free_step(curve, along, sense * std::min(step, longest));
}

// Sets the sides that the search hasn't found.
void MeetingMerger::find_sides() {
    ends_a_.clear();
    ends_b_.clear();
    for (std::size_t i = 0; i < clusters_.size(); ++i) {
        if (clusters_[i].on_diagonal) continue;
        ends_a_.add(clusters_[i].a, i);
        ends_b_.add(clusters_[i].b, i);
    }
    ends_a_.sort();
    ends_b_.sort();
    for (std::size_t i = 0; i < clusters_.size(); ++i)
        if (!clusters_[i].sides_known) set_sides(i);
}

// By the sides of a about b, or, where these aren't known on both sides, of b about a.
void MeetingMerger::set_sides(std::size_t index) {
    const Cluster& cluster = clusters_[index];
    CurveIntersection& entry = clusters_[index].entry;
    entry.before = entry.after = 0;
    if (entry.kind == IntersectionKind::unresolved || cluster.on_diagonal) return;
    look_beside(index, true, entry.before, entry.after);
    if (entry.before != 0 && entry.after != 0) return;
    int b_before = 0, b_after = 0;
    look_beside(index, false, b_before, b_after);
    if (b_before == 0 || b_after == 0 || is_at_end(a_, cluster.a)) return;
    const bool crosses = b_before != b_after;
    const int sense = crosses || entry.same_direction ? -1 : 1;
    entry.before = sense * b_before;
    entry.after = sense * b_after;
}

// Looks at points of one curve next to the meeting, nearer to it than to the next ones.
void MeetingMerger::look_beside(std::size_t index, bool walk_a, int& before, int& after) const {
    const Cluster& cluster = clusters_[index];
    const PreparedPieces<2>&walked = walk_a ? a_ : b_, &other = walk_a ? b_ : a_;
    const Stretch &own = walk_a ? cluster.a : cluster.b, &its = walk_a ? cluster.b : cluster.a;
    const double step =
        cluster.is_flat ? side_step : std::max(side_step, 4.0 * (own.high - own.low));
    for (const bool forward : {false, true}) {
        const double from = forward ? own.high : own.low;
        const double way = std::min(0.5, room(index, walk_a, forward, step));
        const double free = free_step(walked, from, forward ? way : -way);
        if (free == 0.0) continue;
        const ERPoint2D p = point_along(walked, from + free);
        const double reach = distance(p, point_along(walked, from));
        const double low = its.low + reaching_step(other, its.low, -1.0, reach);
        const double high = its.high + reaching_step(other, its.high, 1.0, reach);
        (forward ? after : before) = side_of_stretch(other, low, high, p);
    }
}

// A step forward or backward that goes at most half of the way to the next meeting.
double MeetingMerger::room(std::size_t index, bool on_a, bool forward, double step) const {
    const Cluster& cluster = clusters_[index];
    // The other place of the same curve isn't to be reached.
    constexpr double part_of_way = 0x1p-4;
    if (of_itself() && cluster.b.low > cluster.a.high)
        step = std::min(step, part_of_way * (cluster.b.low - cluster.a.high));
    const Stretch& own = on_a ? cluster.a : cluster.b;
    return std::min(step, 0.5 * (on_a ? ends_a_ : ends_b_).way_to_next(own, index, forward));
}

// A stretch in common ends at a joint or end of one of the curves: the place on the other one is
// the nearest to that.
void MeetingMerger::settle_overlap(Cluster& cluster) const {
    const auto is_joint = [](double along) {
        return std::fabs(along - std::round(along)) <= joint_reach;
    };
    for (const bool start : {true, false}) {
        double& a = start ? cluster.flat_a.low : cluster.flat_a.high;
        double& b =
            start == cluster.entry.same_direction ? cluster.flat_b.low : cluster.flat_b.high;
        if (is_joint(a)) {
            a = std::round(a);
            const double joint = std::round(b);
            b = nearest_along(b_, b, point_along(a_, a));
            if (std::fabs(b - joint) <= joint_reach) b = joint;
        } else if (is_joint(b)) {
            b = std::round(b);
            a = nearest_along(a_, a, point_along(b_, b));
        }
    }
}

CurveIntersection MeetingMerger::entry_of(Cluster& cluster) const {
    CurveIntersection entry = cluster.entry;
    const bool unresolved = entry.kind == IntersectionKind::unresolved;
    const auto interval = [](const PreparedPieces<2>& curve, const Stretch& stretch) {
        return parameters_along(curve, stretch.low, stretch.high);
    };
    if (cluster.is_flat && !unresolved) {
        entry.kind = IntersectionKind::overlap;
        settle_overlap(cluster);
        entry.a_parameters = interval(a_, cluster.flat_a);
        entry.b_parameters = interval(b_, cluster.flat_b);
        entry.a = place_along(a_, cluster.flat_a.low);
        entry.b = place_along(b_, entry.same_direction ? cluster.flat_b.low : cluster.flat_b.high);
        if (!entry.same_direction)
            entry.b_parameters = {entry.b_parameters.end(), entry.b_parameters.start()};
        entry.point = a_.point(a_[entry.a.piece], entry.a.u);
        return entry;
    }
    entry.a_parameters = interval(a_, cluster.a);
    entry.b_parameters = interval(b_, cluster.b);
    const auto snap = [](const PreparedPieces<2>& curve, const Stretch& stretch,
                         CurvePlace& place) {
        const double joint = std::round(stretch.at);
        if (std::fabs(stretch.at - joint) > joint_reach || stretch.low > joint ||
            stretch.high < joint)
            return;
        place = place_along(curve, joint);
    };
    snap(a_, cluster.a, entry.a);
    snap(b_, cluster.b, entry.b);
    const ERPoint2D on_a = a_.point(a_[entry.a.piece], entry.a.u),
                    on_b = b_.point(b_[entry.b.piece], entry.b.u);
    entry.point = on_a == on_b ? on_a : on_a + (on_b - on_a) * 0.5;
    if (unresolved) return entry;
    if (is_at_end(a_, cluster.a) || is_at_end(b_, cluster.b))
        entry.kind = IntersectionKind::end;
    else
        entry.kind =
            entry.before == entry.after ? IntersectionKind::touching : IntersectionKind::crossing;
    if (entry.order < 0) {
        const Local<2> a = a_.jet(a_[entry.a.piece], entry.a.u).first;
        const Local<2> b = b_.jet(b_[entry.b.piece], entry.b.u).first;
        const double sine = std::fabs(a[0] * b[1] - a[1] * b[0]);
        const double lengths = std::sqrt(squared_norm(a) * squared_norm(b));
        entry.order = sine <= parallel_sine * lengths ? 1 : 0;
    }
    return entry;
}

} // namespace velm::detail
