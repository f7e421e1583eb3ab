#include "velm/frame/detail/heap_mark.h"

#include <algorithm>
#include <atomic>
#include <cstdint>

using velm::detail::HeapMark;

namespace {

std::uintptr_t address_of(const void* p) { return reinterpret_cast<std::uintptr_t>(p); }

struct Block {
    std::uintptr_t begin;
    std::size_t size; // 0: no block
    ERObjectDataBase* database;

    bool holds(std::uintptr_t address) const { return address - begin < size; }
};

// The blocks that wait for their objects, except the youngest one, the oldest first. There are as
// many as nested `new` expressions, so the fixed part nearly always suffices. Constant-initialised
// and without a destructor, so that objects may be made at any time in a thread's life.
struct OlderBlocks {
    static constexpr std::size_t fixed_capacity = 8;

    std::size_t count = 0;
    std::size_t capacity = fixed_capacity;
    Block* grown = nullptr;
    Block fixed[fixed_capacity] = {};

    Block* begin() { return grown ? grown : fixed; }
    Block* end() { return begin() + count; }

    void add(const Block& block) {
        if (count == capacity) {
            Block* const larger = new Block[2 * capacity];
            std::copy(begin(), end(), larger);
            delete[] grown;
            grown = larger;
            capacity *= 2;
        }
        begin()[count++] = block;
    }

    // Removes the youngest block that satisfies the test and returns it; a block of size 0 if none
    // does.
    template <class Test>
    Block take(Test test) {
        for (Block* b = end(); b != begin(); --b) {
            if (!test(b[-1])) continue;
            const Block taken = b[-1];
            std::copy(b, end(), b - 1);
            if (--count == 0) release();
            return taken;
        }
        return {};
    }

    // Older entries at the address of a new block belong to blocks that another thread has freed.
    void forget_overlapped(const Block& block) {
        Block* const kept = std::remove_if(begin(), end(), [&](const Block& older) {
            return older.holds(block.begin) || block.holds(older.begin);
        });
        count = static_cast<std::size_t>(kept - begin());
    }

private:
    void release() {
        delete[] grown;
        grown = nullptr;
        capacity = fixed_capacity;
    }
};

constinit thread_local OlderBlocks older_blocks;

// The state that nearly every `new` needs: small, so that even a shared library reaches it without
// a call.
struct Pending {
    Block youngest;
    bool has_older; // a first look; older_blocks knows
};
#if defined(__GNUC__) && defined(__ELF__)
__attribute__((tls_model("initial-exec")))
#endif
constinit thread_local Pending pending = {};

[[gnu::noinline]] void youngest_gets_older() {
    older_blocks.add(pending.youngest);
    pending.youngest.size = 0;
    pending.has_older = true;
}

template <class Test>
[[gnu::noinline]] Block take_older(Test test) {
    const Block taken = older_blocks.take(test);
    pending.has_older = older_blocks.count != 0;
    return taken;
}

// Blocks whose mark was claimed after their first byte, where a later constructor may take it
// over. They stay until they are freed, on any thread, or another block takes their place in this
// table. A word has the block's address in its upper 48 bits, then the distance of the object that
// claimed it in words of 8 bytes, and whether that object was saved. Addresses and distances that
// do not fit are not entered. Relaxed: a thread that has a block's address has received it with
// the order that it needs.
constexpr std::size_t table_bits = 9;
constinit std::atomic<std::uint64_t> claimed_further_on[std::size_t{1} << table_bits] = {};

std::atomic<std::uint64_t>& place_of(std::uintptr_t block) {
    // Blocks are aligned to 16; multiplied by 2^64 over the golden ratio (Knuth, The Art of
    // Computer Programming 3, 6.4), the upper bits spread.
    return claimed_further_on[(block >> 4) * 0x9E3779B97F4A7C15u >> (64 - table_bits)];
}

void enter_claim(const Block& block, std::uintptr_t object) {
    const std::uint64_t distance = (object - block.begin) / 8;
    if (distance == 0 || distance >> 15 != 0 || block.begin >> 48 != 0) return;
    const std::uint64_t saved = block.database != nullptr;
    place_of(block.begin)
        .store(block.begin << 16 | distance << 1 | saved, std::memory_order_relaxed);
}

// Removes and returns the entry of a block; 0 if none.
std::uint64_t take_claim(std::uintptr_t block) {
    std::atomic<std::uint64_t>& place = place_of(block);
    std::uint64_t word = place.load(std::memory_order_relaxed);
    if (word >> 16 != block) return 0;
    return place.compare_exchange_strong(word, 0, std::memory_order_relaxed) ? word : 0;
}

HeapMark mark_of(const Block& block, std::uintptr_t object) {
    if (object != block.begin) enter_claim(block, object);
    return {block.database, 1};
}

template <class Allocate>
inline void* allocate_with(Allocate allocate, std::size_t size, ERObjectDataBase* database) {
    if (pending.youngest.size != 0) youngest_gets_older();
    void* const block = allocate();
    const Block made = {address_of(block), std::max(size, std::size_t{1}), database};
    if (pending.has_older) older_blocks.forget_overlapped(made);
    pending.youngest = made;
    return block;
}

inline void drop_mark(void* block) {
    const std::uintptr_t begin = address_of(block);
    if (pending.youngest.begin == begin)
        pending.youngest.size = 0;
    else if (pending.has_older)
        take_older([begin](const Block& b) { return b.begin == begin; });
    take_claim(begin);
}

} // namespace

namespace velm::detail {

void* allocate_marked(std::size_t size, ERObjectDataBase* database) {
    return allocate_with([size] { return ::operator new(size); }, size, database);
}

void* allocate_marked(std::size_t size, std::align_val_t alignment, ERObjectDataBase* database) {
    return allocate_with([=] { return ::operator new(size, alignment); }, size, database);
}

HeapMark claim_mark(const void* object) {
    const std::uintptr_t at = address_of(object);
    if (pending.youngest.holds(at)) [[likely]] {
        pending.youngest.size = 0;
        return mark_of(pending.youngest, at);
    }
    if (pending.has_older) {
        const Block block = take_older([at](const Block& b) { return b.holds(at); });
        if (block.size != 0) return mark_of(block, at);
    }
    const std::uint64_t word = take_claim(at);
    if (word == 0) return {};
    const std::uintptr_t earlier = at + (word >> 1 & 0x7FFF) * 8;
    return {nullptr, earlier | (word & 1) << 1 | 1};
}

void free_marked(void* block) {
    drop_mark(block);
    ::operator delete(block);
}

void free_marked(void* block, std::align_val_t alignment) {
    drop_mark(block);
    ::operator delete(block, alignment);
}

} // namespace velm::detail
