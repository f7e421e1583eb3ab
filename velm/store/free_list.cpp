#include "velm/store/free_list.h"

#include "velm/platform/debug_output.h"
#include "velm/platform/file_exception.h"
#include "velm/store/detail/free_chain.h"
#include "velm/store/detail/operation_state.h"
#include "velm/store/file_space.h"

#include <algorithm>
#include <bit>
#include <climits>
#include <cstring>
#include <utility>

using velm::detail::FreeChain;

// ---- one node ----

namespace {

// The number of extents that a node can be trusted to have.
int entries(const ERFreeListNode& node) {
    return std::clamp(node.count, 0, ERFreeListNode::max_extents);
}

} // namespace

void ERFreeListNode::remove(int i) {
    const int n = entries(*this);
    std::copy(offsets + i + 1, offsets + n, offsets + i);
    std::copy(sizes + i + 1, sizes + n, sizes + i);
    count = n - 1;
}

namespace {

// The first entry that could touch an extent, n if none does: all are looked at without a branch,
// modulo 2^32.
int first_near(const ERFreeListNode& node, int n, std::int32_t offset, std::uint32_t size) {
    const auto start = static_cast<std::uint32_t>(offset);
    std::uint32_t touches = 0;
    for (int i = 0; i < ERFreeListNode::max_extents; ++i) {
        const auto other = static_cast<std::uint32_t>(node.offsets[i]);
        const bool near = start == other + node.sizes[i] || start + size == other;
        touches |= std::uint32_t{near} << i;
    }
    return std::min(std::countr_zero(touches), n);
}

} // namespace

bool ERFreeListNode::enter(std::int32_t offset, std::uint32_t size) {
    const int n = entries(*this);
    const auto end_of = [this](int i) { return std::int64_t{offsets[i]} + sizes[i]; };
    for (int i = first_near(*this, n, offset, size); i < n; ++i) {
        if (offset == end_of(i)) {
            sizes[i] += size;
            if (i + 1 < n && end_of(i) == offsets[i + 1]) {
                sizes[i] += sizes[i + 1];
                remove(i + 1);
            }
            return true;
        }
        if (std::int64_t{offset} + size == offsets[i]) {
            offsets[i] = offset;
            sizes[i] += size;
            return true;
        }
    }
    if (n == max_extents) return false;
    const int at = static_cast<int>(
        std::find_if(offsets, offsets + n, [offset](std::int32_t o) { return o > offset; }) -
        offsets);
    std::copy_backward(offsets + at, offsets + n, offsets + n + 1);
    std::copy_backward(sizes + at, sizes + n, sizes + n + 1);
    offsets[at] = offset;
    sizes[at] = size;
    count = n + 1;
    return true;
}

// ---- the chain ----

namespace {

// A block's total size: the word in front of it and the bytes rounded up to a multiple of 4.
unsigned int block_size(unsigned int bytes) {
    if (bytes > static_cast<unsigned int>(INT_MAX) - 7u)
        AfxThrowFileException(CFileException::diskFull);
    return (bytes + 7u) & ~3u;
}

// An extent larger than the block by less than this is given away whole.
constexpr unsigned int kSmallestRemainder = 8;

constexpr unsigned int kNodePayload = 264;

// A chain this long is worth its image in memory.
constexpr long kLongWalk = 64;

} // namespace

ERListManager::ERListManager(ERFileManager* file_, int create)
    : file(file_), current(ERFileManager::head_node_offset) {
    if (create) {
        node.next = ERFileManager::head_node_offset;
        writeNode();
    } else {
        readNode(current);
    }
}

bool ERListManager::is_lone_head() const {
    return current == ERFileManager::head_node_offset &&
           node.next == ERFileManager::head_node_offset;
}

long ERListManager::take(int i, unsigned int& need) {
    const long offset = node.offsets[i];
    const unsigned int remainder = node.sizes[i] - need;
    if (offset < ERFileManager::first_block || offset + long{node.sizes[i]} > file->endData())
        file->raise(CFileException::invalidFile);
    if (remainder >= kSmallestRemainder) {
        node.offsets[i] += static_cast<std::int32_t>(need);
        node.sizes[i] = remainder;
    } else {
        need = node.sizes[i];
        node.remove(i);
    }
    if (node.count == 0 && !is_lone_head())
        deleteNode();
    else
        writeNode();
    return offset;
}

// Another list manager than the file's own goes back by itself.
template <class Work>
auto ERListManager::as_operation(Work work) {
    velm::detail::StoreStep step(*file);
    if (file->list.get() != this) remember();
    try {
        const auto result = work();
        step.finish();
        return result;
    } catch (...) {
        if (file->list.get() != this) go_back();
        throw;
    }
}

long ERListManager::allocate(unsigned int bytes) {
    unsigned int total;
    return as_operation([&] { return take_block(bytes, total); });
}

long ERListManager::take_block(unsigned int bytes, unsigned int& total) {
    unsigned int& need = total;
    need = block_size(bytes);
    const long stop = current;
    long offset = ER_NULL_OFFSET;
    if (file->operation->batch) { // the free list stays as it is
        offset = file->allocateAtEnd(need);
        writeHeader(offset, need);
        return offset + 4;
    }
    begin_walk();
    do {
        const int n = entries(node);
        const int i = static_cast<int>(
            std::find_if(node.sizes, node.sizes + n, [need](auto size) { return size >= need; }) -
            node.sizes);
        if (i < n) offset = take(i, need);
    } while (offset == ER_NULL_OFFSET && advance_to(stop, [&](const FreeChain& chain, long from) {
                 return chain.first_with(from, need);
             }));
    if (offset == ER_NULL_OFFSET) {
        if (file->operation->sparing) return ER_NULL_OFFSET;
        offset = file->allocateAtEnd(need);
    } else {
        file->note_allocated(offset, need);
    }
    writeHeader(offset, need);
    return offset + 4;
}

void ERListManager::deallocate(long payload) { give_back(payload, 0); }

void ERListManager::give_back(long payload, unsigned int total) {
    const long offset = payload - 4;
    if (offset < ERFileManager::first_block) file->raise(CFileException::invalidFile);
    as_operation([&] {
        addToFreeList(offset, total != 0 ? total : readHeader(offset));
        return 0;
    });
}

void ERListManager::addToFreeList(long offset, unsigned int size) {
    file->note_freed(offset, size);
    if (file->deallocateFromEnd(offset, size)) return;
    const long stop = current;
    begin_walk();
    do {
        if (node.enter(static_cast<std::int32_t>(offset), size)) {
            writeNode();
            return;
        }
    } while (advance_to(stop, [=](const FreeChain& chain, long from) {
        return chain.first_for(from, offset, size);
    }));
    extendFreeList(offset, size);
}

void ERListManager::extendFreeList(long, unsigned int) {
    const long payload = allocate(kNodePayload);
    if (payload == ER_NULL_OFFSET) return; // no room, and nothing else is lost
    const long made = payload - 4;
    const long before = current;
    ERFreeListNode linked = node;
    node = ERFreeListNode();
    node.next = std::exchange(linked.next, static_cast<std::int32_t>(made));
    current = made;
    file->chain->chained(before, made);
    writeNode(); // before anything leads to it
    writeNode(before, linked);
}

void ERListManager::deleteNode() {
    long removed = current;
    if (current != ERFileManager::head_node_offset) {
        const std::int32_t after = node.next;
        if (file->chain->usable()) {
            readNode(file->chain->before(removed));
        } else {
            readNode(ERFileManager::head_node_offset);
            begin_walk();
            while (node.next != removed && advance(ERFileManager::head_node_offset)) {
            }
        }
        node.next = after;
        file->chain->removed(removed);
        writeNode();
    } else {
        removed = node.next;
        readNode(removed);
        current = ERFileManager::head_node_offset;
        file->chain->removed(removed);
        writeNode();
    }
    file->forget_node(removed);
    addToFreeList(removed, ERFileManager::node_size);
}

// ---- nodes and size words on file ----

int ERListManager::readNode(long offset) {
    current = offset;
    const char* const image = file->node_at(offset, sizeof node);
    if (image != nullptr) {
        std::memcpy(&node, image, sizeof node);
    } else {
        node = ERFreeListNode();
        node.magic = 0;
        file->read_through(offset, &node, sizeof node);
    }
    if (node.magic != ERFreeListNode::magic_number) OutputDebugStringA("BAD MAGIC NUMBER");
    return 1;
}

void ERListManager::writeNode() { writeNode(current, node); }

void ERListManager::writeNode(long offset, const ERFreeListNode& image) {
    file->write_node(offset, &image, sizeof image, ERFileManager::NodeKind::of_free_list);
    file->chain->written(offset, image);
}

int ERListManager::advance() {
    if (++steps > file->endData() / ERFileManager::node_size + 2)
        file->raise(CFileException::invalidFile);
    return readNode(node.next);
}

int ERListManager::advance(long stop) {
    if (node.next == stop) return 0;
    return advance();
}

template <class Find>
int ERListManager::advance_to(long stop, Find find) {
    if (node.next == stop) return 0;
    FreeChain& chain = *file->chain;
    if (!chain.tried() && steps >= kLongWalk) {
        chain.build(ERFileManager::head_node_offset, [this](long offset, ERFreeListNode& read) {
            const char* const image = file->node_at(offset, sizeof read);
            if (image != nullptr) std::memcpy(&read, image, sizeof read);
            return image != nullptr;
        });
    }
    if (!chain.usable() || std::exchange(jumped, true)) return advance();
    const long found = find(chain, node.next);
    const bool elsewhere = found != ER_NULL_OFFSET && found != stop;
    readNode(elsewhere ? found : chain.before(stop));
    return elsewhere;
}

unsigned int ERListManager::readHeader(long offset) {
    unsigned int size = 0;
    if (file->read_through(offset, &size, sizeof size) != sizeof size)
        file->raise(CFileException::invalidFile);
    return size;
}

void ERListManager::writeHeader(long offset, unsigned int size) {
    const std::int32_t word = static_cast<std::int32_t>(size);
    file->change(offset, &word, sizeof word);
}
