// velm::detail::BoxTree: a tree of oriented boxes, eight a group, and searches in it: by the
// distance of a point, and along a line. What is in the boxes is the caller's: leaves are numbers.
//
//     BoxTree tree;
//     tree.build(boxes);                                  // box i holds the leaf i
//     tree.nearest(q, [&](int leaf, double squared) { ...; return true; }, squared_bound);
//
// Coordinates are local: about an origin beside what the tree holds, and scaled so that it reaches
// no further than about 1. Boxes are floats, rounded outward: a distance is never above the true
// one by more than its own rounding in double. Nothing changes after `build`, and no search
// allocates.
#pragma once

#include <cmath>
#include <cstdint>
#include <span>
#include <vector>

namespace velm::detail {

/// A box: |axis[k]| = 1, at right angles to each other, and low[k] <= axis[k] . x <= high[k].
struct OrientedBox {
    double axis[3][3];
    double low[3], high[3];

    /// The eight corners, three doubles each.
    void corners(double* out) const;
    /// The smallest box along these axes that holds the points; `axis` is set, the rest is made.
    void enclose(std::span<const double> points);
};

inline constexpr int boxes_in_group = 8;

/// Eight boxes. A box that isn't there has low above high by so much that it is far from all.
struct alignas(64) BoxGroup {
    float axis[3][3][boxes_in_group];
    float low[3][boxes_in_group], high[3][boxes_in_group];
    /// A group, or ~leaf.
    std::int32_t child[boxes_in_group];
    std::int32_t count;
};

class BoxTree {
public:
    void build(std::span<const OrientedBox> boxes);

    int groups() const { return static_cast<int>(groups_.size()); }
    std::span<const BoxGroup> all_groups() const { return groups_; }

    /// Calls visit(leaf, squared) for leaves whose boxes are nearer to q than `bound`, which visit
    /// may lower meanwhile; both are squared distances. The nearest child of a group comes first.
    /// Ends early if visit returns false. Returns the least squared distance among what was left
    /// out, infinite if nothing was.
    template <class Visit>
    double nearest(const double* q, const double& bound, Visit visit) const;

    /// Calls visit(leaf) for all leaves whose boxes the part low <= k <= high of the line q + k d
    /// meets; d has the length 1.
    template <class Visit>
    void along_line(const double* q, const double* d, double low, double high, Visit visit) const;

    /// The squared distances of q from the boxes of a group.
    static void squared_distances(const BoxGroup& group, const double* q, double* squared);
    /// Which boxes of a group the part of the line meets: a bit each.
    static unsigned met_by_line(const BoxGroup& group, const double* q, const double* d, double low,
                                double high);

    /// Groups on a path times the boxes of each: 2^31 leaves have fewer than 12 levels.
    static constexpr int stack_size = 12 * boxes_in_group;

private:
    struct Waiting {
        double squared;
        std::int32_t child;
    };

    std::vector<BoxGroup> groups_;
};

template <class Visit>
double BoxTree::nearest(const double* q, const double& bound, Visit visit) const {
    double left_out = HUGE_VAL;
    Waiting stack[stack_size];
    int depth = 0;
    if (!groups_.empty()) stack[depth++] = {0.0, 0};
    while (depth > 0) {
        const Waiting now = stack[--depth];
        if (!(now.squared < bound)) {
            left_out = now.squared < left_out ? now.squared : left_out;
            continue;
        }
        if (now.child < 0) {
            if (!visit(~now.child, now.squared)) {
                for (int k = 0; k < depth; ++k)
                    left_out = stack[k].squared < left_out ? stack[k].squared : left_out;
                return left_out;
            }
            continue;
        }
        const BoxGroup& group = groups_[static_cast<std::size_t>(now.child)];
        double squared[boxes_in_group];
        squared_distances(group, q, squared);
        const int bottom = depth;
        for (int i = 0; i < group.count; ++i) {
            if (!(squared[i] < bound)) {
                left_out = squared[i] < left_out ? squared[i] : left_out;
                continue;
            }
            int k = depth++;
            for (; k > bottom && stack[k - 1].squared < squared[i]; --k)
                stack[k] = stack[k - 1];
            stack[k] = {squared[i], group.child[i]};
        }
    }
    return left_out;
}

template <class Visit>
void BoxTree::along_line(const double* q, const double* d, double low, double high,
                         Visit visit) const {
    std::int32_t stack[stack_size];
    int depth = 0;
    if (!groups_.empty()) stack[depth++] = 0;
    while (depth > 0) {
        const std::int32_t now = stack[--depth];
        if (now < 0) {
            visit(~now);
            continue;
        }
        const BoxGroup& group = groups_[static_cast<std::size_t>(now)];
        const unsigned met = met_by_line(group, q, d, low, high);
        for (int i = group.count - 1; i >= 0; --i)
            if (met >> i & 1u) stack[depth++] = group.child[i];
    }
}

} // namespace velm::detail
