#include "velm/surfaces/detail/chord_tree.h"

#include <algorithm>
#include <numeric>

namespace velm::detail {

ChordTree::ChordTree(const std::vector<std::unique_ptr<LiftedLoop>>& loops) {
    constexpr std::size_t sides_in_run = 8;
    for (std::size_t loop = 0; loop < loops.size(); ++loop) {
        const std::vector<LoopVertex>& vertices = loops[loop]->vertices();
        for (std::size_t i = 0; i + 1 < vertices.size(); i += sides_in_run) {
            Run run{static_cast<int>(loop), i, std::min(i + sides_in_run, vertices.size() - 1), {}};
            for (std::size_t k = i; k <= run.last; ++k)
                run.box.Update(vertices[k].point);
            runs_.push_back(run);
        }
    }
    std::vector<int> order(runs_.size());
    std::iota(order.begin(), order.end(), 0);
    if (!order.empty()) build(order, 0, order.size());
}

// Halves along the longest axis of the runs' box.
void ChordTree::build(std::vector<int>& runs, std::size_t begin, std::size_t end) {
    const std::size_t at = nodes_.size();
    nodes_.emplace_back();
    ERMinimax3D box;
    const auto run = [&](int i) -> const Run& { return runs_[static_cast<std::size_t>(i)]; };
    for (std::size_t i = begin; i < end; ++i) {
        box.Update(run(runs[i]).box.MinPoint());
        box.Update(run(runs[i]).box.MaxPoint());
    }
    nodes_[at].box = box;
    if (end - begin == 1) {
        nodes_[at].run = runs[begin];
    } else {
        int axis = 0;
        for (int k = 1; k < 3; ++k)
            if (box.upper(k) - box.lower(k) > box.upper(axis) - box.lower(axis)) axis = k;
        const auto middle = [&](int i) { return run(i).box.lower(axis) + run(i).box.upper(axis); };
        const std::size_t half = begin + (end - begin) / 2;
        const auto first = runs.begin();
        std::nth_element(
            first + static_cast<std::ptrdiff_t>(begin), first + static_cast<std::ptrdiff_t>(half),
            first + static_cast<std::ptrdiff_t>(end),
            [&](int a, int b) { return middle(a) != middle(b) ? middle(a) < middle(b) : a < b; });
        build(runs, begin, half);
        build(runs, half, end);
    }
    nodes_[at].after = nodes_.size();
}

} // namespace velm::detail
