// EdgeTree: a contour prepared for questions about its nearest edge and its inside.
//
//     const velm::EdgeTree tree(contour);
//     velm::NearestEdge nearest{std::numeric_limits<double>::infinity(), {}};
//     tree.find_nearest(p, 0, nearest); // nearest.foot, nearest.edge, nearest.parameter
//     const bool inside = tree.encloses(p);
//
// Building takes the time of n edges, a question about that of log n where the contour is not
// nearly a circle about p. The tree is immutable: any number of threads may ask it at the same
// time, and no question allocates or locks.
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

/// Places whose outward normal lies near a direction.
struct Facing {
    ERVector2D direction; ///< at most of length 1: the part in the plane of a unit vector of space
    double least_cosine;  ///< of the angle between the direction and the outward normal
    double outward_side;  ///< 1: outward lies to the right of the way along the contour; -1: left

    /// Whether a place counts where the way along the contour goes like this.
    bool accepts(const ERVector2D& along) const {
        const ERVector2D outward(along.j() * outward_side, -along.i() * outward_side);
        return outward * direction >= least_cosine * along.norme();
    }
};

/// A binary tree of boxes over runs of neighbouring edges, the closing edge included. The contour
/// has at least one edge and finite coordinates whose squares are doubles.
class VELM_API EdgeTree {
public:
    explicit EdgeTree(Contour contour);

    /// Sets `best` to the edge nearest to `p`, with its foot at the clamped parameter, if it is
    /// strictly nearer than what `best` holds; of equal ones to the first. `contour` is the number
    /// that `best` gets: one search may go over several trees. The answer is that of a scan over
    /// all edges, rounding included (the bound is derived in the source). On an arc the foot is
    /// that of `closest_point`, on a curve the certified one of its prepared curve, at an end the
    /// vertex itself.
    void find_nearest(const ERPoint2D& p, int contour, NearestEdge& best) const;

    /// The same among the places that a direction accepts; an end of an edge counts with the edge's
    /// own normal. On a curve whose nearest place is not among them, the nearest of `curve_samples`
    /// equal steps of the parameter is refined: a place between two steps that is accepted alone
    /// may be missed.
    void find_nearest(const ERPoint2D& p, int contour, const Facing& facing,
                      NearestEdge& best) const;
    static constexpr int curve_samples = 256;

    /// Whether `p` is enclosed, by the crossings of the ray to the right of p (even-odd rule) with
    /// the edges as they are. Within some roundings of an edge either answer may come.
    bool encloses(const ERPoint2D& p) const;

    /// Calls visit(i) for the edges, in order, whose boxes meet the given one.
    template <class Visit>
    void visit(const ERMinimax2D& box, Visit visit) const {
        // A node is followed by its children, the first one next to it.
        for (std::size_t at = 0; at < nodes_.size();) {
            const Node& node = nodes_[at];
            if (node.box | box) {
                at = node.after;
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
        int begin, end;    // edges
        int right;         // the second child; the first is the next node; 0 in a leaf
        std::size_t after; // the node after the last one under this
    };
    int build(int begin, int end);
    template <class FootOn>
    void search(const ERPoint2D& p, int contour, NearestEdge& best, FootOn foot_on) const;

    Contour contour_;
    double extent_; // the largest magnitude of a coordinate
    std::vector<Node> nodes_;
};

} // namespace velm
