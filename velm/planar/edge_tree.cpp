#include "velm/planar/edge_tree.h"

#include "velm/planar/ray_crossing.h"
#include "velm/wireframe/closest_point.h"

#include <algorithm>
#include <array>
#include <cmath>
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

void EdgeTree::try_edge(int i, const ERPoint2D& p, int contour, NearestEdge& best) const {
    const Foot foot = foot_on_edge(contour_, i, p);
    const double d2 = ERVector2D(foot.point, p).norme2();
    const bool is_first = best.contour == contour && i < best.edge;
    if (d2 < best.squared_distance || (d2 == best.squared_distance && is_first))
        best = {d2, foot.point, foot.parameter, contour, i};
}

void EdgeTree::find_nearest(const ERPoint2D& p, int contour, NearestEdge& best) const {
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
                if (!is_out_of_reach(i)) try_edge(i, p, contour, best);
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
