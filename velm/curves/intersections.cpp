#include "velm/curves/intersections.h"

#include "velm/curves/detail/meeting_merger.h"
#include "velm/curves/detail/pair_search.h"

#include <algorithm>

namespace velm {
namespace {

using namespace velm::detail;

// A node of each curve's tree of boxes.
struct NodePair {
    int level_a, a, level_b, b;
};

// What a thread keeps from one search to the next, so that it doesn't allocate again.
struct Workspace {
    std::vector<NodePair> waiting, left; // to be examined; those that the budget didn't reach
    PairSearch::Room search;
    MeetingMerger::Room merging;
};

Workspace& workspace() {
    thread_local Workspace own;
    return own;
}

struct NodeBox {
    double left, low, right, high;
};

NodeBox box_of(const PreparedPieces<2>& tables, int level, int node) {
    const double* group = tables.group(level, node / box_fan) + node % box_fan;
    return {group[0], group[box_fan], group[2 * box_fan], group[3 * box_fan]};
}

int nodes_of(const PreparedPieces<2>& tables, int level) {
    int nodes = tables.count();
    for (int i = 0; i < level; ++i)
        nodes = (nodes + box_fan - 1) / box_fan;
    return nodes;
}

// Walks both trees and searches the pairs of pieces whose boxes come together.
class TreeWalk {
public:
    TreeWalk(const PreparedPieces<2>& a, const PreparedPieces<2>& b,
             const IntersectionOptions& options, Workspace& space, PairSearch& search)
        : a_(a), b_(b), tolerance_(options.tolerance), budget_(options.budget), space_(space),
          search_(search) {}

    void run() {
        space_.waiting.clear();
        space_.left.clear();
        const int top_a = a_.levels() - 1, top_b = b_.levels() - 1;
        for (int i = 0; i < nodes_of(a_, top_a); ++i)
            for (int k = 0; k < nodes_of(b_, top_b); ++k)
                push({top_a, i, top_b, k});
        while (!space_.waiting.empty()) {
            const NodePair pair = space_.waiting.back();
            space_.waiting.pop_back();
            visit(pair);
        }
    }

private:
    bool of_itself() const { return &a_ == &b_; }

    void push(const NodePair& pair) {
        if (of_itself() && pair.level_a == pair.level_b && pair.b < pair.a) return;
        const NodeBox a = box_of(a_, pair.level_a, pair.a), b = box_of(b_, pair.level_b, pair.b);
        if (a.left > b.right + tolerance_ || b.left > a.right + tolerance_ ||
            a.low > b.high + tolerance_ || b.low > a.high + tolerance_)
            return;
        space_.waiting.push_back(pair);
    }

    void visit(const NodePair& pair) {
        if (pair.level_a == 0 && pair.level_b == 0) {
            if (of_itself() && pair.a == pair.b)
                search_.run_self({pair.a, 0.0, 1.0}, budget_);
            else
                search_.run({pair.a, 0.0, 1.0}, {pair.b, 0.0, 1.0}, budget_);
            return;
        }
        if (budget_ <= 0) {
            space_.left.push_back(pair);
            return;
        }
        // The coarser node is opened; of one curve's own pairs both, so that each pair comes once.
        const bool open_a = pair.level_a >= pair.level_b, open_b = pair.level_b > pair.level_a;
        const bool both = of_itself();
        const auto children = [](int node, int level, const PreparedPieces<2>& tables, bool open) {
            const int first = open ? node * box_fan : node;
            const int last =
                open ? std::min(first + box_fan, nodes_of(tables, level - 1)) : node + 1;
            return std::pair{first, last};
        };
        const auto [first_a, last_a] = children(pair.a, pair.level_a, a_, open_a || both);
        const auto [first_b, last_b] = children(pair.b, pair.level_b, b_, open_b || both);
        for (int i = first_a; i < last_a; ++i)
            for (int k = first_b; k < last_b; ++k)
                push({pair.level_a - (open_a || both ? 1 : 0), i,
                      pair.level_b - (open_b || both ? 1 : 0), k});
    }

    const PreparedPieces<2>& a_;
    const PreparedPieces<2>& b_;
    double tolerance_;
    int budget_;
    Workspace& space_;
    PairSearch& search_;
};

// The pieces of two nodes, undecided.
CurveIntersection left_over(const PreparedPieces<2>& a, const PreparedPieces<2>& b,
                            const NodePair& pair) {
    const auto pieces = [](const PreparedPieces<2>& tables, int level, int node) {
        int first = node, last = node + 1;
        for (int i = 0; i < level; ++i) {
            first *= box_fan;
            last *= box_fan;
        }
        return std::pair{first, std::min(last, tables.count()) - 1};
    };
    const auto [first_a, last_a] = pieces(a, pair.level_a, pair.a);
    const auto [first_b, last_b] = pieces(b, pair.level_b, pair.b);
    CurveIntersection entry;
    entry.kind = IntersectionKind::unresolved;
    entry.a = a.place(first_a, 0.0);
    entry.b = b.place(first_b, 0.0);
    entry.point = a.point(a[first_a], 0.0);
    entry.a_parameters = {a[first_a].start, a[last_a].end};
    entry.b_parameters = {b[first_b].start, b[last_b].end};
    for (const NodeBox& box : {box_of(a, pair.level_a, pair.a), box_of(b, pair.level_b, pair.b)})
        entry.box.Update(ERMinimax2D(box.left, box.low, box.right, box.high));
    return entry;
}

bool find(const PreparedPieces<2>& a, const PreparedPieces<2>& b,
          std::vector<CurveIntersection>& found, const IntersectionOptions& options) {
    found.clear();
    Workspace& space = workspace();
    PairSearch search(a, b, options.tolerance, space.search);
    TreeWalk(a, b, options, space, search).run();
    if (!space.search.meetings.empty())
        MeetingMerger(a, b, search, space.merging).merge(space.search.meetings, found);
    if (!space.left.empty()) {
        for (const NodePair& pair : space.left)
            found.push_back(left_over(a, b, pair));
        std::stable_sort(
            found.begin(), found.end(),
            [](const CurveIntersection& x, const CurveIntersection& y) { return x.a.t < y.a.t; });
    }
    return std::none_of(found.begin(), found.end(), [](const CurveIntersection& i) {
        return i.kind == IntersectionKind::unresolved;
    });
}

} // namespace

bool intersections(const PreparedCurve<2>& a, const PreparedCurve<2>& b,
                   std::vector<CurveIntersection>& found, const IntersectionOptions& options) {
    if (&a.tables() != &b.tables()) return find(a.tables(), b.tables(), found, options);
    const PreparedCurve<2> copy = b;
    return find(a.tables(), copy.tables(), found, options);
}

std::vector<CurveIntersection> intersections(const PreparedCurve<2>& a, const PreparedCurve<2>& b,
                                             const IntersectionOptions& options) {
    std::vector<CurveIntersection> found;
    intersections(a, b, found, options);
    return found;
}

bool self_intersections(const PreparedCurve<2>& curve, std::vector<CurveIntersection>& found,
                        const IntersectionOptions& options) {
    return find(curve.tables(), curve.tables(), found, options);
}

std::vector<CurveIntersection> self_intersections(const PreparedCurve<2>& curve,
                                                  const IntersectionOptions& options) {
    std::vector<CurveIntersection> found;
    self_intersections(curve, found, options);
    return found;
}

} // namespace velm
