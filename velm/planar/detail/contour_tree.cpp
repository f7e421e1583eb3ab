#include "velm/planar/detail/contour_tree.h"

#include "velm/frame/box_clipping.h"
#include "velm/planar/detail/ray_walk.h"

#include <cmath>
#include <limits>

namespace velm::detail {

bool ContourTree::serves(std::span<const ERPoint2D> vertices) {
    const auto is_number = [](const ERPoint2D& v) {
        return !std::isnan(v.x()) && !std::isnan(v.y());
    };
    return vertices.size() >= fewest_vertices &&
           std::all_of(vertices.begin(), vertices.end(), is_number);
}

ContourTree::LineSide::LineSide(const ERPoint2D& from, const ERPoint2D& to,
                                const ERMinimax2D& whole)
    : start(from), dx(to.x() - from.x()), dy(to.y() - from.y()) {
    constexpr double margin_per_magnitude = 1e-12; // some thousand roundings, see the header
    constexpr double largest_magnitude = 1e150;    // whose products are doubles
    double magnitude = 0.0;
    for (const double x :
         {from.x(), from.y(), to.x(), to.y(), whole.xmin, whole.xmax, whole.ymin, whole.ymax})
        magnitude = std::max(magnitude, std::fabs(x));
    margin = magnitude <= largest_magnitude ? margin_per_magnitude * magnitude
                                            : std::numeric_limits<double>::infinity();
}

ContourTree::ContourTree(std::span<const ERPoint2D> vertices) : vertices_(vertices) {
    if (vertices.front() == vertices.back()) vertices_ = vertices.first(vertices.size() - 1);
    const int edges = static_cast<int>(vertices_.size());
    nodes_.reserve(static_cast<std::size_t>(edges) / 2 + 1);
    build(0, edges);
}

ERMinimax2D ContourTree::build(int begin, int end) {
    const std::size_t at = nodes_.size();
    nodes_.push_back({ERMinimax2D(), 0, begin, begin});
    ERMinimax2D box;
    if (end - begin <= edges_in_leaf) {
        nodes_[at].end = end;
        for (int edge = begin; edge < end; ++edge) {
            box.Update(vertices_[static_cast<std::size_t>(edge)]);
            box.Update(behind(edge));
        }
    } else {
        const int middle = begin + (end - begin) / 2;
        box = build(begin, middle);
        box.Update(build(middle, end));
    }
    nodes_[at].box = box;
    nodes_[at].next = static_cast<int>(nodes_.size());
    return box;
}

relpos ContourTree::position_of(const ERPoint2D& p) const {
    if (p == vertices_[0]) return relpos_on_vertex;
    RayWalk ray{p};
    const auto is_missed = [&p](const ERMinimax2D& run) {
        return (p.y() > run.ymax) | (p.y() < run.ymin) | (p.x() > run.xmax);
    };
    walk(is_missed, [&](const ERPoint2D& a, const ERPoint2D& b) {
        if (RayWalk::meets(p.y(), a, b)) ray.cross(a, b);
        return !ray.is_over();
    });
    return ray.result();
}

ER_MINMAX_POSITION_POLYGONE ContourTree::position_to(const ERMinimax2D& box) const {
    bool crosses = false;
    bool edge_inside = false;
    // An empty box skips every edge, as a disjoint one does.
    walk([&box](const ERMinimax2D& run) { return run | box; },
         [&](const ERPoint2D& a, const ERPoint2D& b) {
             const ER_MINMAX_POSITION_SEGMENT position = box.positionRelative(a, b);
             edge_inside |= position == SEGMENT_INSIDE_BOX;
             crosses = position == SEGMENT_CROSSES_BOX;
             return !crosses;
         });
    if (crosses) return POLYGONE_CROSSES_BOX;
    if (edge_inside) return POLYGONE_INSIDE_BOX;
    for (const double x : {box.xmin, box.xmax}) {
        for (const double y : {box.ymin, box.ymax}) {
            if (position_of({x, y}) == relpos_inside) return BOX_INSIDE_POLYGONE;
        }
    }
    return POLYGONE_DISJOINT;
}

} // namespace velm::detail
