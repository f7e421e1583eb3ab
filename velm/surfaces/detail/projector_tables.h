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

/// look_at_all(search), which looks at everything in the tree. Where that takes more than a small
/// part of the budget it begins again, from the nearest of cheap first places: look_alone(item,
/// search) looks at one item. Without them far items may spend the budget on parts that a near one
/// leaves out.
template <class LookAtAll, class LookAlone>
void search_from_best(const BoxTree& tree, double size, LeafSearch& search, LookAtAll look_at_all,
                      LookAlone look_alone) {
    constexpr int first_budget = 512; // halvings: of a search that has not gone astray
    constexpr int quick_budget = 16;  // of one item, for a first place
    const LeafSearch start = search;
    search.limit_budget(first_budget);
    look_at_all(search);
    if (!search.spent()) return;
    LeafPlace best = search.best();
    tree.nearest(start.query(), best.squared, [&](int number, double) {
        LeafSearch alone(start.query(), size, quick_budget);
        alone.limit(best.squared);
        look_alone(number, alone);
        if (alone.best().leaf >= 0) best = alone.best();
        return true;
    });
    search = start;
    if (best.leaf >= 0) search.offer(best);
    look_at_all(search);
}

} // namespace velm::detail
