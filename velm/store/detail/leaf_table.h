// velm::detail::LeafTable: leaves of a tree whose keys are numbers, to be found without a descent.
#pragma once

#include "velm/store/disk_tree_node.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>

namespace velm::detail {

/// The numbers between two keys of a tree, by the order of their bytes.
struct NumberRange {
    std::int64_t after = -1;
    std::int64_t before = std::int64_t{1} << 32;

    /// Leaves what belongs to a son of a node.
    void narrow(const ERDiskTreeNodeView& node, int son) {
        const auto order = [&node](int i) {
            return std::int64_t{ERDiskTreeNodeView::in_byte_order(node.keys(i))};
        };
        if (son > 0) after = std::max(after, order(son - 1));
        if (son < node.counter()) before = std::min(before, order(son));
    }
};

/// One place for each first byte of a key, which the leaf that such a number went into last has,
/// with the numbers that belong there. Of numbers that are given out one by one, those with the
/// same first byte follow each other in the tree.
class LeafTable {
public:
    /// The leaf to which a number belongs, -1 where it isn't here.
    std::int32_t find(std::uint32_t order) const {
        if (!leaves_) return -1;
        const std::size_t place = order >> 24;
        const bool belongs = order >= leaves_->first[place] && order <= leaves_->last[place];
        return belongs ? leaves_->offset[place] : -1;
    }
    void enter(std::uint32_t order, const NumberRange& range, long offset) {
        if (!leaves_) {
            leaves_ = std::make_unique<Leaves>();
            leaves_->offset.fill(-1);
        }
        const std::size_t place = order >> 24;
        leaves_->first[place] = static_cast<std::uint32_t>(range.after + 1);
        leaves_->last[place] = static_cast<std::uint32_t>(range.before - 1);
        leaves_->offset[place] = static_cast<std::int32_t>(offset);
    }
    /// A leaf has no longer the numbers that it had.
    void forget(long offset) {
        if (!leaves_) return;
        const auto forgotten = static_cast<std::int32_t>(offset);
        for (std::int32_t& leaf : leaves_->offset)
            leaf = leaf == forgotten ? -1 : leaf;
    }
    void clear() { leaves_.reset(); }

private:
    struct Leaves {
        std::array<std::uint32_t, 256> first{};
        std::array<std::uint32_t, 256> last{};
        std::array<std::int32_t, 256> offset;
    };
    std::unique_ptr<Leaves> leaves_;
};

} // namespace velm::detail
