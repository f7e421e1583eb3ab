// velm::detail::FreeChain: the free list of a file in memory, to find without a walk what a walk
// would find.
#pragma once

#include "velm/store/detail/offset_map.h"
#include "velm/store/free_list.h"

#include <cstdint>
#include <memory>
#include <unordered_set>
#include <vector>

namespace velm::detail {

/// The nodes in the order of the chain. It is built when a walk first leaves its node, follows what
/// is written, and is given up where it could be wrong: the walk through the file decides then.
class FreeChain {
public:
    /// Builds it from the nodes that a callback reads; it stays unusable where the chain is
    /// damaged: a node without its magic number, a circle without the head, an extent listed twice.
    template <class Read>
    void build(long head, Read read) {
        give_up();
        std::unordered_set<long> seen;
        for (long offset = head; offset != head || seen.empty();) {
            ERFreeListNode node;
            if (seen.size() == most_nodes || !seen.insert(offset).second || !read(offset, node) ||
                !append(offset, node))
                return give_up();
            offset = node.next;
        }
        usable_ = true;
    }
    bool tried() const { return tried_; }
    bool usable() const { return usable_; }
    /// It will be built again, or never.
    void forget();
    void give_up();

    /// The first node from `from` on, in a circle, with an extent of that size at least; -1 for
    /// none.
    long first_with(long from, std::uint32_t size) const;
    /// The first that touches an extent or has room for it.
    long first_for(long from, long offset, std::uint32_t size) const;
    long before(long node) const;

    /// A node's new image; the chain has it already.
    void written(long offset, const ERFreeListNode& node);
    /// A new node follows another one.
    void chained(long before, long offset);
    void removed(long offset);

private:
    bool append(long offset, const ERFreeListNode& node);
    bool enter(std::int32_t at, const ERFreeListNode& node, int i);
    void leave(const ERFreeListNode& node, int i);
    void leave_all(const ERFreeListNode& node);
    void measure(std::size_t i);
    std::size_t place_of(long offset) const;
    mutable std::size_t last_place_ = 0;

    static constexpr std::size_t most_nodes = 1 << 17; // a walk is slow, but takes no memory
    bool tried_ = false;
    bool usable_ = false;
    std::vector<std::int32_t> nodes_; // by their offsets, in the order of the chain; so the others
    std::vector<std::uint32_t> largest_;
    std::vector<std::uint8_t> full_;
    std::vector<std::unique_ptr<ERFreeListNode>> images_;
    OffsetMap starts_; // of extents, to their nodes
    OffsetMap ends_;
};

} // namespace velm::detail
