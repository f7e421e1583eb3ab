// velm::detail::ContourTree: boxes over runs of neighbouring edges of a closed contour.
#pragma once

#include "velm/frame/box.h"
#include "velm/frame/enumerations.h"
#include "velm/frame/point.h"
#include "velm/planar/point_in_polygon.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <span>
#include <vector>

namespace velm::detail {

/// Gives the answers of a walk over all edges, bit for bit: only runs whose edges the walk's own
/// rules skip are skipped, and the others are visited in the contour's order.
///
/// A last vertex that repeats the first exactly is the closing one. The vertices are not copied and
/// must outlive the tree. Reading is safe in several threads.
class ContourTree {
public:
    /// Shorter contours are walked faster than any tree.
    static constexpr std::size_t fewest_vertices = 24;
    /// Whether a contour has a tree: it is long enough, and no coordinate is a NaN.
    static bool serves(std::span<const ERPoint2D> vertices);

    explicit ContourTree(std::span<const ERPoint2D> vertices);

    /// The result of `Inside` for the contour.
    relpos position_of(const ERPoint2D& p) const;
    /// `ERMinimax2D::positionRelative` of the contour.
    ER_MINMAX_POSITION_POLYGONE position_to(const ERMinimax2D& box) const;

    /// Calls visit(c, d) for edges in order: for all whose boxes the segment from a to b meets by
    /// the rules of `SutherCohen`, and for some others.
    template <class Visit>
    void visit_near(const ERPoint2D& a, const ERPoint2D& b, Visit visit) const {
        const ERMinimax2D box(a, b);
        const LineSide line(a, b, nodes_[0].box);
        walk([&](const ERMinimax2D& run) { return run | box || line.is_clear_of(run); },
             [&visit](const ERPoint2D& c, const ERPoint2D& d) {
                 visit(c, d);
                 return true;
             });
    }

private:
    static constexpr int edges_in_leaf = 8;

    /// In the order of the walk: the children of a node come after it.
    struct Node {
        ERMinimax2D box;
        int next;       // the node after this one's children
        int begin, end; // the edges of a leaf; none of another node
    };

    /// The line through two points, tested against boxes within a box. It is clear of a box that it
    /// misses by more than a thousand times the rounding of the hits that `SutherCohen` computes.
    class LineSide {
    public:
        LineSide(const ERPoint2D& from, const ERPoint2D& to, const ERMinimax2D& whole);
        bool is_clear_of(const ERMinimax2D& box) const {
            const double x = 0.5 * (box.xmin + box.xmax) - start.x();
            const double y = 0.5 * (box.ymin + box.ymax) - start.y();
            const double half_width = 0.5 * (box.xmax - box.xmin) + margin;
            const double half_height = 0.5 * (box.ymax - box.ymin) + margin;
            return std::fabs(dx * y - dy * x) >
                   std::fabs(dx) * half_height + std::fabs(dy) * half_width + least_product;
        }

    private:
        static constexpr double least_product = 1e-290; // smaller ones have lost digits

        ERPoint2D start;
        double dx, dy;
        double margin;
    };

    ERMinimax2D build(int begin, int end);
    const ERPoint2D& behind(int edge) const {
        const std::size_t next = static_cast<std::size_t>(edge) + 1;
        return vertices_[next < vertices_.size() ? next : 0];
    }
    /// Calls visit(c, d) for the edges of all leaves except those in boxes that pass_over skips,
    /// until visit returns false.
    template <class PassOver, class Visit>
    void walk(PassOver passed_over, Visit visit) const {
        const int count = static_cast<int>(nodes_.size());
        for (int at = 0; at < count;) {
            const Node& node = nodes_[static_cast<std::size_t>(at)];
            if (passed_over(node.box)) {
                at = node.next;
                continue;
            }
            for (int edge = node.begin; edge < node.end; ++edge) {
                if (!visit(vertices_[static_cast<std::size_t>(edge)], behind(edge))) return;
            }
            ++at;
        }
    }

    std::span<const ERPoint2D> vertices_;
    std::vector<Node> nodes_;
};

} // namespace velm::detail
