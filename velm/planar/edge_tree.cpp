#include "velm/planar/edge_tree.h"

#include "velm/planar/ray_crossing.h"
#include "velm/wireframe/closest_point.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <numbers>
#include <optional>
#include <utility>

namespace velm {
namespace {

constexpr int edges_in_leaf = 8;
constexpr std::size_t deepest = 64; // halving 2^31 edges down to leaves takes 28 levels

// A box is passed over where its distance exceeds the least computed one by more than the rounding
// of both. With u = 2^-53 and M the largest magnitude of a coordinate of p and the contour, no two
// points are farther apart than 2 sqrt(2) M, and a difference of coordinates is off by a part u:
//   - the distance to a box: u for the differences, 2 u for squares and sum; below 3 u * 2.9 M,
//     which is 9 u M;
//   - the parameter of a foot on a line moves it along the edge by at most 4 u |p - a| (the
//   product)
//     and 5 u |b - a| (the square and the division), below 26 u M; its coordinates are rounded by
//     3 u M each, together below 5 u M, and its distance by 9 u M as that of a box;
//   - a foot on an arc has the errors of a unit vector, 4 u, times a radius below M, and the same
//     last two terms.
// The sum is below 49 u M, which is 5.5e-15 M. The slack is about twice that.
constexpr double slack_per_magnitude = 1e-14;

double squared_distance(const ERPoint2D& p, const ERMinimax2D& box) {
    const double dx = std::max({box.xmin - p.x(), 0.0, p.x() - box.xmax});
    const double dy = std::max({box.ymin - p.y(), 0.0, p.y() - box.ymax});
    return dx * dx + dy * dy;
}

struct Foot {
    ERPoint2D point;
    double parameter; // from 0 to 1
};

Foot foot_on_line(const ERPoint2D& a, const ERPoint2D& b, const ERPoint2D& p) {
    const ERVector2D along(a, b);
    const double length2 = along.norme2();
    const double t = length2 > 0.0 ? std::clamp(ERVector2D(a, p) * along / length2, 0.0, 1.0) : 0.0;
    return {t == 1.0 ? b : a + along * t, t};
}

Foot foot_on_arc(const ERPoint2D& a, const ERPoint2D& b, const ERArc2D& arc, const ERPoint2D& p) {
    const ClosestPoint<ERPoint2D> closest = closest_point(arc, p);
    const double start = arc.startAngle();
    const double t = std::clamp((closest.parameter - start) / (arc.endAngle() - start), 0.0, 1.0);
    return {t == 0.0 ? a : t == 1.0 ? b : closest.point, t};
}

Foot foot_on_curve(const ERPoint2D& a, const ERPoint2D& b, const CurveEdge& curve,
                   const ERPoint2D& p) {
    const CurveEdge::Foot nearest = curve.nearest(p);
    return {nearest.part == 0.0 ? a : nearest.part == 1.0 ? b : nearest.point, nearest.part};
}

Foot foot_on_edge(const Contour& contour, int i, const ERPoint2D& p) {
    const ERPoint2D &a = contour[i], &b = contour[i + 1];
    if (const ERArc2D* const arc = contour.arc(i)) return foot_on_arc(a, b, *arc, p);
    if (const CurveEdge* const curve = contour.curve(i)) return foot_on_curve(a, b, *curve, p);
    return foot_on_line(a, b, p);
}

std::optional<Foot> facing_foot_on_arc(const Contour& contour, int i, const ERPoint2D& p,
                                       const Facing& facing) {
    const ERArc2D& arc = *contour.arc(i);
    const double sense = arc.isDirect() ? 1.0 : -1.0;
    const auto along = [&](double angle) {
        return ERVector2D(-std::sin(angle) * sense, std::cos(angle) * sense);
    };
    const double start = arc.startAngle(), sweep = arc.endAngle() - start;
    const Foot nearest = foot_on_arc(contour[i], contour[i + 1], arc, p);
    if (facing.accepts(along(start + nearest.parameter * sweep))) return nearest;
    // The accepted normals lie within `half` of the direction: the ends of that stretch, and those
    // of the arc.
    const double length = facing.direction.norme();
    if (facing.least_cosine > length) return std::nullopt;
    const double side = facing.outward_side * sense; // outward is away from the centre
    const double middle = std::atan2(facing.direction.j() * side, facing.direction.i() * side);
    const double half = std::acos(std::clamp(facing.least_cosine / length, -1.0, 1.0));
    constexpr double turn = 2.0 * std::numbers::pi;
    std::optional<Foot> best;
    const auto take = [&](double part, const ERPoint2D& place) {
        if (!best || ERVector2D(place, p).norme2() < ERVector2D(best->point, p).norme2())
            best = Foot{place, part};
    };
    for (const double angle : {middle - half, middle + half}) {
        const double way = (angle - start) * sense;
        const double part = (way - turn * std::floor(way / turn)) / std::fabs(sweep);
        if (part <= 1.0) take(part, static_cast<const ERCircle2D&>(arc)(angle));
    }
    if (facing.accepts(along(start))) take(0.0, contour[i]);
    if (facing.accepts(along(start + sweep))) take(1.0, contour[i + 1]);
    return best;
}

std::optional<Foot> facing_foot_on_curve(const Contour& contour, int i, const ERPoint2D& p,
                                         const Facing& facing) {
    const CurveEdge& curve = *contour.curve(i);
    const Foot nearest = foot_on_curve(contour[i], contour[i + 1], curve, p);
    if (facing.accepts(curve.direction(nearest.parameter))) return nearest;
    constexpr double step = 1.0 / EdgeTree::curve_samples;
    const auto squared = [&](double part) {
        return facing.accepts(curve.direction(part)) ? ERVector2D(curve.point(part), p).norme2()
                                                     : std::numeric_limits<double>::infinity();
    };
    double best = -1.0, least = std::numeric_limits<double>::infinity();
    for (int n = 0; n <= EdgeTree::curve_samples; ++n)
        if (const double d2 = squared(n * step); d2 < least) {
            least = d2;
            best = n * step;
        }
    if (best < 0.0) return std::nullopt;
    // Halving the steps to both sides ends within a rounding of the parameter; what isn't accepted
    // is infinitely far.
    constexpr double smallest = 1e-16;
    for (double width = step / 2.0; width > smallest; width /= 2.0)
        for (const double part : {std::max(best - width, 0.0), std::min(best + width, 1.0)})
            if (const double d2 = squared(part); d2 < least) {
                least = d2;
                best = part;
            }
    return Foot{curve.point(best), best};
}

std::optional<Foot> facing_foot(const Contour& contour, int i, const ERPoint2D& p,
                                const Facing& facing) {
    if (contour.arc(i) != nullptr) return facing_foot_on_arc(contour, i, p, facing);
    if (contour.curve(i) != nullptr) return facing_foot_on_curve(contour, i, p, facing);
    if (!facing.accepts(ERVector2D(contour[i], contour[i + 1]))) return std::nullopt;
    return foot_on_line(contour[i], contour[i + 1], p);
}

} // namespace

EdgeTree::EdgeTree(Contour contour) : contour_(std::move(contour)), extent_(contour_.magnitude()) {
    build(0, contour_.size());
}

int EdgeTree::build(int begin, int end) {
    const std::size_t at = nodes_.size();
    nodes_.push_back({ERMinimax2D(), begin, end, 0, 0});
    if (end - begin <= edges_in_leaf) {
        for (int i = begin; i < end; ++i)
            nodes_[at].box.Update(contour_.box(i));
    } else {
        const int middle = begin + (end - begin) / 2;
        build(begin, middle);
        const int right = build(middle, end);
        nodes_[at].right = right;
        nodes_[at].box = nodes_[at + 1].box;
        nodes_[at].box.Update(nodes_[static_cast<std::size_t>(right)].box);
    }
    nodes_[at].after = nodes_.size();
    return static_cast<int>(at);
}

template <class FootOn>
void EdgeTree::search(const ERPoint2D& p, int contour, NearestEdge& best, FootOn foot_on) const {
    const auto try_edge = [&](int i) {
        const std::optional<Foot> foot = foot_on(i);
        if (!foot) return;
        const double d2 = ERVector2D(foot->point, p).norme2();
        const bool is_first = best.contour == contour && i < best.edge;
        if (d2 < best.squared_distance || (d2 == best.squared_distance && is_first))
            best = {d2, foot->point, foot->parameter, contour, i};
    };
    const double slack =
        slack_per_magnitude * std::max({extent_, std::fabs(p.x()), std::fabs(p.y())});
    const auto reach = [&] {
        const double distance = std::sqrt(best.squared_distance) + slack;
        return distance * distance;
    };
    // Nothing of an arc is nearer than its circle, nothing of a curve than its box: far cheaper to
    // ask.
    const auto is_out_of_reach = [&](int i) {
        if (const CurveEdge* const curve = contour_.curve(i))
            return squared_distance(p, curve->prepared().box()) > reach();
        const ERArc2D* const arc = contour_.arc(i);
        if (arc == nullptr) return false;
        const double gap = ERVector2D(arc->center(), p).norme() - arc->radius();
        return gap * gap > reach();
    };

    struct Waiting {
        int node;
        double squared_distance;
    };
    std::array<Waiting, deepest> waiting;
    std::size_t count = 0;
    waiting[count++] = {0, squared_distance(p, nodes_[0].box)};
    double limit = reach();
    while (count > 0) {
        const Waiting next = waiting[--count];
        if (next.squared_distance > limit) continue;
        const Node& node = nodes_[static_cast<std::size_t>(next.node)];
        if (node.right == 0) {
            for (int i = node.begin; i < node.end; ++i)
                if (!is_out_of_reach(i)) try_edge(i);
            limit = reach();
            continue;
        }
        Waiting near{next.node + 1, 0.0}, far{node.right, 0.0};
        near.squared_distance =
            squared_distance(p, nodes_[static_cast<std::size_t>(near.node)].box);
        far.squared_distance = squared_distance(p, nodes_[static_cast<std::size_t>(far.node)].box);
        if (far.squared_distance < near.squared_distance) std::swap(near, far);
        if (far.squared_distance <= limit) waiting[count++] = far;
        waiting[count++] = near;
    }
}

void EdgeTree::find_nearest(const ERPoint2D& p, int contour, NearestEdge& best) const {
    search(p, contour, best,
           [&](int i) -> std::optional<Foot> { return foot_on_edge(contour_, i, p); });
}

void EdgeTree::find_nearest(const ERPoint2D& p, int contour, const Facing& facing,
                            NearestEdge& best) const {
    search(p, contour, best, [&](int i) { return facing_foot(contour_, i, p, facing); });
}

bool EdgeTree::encloses(const ERPoint2D& p) const {
    bool odd = false;
    std::array<int, deepest> waiting;
    std::size_t count = 0;
    waiting[count++] = 0;
    while (count > 0) {
        const int at = waiting[--count];
        const Node& node = nodes_[static_cast<std::size_t>(at)];
        if (p.y() >= node.box.ymax || p.y() < node.box.ymin || p.x() > node.box.xmax) continue;
        if (p.x() < node.box.xmin) { // all of it lies ahead: the parity is that of its ends
            odd ^= parts(p.y(), contour_[node.begin], contour_[node.end]);
        } else if (node.right == 0) {
            for (int i = node.begin; i < node.end; ++i)
                odd ^= crosses_ray(contour_, i, p);
        } else {
            waiting[count++] = node.right;
            waiting[count++] = at + 1;
        }
    }
    return odd;
}

} // namespace velm
