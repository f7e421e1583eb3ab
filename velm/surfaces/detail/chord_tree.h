// velm::detail::ChordTree: the sides of the polygons of loops, found by a place in space.
#pragma once

#include "velm/frame/box.h"
#include "velm/surfaces/detail/lifted_loop.h"

#include <memory>
#include <vector>

namespace velm::detail {

class ChordTree {
public:
    explicit ChordTree(const std::vector<std::unique_ptr<LiftedLoop>>& loops);

    /// Calls visit(loop, i) for the sides from vertex i on that may be nearer to p than `reach`.
    template <class Visit>
    void visit(const ERPoint3D& p, double reach, Visit visit) const {
        const ERMinimax3D near(p.x() - reach, p.x() + reach, p.y() - reach, p.y() + reach,
                               p.z() - reach, p.z() + reach);
        for (std::size_t at = 0; at < nodes_.size();) {
            const Node& node = nodes_[at];
            if (node.box | near) {
                at = node.after;
                continue;
            }
            if (node.run >= 0) {
                const Run& run = runs_[static_cast<std::size_t>(node.run)];
                for (std::size_t i = run.first; i < run.last; ++i)
                    visit(run.loop, i);
            }
            ++at;
        }
    }

private:
    /// Neighbouring sides.
    struct Run {
        int loop;
        std::size_t first, last;
        ERMinimax3D box;
    };
    /// Followed by its children.
    struct Node {
        ERMinimax3D box;
        int run = -1; ///< of a leaf
        std::size_t after = 0;
    };
    void build(std::vector<int>& runs, std::size_t begin, std::size_t end);

    std::vector<Run> runs_;
    std::vector<Node> nodes_;
};

} // namespace velm::detail
