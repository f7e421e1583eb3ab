#include "velm/store/disk_tree.h"

#include "velm/platform/file_exception.h"
#include "velm/store/detail/leaf_table.h"
#include "velm/store/detail/pair_table.h"

#include <algorithm>
#include <cstring>

namespace {

int compare_text(const char* a, const char* b, std::size_t n) { return std::strncmp(a, b, n); }

// No tree of a 2 GiB file is deeper; a son that leads back up is.
constexpr int kDeepest = 64;
// Sizes beyond these are damage.
constexpr unsigned int kLongestKey = 0xFFFF;
constexpr unsigned int kLargestOrder = 0xFFFF;
constexpr std::size_t kLargestEmptyNode = std::size_t{1} << 24;

constexpr auto compare_binary = ERDiskTreeNodeView::compare_binary;

} // namespace

using velm::detail::LeafTable;
using velm::detail::NumberRange;
using velm::detail::PairTable;
using velm::detail::StoreStep;

// ---- opening and closing ----

ERBTreeOnDisk::ERBTreeOnDisk(ERFileManager& file_, unsigned int, createMode mode,
                             unsigned int keyLength, int ignore_nulls, long info_offset,
                             unsigned int order, unsigned int minimum)
    : file(file_), infoOffset(info_offset), pairs(std::make_unique<PairTable>()),
      leaves(std::make_unique<LeafTable>()) {
    StoreStep step(file); // of nothing, where the tree is there
    if (infoOffset == -1 && mode != createNew) infoOffset = file.start();
    if (infoOffset == -1 || mode == createNew) {
        infoInit(keyLength, ignore_nulls, order, minimum);
        infoOffset = file.allocate(sizeof information);
        writeInfo();
    }
    readInfo();
    information_known = information.magic == ERBTreeInformation::magic_number;
    if (!information_known) infoReInit(keyLength, ignore_nulls, order, minimum);
    layout = {information.key_length, information.order};
    compare = information_known && ignoreNulls() ? compare_binary : compare_text;
    check_sizes();
    startup();
    step.finish();
    join(&file);
}

ERBTreeOnDisk::~ERBTreeOnDisk() {
    try {
        save_information();
    } catch (CFileException* e) {
        e->Delete();
    }
}

void ERBTreeOnDisk::save_information() {
    if (file.isReadOnly() || !file.has_free_list() || !file.is_open()) return;
    if (std::memcmp(&information, &information_on_file, sizeof information) != 0) writeInfo();
}

void ERBTreeOnDisk::infoInit(unsigned int keyLength, int ignore_nulls, unsigned int order,
                             unsigned int minimum) {
    information = ERBTreeInformation();
    information.key_length = keyLength;
    information.order = order;
    information.minimum = std::min(order, minimum);
    information.flags = ignore_nulls != 0;
}

void ERBTreeOnDisk::infoReInit(unsigned int keyLength, int ignore_nulls, unsigned int order,
                               unsigned int minimum) {
    infoInit(keyLength, ignore_nulls, order, minimum);
    information.magic = -1;
    information_on_file = information; // nothing is written until it changes
}

void ERBTreeOnDisk::readInfo() {
    information = ERBTreeInformation();
    if (file.read_through(infoOffset, &information, sizeof information) != sizeof information)
        information.magic = -1;
    information_on_file = information;
}

void ERBTreeOnDisk::writeInfo() {
    if (information_known)
        file.write_over(infoOffset, &information, &information_on_file, sizeof information);
    else
        file.write_through(infoOffset, &information, sizeof information);
    information_on_file = information;
}

void ERBTreeOnDisk::startup() {
    cache = std::make_unique<ERDiskNodeCache>(file, layout.node_size());
    work = std::make_unique<ERDiskTreeNode>(layout, this);
    pendingInsertion.key.resize(layout.key_length);
    if (!isEmpty()) node_at(information.root); // raises where there is none
    workOffset = -1;
}

void ERBTreeOnDisk::go_back() noexcept {
    information = before.information;
    information_on_file = before.on_file;
    workOffset = -1;
    halves.clear();
}

void ERBTreeOnDisk::raise_invalid() const { file.raise(CFileException::invalidFile); }

void ERBTreeOnDisk::check_sizes() const {
    const bool sane = layout.key_length >= 1 && layout.key_length <= kLongestKey &&
                      layout.order >= 1 && layout.order <= kLargestOrder &&
                      information.minimum <= layout.order;
    if (!sane) raise_invalid();
    const std::size_t limit =
        isEmpty() ? kLargestEmptyNode : static_cast<std::size_t>(file.GetLength());
    if (layout.node_size() > limit) raise_invalid();
}

void ERBTreeOnDisk::require_keys(unsigned int keyLength, int ignore_nulls) const {
    if (!information_known) return; // such a tree is empty and compares nothing
    if (information.key_length != keyLength || ignoreNulls() != (ignore_nulls != 0))
        raise_invalid();
}

void ERBTreeOnDisk::check_depth(int depth) const {
    if (depth > kDeepest) raise_invalid();
}

// ---- nodes and keys ----

void ERBTreeOnDisk::copy_key(char* target, const char* key) const {
    if (compare == compare_binary)
        std::memmove(target, key, layout.key_length);
    else
        std::strncpy(target, key, layout.key_length);
}

ERCString ERBTreeOnDisk::key_text(const char* key) const {
    const std::size_t length = ::strnlen(key, layout.key_length);
    return ERCString(key, static_cast<int>(length));
}

ERDiskTreeNodeView ERBTreeOnDisk::node_at(long offset) const {
    const char* const image = offset >= 0 ? cache->read(offset) : nullptr;
    if (image == nullptr) raise_invalid();
    const ERDiskTreeNodeView node(layout, image);
    if (node.counter() < 0 || node.counter() > max_keys()) raise_invalid();
    return node;
}

void ERBTreeOnDisk::readcache(long offset, ERDiskTreeNode& target) const {
    target.assign(node_at(offset));
}

void ERBTreeOnDisk::writecache(long offset, const ERDiskTreeNode& source) {
    cache->write(offset, source.data());
}

void ERBTreeOnDisk::load(long offset) const {
    workOffset = -1;
    readcache(offset, *work);
    workOffset = offset;
}

// ---- lookup ----

long ERBTreeOnDisk::findKeyAndValue(const char* key, int& pos, long& value) const {
    int depth = 0;
    for (long offset = information.root; offset != -1;) {
        check_depth(++depth);
        const ERDiskTreeNodeView node = node_at(offset);
        pos = node.binarySearch(key, compare);
        if (node.holds(pos, key, compare)) {
            value = node.items(pos);
            return offset;
        }
        offset = node.sons(pos);
    }
    return -1;
}

long ERBTreeOnDisk::findValue(const char* key) const {
    int pos = 0;
    long value = -1;
    if (has_numbers())
        find_number(key, value);
    else
        findKeyAndValue(key, pos, value);
    return value;
}

int ERBTreeOnDisk::contains(const char* key) const {
    int pos = 0;
    long value;
    return has_numbers() ? find_number(key, value) : findKeyAndValue(key, pos, value) != -1;
}

int ERBTreeOnDisk::replaceValue(const char* key, long newValue, long& oldValue) {
    oldValue = -1;
    int pos = 0;
    long value;
    const long offset = findKeyAndValue(key, pos, value);
    if (offset == -1) return 0;
    StoreStep step(file);
    load(offset);
    work->items(pos, newValue);
    store();
    if (has_numbers())
        valid_pairs().enter(PairTable::number_of(key), static_cast<std::int32_t>(newValue));
    step.finish();
    oldValue = value;
    return 1;
}

// ---- insertion ----

int ERBTreeOnDisk::insertKeyAndValue(const char* key, long value) {
    StoreStep step(file);
    halves.clear();
    const retStatus status = ins(key, value);
    if (status == pending) new_root();
    if (status != duplicate) {
        write_halves();
        ++information.entries;
        if (has_numbers()) {
            valid_pairs().make_room(1, information.entries);
            pairs->enter(PairTable::number_of(key), static_cast<std::int32_t>(value));
        }
    }
    step.finish();
    return status != duplicate;
}

// Goes down without a copy of a node, and up again as far as nodes are split.
ERBTreeOnDisk::retStatus ERBTreeOnDisk::ins(const char* key, long value) {
    NumberRange range;
    const bool numbers = has_numbers();
    if (numbers)
        if (const retStatus status = insert_in_known_leaf(key, value); status != pending)
            return status;
    way.clear();
    for (long offset = information.root; offset != -1;) {
        check_depth(static_cast<int>(way.size()));
        const ERDiskTreeNodeView node = node_at(offset);
        const int pos = node.binarySearch(key, compare);
        if (node.holds(pos, key, compare)) return duplicate;
        way.emplace_back(offset, pos);
        offset = node.sons(pos);
        if (numbers && offset != -1) range.narrow(node, pos);
    }
    if (numbers && !way.empty())
        leaves->enter(ERDiskTreeNodeView::in_byte_order(key), range, way.back().first);
    copy_key(pendingInsertion.key.data(), key);
    pendingInsertion.value = value;
    pendingInsertion.son = -1;
    for (; !way.empty(); way.pop_back()) {
        const auto [offset, pos] = way.back();
        load(offset);
        if (work->counter() < max_keys()) {
            work->insert(pendingInsertion.key.data(), pendingInsertion.value, pos,
                         pendingInsertion.son);
            store();
            return done;
        }
        leaves->forget(offset);
        splitNode(pos);
    }
    return pending;
}

void ERBTreeOnDisk::new_root() {
    ERDiskTreeNode root(layout, this);
    root.insert(pendingInsertion.key.data(), pendingInsertion.value, 0, pendingInsertion.son);
    root.sons(0, information.root);
    const long offset = file.allocate(static_cast<unsigned int>(layout.node_size()));
    writecache(offset, root);
    information.root = static_cast<std::int32_t>(offset);
    writeInfo();
}

void ERBTreeOnDisk::splitNode(int pos) {
    const int middle = static_cast<int>(layout.order);
    ERDiskTreeNode right(layout, this);
    Pending& up = pendingInsertion;
    const auto promote_middle = [&] {
        copy_key(up.key.data(), work->keys(middle));
        up.value = work->items(middle);
    };
    if (pos > middle) {
        const Pending kept = up;
        promote_middle();
        right.copy_pairs(0, *work, middle + 1, middle - 1);
        right.copy_sons(0, *work, middle + 1, middle);
        right.counter(middle - 1);
        work->counter(middle);
        right.insert(kept.key.data(), kept.value, pos - middle - 1, kept.son);
    } else {
        right.copy_pairs(0, *work, middle, middle);
        right.copy_sons(0, *work, middle, middle + 1);
        right.counter(middle);
        work->counter(middle);
        if (pos < middle) {
            work->insert(up.key.data(), up.value, pos, up.son);
            promote_middle();
            work->counter(middle);
        } else {
            right.sons(0, up.son);
        }
    }
    up.son = file.allocate(static_cast<unsigned int>(layout.node_size()));
    writecache(up.son, right);
    halves.emplace_back(workOffset, *work); // written when a parent names the right one
    workOffset = -1;
}

void ERBTreeOnDisk::write_halves() {
    for (; !halves.empty(); halves.pop_back())
        writecache(halves.back().first, halves.back().second);
    workOffset = -1;
}

// ---- whole tree ----

unsigned long ERBTreeOnDisk::entries() const { return information.entries; }

void ERBTreeOnDisk::clear() {
    if (file.gathers_batch()) file.raise(CFileException::genericException);
    velm::detail::removal(file, [this] {
        const long root = information.root;
        information.root = -1;
        information.reserved = -1;
        information.entries = 0;
        forget_known();
        writeInfo();
        if (root != -1) del(root, 0);
        return 0;
    });
    workOffset = -1;
}

void ERBTreeOnDisk::del(long offset, int depth) {
    check_depth(depth);
    load(offset);
    if (!work->is_leaf()) {
        for (int i = 0; i <= work->counter(); ++i) {
            del(work->sons(i), depth + 1);
            load(offset);
        }
    }
    cache->forget(offset);
    file.deallocate(offset);
}

void ERBTreeOnDisk::applyToKeyAndValue(void (*callback)(const char* key, long value, void* arg),
                                       void* arg, int flag) {
    visits = static_cast<long>(file.GetLength() / layout.node_size()) + 1;
    if (!isEmpty()) apl(information.root, callback, arg, flag, 0);
}

void ERBTreeOnDisk::apl(long offset, void (*callback)(const char*, long, void*), void* arg,
                        int flag, int depth) {
    check_depth(depth);
    std::vector<char> key(layout.key_length + 1);
    while (offset != -1) {
        if (visits-- == 0) raise_invalid(); // more nodes than the file has room for
        load(offset);
        for (int i = 0; i < work->counter(); ++i) {
            if (work->sons(i) != -1) {
                apl(work->sons(i), callback, arg, flag, depth + 1);
                if (flag == 0) load(offset);
            }
            std::copy_n(work->keys(i), layout.key_length, key.begin());
            callback(key.data(), work->items(i), arg);
            if (flag != 0) continue;
            if (workOffset != offset) load(offset); // the callback has used the tree
            if (std::equal(key.begin(), key.end() - 1, work->keys(i))) continue;
            std::copy_n(key.begin(), layout.key_length, work->keys(i));
            forget_known();
            if (!file.isReadOnly()) store();
        }
        offset = work->sons(work->counter());
    }
}
