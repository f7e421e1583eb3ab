#include "velm/store/disk_tree.h"

#include "velm/platform/file_exception.h"

#include <algorithm>
#include <cstring>

namespace {

int compare_binary(const char* a, const char* b, std::size_t n) { return std::memcmp(a, b, n); }
int compare_text(const char* a, const char* b, std::size_t n) { return std::strncmp(a, b, n); }

/// No tree of a 2 GiB file is deeper; a son that leads back up is.
constexpr int kDeepest = 64;
/// Sizes beyond these are damage.
constexpr unsigned int kLongestKey = 0xFFFF;
constexpr unsigned int kLargestOrder = 0xFFFF;
constexpr std::size_t kLargestEmptyNode = std::size_t{1} << 24;

} // namespace

// ---- opening and closing ----

ERBTreeOnDisk::ERBTreeOnDisk(ERFileManager& file_, unsigned int cacheSize, createMode mode,
                             unsigned int keyLength, int ignore_nulls, long info_offset,
                             unsigned int order, unsigned int minimum)
    : file(file_), infoOffset(info_offset) {
    if (infoOffset == -1 && mode != create) infoOffset = file.start();
    if (infoOffset == -1 || mode == create) {
        infoInit(keyLength, ignore_nulls, order, minimum);
        infoOffset = file.allocate(sizeof information);
        information_known = true;
        writeInfo();
    }
    readInfo();
    information_known = information.magic == ERBTreeInformation::magic_number;
    if (!information_known) infoReInit(keyLength, ignore_nulls, order, minimum);
    layout = {information.key_length, information.order};
    compare = information_known && ignoreNulls() ? compare_binary : compare_text;
    check_sizes();
    startup(cacheSize);
}

ERBTreeOnDisk::~ERBTreeOnDisk() {
    if (file.isReadOnly() || !information_known || !file.is_open()) return;
    try {
        writeInfo();
    } catch (CFileException* e) {
        e->Delete();
    }
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
}

void ERBTreeOnDisk::readInfo() {
    ERBTreeInformation read;
    read.magic = -1;
    file.Seek(infoOffset, CFile::begin);
    velm::read_bytes(file, &read, sizeof read);
    information = read;
}

void ERBTreeOnDisk::writeInfo() {
    check_writable();
    file.Seek(infoOffset, CFile::begin);
    velm::write_bytes(file, &information, sizeof information);
}

void ERBTreeOnDisk::startup(unsigned int cacheSize) {
    cache = std::make_unique<ERDiskNodeCache>(cacheSize, layout.node_size());
    root = std::make_unique<ERDiskTreeNode>(layout, this);
    work = std::make_unique<ERDiskTreeNode>(layout, this);
    pendingInsertion.key.resize(layout.key_length);
    readRoot();
    workOffset = -1;
}

void ERBTreeOnDisk::readRoot() {
    if (isEmpty())
        root->initialize();
    else
        readcache(information.root, *root);
}

void ERBTreeOnDisk::raise_invalid() const {
    AfxThrowFileException(CFileException::invalidFile, -1, file.GetFilePath().c_str());
}

void ERBTreeOnDisk::check_sizes() const {
    const bool sane = layout.key_length >= 1 && layout.key_length <= kLongestKey &&
                      layout.order >= 1 && layout.order <= kLargestOrder &&
                      information.minimum <= layout.order;
    if (!sane) raise_invalid();
    const std::size_t limit =
        isEmpty() ? kLargestEmptyNode : static_cast<std::size_t>(file.GetLength());
    if (layout.node_size() > limit) raise_invalid();
}

/// A block that was not understood is never overwritten.
void ERBTreeOnDisk::check_writable() const {
    if (!information_known) raise_invalid();
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

bool ERBTreeOnDisk::equal(const ERDiskTreeNode& node, int pos, const char* key) const {
    return pos < node.counter() && compare(node.keys(pos), key, layout.key_length) == 0;
}

ERCString ERBTreeOnDisk::key_text(const char* key) const {
    const std::size_t length = ::strnlen(key, layout.key_length);
    return ERCString(key, static_cast<int>(length));
}

void ERBTreeOnDisk::readcache(long offset, ERDiskTreeNode& target) const {
    if (offset < 0 || !cache->read(file, offset, target.data())) raise_invalid();
    if (target.counter() < 0 || target.counter() > max_keys()) raise_invalid();
}

void ERBTreeOnDisk::writecache(long offset, const ERDiskTreeNode& source) {
    cache->write(file, offset, source.data());
}

void ERBTreeOnDisk::load(long offset) const {
    workOffset = -1;
    readcache(offset, *work);
    workOffset = offset;
}

// ---- lookup ----

bool ERBTreeOnDisk::findKeyAndValue(const char* key, int& pos) const {
    int depth = 0;
    for (long offset = information.root; offset != -1; offset = work->sons(pos)) {
        check_depth(++depth);
        load(offset);
        pos = work->binarySearch(key, compare);
        if (equal(*work, pos, key)) return true;
    }
    return false;
}

long ERBTreeOnDisk::findValue(const char* key) const {
    int pos = 0;
    return findKeyAndValue(key, pos) ? work->items(pos) : -1;
}

int ERBTreeOnDisk::contains(const char* key) const {
    int pos = 0;
    return findKeyAndValue(key, pos);
}

int ERBTreeOnDisk::replaceValue(const char* key, long newValue, long& oldValue) {
    oldValue = -1;
    int pos = 0;
    if (!findKeyAndValue(key, pos)) return 0;
    oldValue = work->items(pos);
    work->items(pos, newValue);
    store();
    return 1;
}

// ---- insertion ----

int ERBTreeOnDisk::insertKeyAndValue(const char* key, long value) {
    check_writable();
    const retStatus status = ins(key, value, information.root, 0);
    if (status == pending) new_root();
    if (status == duplicate) return 0;
    ++information.entries;
    return 1;
}

ERBTreeOnDisk::retStatus ERBTreeOnDisk::ins(const char* key, long value, long nodeOffset,
                                            int depth) {
    check_depth(depth);
    if (nodeOffset == -1) {
        copy_key(pendingInsertion.key.data(), key);
        pendingInsertion.value = value;
        pendingInsertion.son = -1;
        return pending;
    }
    load(nodeOffset);
    const int pos = work->binarySearch(key, compare);
    if (equal(*work, pos, key)) return duplicate;
    const long son = work->sons(pos);
    const retStatus status = ins(key, value, son, depth + 1);
    if (status != pending) return status;
    if (son != -1 || workOffset != nodeOffset) load(nodeOffset);
    if (work->counter() >= max_keys()) {
        splitNode(pos);
        return pending;
    }
    work->insert(pendingInsertion.key.data(), pendingInsertion.value, pos, pendingInsertion.son);
    store();
    return done;
}

void ERBTreeOnDisk::new_root() {
    root->initialize();
    root->insert(pendingInsertion.key.data(), pendingInsertion.value, 0, pendingInsertion.son);
    root->sons(0, information.root);
    const long offset = file.allocate(static_cast<unsigned int>(layout.node_size()));
    writecache(offset, *root);
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
    store();
}

// ---- removal ----

void ERBTreeOnDisk::remove(const char* key) {
    ERCString removed;
    long value;
    removeKeyAndValue(key, removed, value);
}

int ERBTreeOnDisk::removeKeyAndValue(const char* key, ERCString& removedKey, long& value) {
    const retStatus status = rem(key, information.root, 0, removedKey, value);
    if (status == not_found) return 0;
    --information.entries;
    if (status == underflow) drop_empty_root();
    return 1;
}

void ERBTreeOnDisk::drop_empty_root() {
    const long empty = information.root;
    information.root = static_cast<std::int32_t>(root->sons(0));
    cache->forget(empty);
    file.deallocate(empty);
    writeInfo();
    readRoot();
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
        ++pos; // the key now stands in the leaf that begins this son
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
    std::swap_ranges(key.begin(), key.end(), work->keys(0));
    const long successor = work->items(0);
    work->items(0, value);
    store();
    load(node);
    copy_key(work->keys(pos), key.data());
    work->items(pos, successor);
    store();
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

void ERBTreeOnDisk::moveItRight(int pos, long parent) {
    const int last = work->counter() - 1;
    const std::vector<char> key(work->keys(last), work->keys(last) + layout.key_length);
    const long value = work->items(last);
    const long son = work->sons(last + 1);
    work->counter(last);
    store();

    load(parent);
    const std::vector<char> separator(work->keys(pos - 1), work->keys(pos - 1) + layout.key_length);
    const long separator_value = work->items(pos - 1);
    copy_key(work->keys(pos - 1), key.data());
    work->items(pos - 1, value);
    store();

    load(work->sons(pos));
    if (work->counter() >= max_keys()) raise_invalid();
    work->insert(separator.data(), separator_value, 0, work->sons(0));
    work->sons(0, son);
    store();
    load(parent);
}

void ERBTreeOnDisk::moveItLeft(int pos, long parent) {
    const std::vector<char> key(work->keys(0), work->keys(0) + layout.key_length);
    const long value = work->items(0);
    const long son = work->sons(0);
    work->remove(0, 0);
    store();

    load(parent);
    const std::vector<char> separator(work->keys(pos), work->keys(pos) + layout.key_length);
    const long separator_value = work->items(pos);
    copy_key(work->keys(pos), key.data());
    work->items(pos, value);
    store();

    load(work->sons(pos));
    if (work->counter() >= max_keys()) raise_invalid();
    work->insert(separator.data(), separator_value, work->counter(), son);
    store();
    load(parent);
}

void ERBTreeOnDisk::combineNodes(int pos, long parent) {
    const long right = workOffset;
    ERDiskTreeNode left(layout, this);
    readcache(parent, left);
    const std::vector<char> separator(left.keys(pos), left.keys(pos) + layout.key_length);
    const long separator_value = left.items(pos);
    const long left_offset = left.sons(pos);
    left.remove(pos, pos + 1);
    writecache(parent, left);

    readcache(left_offset, left);
    const int count = left.counter();
    const int appended = work->counter();
    if (count + 1 + appended > max_keys()) raise_invalid();
    left.insert(separator.data(), separator_value, count, -1);
    left.copy_pairs(count + 1, *work, 0, appended);
    left.copy_sons(count + 1, *work, 0, appended + 1);
    left.counter(count + 1 + appended);
    writecache(left_offset, left);
    cache->forget(right);
    file.deallocate(right);
    load(parent);
}

// ---- whole tree ----

unsigned long ERBTreeOnDisk::entries() const { return information.entries; }

void ERBTreeOnDisk::clear() {
    check_writable();
    if (!isEmpty()) del(information.root, 0);
    information.root = -1;
    information.reserved = -1;
    information.entries = 0;
    writeInfo();
    root->initialize();
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
    visits = 0;
    if (!isEmpty()) apl(information.root, callback, arg, flag, 0);
}

void ERBTreeOnDisk::apl(long offset, void (*callback)(const char*, long, void*), void* arg,
                        int flag, int depth) {
    check_depth(depth);
    std::vector<char> key(layout.key_length + 1);
    while (offset != -1) {
        if (++visits > file.endData() / static_cast<long>(layout.node_size()) + 1) raise_invalid();
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
            if (!file.isReadOnly()) store();
        }
        offset = work->sons(work->counter());
    }
}
