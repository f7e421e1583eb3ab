#include "velm/store/disk_tree_node.h"

#include "velm/store/disk_tree.h"
#include "velm/store/file_space.h"

#include <algorithm>
#include <bit>
#include <utility>

ERDiskTreeNode::ERDiskTreeNode(const ERDiskTreeLayout& layout_, const ERBTreeOnDisk* tree_)
    : layout(layout_), tree(tree_), buffer(layout_.node_size()) {
    initialize();
}

ERDiskTreeNode::ERDiskTreeNode(const ERDiskTreeLayout& layout_, const ERBTreeOnDisk* tree_,
                               const char* key, long value)
    : ERDiskTreeNode(layout_, tree_) {
    insert(key, value, 0, -1);
}

void ERDiskTreeNode::initialize() {
    std::fill(buffer.begin(), buffer.end(), '\0');
    for (int i = 0; i <= layout.max_keys(); ++i)
        sons(i, -1);
}

int ERDiskTreeNodeView::binarySearch(const char* key, Compare compare) const {
    const int n = counter();
    const auto less = [&](int i) { return compare(keys(i), key, layout.key_length) < 0; };
    if (n == 0) return 0;
    if (!less(0)) return 0;
    int high = n - 1;
    if (less(high)) return n;
    int low = 0;
    while (high - low > 1) {
        const int middle = (high + low) / 2;
        (less(middle) ? low : high) = middle;
    }
    return high;
}

void ERDiskTreeNode::move_pairs(int to, int from, int count) {
    if (count <= 0) return;
    std::memmove(keys(to), keys(from), std::size_t{layout.key_length} * std::size_t(count));
    char* const first = buffer.data() + layout.items_at();
    std::memmove(first + 4 * to, first + 4 * from, 4 * std::size_t(count));
}

void ERDiskTreeNode::move_sons(int to, int from, int count) {
    if (count <= 0) return;
    char* const first = buffer.data() + layout.sons_at();
    std::memmove(first + 4 * to, first + 4 * from, 4 * std::size_t(count));
}

void ERDiskTreeNode::insert(const char* key, long value, int pos, long son) {
    const int n = counter();
    move_pairs(pos + 1, pos, n - pos);
    move_sons(pos + 2, pos + 1, n - pos);
    tree->copy_key(keys(pos), key);
    items(pos, value);
    sons(pos + 1, son);
    counter(n + 1);
}

void ERDiskTreeNode::remove(int pos, int son) {
    const int n = counter();
    move_pairs(pos, pos + 1, n - pos - 1);
    move_sons(son, son + 1, n - son);
    counter(n - 1);
}

void ERDiskTreeNode::copy_pairs(int at, const ERDiskTreeNode& from, int first, int count) {
    if (count <= 0) return;
    std::memcpy(keys(at), from.keys(first), std::size_t{layout.key_length} * std::size_t(count));
    std::memcpy(buffer.data() + layout.items_at() + 4 * std::size_t(at),
                from.buffer.data() + layout.items_at() + 4 * std::size_t(first),
                4 * std::size_t(count));
}

void ERDiskTreeNode::copy_sons(int at, const ERDiskTreeNode& from, int first, int count) {
    if (count <= 0) return;
    std::memcpy(buffer.data() + layout.sons_at() + 4 * std::size_t(at),
                from.buffer.data() + layout.sons_at() + 4 * std::size_t(first),
                4 * std::size_t(count));
}

// ---- the cache ----

namespace {

/// A cache takes no more memory than this, however large the nodes that a file asks for.
constexpr std::size_t kMostCached = std::size_t{4} << 20;
constexpr std::size_t kLeastNodes = 4;

} // namespace

ERDiskNodeCache::ERDiskNodeCache(unsigned int capacity_, std::size_t node_size_)
    : capacity(std::clamp<std::size_t>(
          capacity_, 1, std::max(kLeastNodes, kMostCached / std::max<std::size_t>(node_size_, 1)))),
      node_size(node_size_), shift(64 - static_cast<int>(std::bit_width(2 * capacity))),
      buckets(std::size_t{1} << (64 - shift), none) {}

unsigned int ERDiskNodeCache::find(long offset) {
    unsigned int slot = bucket(offset);
    while (slot != none && slots[slot].offset != offset)
        slot = slots[slot].next;
    return slot;
}

void ERDiskNodeCache::unlink(unsigned int slot) {
    const Slot& s = slots[slot];
    (s.newer != none ? slots[s.newer].older : newest) = s.older;
    (s.older != none ? slots[s.older].newer : oldest) = s.newer;
}

void ERDiskNodeCache::make_newest(unsigned int slot) {
    slots[slot].newer = none;
    slots[slot].older = newest;
    (newest != none ? slots[newest].newer : oldest) = slot;
    newest = slot;
}

void ERDiskNodeCache::leave_bucket(unsigned int slot) {
    unsigned int* link = &bucket(slots[slot].offset);
    while (*link != slot)
        link = &slots[*link].next;
    *link = slots[slot].next;
    slots[slot].offset = -1;
}

unsigned int ERDiskNodeCache::free_slot() {
    if (oldest != none && (slots.size() >= capacity || slots[oldest].offset == -1)) {
        if (slots[oldest].offset != -1) leave_bucket(oldest);
        return oldest;
    }
    slots.emplace_back().bytes = std::make_unique<char[]>(node_size);
    const unsigned int slot = static_cast<unsigned int>(slots.size() - 1);
    slots[slot].newer = oldest;
    (oldest != none ? slots[oldest].older : newest) = slot;
    oldest = slot;
    return slot;
}

void ERDiskNodeCache::forget(long offset) {
    const unsigned int slot = find(offset);
    if (slot == none) return;
    leave_bucket(slot);
    unlink(slot);
    slots[slot].newer = oldest;
    slots[slot].older = none;
    (oldest != none ? slots[oldest].older : newest) = slot;
    oldest = slot;
}

const char* ERDiskNodeCache::read(ERFileManager& file, long offset) {
    unsigned int slot = find(offset);
    if (slot == none) {
        slot = free_slot();
        char* const bytes = slots[slot].bytes.get();
        if (file.read_node(offset, bytes, node_size) != node_size) return nullptr;
        slots[slot].offset = offset;
        slots[slot].next = std::exchange(bucket(offset), slot);
    }
    if (slot != newest) {
        unlink(slot);
        make_newest(slot);
    }
    return slots[slot].bytes.get();
}

void ERDiskNodeCache::write_through(ERFileManager& file, long offset, const char* source,
                                    bool fresh) {
    if (fresh) return file.write_node(offset, source, node_size);
    const unsigned int slot = find(offset);
    if (slot != none) return file.replace_node(offset, source, slots[slot].bytes.get(), node_size);
    std::vector<char> old(node_size);
    if (file.read_node(offset, old.data(), node_size) == node_size)
        file.replace_node(offset, source, old.data(), node_size);
    else
        file.write_node(offset, source, node_size);
}

void ERDiskNodeCache::write(ERFileManager& file, long offset, const char* source, bool fresh) {
    unsigned int slot = find(offset);
    try {
        write_through(file, offset, source, fresh);
    } catch (...) {
        forget(offset); // what the file holds now is not known
        throw;
    }
    if (slot == none) {
        slot = free_slot();
        slots[slot].offset = offset;
        slots[slot].next = std::exchange(bucket(offset), slot);
    }
    std::memcpy(slots[slot].bytes.get(), source, node_size);
    if (slot != newest) {
        unlink(slot);
        make_newest(slot);
    }
}
