// edge_tree.h: `EdgeTree`, boxes over the edges of a polygon, for questions that a scan of all
// edges would answer the same.
#pragma once

#include <span>
#include <vector>

#include "velm/frame/box.h"
#include "velm/frame/point.h"
#include "velm/frame/vec.h"

namespace velm::inspect {

/// The nearest edge so far.
struct NearestEdge {
    double squared_distance;
    ERPoint2D foot;
    double parameter = 0.0; ///< from 0 at the edge's first vertex to 1 at its second
    int contour = -1;
    int edge = -1; ///< from vertex `edge` to the next one
};

/// A binary tree of boxes over runs of neighbouring edges, the closing edge included. The polygon
/// is shared, not copied.
class EdgeTree {
public:
    explicit EdgeTree(QuickAlgebra::ERVec<ERPoint2D> polygon);

    /// Takes over the edge nearest to `p`, with its foot at the clamped parameter, where it is
    /// strictly nearer than what `best` holds; of equal ones the first. The answer is the one of a
    /// scan over all edges, rounding included: a box is passed over only where its distance exceeds
    /// the best by more than the rounding of a foot.
    void find_nearest(const ERPoint2D& p, int contour, NearestEdge& best) const;

    /// Fills `chain` with vertices that give the same `Inside(p, ...)` as the polygon: a run of
    /// edges that lies all above, all below or all to the left of p, each of which `Inside` skips,
    /// is replaced by its chord, which it skips too.
    void reduce_for_inside(const ERPoint2D& p, std::vector<ERPoint2D>& chain) const;

    const QuickAlgebra::ERVec<ERPoint2D>& polygon() const { return polygon_; }

private:
    struct Node {
        ERMinimax2D box;
        int begin, end; // edges
        int right;      // the second child; the first is the next node; 0 in a leaf
    };
    int build(int begin, int end);
    const ERPoint2D& vertex(int i) const { return vertices_[i == count_ ? 0u : std::size_t(i)]; }

    QuickAlgebra::ERVec<ERPoint2D> polygon_;
    std::span<const ERPoint2D> vertices_;
    int count_;
    double extent_ = 0.0; // the largest magnitude of a coordinate
    std::vector<Node> nodes_;
};

} // namespace velm::inspect
