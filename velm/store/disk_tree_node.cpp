#include "velm/store/disk_tree_node.h"

#include "velm/store/disk_tree.h"
#include "velm/store/file_space.h"

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

namespace {

template <class Less>
int first_not_less(int n, Less less) {
    if (n == 0 || !less(0)) return 0;
    int high = n - 1;
    if (less(high)) return n;
    int low = 0;
    while (high - low > 1) {
        const int middle = (high + low) / 2;
        (less(middle) ? low : high) = middle;
    }
    return high;
}

} // namespace

int ERDiskTreeNodeView::compare_binary(const char* a, const char* b, std::size_t n) {
    return std::memcmp(a, b, n);
}

int ERDiskTreeNodeView::search(const char* key, Compare compare) const {
    return first_not_less(counter(),
                          [&](int i) { return compare(keys(i), key, layout.key_length) < 0; });
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

void ERDiskNodeCache::write(long offset, const char* source) {
    file.write_node(offset, source, node_size, ERFileManager::NodeKind::of_tree);
}

void ERDiskNodeCache::forget(long offset) { file.forget_node(offset); }
