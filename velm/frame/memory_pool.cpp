#include "velm/frame/memory_pool.h"

#include "velm/frame/detail/thread_record.h"
#include "velm/platform/critical_section.h"
#include "velm/platform/debug_output.h"
#include "velm/platform/detail/poison.h"

#include <algorithm>
#include <functional>
#include <new>
#include <utility>

using velm::detail::expose;
using velm::detail::make_fresh;
using velm::detail::poison;
using velm::detail::read_poisoned;
using velm::detail::write_poisoned;

int debug_MemPool = 0;

namespace {

// A block of FastAllocate begins one word into its item; that word is the chunk's address, or 0 for
// a block of the global allocator. An item of a given pool has the slot's header right before it.
// The lowest bit distinguishes the two.
using Word = std::uintptr_t;
constexpr Word block_mark = 1;
constexpr std::size_t word_bytes = sizeof(Word);

constexpr std::size_t last_fast_pool = 48;
constexpr std::size_t fast_pool_count = last_fast_pool + 1;
constexpr std::size_t thread_defer_limit = 1024;

// Pools of a host: their items are for one thread at a time, so all threads count as the same.
constexpr const void* no_owner = nullptr;
// Chunks whose thread has ended.
const char ended_owner = 0;

// Counts the pools of a record while they are made, under threadDataLock.
std::size_t poolSizeIndex = 0;

// Guards the data that passes between threads: handed-over items, and the chunks of ended threads.
constinit Concurrency::critical_section hand_over_lock;

Word* words(void* item) { return static_cast<Word*>(item); }
void*& link(void* item) { return *static_cast<void**>(item); }
HeaderBloc* header(void* item) { return static_cast<HeaderBloc*>(item) - 1; }
ERChunk* chunk_of(void* item) { return read_poisoned(&header(item)->chunk); }

// Puts a free item at the head of a list.
void push(void*& list, void* item, std::size_t item_bytes) {
    expose(item, word_bytes);
    link(item) = list;
    poison(item, item_bytes);
    list = item;
}

void* pop(void*& list) {
    void* const item = list;
    list = read_poisoned(&link(item));
    return item;
}

// Empty chunks of the thread's pools, kept for the next pool that needs one. Beyond the limit only
// the highest in memory stays: with it at its end, the allocator does not return its heap to the
// system and request it again when a thread fills and empties its pools in turn.
struct SpareChunks {
    static constexpr std::size_t limit = 256;

    void* list; // linked through the blocks' first words
    std::size_t count;
    void* highest; // never used again

    void* take() {
        if (list == nullptr) return nullptr;
        --count;
        void* const block = pop(list);
        make_fresh(block, ERChunk::chunk_bytes);
        return block;
    }
    void keep(void* block) {
        if (count < limit) {
            push(list, block, ERChunk::chunk_bytes);
            ++count;
            return;
        }
        if (std::less<>()(highest, block)) std::swap(highest, block);
        ::operator delete[](block);
    }
    void clear() {
        while (void* const block = take())
            ::operator delete[](block);
        ::operator delete[](std::exchange(highest, nullptr));
    }
};
#if defined(__GNUC__) && defined(__ELF__)
__attribute__((tls_model("initial-exec")))
#endif
constinit thread_local SpareChunks spare_chunks = {nullptr, 0, nullptr};

[[gnu::noinline]] void* allocate_from_heap(std::size_t bytes) {
    void* const block = ::operator new[](bytes);
    *words(block) = 0;
    return words(block) + 1;
}

} // namespace

// ERChunk

static_assert(sizeof(ERChunk) <= ERChunk::get_dataregion_offset());

ERChunk* ERChunk::make(ERMemPool& pool) {
    void* block = spare_chunks.take();
    if (block == nullptr) block = ::operator new[](chunk_bytes);
    auto* const chunk = ::new (block) ERChunk;
    chunk->itemSize = pool.itemSize;
    chunk->capacity = static_cast<std::uint32_t>(capacity_for(pool.itemSize));
    chunk->used = 0;
    chunk->inUse = 0;
    chunk->previous = pool.head;
    chunk->next = nullptr;
    chunk->freeList = nullptr;
    chunk->pool = &pool;
    chunk->owner.store(pool.owner_, std::memory_order_relaxed);
    if (pool.head != nullptr) pool.head->next = chunk;
    pool.head = chunk;
    poison(chunk->slot(0), chunk_bytes - get_dataregion_offset());
    return chunk;
}

void ERChunk::destroy() {
    const void* const of = owner.load(std::memory_order_relaxed);
    expose(this, chunk_bytes);
    if (of != no_owner && of == velm::detail::thread_record.data) {
        spare_chunks.keep(this);
    } else {
        ::operator delete[](static_cast<void*>(this));
    }
}

std::byte* ERChunk::slot(std::size_t index) {
    return reinterpret_cast<std::byte*>(this) + get_dataregion_offset() + index * get_block_size();
}

void* ERChunk::GetNextFreeItem() {
    if (freeList != nullptr) {
        ++inUse;
        return pop(freeList);
    }
    if (used + 1 >= capacity) return nullptr;
    auto* const slot_header = reinterpret_cast<HeaderBloc*>(slot(used));
    write_poisoned(&slot_header->chunk, this);
    ++used;
    ++inUse;
    return slot_header + 1;
}

void ERChunk::FreeItem(void* item) {
    push(freeList, item, itemSize);
    --inUse;
}

bool ERChunk::IsInBound(const HeaderBloc* header) const {
    const auto begin = reinterpret_cast<Word>(this) + get_dataregion_offset();
    const auto address = reinterpret_cast<Word>(header);
    return begin <= address && address < begin + capacity * get_block_size();
}

void ERChunk::unlinkAndDelete() {
    if (previous != nullptr) previous->next = next;
    if (next != nullptr) {
        next->previous = previous;
    } else if (pool != nullptr) {
        pool->head = previous;
    }
    destroy();
}

// ERMemPool

ERMemPool::ERMemPool(std::size_t item_bytes, std::size_t defer_limit)
    : itemSize(std::max((item_bytes + word_bytes - 1) / word_bytes, std::size_t{1}) * word_bytes),
      deferLimit(defer_limit), owner_(no_owner) {}

ERMemPool::ERMemPool()
    : itemSize(++poolSizeIndex * word_bytes), deferLimit(thread_defer_limit), owner_(no_owner) {}

ERMemPool* ERMemPool::make_thread_pools(const velmThreadLocalData* record) {
    poolSizeIndex = 0;
    auto* const pools = new ERMemPool[fast_pool_count];
    for (std::size_t i = 0; i < fast_pool_count; ++i)
        pools[i].owner_ = record;
    return pools;
}

void ERMemPool::end_thread_pools(ERMemPool* pools) {
    if (pools == nullptr) return;
    for (std::size_t i = 0; i < fast_pool_count; ++i)
        pools[i].outlive_thread();
    delete[] pools;
    spare_chunks.clear();
}

void ERMemPool::hold_hand_over() { hand_over_lock.lock(); }
void ERMemPool::resume_hand_over() { hand_over_lock.unlock(); }

inline void ERMemPool::push_deferred(void* item) {
    push(deferredList, item, itemSize);
    ++deferred;
}

inline void* ERMemPool::pop_deferred() {
    --deferred;
    return pop(deferredList);
}

// An item, its bytes still poisoned; null if a chunk has no room for even one.
void* ERMemPool::alloc() {
    if (deferredList != nullptr) [[likely]]
        return pop_deferred();
    return alloc_from_chunks();
}

void* ERMemPool::alloc_from_chunks() {
    if (handed_over_.load(std::memory_order_relaxed) != nullptr) {
        take_handed_over();
        if (deferredList != nullptr) return pop_deferred();
    }
    if (head != nullptr) {
        if (void* const item = head->GetNextFreeItem()) return item;
    }
    if (ERChunk::capacity_for(itemSize) < 2) return nullptr;
    return ERChunk::make(*this)->GetNextFreeItem();
}

void ERMemPool::free(void* item) {
    if (deferLimit == 0) {
        return_to_chunk(item);
        return;
    }
    push_deferred(item);
    if (deferLimit < unlimited && deferred > deferLimit) collateFreeSpace();
}

void ERMemPool::return_to_chunk(void* item) {
    ERChunk* const chunk = chunk_of(item);
    chunk->FreeItem(item);
    if (chunk->inUse == 0) chunk->unlinkAndDelete();
}

void ERMemPool::collateFreeSpace() {
    if (debug_MemPool > 0) OutputDebugStringA("Garbage Collecting ");
    while (deferredList != nullptr)
        return_to_chunk(pop_deferred());
    if (debug_MemPool > 0) OutputDebugStringA("done\n");
}

void ERMemPool::purge() {
    while (head != nullptr) {
        ERChunk* const older = head->previous;
        head->destroy();
        head = older;
    }
    deferred = 0;
    deferredList = nullptr;
    handed_over_.store(nullptr, std::memory_order_relaxed);
}

// Returns an item on a thread other than its pool's.
[[gnu::noinline]] void ERMemPool::hand_over(ERChunk* chunk, void* item) {
    const Concurrency::critical_section::scoped_lock lock(hand_over_lock);
    if (chunk->owner.load(std::memory_order_relaxed) != &ended_owner) {
        void* list = chunk->pool->handed_over_.load(std::memory_order_relaxed);
        push(list, item, chunk->itemSize);
        chunk->pool->handed_over_.store(list, std::memory_order_relaxed);
        return;
    }
    chunk->FreeItem(item);
    if (chunk->inUse == 0) chunk->destroy();
}

void ERMemPool::take_handed_over() {
    void* list = nullptr;
    {
        const Concurrency::critical_section::scoped_lock lock(hand_over_lock);
        list = handed_over_.exchange(nullptr, std::memory_order_relaxed);
    }
    while (list != nullptr)
        free(pop(list));
}

// Abandons the chunks that still hold items: from now on these return under the lock, and the last
// one frees the chunk.
void ERMemPool::outlive_thread() {
    take_handed_over();
    collateFreeSpace();
    const Concurrency::critical_section::scoped_lock lock(hand_over_lock);
    void* list = handed_over_.exchange(nullptr, std::memory_order_relaxed);
    while (list != nullptr)
        return_to_chunk(pop(list));
    for (ERChunk* chunk = head; chunk != nullptr; chunk = chunk->previous) {
        chunk->pool = nullptr;
        chunk->owner.store(&ended_owner, std::memory_order_relaxed);
    }
    head = nullptr;
}

// Blocks

void* FastAllocate(std::size_t size, int count) {
    if (count < 0 || (count > 1 && size > SIZE_MAX / 2 / static_cast<std::size_t>(count)))
        throw std::bad_array_new_length();
    const std::size_t wanted = size * static_cast<std::size_t>(count);
    const std::size_t bytes = wanted + word_bytes;
    if (bytes < wanted) throw std::bad_array_new_length();
    const std::size_t index = bytes / word_bytes;
    if (index > last_fast_pool) return allocate_from_heap(bytes);
    const velmThreadLocalData* const data = velm::detail::thread_data();
    if (data == nullptr) return allocate_from_heap(bytes);

    void* const item = data->fastPools[index].alloc();
    write_poisoned(words(item), reinterpret_cast<Word>(chunk_of(item)) | block_mark);
    void* const block = words(item) + 1;
    make_fresh(block, wanted);
    return block;
}

void FastDeallocate(void* block) {
    if (block == nullptr) return;
    Word* const before = words(block) - 1;
    const Word word = read_poisoned(before);
    if (word == 0) {
        expose(before, word_bytes);
        ::operator delete[](static_cast<void*>(before));
        return;
    }
    auto* const chunk = reinterpret_cast<ERChunk*>(word & ~block_mark);
    void* const item = (word & block_mark) != 0 ? before : block;
    const void* const owner = chunk->owner.load(std::memory_order_relaxed);
    if (owner == no_owner || owner == velm::detail::thread_record.data) {
        chunk->pool->free(item);
    } else {
        ERMemPool::hand_over(chunk, item);
    }
}

void* ERMemoryPool::operator new(std::size_t size, ERMemPool& pool) {
    void* const item = size <= pool.itemSize ? pool.alloc() : nullptr;
    if (item == nullptr) return allocate_from_heap(size + word_bytes);
    make_fresh(item, size);
    return item;
}
