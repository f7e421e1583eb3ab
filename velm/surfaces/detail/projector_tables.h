// velm::detail::ProjectorTables: what a surface projector consists of, and the steps from a place
// on a leaf to a foot.
#pragma once

#include "velm/surfaces/detail/leaf_search.h"
#include "velm/surfaces/detail/sharp_lines.h"
#include "velm/surfaces/surface_projector.h"

namespace velm::detail {

struct AnalyticPlace;

struct ProjectorTables {
    explicit ProjectorTables(const PreparedSurface& prepared);

    PreparedSurface surface;
    bool analytic = false; ///< then leaves are those of `patches_of`, for lines only
    SurfaceLeaves leaves;
    BoxTree tree;
    std::vector<SharpLine> lines; ///< none of an analytic surface
};

/// The foot at a place of a leaf of the surface; its bound and certificate are still to be set.
SurfaceFoot foot_at(const PreparedSurface& surface, const SurfaceLeaves& leaves,
                    const LeafPlace& place, const double* q);
/// The same of an analytic surface.
SurfaceFoot foot_at(const PreparedSurface& surface, const AnalyticPlace& place);

/// Offers the leaves of a tree to a search, nearest first, until all others are too far; a leaf
/// that `wanted` refuses counts as not there.
template <class Wanted>
void search_tree(const BoxTree& tree, const SurfaceLeaves& leaves, LeafSearch& search,
                 Wanted wanted) {
    const double left_out =
        tree.nearest(search.query(), search.best().squared, [&](int leaf, double squared) {
            if (!wanted(leaf)) return true;
            if (search.spent()) {
                search.left_out(squared);
                return true;
            }
            search.leaf(leaves, leaves[leaf], leaf);
            return true;
        });
    search.left_out(left_out);
}

} // namespace velm::detail
