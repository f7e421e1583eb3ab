#include "velm/surfaces/detail/lifted_loop.h"

#include "velm/curves/curve_bounds.h"
#include "velm/frame/point_functions.h"

#include <algorithm>
#include <cmath>
#include <functional>

namespace velm::detail {

namespace {

constexpr int most_halvings = 24;

double distance_from_segment(const ERPoint2D& a, const ERPoint2D& b, const ERPoint2D& p) {
    const ERVector2D along(a, b), to(a, p);
    const double length2 = along.norme2();
    const double part = length2 > 0.0 ? std::clamp(to * along / length2, 0.0, 1.0) : 0.0;
    return (to - along * part).norme();
}

} // namespace

LiftedLoop::LiftedLoop(FaceMetric& metric, int loop, double error)
    : metric_(metric), loop_(loop), edges_(metric.face().edges(loop)), trim_error_(0.5 * error) {
    for (int i = 0; i < edges_; ++i) {
        find_breaks(i, metric_.lines_u(), 0);
        find_breaks(i, metric_.lines_v(), 1);
    }
    for (double& place : on_breaks_)
        place = in_first_round(place);
    std::ranges::sort(on_breaks_);
    on_breaks_.erase(std::unique(on_breaks_.begin(), on_breaks_.end()), on_breaks_.end());
    for (int i = 0; i < edges_; ++i)
        add_edge(i, error);
    LoopVertex last = vertices_.front();
    last.place = edges_;
    last.way = vertices_.back().way + distance(vertices_.back().point, last.point);
    vertices_.push_back(last);
}

void LiftedLoop::add(double place) {
    LoopVertex vertex;
    vertex.place = place;
    vertex.at = parameter(place);
    vertex.point = metric_.surface()(vertex.at.x(), vertex.at.y());
    if (!vertices_.empty())
        vertex.way = vertices_.back().way + distance(vertices_.back().point, vertex.point);
    vertices_.push_back(vertex);
}

// The edge without its end: the vertices of its polygon in the parameters, and more where the
// surface bends over a side.
void LiftedLoop::add_edge(int edge, double error) {
    const TrimEdge trim = metric_.face().edge(loop_, edge);
    std::vector<double> pending = {edge + 1.0}; // the last one is the next
    for (const double place : on_breaks_)
        if (place > edge && place < edge + 1.0) pending.push_back(place);
    if (trim.curve != nullptr) {
        const auto vertices = polyline(*trim.curve, trim_error_ / metric_.speed());
        const ERLimites domain = trim.curve->domain();
        for (std::size_t k = 1; k + 1 < vertices.size(); ++k)
            pending.push_back(edge + (vertices[k].t - domain.start()) / domain.amplitude());
    }
    std::ranges::sort(pending, std::greater<>());
    add(edge);
    const auto has_room = [&] { return pending.size() < vertices_.size() + (1u << 20); };
    for (int halvings = 0; !pending.empty();) {
        const double next = pending.back(), here = vertices_.back().place;
        const ERPoint2D end = next == edge + 1.0 ? metric_.on_lines(trim.end) : parameter(next);
        if (halvings < most_halvings && has_room() &&
            metric_.deviation(vertices_.back().at, end) > 0.5 * error) {
            pending.push_back(0.5 * (here + next));
            ++halvings;
            continue;
        }
        halvings = 0;
        pending.pop_back();
        if (next < edge + 1.0) add(next);
    }
}

bool LiftedLoop::face_is_left() const {
    double area = 0.0;
    const ERPoint2D origin = vertices_.front().at;
    for (std::size_t i = 0; i + 1 < vertices_.size(); ++i) {
        const ERVector2D a(origin, vertices_[i].at), b(origin, vertices_[i + 1].at);
        area += a.i() * b.j() - a.j() * b.i();
    }
    return (area > 0.0) != metric_.face().is_hole(loop_);
}

double LiftedLoop::in_first_round(double place) const {
    const double shifted = place - std::floor(place / edges_) * edges_;
    return shifted >= edges_ ? 0.0 : shifted;
}

ERPoint2D LiftedLoop::parameter(double place) const {
    const double first = in_first_round(place), edge = std::floor(first);
    return metric_.on_lines(metric_.face().parameter(loop_, static_cast<int>(edge), first - edge));
}

ERPoint3D LiftedLoop::point(double place) const {
    const ERPoint2D at = parameter(place);
    return metric_.surface()(at.x(), at.y());
}

std::size_t LiftedLoop::first_after(double place) const {
    const auto above = std::ranges::upper_bound(vertices_, place, {}, &LoopVertex::place);
    return static_cast<std::size_t>(above - vertices_.begin());
}

double LiftedLoop::way_at(double place) const {
    const double round = std::floor(place / edges_);
    const double first = place - round * edges_;
    const std::size_t after = std::clamp<std::size_t>(first_after(first), 1, vertices_.size() - 1);
    const LoopVertex &a = vertices_[after - 1], &b = vertices_[after];
    return round * length() + a.way + (b.way - a.way) * (first - a.place) / (b.place - a.place);
}

double LiftedLoop::length_between(double low, double high) const {
    return way_at(high) - way_at(low);
}

double LiftedLoop::place_at_way(double place, double way) const {
    const double whole = length();
    if (!(whole > 0.0)) return place;
    const double there = way_at(place) + way, round = std::floor(there / whole);
    const double at = there - round * whole;
    const auto above = std::ranges::upper_bound(vertices_, at, {}, &LoopVertex::way);
    if (above == vertices_.end()) return (round + 1.0) * edges_;
    const LoopVertex &a = *(above - 1), &b = *above;
    return round * edges_ + a.place + (b.place - a.place) * ((at - a.way) / (b.way - a.way));
}

LoopFoot LiftedLoop::nearest(const ERPoint3D& p, double low, double high) const {
    LoopFoot foot;
    double best = HUGE_VAL, place = low, before_place = low;
    ERPoint3D before = point(low);
    const auto look = [&](double next, const ERPoint3D& to) {
        const ERVector3D along(before, to), off(before, p);
        const double length2 = along.norme2();
        const double part = length2 > 0.0 ? std::clamp(off * along / length2, 0.0, 1.0) : 0.0;
        const double squared = (off - along * part).norme2();
        if (squared < best) {
            best = squared;
            place = before_place + part * (next - before_place);
        }
        before = to;
        before_place = next;
    };
    between(low, high, [&](double next, const LoopVertex& vertex) { look(next, vertex.point); });
    look(high, point(high));
    // Secant steps on the edge's own parameter.
    constexpr int most_steps = 12;
    constexpr double worth = 0.999999; // a smaller gain ends it
    const double rounding = 1e-15 * (std::fabs(p.x()) + std::fabs(p.y()) + std::fabs(p.z()));
    for (int step = 0; step < most_steps; ++step) {
        const ERPoint3D on = point(place);
        const double away = distance(on, p);
        const bool ends = !(away < worth * foot.distance) || away <= rounding;
        if (away < foot.distance) foot = {place, on, away};
        if (ends) break;
        const double h = std::min(1e-6, 0.25 * (high - low));
        const double other = place + h <= high ? place + h : place - h;
        const ERVector3D along = ERVector3D(on, point(other)) * (1.0 / (other - place));
        const double slope = along.norme2();
        if (!(slope > 0.0)) break;
        place = std::clamp(place + ERVector3D(on, p) * along / slope, low, high);
    }
    return foot;
}

double LiftedLoop::trim_deviation(double low, double high) const {
    const double v_scale = metric_.face().v_scale();
    const auto scaled = [&](const ERPoint2D& at) { return ERPoint2D(at.x(), at.y() * v_scale); };
    const ERPoint2D a = scaled(parameter(low)), b = scaled(parameter(high));
    const int edge = static_cast<int>(std::floor(low));
    if (high <= edge + 1.0 && metric_.face().edge(loop_, edge % edges_).curve == nullptr)
        return 0.0;
    double farthest = 0.0;
    between(low, high, [&](double, const LoopVertex& vertex) {
        farthest = std::max(farthest, distance_from_segment(a, b, scaled(vertex.at)));
    });
    return farthest * metric_.speed() + trim_error_;
}

double LiftedLoop::deviation(double low, double high) const {
    return trim_deviation(low, high) + metric_.deviation(parameter(low), parameter(high));
}

// Crossings with lines of constant u (axis 0) or v (axis 1), and ends of the edge on them.
void LiftedLoop::find_breaks(int edge, const std::vector<double>& lines, int axis) {
    const TrimEdge trim = metric_.face().edge(loop_, edge);
    const double v_scale = metric_.face().v_scale();
    const ERPoint2D a = metric_.on_lines(trim.start), b = metric_.on_lines(trim.end);
    std::vector<CurveCrossing<2>> found;
    for (const double line : lines) {
        if (a[axis] == line) on_breaks_.push_back(edge);
        if (trim.curve == nullptr) {
            if ((a[axis] - line) * (b[axis] - line) < 0.0)
                on_breaks_.push_back(edge + (line - a[axis]) / (b[axis] - a[axis]));
            continue;
        }
        const ERLimites domain = trim.curve->domain();
        const ERPoint2D on = axis == 0 ? ERPoint2D(line, 0) : ERPoint2D(0, line * v_scale);
        trim.curve->crossings(on, axis == 0 ? ERVector2D(0, 1) : ERVector2D(1, 0), found);
        const auto add = [&](double t) {
            const double part = (t - domain.start()) / domain.amplitude();
            on_breaks_.push_back(edge + std::clamp(part, 0.0, 1.0));
        };
        for (const CurveCrossing<2>& crossing : found) {
            add(crossing.t);
            if (!crossing.along) continue;
            add(crossing.parameters.start());
            add(crossing.parameters.end());
        }
    }
}

} // namespace velm::detail
