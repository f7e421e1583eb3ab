#include "velm/planar/polygon_projection.h"

#include "velm/frame/point_functions.h"
#include "velm/frame/vec.h"
#include "velm/planar/orientation.h"

#include <cmath>
#include <limits>
#include <span>

namespace {

constexpr double foot_on_edge_tolerance = 1e-5;         // of ccw, on products
constexpr double straight_corner_squared_height = 0.01; // of a corner over the chord

bool no_edge(const ERPoint2D& a, const ERPoint2D& b) { return isEqual(a, b, equalityTolerance); }

ERPoint2D foot_on_line(const ERPoint2D& p, const ERPoint2D& a, const ERPoint2D& b) {
    const ERVector2D direction = ERVector2D(a, b).getnormalized();
    return a + direction * (ERVector2D(a, p) * direction);
}

// The parameter of `foot` on the line from a to b, measured on the axis of the greater extent.
double place_on_edge(const ERPoint2D& foot, const ERPoint2D& a, const ERPoint2D& b) {
    const ERVector2D edge(a, b);
    const bool along_x = std::abs(edge.i()) > std::abs(edge.j());
    return along_x ? (foot.x() - a.x()) / edge.i() : (foot.y() - a.y()) / edge.j();
}

// The walk of findAllProjections, which remembers on which side of its edge the last rejected foot
// was.
class ProjectionWalk {
public:
    ProjectionWalk(const ERPoint2D& point, const ERPoint2D& start)
        : p(point), previous_start(start) {}

    // Whether the edge has a foot; if so, sets `foot` and its parameter `u` on the edge.
    bool visit(const ERPoint2D& a, const ERPoint2D& b, ERPoint2D& foot, double& u) {
        foot = foot_on_line(p, a, b);
        u = place_on_edge(foot, a, b);
        bool accepted = 0.0 <= u && u <= 1.0;
        if (accepted) {
            side = 0;
        } else {
            const bool before_start = u < 0.0;
            if (side == 1 && before_start && is_straight_at(a, b)) {
                accepted = true;
                foot = a;
                u = 0.0;
            }
            side = before_start ? -1 : 1;
        }
        previous_start = a;
        return accepted;
    }

private:
    bool is_straight_at(const ERPoint2D& corner, const ERPoint2D& next) const {
        const ERPoint2D on_chord = foot_on_line(corner, previous_start, next);
        return distance2(corner, on_chord) < straight_corner_squared_height;
    }

    const ERPoint2D& p;
    ERPoint2D previous_start;
    int side = 0; // 1: the last foot was beyond its edge's end; -1: before its start; 0: on it
};

} // namespace

int findProjection(const ERPoint2D& p, const ERVec<ERPoint2D>& polygon, ERPoint2D& foot,
                   double wanted) {
    const std::span<const ERPoint2D> points = polygon.view();
    const ERPoint2D from = p; // `foot` may be the same point
    double best = std::numeric_limits<double>::max();
    int chosen = -1;
    for (std::size_t i = 0; i < points.size(); ++i) {
        const ERPoint2D& a = points[i];
        const ERPoint2D& b = points[i + 1 < points.size() ? i + 1 : 0];
        if (no_edge(a, b)) continue;
        const ERPoint2D f = foot_on_line(from, a, b);
        const double score = std::abs(distance(f, from) - std::abs(wanted));
        if (score < best && ccw(a, b, f, foot_on_edge_tolerance) == 0) {
            foot = f;
            best = score;
            chosen = static_cast<int>(i);
        }
    }
    return chosen;
}

int findAllProjections(const ERPoint2D& p, const ERVec<ERPoint2D>& polyline, ERVec<ERPoint2D>& feet,
                       ERVec<double>& parameters, double limit) {
    const ERVec<ERPoint2D> walked = polyline; // `feet` may be the same array
    const std::span<const ERPoint2D> points = walked.view();
    if (points.size() < 2) return 0;
    const ERPoint2D from = p;
    ProjectionWalk walk(from, points[0]);
    int added = 0;
    for (std::size_t i = 0; i + 1 < points.size(); ++i) {
        const ERPoint2D& a = points[i];
        const ERPoint2D& b = points[i + 1];
        if (no_edge(a, b)) continue;
        ERPoint2D foot;
        double u = 0.0;
        if (!walk.visit(a, b, foot, u)) continue;
        if (limit > 0.0 && distance2(foot, from) > limit * limit) continue;
        feet.push_back(foot);
        parameters.push_back(static_cast<double>(i) + u);
        added = 1;
    }
    return added;
}
