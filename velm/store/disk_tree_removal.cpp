// How an ERBTreeOnDisk takes pairs out and keeps its nodes full enough.
#include "velm/platform/file_exception.h"
#include "velm/store/detail/leaf_table.h"
#include "velm/store/detail/pair_table.h"
#include "velm/store/disk_tree.h"

#include <algorithm>
#include <utility>
#include <vector>

void ERBTreeOnDisk::remove(const char* key) {
    ERCString removed;
    long value;
    removeKeyAndValue(key, removed, value);
}

int ERBTreeOnDisk::removeKeyAndValue(const char* key, ERCString& removedKey, long& value) {
    if (file.gathers_batch()) file.raise(CFileException::genericException);
    return velm::detail::removal(file, [&] { return remove_pair(key, removedKey, value); });
}

int ERBTreeOnDisk::remove_pair(const char* key, ERCString& removedKey, long& value) {
    if (has_numbers()) valid_pairs().forget(velm::detail::PairTable::number_of(key));
    const retStatus status = rem(key, removedKey, value);
    if (status == not_found) return 0;
    --information.entries;
    if (status == underflow) drop_empty_root();
    return 1;
}

void ERBTreeOnDisk::drop_empty_root() {
    const long empty = information.root;
    information.root = static_cast<std::int32_t>(node_at(empty).sons(0));
    writeInfo();
    cache->forget(empty);
    file.deallocate(empty);
}

// Goes down without a copy of a node, and up again as far as nodes fall below the minimum.
ERBTreeOnDisk::retStatus ERBTreeOnDisk::rem(const char* key, ERCString& outKey, long& outValue) {
    way.clear();
    long offset = information.root;
    int pos = 0;
    for (;;) {
        if (offset == -1) return not_found;
        check_depth(static_cast<int>(way.size()));
        const ERDiskTreeNodeView node = node_at(offset);
        pos = node.binarySearch(key, compare);
        long son = node.sons(pos);
        if (node.holds(pos, key, compare)) {
            if (node.is_leaf()) break;
            load(offset);
            swapWithSuccessor(pos);
            son = work->sons(++pos); // the key is now in the leaf that begins this son
        }
        way.emplace_back(offset, pos);
        offset = son;
    }
    load(offset);
    retStatus status = remove_from_leaf(pos, outKey, outValue);
    for (; status == underflow && !way.empty(); way.pop_back())
        status = restoreNode(way.back().first, way.back().second);
    return status;
}

ERBTreeOnDisk::retStatus ERBTreeOnDisk::remove_from_leaf(int pos, ERCString& outKey,
                                                         long& outValue) {
    outKey = key_text(work->keys(pos));
    outValue = work->items(pos);
    work->remove(pos, pos);
    store();
    const long least = workOffset == information.root ? 1 : minimum();
    return work->counter() >= least ? done : underflow;
}

void ERBTreeOnDisk::swapWithSuccessor(int pos) {
    leaves->clear();
    const long node = workOffset;
    const long value = work->items(pos);
    std::vector<char> key(work->keys(pos), work->keys(pos) + layout.key_length);
    long leaf = work->sons(pos + 1);
    load(leaf);
    for (int depth = 0; !work->is_leaf(); load(leaf)) {
        check_depth(++depth);
        leaf = work->sons(0);
    }
    if (work->counter() < 1) raise_invalid();
    ERDiskTreeNode exchanged = *work;
    std::swap_ranges(key.begin(), key.end(), exchanged.keys(0));
    const long successor = exchanged.items(0);
    exchanged.items(0, value);
    load(node);
    copy_key(work->keys(pos), key.data());
    work->items(pos, successor);
    store();
    writecache(leaf, exchanged);
}

ERBTreeOnDisk::retStatus ERBTreeOnDisk::restoreNode(long parent, int pos) {
    leaves->clear();
    if (!above) above = std::make_unique<ERDiskTreeNode>(layout, this);
    if (!beside) beside = std::make_unique<ERDiskTreeNode>(layout, this);
    readcache(parent, *above);
    const int count = above->counter();
    const auto can_lend = [this](int sibling) {
        return node_at(above->sons(sibling)).counter() > minimum();
    };
    if (pos > 0 && can_lend(pos - 1)) {
        moveItRight(pos, parent);
        return done;
    }
    if (pos < count && can_lend(pos + 1)) {
        moveItLeft(pos, parent);
        return done;
    }
    combineNodes(pos < count ? pos : pos - 1, parent);
    const long least = parent == information.root ? 1 : minimum();
    return above->counter() >= least ? done : underflow;
}

// The parent is in the node above. The receiver is written first, then the parent, then the giver.

void ERBTreeOnDisk::moveItRight(int pos, long parent) {
    readcache(above->sons(pos - 1), *beside);
    const int last = beside->counter() - 1;
    load(above->sons(pos));
    if (work->counter() >= max_keys()) raise_invalid();
    work->insert(above->keys(pos - 1), above->items(pos - 1), 0, work->sons(0));
    work->sons(0, beside->sons(last + 1));
    store();

    copy_key(above->keys(pos - 1), beside->keys(last));
    above->items(pos - 1, beside->items(last));
    writecache(parent, *above);
    beside->counter(last);
    writecache(above->sons(pos - 1), *beside);
}

void ERBTreeOnDisk::moveItLeft(int pos, long parent) {
    readcache(above->sons(pos + 1), *beside);
    load(above->sons(pos));
    if (work->counter() >= max_keys()) raise_invalid();
    work->insert(above->keys(pos), above->items(pos), work->counter(), beside->sons(0));
    store();

    copy_key(above->keys(pos), beside->keys(0));
    above->items(pos, beside->items(0));
    writecache(parent, *above);
    beside->remove(0, 0);
    writecache(above->sons(pos + 1), *beside);
}

void ERBTreeOnDisk::combineNodes(int pos, long parent) {
    const long right = above->sons(pos + 1);
    readcache(right, *beside);
    load(above->sons(pos));
    const int count = work->counter();
    const int appended = beside->counter();
    if (count + 1 + appended > max_keys()) raise_invalid();
    work->insert(above->keys(pos), above->items(pos), count, -1);
    work->copy_pairs(count + 1, *beside, 0, appended);
    work->copy_sons(count + 1, *beside, 0, appended + 1);
    work->counter(count + 1 + appended);
    store();

    above->remove(pos, pos + 1);
    writecache(parent, *above);
    cache->forget(right);
    file.deallocate(right);
}
