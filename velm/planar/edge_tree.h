// edge_tree.h: `EdgeTree`, boxes over the edges of a contour, for questions that a scan of all
// edges would answer the same.
#pragma once

#include "velm/export.h"
#include "velm/planar/contour.h"

#include <vector>

namespace velm {

/// The nearest edge so far.
struct NearestEdge {
    double squared_distance;
    ERPoint2D foot;
    double parameter = 0.0; ///< from 0 at the edge's first vertex to 1 at its second
    int contour = -1;
    int edge = -1; ///< from vertex `edge` to the next one
};

/// A binary tree of boxes over runs of neighbouring edges, straight and along arcs, the closing
/// edge included.
class VELM_API EdgeTree {
public:
    explicit EdgeTree(Contour contour);

    /// Takes over the edge nearest to `p`, with its foot at the clamped parameter, where it is
    /// strictly nearer than what `best` holds; of equal ones the first. The answer is the one of a
    /// scan over all edges, rounding included: a box is passed over only where its distance exceeds
    /// the best by more than the rounding of a foot. On an arc the foot is that of
    /// `closest_point`, at an end the vertex itself.
    void find_nearest(const ERPoint2D& p, int contour, NearestEdge& best) const;

    /// Whether `p` is enclosed, by the crossings of the ray to the right of p (even-odd rule) with
    /// the edges as they are. What is nearer to an edge than some roundings is not told reliably.
    bool encloses(const ERPoint2D& p) const;

    /// Calls visit(i) for the edges, in order, whose boxes meet the given one.
    template <class Visit>
    void visit(const ERMinimax2D& box, Visit visit) const {
        // Children stand behind their node, the first one next to it.
        for (std::size_t at = 0; at < nodes_.size();) {
            const Node& node = nodes_[at];
            if (node.box | box) {
                at = node.behind;
                continue;
            }
            if (node.right == 0)
                for (int i = node.begin; i < node.end; ++i)
                    if (!(contour_.box(i) | box)) visit(i);
            ++at;
        }
    }

    const Contour& contour() const { return contour_; }

private:
    struct Node {
        ERMinimax2D box;
        int begin, end;     // edges
        int right;          // the second child; the first is the next node; 0 in a leaf
        std::size_t behind; // the node behind the last one under this
    };
    int build(int begin, int end);
    void try_edge(int i, const ERPoint2D& p, int contour, NearestEdge& best) const;

    Contour contour_;
    double extent_; // the largest magnitude of a coordinate
    std::vector<Node> nodes_;
};

} // namespace velm
