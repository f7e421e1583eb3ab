#include "velm/curves/detail/pair_search.h"

#include <algorithm>
#include <cmath>

namespace velm::detail {
namespace {

// A part that the graphs' polynomial leaves is made no smaller than this at once: it has to stay
// large against the zone for the zone's order and place to be known well.
constexpr double least_zoom = 0.125;
constexpr int newton_steps = 12;
// A contact is looked at in this many windows, each half as wide as the one before.
constexpr int most_looks = 8;
// A stretch in common is longer than this times the distance that counts as none: shorter ones
// are where ends meet.
constexpr double least_overlap = 1024.0;

double reach_of(const CurvePart& part) {
    double reach = 0.0;
    for (int i = 0; i <= part.degree; ++i)
        reach = std::max(reach, std::fabs(part.px[i]) + std::fabs(part.py[i]));
    return reach;
}

double magnitude(const Piece<2>& piece) {
    return std::max({std::fabs(piece.first[0]), std::fabs(piece.first[1]), std::fabs(piece.last[0]),
                     std::fabs(piece.last[1])});
}

void include(Meeting& meeting, PlaneVector p, double margin) {
    meeting.left = std::min(meeting.left, p.x - margin);
    meeting.right = std::max(meeting.right, p.x + margin);
    meeting.low = std::min(meeting.low, p.y - margin);
    meeting.high = std::max(meeting.high, p.y + margin);
}

void include(Meeting& meeting, const CurvePart& part, double margin) {
    for (int i = 0; i <= part.degree; ++i)
        include(meeting, part.pole(i), margin);
}

// A place of a part's own [0, 1] in those of its piece. The end is exact where an interval ends.
double start_within(const CurvePart& part, double u) {
    return part.from + u * (part.to - part.from);
}
double end_within(const CurvePart& part, double u) {
    return u == 1.0 ? part.to : start_within(part, u);
}

// A zone of a coarse graph becomes as wide as it may be small.
void widen(GraphZone& zone) {
    const double more = std::max(0.0, least_zoom - (zone.high - zone.low)) * 0.5;
    zone.low = std::max(0.0, zone.low - more);
    zone.high = std::min(1.0, zone.high + more);
}

} // namespace

void PairSearch::set_pair(int a, int b) {
    const bool same_a = piece_a_ == a;
    if (same_a && piece_b_ == b) return;
    const Piece<2>&first = tables_a_[a], &second = tables_b_[b];
    origin_ = {first.origin[0], first.origin[1]};
    if (!same_a) whole_a_.take(tables_a_, first, {0.0, 0.0});
    whole_b_.take(tables_b_, second, {second.origin[0] - origin_.x, second.origin[1] - origin_.y});
    piece_a_ = a;
    piece_b_ = b;
    const double reach = reach_of(whole_a_) + reach_of(whole_b_);
    const int n = std::max(first.degree, second.degree);
    limits_ = MeetingLimits(
        half_ulp * ((n + 4.0) * reach + std::max(magnitude(first), magnitude(second))), tolerance_);
}

void PairSearch::run(const PiecePart& a, const PiecePart& b, int& budget) {
    set_pair(a.piece, b.piece);
    tasks_.assign(1, {a.from, a.to, b.from, b.to});
    while (!tasks_.empty()) {
        const Task task = tasks_.back();
        tasks_.pop_back();
        refine(task, budget);
    }
}

void PairSearch::run_self(const PiecePart& part, int& budget) {
    // A part whose steps all lead forward along its chord doesn't meet itself.
    parts_.assign(1, part);
    while (!parts_.empty()) {
        const PiecePart next = parts_.back();
        parts_.pop_back();
        set_pair(next.piece, next.piece);
        whole_a_.cut(next.from, next.to, a_);
        bool forward = norm(a_.chord()) > 0.0;
        for (int i = 0; i < a_.degree; ++i)
            forward = forward && dot(a_.pole(i + 1) - a_.pole(i), a_.chord()) >= 0.0;
        if (forward || a_.extent() <= limits_.tiny || next.to - next.from <= shortest_interval)
            continue;
        if (budget <= 0) { // halving on would leave a pair for each of very many halves
            whole_b_.cut(next.from, next.to, b_);
            Meeting left_over = meeting();
            left_over.unresolved = true;
            meetings_.push_back(left_over);
            continue;
        }
        const double middle = 0.5 * (next.from + next.to);
        const PiecePart before{next.piece, next.from, middle}, after{next.piece, middle, next.to};
        run(before, after, budget);
        parts_.push_back(before);
        parts_.push_back(after);
    }
}

void PairSearch::refine(Task task, int& budget) {
    while (true) {
        whole_a_.cut(task.a_low, task.a_high, a_);
        whole_b_.cut(task.b_low, task.b_high, b_);
        if (budget <= 0) {
            Meeting left_over = meeting();
            left_over.unresolved = true;
            meetings_.push_back(left_over);
            return;
        }
        --budget;
        const auto clipped = [this](const CurvePart& by, const CurvePart& of, double& low,
                                    double& high) {
            const PartInterval kept = clip(by, of, limits_.apart);
            if (kept.empty()) return -1.0;
            const double length = high - low;
            const double from = low;
            if (kept.low > 0.0) low = from + kept.low * length;
            if (kept.high < 1.0) high = from + kept.high * length;
            return std::max(0.0, kept.high) - std::min(1.0, std::max(0.0, kept.low));
        };
        const double left_b = clipped(a_, b_, task.b_low, task.b_high);
        if (left_b < 0.0) return;
        if (left_b < worth_repeating) whole_b_.cut(task.b_low, task.b_high, b_);
        const double left_a = clipped(b_, a_, task.a_low, task.a_high);
        if (left_a < 0.0) return;
        if (left_a < 1.0) whole_a_.cut(task.a_low, task.a_high, a_);
        if (left_b < 1.0 && left_b >= worth_repeating) whole_b_.cut(task.b_low, task.b_high, b_);
        const double extent_a = a_.extent(), extent_b = b_.extent();
        const bool point_a =
            extent_a <= limits_.tiny || task.a_high - task.a_low <= shortest_interval;
        const bool point_b =
            extent_b <= limits_.tiny || task.b_high - task.b_low <= shortest_interval;
        if (point_a && point_b) {
            meet_as_points();
            return;
        }
        const Transversality known = transversality(a_, b_, limits_.pole_error);
        if (known.sine > 0.0) {
            if (meet_at_angle(known)) return;
        } else if (meet_as_graphs()) {
            return;
        }
        if (std::min(left_a, left_b) < worth_repeating) continue;
        halve(task, a_.extent() >= b_.extent(), tasks_);
        return;
    }
}

Meeting PairSearch::meeting() const {
    Meeting result;
    result.a = {piece_a_, a_.from, a_.to};
    result.b = {piece_b_, b_.from, b_.to};
    result.u = 0.5 * (a_.from + a_.to);
    result.v = 0.5 * (b_.from + b_.to);
    result.left = result.low = HUGE_VAL;
    result.right = result.high = -HUGE_VAL;
    include(result, a_, 0.0);
    include(result, b_, 0.0);
    result.left += origin_.x;
    result.right += origin_.x;
    result.low += origin_.y;
    result.high += origin_.y;
    return result;
}

// The one place where parts of different directions meet, if they do.
bool PairSearch::meet_at_angle(const Transversality& known) {
    if (!(known.slope_a > 0.0) || !(known.slope_b > 0.0)) return false;
    double u = 0.5, v = 0.5;
    double distance = HUGE_VAL, best_u = u, best_v = v;
    PlaneVector place{};
    for (int step = 0; step < newton_steps; ++step) {
        const PointAndSlope on_a = a_.at(u), on_b = b_.at(v);
        const PlaneVector gap = on_b.point - on_a.point;
        const double now = norm(gap);
        if (now < distance) {
            distance = now;
            best_u = u;
            best_v = v;
            place = (on_a.point + on_b.point) * 0.5;
        } else if (distance <= limits_.apart) {
            break; // no longer better
        }
        if (now == 0.0) break;
        const double determinant = cross(on_a.slope, on_b.slope);
        if (determinant == 0.0) return false;
        double du = cross(gap, on_b.slope) / determinant;
        double dv = cross(gap, on_a.slope) / determinant;
        // At a border the nearest place of the other part.
        if ((u == 0.0 && du < 0.0) || (u == 1.0 && du > 0.0)) {
            du = 0.0;
            dv = -dot(gap, on_b.slope) / dot(on_b.slope, on_b.slope);
        } else if ((v == 0.0 && dv < 0.0) || (v == 1.0 && dv > 0.0)) {
            dv = 0.0;
            du = dot(gap, on_a.slope) / dot(on_a.slope, on_a.slope);
        }
        const double next_u = std::clamp(u + du, 0.0, 1.0), next_v = std::clamp(v + dv, 0.0, 1.0);
        if (next_u == u && next_v == v) break;
        u = next_u;
        v = next_v;
    }
    if (!(distance <= limits_.together)) return false;
    // Where a and b are nearer than `together`, a has moved by no more than this from the place.
    const double reach = (limits_.together + distance) / known.sine;
    const double a_reach = reach / known.slope_a, b_reach = reach / known.slope_b;
    const double length_a = a_.to - a_.from, length_b = b_.to - b_.from;
    Meeting found;
    found.a = {piece_a_, a_.from + std::max(0.0, best_u - a_reach) * length_a,
               a_.from + std::min(1.0, best_u + a_reach) * length_a};
    found.b = {piece_b_, b_.from + std::max(0.0, best_v - b_reach) * length_b,
               b_.from + std::min(1.0, best_v + b_reach) * length_b};
    if (best_u + a_reach >= 1.0) found.a.to = a_.to;
    if (best_v + b_reach >= 1.0) found.b.to = b_.to;
    found.u = best_u == 1.0 ? a_.to : a_.from + best_u * length_a;
    found.v = best_v == 1.0 ? b_.to : b_.from + best_v * length_b;
    found.left = found.right = origin_.x + place.x;
    found.low = found.high = origin_.y + place.y;
    const PlaneVector at{origin_.x + place.x, origin_.y + place.y};
    include(found, at, reach + limits_.together);
    found.sine = known.sine;
    found.before = known.left ? 1 : -1; // b leads to the left of a, so a to the right of b
    found.after = -found.before;
    found.same_direction = dot(a_.chord(), b_.chord()) > 0.0;
    meetings_.push_back(found);
    return true;
}

// Nearly parallel parts. Returns false if that doesn't lead on.
bool PairSearch::meet_as_graphs() {
    const std::optional<GraphRoles> roles = graph_roles();
    if (!roles || roles->graph.extent() <= limits_.tiny) return false;
    const CurvePart &graph_part = roles->graph, &other = roles->other;
    const GraphIntersection graph(graph_part, other, limits_);
    graph.zones(zones_);
    if (zones_.empty()) return true;
    if (!leads_on(graph, *roles)) return false;
    for (std::size_t z = 0; z < zones_.size(); ++z) {
        GraphZone& zone = zones_[z];
        if (!graph.fine()) widen(zone);
        const double low = start_within(other, zone.low), high = end_within(other, zone.high);
        roles->whole_other.cut(low, high, zone_);
        const PartInterval below = graph.below(zone_);
        if (below.empty()) continue;
        const double graph_low = start_within(graph_part, below.low);
        const double graph_high = end_within(graph_part, below.high);
        const Task task = roles->swapped ? Task{low, high, graph_low, graph_high}
                                         : Task{graph_low, graph_high, low, high};
        if (!graph.fine()) {
            tasks_.push_back(task);
            continue;
        }
        const bool settled = settle_zone(graph, z);
        if (!settled || graph.ends_at(zone.low) || graph.ends_at(zone.high)) zone.order = -1;
        meetings_.push_back(meeting_of_zone(graph, *roles, zone, task));
    }
    return true;
}

// The straight part or the one of lower degree is the graph, if it is straight enough.
std::optional<PairSearch::GraphRoles> PairSearch::graph_roles() const {
    const bool straight_b = b_.degree == 1, straight_a = a_.degree == 1;
    bool swapped = straight_b ? !straight_a : !straight_a && b_.degree < a_.degree;
    if (!GraphIntersection::suits(swapped ? b_ : a_)) {
        if (straight_a || straight_b || !GraphIntersection::suits(swapped ? a_ : b_))
            return std::nullopt;
        swapped = !swapped;
    }
    if (swapped) return GraphRoles{b_, a_, whole_a_, true};
    return GraphRoles{a_, b_, whole_b_, false};
}

// Whether the zones of a fine graph hold all meetings, or those of a coarse one are small enough.
bool PairSearch::leads_on(const GraphIntersection& graph, const GraphRoles& roles) {
    if (!graph.fine()) {
        double left = 0.0;
        for (const GraphZone& zone : zones_)
            left += std::max(zone.high - zone.low, least_zoom);
        return left <= worth_repeating;
    }
    // A part that turns back before or after the graph has to be halved.
    for (const GraphZone& zone : zones_) {
        roles.whole_other.cut(start_within(roles.other, zone.low),
                              end_within(roles.other, zone.high), zone_);
        if (zone_.extent() > limits_.together && !graph.is_beside(zone_)) return false;
    }
    return true;
}

// Looks as far around a zone as half of the way to its neighbours.
bool PairSearch::settle_zone(const GraphIntersection& graph, std::size_t number) {
    GraphZone& zone = zones_[number];
    const double least = number > 0 ? 0.5 * (zones_[number - 1].high + zone.low) : 0.0;
    const double most =
        number + 1 < zones_.size() ? 0.5 * (zones_[number + 1].low + zone.high) : 1.0;
    return graph.settle(zone, least, most);
}

// Of a fine graph; `zone_` is the part of the other curve in the zone, `task` both parts.
Meeting PairSearch::meeting_of_zone(const GraphIntersection& graph, const GraphRoles& roles,
                                    const GraphZone& zone, const Task& task) const {
    const double at = end_within(roles.other, zone.at);
    const PlaneVector place = roles.whole_other.at(at).point;
    const double graph_at = start_within(roles.graph, graph.parameter_below(place));
    Meeting found;
    found.left = found.right = origin_.x + place.x;
    found.low = found.high = origin_.y + place.y;
    for (int i = 0; i <= zone_.degree; ++i)
        include(found, zone_.pole(i) + origin_, limits_.together);
    found.a = {piece_a_, task.a_low, task.a_high};
    found.b = {piece_b_, task.b_low, task.b_high};
    found.u = roles.swapped ? at : graph_at;
    found.v = roles.swapped ? graph_at : at;
    found.order = zone.order;
    found.flat = graph.ends_at(zone.low) && graph.ends_at(zone.high) &&
                 zone_.extent() > least_overlap * limits_.together;
    const PlaneVector slope_a = whole_a_.at(found.u).slope, slope_b = whole_b_.at(found.v).slope;
    found.same_direction = dot(slope_a, slope_b) >= 0.0;
    if (zone.before != 0 && zone.after != 0) {
        // Of the other part about the graph; as sides of b on which a is.
        const bool crosses = zone.before != zone.after;
        const int sense = roles.swapped ? 1 : crosses || found.same_direction ? -1 : 1;
        found.before = sense * zone.before;
        found.after = sense * zone.after;
    }
    return found;
}

bool PairSearch::settle(Meeting& meeting) {
    set_pair(meeting.a.piece, meeting.b.piece);
    const double speed_a = norm(whole_a_.at(meeting.u).slope),
                 speed_b = norm(whole_b_.at(meeting.v).slope);
    const double width = std::max(meeting.a.to - meeting.a.from, shortest_interval);
    const double u = 0.5 * (meeting.a.from + meeting.a.to), v = meeting.b.from + meeting.b.to;
    bool certain = false;
    meeting.order = -1;
    int looks = 0;
    for (double reach = 0.5; reach > width && looks < most_looks; reach *= 0.5) {
        // A little less of b, so that it lies beside a.
        const double b_reach = 0.8 * reach * speed_a / speed_b;
        if (!(b_reach < HUGE_VAL)) return false;
        whole_a_.cut(std::max(0.0, u - reach), std::min(1.0, u + reach), a_);
        whole_b_.cut(std::max(0.0, 0.5 * v - b_reach), std::min(1.0, 0.5 * v + b_reach), b_);
        if (!GraphIntersection::suits(a_) || !GraphIntersection::suits(b_)) continue;
        const GraphIntersection graph(a_, b_, limits_);
        if (!graph.fine()) continue;
        ++looks;
        const double length = b_.to - b_.from;
        graph.zones(zones_);
        for (std::size_t z = 0; z < zones_.size(); ++z) {
            GraphZone& zone = zones_[z];
            if (b_.from + zone.low * length > meeting.b.to ||
                b_.from + zone.high * length < meeting.b.from)
                continue;
            const bool now_certain = settle_zone(graph, z);
            // Of what is certain the least; it is known best in the widest part.
            const bool better =
                now_certain != certain
                    ? now_certain
                    : meeting.order < 0 || (zone.order >= 0 && zone.order < meeting.order);
            if (!better) break;
            certain = now_certain;
            meeting.order = zone.order;
            const double at = end_within(b_, zone.at);
            const double below = graph.parameter_below(whole_b_.at(at).point);
            meeting.v = std::clamp(at, meeting.b.from, meeting.b.to);
            meeting.u =
                std::clamp(a_.from + below * (a_.to - a_.from), meeting.a.from, meeting.a.to);
            break;
        }
    }
    return certain;
}

void PairSearch::meet_as_points() {
    Meeting found = meeting();
    const PlaneVector chord_a = a_.chord(), chord_b = b_.chord();
    found.same_direction = dot(chord_a, chord_b) >= 0.0;
    found.order = -1;
    meetings_.push_back(found);
}

} // namespace velm::detail
