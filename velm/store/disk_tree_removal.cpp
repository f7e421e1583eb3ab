// How an ERBTreeOnDisk takes pairs out and keeps its nodes full enough.
#include "velm/platform/file_exception.h"
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

// Takes a pair out of a leaf that keeps enough of them: nothing else changes.
bool ERBTreeOnDisk::remove_easily(const char* key, ERCString& outKey, long& outValue) {
    int pos = 0;
    const long offset = findKeyAndValue(key, pos, outValue);
    if (offset == -1) return false;
    const ERDiskTreeNodeView node = node_at(offset);
    const long least = offset == information.root ? 1 : minimum();
    if (!node.is_leaf() || node.counter() <= least) return false;
    load(offset);
    remove_from_leaf(pos, outKey, outValue);
    return true;
}

int ERBTreeOnDisk::remove_pair(const char* key, ERCString& removedKey, long& value) {
    if (has_numbers()) valid_pairs().forget(velm::detail::PairTable::number_of(key));
    if (remove_easily(key, removedKey, value)) {
        --information.entries;
        return 1;
    }
    const retStatus status = rem(key, information.root, 0, removedKey, value);
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

ERBTreeOnDisk::retStatus ERBTreeOnDisk::rem(const char* key, long nodeOffset, int depth,
                                            ERCString& outKey, long& outValue) {
    check_depth(depth);
    if (nodeOffset == -1) return not_found;
    load(nodeOffset);
    int pos = work->binarySearch(key, compare);
    if (equal(*work, pos, key)) {
        if (work->is_leaf()) return remove_from_leaf(pos, outKey, outValue);
        swapWithSuccessor(pos);
        ++pos; // the key is now in the leaf that begins this son
    }
    const retStatus status = rem(key, work->sons(pos), depth + 1, outKey, outValue);
    if (status != underflow) return status;
    load(nodeOffset);
    return restoreNode(pos);
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

ERBTreeOnDisk::retStatus ERBTreeOnDisk::restoreNode(int pos) {
    const long parent = workOffset;
    const int count = work->counter();
    const long left = pos > 0 ? work->sons(pos - 1) : -1;
    const long right = pos < count ? work->sons(pos + 1) : -1;
    const long here = work->sons(pos);
    const auto can_lend = [this](long sibling) {
        load(sibling);
        return work->counter() > minimum();
    };
    if (pos > 0 && can_lend(left)) {
        moveItRight(pos, parent);
        return done;
    }
    if (pos < count && can_lend(right)) {
        moveItLeft(pos, parent);
        return done;
    }
    if (pos < count) {
        combineNodes(pos, parent);
    } else {
        load(here);
        combineNodes(pos - 1, parent);
    }
    const long least = parent == information.root ? 1 : minimum();
    return work->counter() >= least ? done : underflow;
}

// The receiver is written first, then the parent, then the giver.

void ERBTreeOnDisk::moveItRight(int pos, long parent) {
    const long left = workOffset;
    ERDiskTreeNode giver = *work;
    const int last = giver.counter() - 1;
    ERDiskTreeNode above(layout, this);
    readcache(parent, above);
    load(above.sons(pos));
    if (work->counter() >= max_keys()) raise_invalid();
    work->insert(above.keys(pos - 1), above.items(pos - 1), 0, work->sons(0));
    work->sons(0, giver.sons(last + 1));
    store();

    copy_key(above.keys(pos - 1), giver.keys(last));
    above.items(pos - 1, giver.items(last));
    writecache(parent, above);
    giver.counter(last);
    writecache(left, giver);
    load(parent);
}

void ERBTreeOnDisk::moveItLeft(int pos, long parent) {
    const long right = workOffset;
    ERDiskTreeNode giver = *work;
    ERDiskTreeNode above(layout, this);
    readcache(parent, above);
    load(above.sons(pos));
    if (work->counter() >= max_keys()) raise_invalid();
    work->insert(above.keys(pos), above.items(pos), work->counter(), giver.sons(0));
    store();

    copy_key(above.keys(pos), giver.keys(0));
    above.items(pos, giver.items(0));
    writecache(parent, above);
    giver.remove(0, 0);
    writecache(right, giver);
    load(parent);
}

void ERBTreeOnDisk::combineNodes(int pos, long parent) {
    const long right = workOffset;
    ERDiskTreeNode above(layout, this);
    readcache(parent, above);
    ERDiskTreeNode left(layout, this);
    readcache(above.sons(pos), left);
    const int count = left.counter();
    const int appended = work->counter();
    if (count + 1 + appended > max_keys()) raise_invalid();
    left.insert(above.keys(pos), above.items(pos), count, -1);
    left.copy_pairs(count + 1, *work, 0, appended);
    left.copy_sons(count + 1, *work, 0, appended + 1);
    left.counter(count + 1 + appended);
    writecache(above.sons(pos), left);

    above.remove(pos, pos + 1);
    writecache(parent, above);
    cache->forget(right);
    file.deallocate(right);
    load(parent);
}
