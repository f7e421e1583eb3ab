#include "velm/store/disk_tree_node.h"

#include "velm/frame/binary_file.h"
#include "velm/store/disk_tree.h"

#include <algorithm>

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

int ERDiskTreeNode::binarySearch(const char* key, Compare compare) const {
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

ERDiskNodeCache::Slot& ERDiskNodeCache::slot_for(long offset) {
    if (const auto found = places.find(offset); found != places.end()) {
        slots.splice(slots.begin(), slots, found->second);
        return slots.front();
    }
    if (places.size() < capacity) {
        slots.push_front({offset, std::vector<char>(node_size)});
    } else {
        places.erase(slots.back().offset);
        slots.splice(slots.begin(), slots, std::prev(slots.end()));
        slots.front().offset = offset;
    }
    places[offset] = slots.begin();
    return slots.front();
}

void ERDiskNodeCache::forget(long offset) {
    const auto found = places.find(offset);
    if (found == places.end()) return;
    slots.erase(found->second);
    places.erase(found);
}

void ERDiskNodeCache::clear() {
    slots.clear();
    places.clear();
}

int ERDiskNodeCache::read(ERFile& file, long offset, char* target) {
    const bool here = places.contains(offset);
    Slot& slot = slot_for(offset);
    if (!here) {
        try {
            file.Seek(offset, CFile::begin);
            if (velm::read_bytes(file, slot.bytes.data(), node_size) != node_size) {
                forget(offset);
                return 0;
            }
        } catch (...) {
            forget(offset);
            throw;
        }
    }
    std::copy(slot.bytes.begin(), slot.bytes.end(), target);
    return 1;
}

void ERDiskNodeCache::write(ERFile& file, long offset, const char* source) {
    try {
        file.Seek(offset, CFile::begin);
        velm::write_bytes(file, source, node_size);
    } catch (...) {
        forget(offset); // what the file holds now is not known
        throw;
    }
    Slot& slot = slot_for(offset);
    std::copy_n(source, node_size, slot.bytes.begin());
}
