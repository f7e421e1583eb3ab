// How an ERBTreeOnDisk whose keys are numbers finds pairs and leaves without a descent.
#include "velm/store/detail/leaf_table.h"
#include "velm/store/detail/pair_table.h"
#include "velm/store/disk_tree.h"

#include <utility>

using velm::detail::LeafTable;
using velm::detail::NumberRange;
using velm::detail::PairTable;

namespace {

std::uint32_t order_of(const char* key) { return ERDiskTreeNodeView::in_byte_order(key); }

} // namespace

// What was entered before nodes were given up, as a failed operation does, is not trusted.
PairTable& ERBTreeOnDisk::valid_pairs() const {
    if (std::exchange(known_of, file.nodes_given_up()) != file.nodes_given_up()) forget_known();
    return *pairs;
}

LeafTable& ERBTreeOnDisk::valid_leaves() const {
    valid_pairs();
    return *leaves;
}

void ERBTreeOnDisk::forget_known() const {
    pairs->clear();
    leaves->clear();
}

// What a descent finds. The node that it ends in is entered as far as the keys above it lead there.
bool ERBTreeOnDisk::find_number(const char* key, long& value) const {
    const std::int32_t known = valid_pairs().find(PairTable::number_of(key));
    if (known != -1) {
        value = known;
        return true;
    }
    NumberRange range;
    int depth = 0;
    for (long offset = information.root; offset != -1;) {
        check_depth(++depth);
        const ERDiskTreeNodeView node = node_at(offset);
        const int pos = node.binarySearch(key, compare);
        if (node.holds(pos, key, compare)) {
            value = node.items(pos);
            enter_pairs(node, range);
            return true;
        }
        range.narrow(node, pos);
        offset = node.sons(pos);
    }
    return false;
}

unsigned int ERBTreeOnDisk::block_size(const char* key) const {
    return has_numbers() ? valid_pairs().block_size(PairTable::number_of(key)) : 0;
}

void ERBTreeOnDisk::note_block_size(const char* key, unsigned int size) const {
    if (has_numbers()) valid_pairs().note_block_size(PairTable::number_of(key), size);
}

void ERBTreeOnDisk::enter_pairs(const ERDiskTreeNodeView& node, const NumberRange& range) const {
    pairs->make_room(static_cast<std::size_t>(node.counter()), information.entries);
    std::int64_t last = range.after;
    for (int i = 0; i < node.counter(); ++i) {
        const std::int64_t order = order_of(node.keys(i));
        if (order <= last) continue;
        if (order >= range.before) break;
        pairs->enter(PairTable::number_of(node.keys(i)), static_cast<std::int32_t>(node.items(i)));
        last = order;
    }
}

// An insertion where the leaf is known and has room: pending where it isn't so.
ERBTreeOnDisk::retStatus ERBTreeOnDisk::insert_in_known_leaf(const char* key, long value) {
    const long leaf = valid_leaves().find(order_of(key));
    if (leaf == -1) return pending;
    load(leaf);
    if (work->counter() >= max_keys()) return pending;
    const int pos = work->binarySearch(key, compare);
    if (equal(*work, pos, key)) return duplicate;
    work->insert(key, value, pos, -1);
    store();
    return done;
}
