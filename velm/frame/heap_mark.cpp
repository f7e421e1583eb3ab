#include "velm/frame/detail/heap_mark.h"

#include <algorithm>
#include <cstdint>
#include <new>

namespace {

struct Block {
    std::uintptr_t begin;
    std::size_t size;
    ERObjectDataBase* database;

    bool holds(std::uintptr_t address) const { return address - begin < size; }
};

/// The blocks that await their objects, the youngest last. There are as many as `new` expressions
/// are nested, so the fixed part nearly always suffices. Constant-initialised and without a
/// destructor, so that objects may be made at any time in a thread's life.
struct PendingBlocks {
    static constexpr std::size_t fixed_capacity = 8;

    std::size_t count = 0;
    std::size_t capacity = fixed_capacity;
    Block* grown = nullptr;
    Block fixed[fixed_capacity] = {};

    Block* begin() { return grown ? grown : fixed; }
    Block* end() { return begin() + count; }

    void reserve_one() {
        if (count < capacity) return;
        Block* const larger = new Block[2 * capacity];
        std::copy(begin(), end(), larger);
        delete[] grown;
        grown = larger;
        capacity *= 2;
    }

    void remove(Block* block) {
        std::copy(block + 1, end(), block);
        if (--count == 0 && grown) {
            delete[] grown;
            grown = nullptr;
            capacity = fixed_capacity;
        }
    }

    /// Removes the youngest entry that satisfies the test and gives its mark.
    template <class Test>
    velm::detail::HeapMark take(Test test) {
        for (Block* b = end(); b != begin(); --b) {
            if (!test(b[-1])) continue;
            const velm::detail::HeapMark mark{true, b[-1].database};
            remove(b - 1);
            return mark;
        }
        return {};
    }

    /// Older entries in the place of a new block are of blocks that another thread has freed.
    void forget_overlapped(Block const& block) {
        Block* const kept = std::remove_if(begin(), end(), [&](Block const& older) {
            return older.holds(block.begin) || block.holds(older.begin);
        });
        count = static_cast<std::size_t>(kept - begin());
    }

    void add(Block const& block) {
        if (count != 0) forget_overlapped(block);
        begin()[count++] = block;
    }
};

constinit thread_local PendingBlocks pending_blocks;

PendingBlocks& pending() {
    PendingBlocks* blocks = &pending_blocks;
#if defined(__GNUC__)
    // Otherwise the address is asked for again at every use, a call each in a shared library.
    __asm__("" : "+r"(blocks));
#endif
    return *blocks;
}

std::uintptr_t address_of(void const* p) { return reinterpret_cast<std::uintptr_t>(p); }

} // namespace

namespace velm::detail {

void* allocate_marked(std::size_t size, ERObjectDataBase* database) {
    PendingBlocks& blocks = pending();
    blocks.reserve_one();
    void* const block = ::operator new(size);
    blocks.add({address_of(block), size, database});
    return block;
}

HeapMark claim_mark(void const* object) {
    PendingBlocks& blocks = pending();
    if (blocks.count == 0) return {};
    return blocks.take([at = address_of(object)](Block const& b) { return b.holds(at); });
}

void free_marked(void* block) {
    PendingBlocks& blocks = pending();
    if (blocks.count != 0)
        blocks.take([at = address_of(block)](Block const& b) { return b.begin == at; });
    ::operator delete(block);
}

} // namespace velm::detail
