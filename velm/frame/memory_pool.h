// ERMemPool, ERChunk, ERMemoryPool, FastAllocate, FastDeallocate: pools of small blocks.
#pragma once

#include "velm/export.h"
#include "velm/fwd.h"

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <limits>

/// Above 0, collateFreeSpace() writes its begin and end to the debug output.
VELM_API extern int debug_MemPool;

/// A block for size * count bytes, aligned to 8. Up to 383 bytes come from the calling thread's
/// pools, more from the global allocator. A block may be freed on any thread, even after the thread
/// that allocated it has ended. Throws std::bad_alloc.
VELM_API void* FastAllocate(std::size_t size, int count = 1);
/// Frees such a block; null does nothing.
VELM_API void FastDeallocate(void* block);

/// The word before each item of a chunk.
struct HeaderBloc {
    ERChunk* chunk;
};

/// A block of 4096 bytes cut into slots for items of one size, each after a HeaderBloc. This is the
/// head of the block; chunks are made and deleted by their pool.
class VELM_API ERChunk {
public:
    static constexpr std::size_t chunk_bytes = 4096;

    static constexpr std::size_t get_dataregion_offset() { return 64; }
    static constexpr std::size_t capacity_for(std::size_t item_bytes) {
        return (chunk_bytes - get_dataregion_offset()) / (item_bytes + sizeof(HeaderBloc));
    }
    /// Bytes of a slot.
    std::size_t get_block_size() const { return itemSize + sizeof(HeaderBloc); }

    /// A free item, its bytes still poisoned; null if the chunk is full. The last slot is never
    /// handed out: part of the contract.
    void* GetNextFreeItem();
    /// Takes back an item of this chunk.
    void FreeItem(void* item);
    /// The chunk made before this one in the same pool.
    ERChunk* GetPrevious() const { return previous; }
    /// Whether a header is in this chunk's slots.
    bool IsInBound(const HeaderBloc* header) const;
    /// Removes the chunk from its pool's chain and returns it to the allocator.
    void unlinkAndDelete();

private:
    friend class ERMemPool;
    friend void FastDeallocate(void* block);

    static ERChunk* make(ERMemPool& pool);
    void destroy();
    std::byte* slot(std::size_t index);

    std::size_t itemSize;
    std::uint32_t capacity; // slots
    std::uint32_t used;     // slots of the untouched part handed out so far
    std::uint32_t inUse;    // items now allocated
    ERChunk* previous;      // older
    ERChunk* next;          // newer
    void* freeList;         // linked through the items' first words
    ERMemPool* pool;        // null once the pool's thread has ended
    // The record of the thread that may use the pool, no_owner or ended_owner.
    std::atomic<const void*> owner;
};

/// Hands out items of one size from chunks of 4096 bytes. Freed items gather on a deferred list and
/// are handed out again from there; beyond deferLimit items all return to their chunks, and a chunk
/// that is then empty returns to the allocator. With a limit of 0 items return at once.
///
/// A pool has no lock. A host's pool shares the owner of its items: its users keep to one thread at
/// a time, and all its items are freed with it. The pools of a thread (GetFastPools) take items
/// back from any thread, and chunks that still hold items when the thread ends live on until the
/// last of these returns.
class VELM_API ERMemPool {
public:
    /// Items take whole words of 8 bytes: elementSize() returns the size that itemSize became.
    explicit ERMemPool(std::size_t itemSize, std::size_t deferLimit = 1024);
    ERMemPool(const ERMemPool&) = delete;
    ERMemPool& operator=(const ERMemPool&) = delete;
    ~ERMemPool() { purge(); }

    std::size_t elementSize() const { return itemSize; }

    /// Returns the deferred items to their chunks.
    void collateFreeSpace();
    /// Returns all chunks to the allocator, including items still in use.
    void purge();

private:
    friend class ERChunk;
    friend class velmThreadLocalData;
    friend class ERMemoryPool;
    friend VELM_API void* FastAllocate(std::size_t size, int count);
    friend VELM_API void FastDeallocate(void* block);

    static constexpr std::size_t unlimited = std::numeric_limits<std::size_t>::max();

    ERMemPool(); // for make_thread_pools: the next size of a thread's pools

    // The pools of a thread's record, and their end.
    static ERMemPool* make_thread_pools(const velmThreadLocalData* record);
    static void end_thread_pools(ERMemPool* pools);
    /// Nothing passes between threads from the first call to the second: for use around a fork.
    static void hold_hand_over();
    static void resume_hand_over();

    void* alloc();
    void free(void* item);

    void* alloc_from_chunks();
    void push_deferred(void* item);
    void* pop_deferred();
    void return_to_chunk(void* item);
    static void hand_over(ERChunk* chunk, void* item);
    void take_handed_over();
    void outlive_thread();

    ERChunk* head = nullptr; // the newest
    std::size_t itemSize;
    std::size_t deferLimit;
    std::size_t deferred = 0;
    void* deferredList = nullptr;
    // Items that other threads freed. Changed under a lock; the owner reads it without.
    std::atomic<void*> handed_over_{nullptr};
    const void* owner_;
};

/// The base of small classes whose objects come from the thread's pools, or from a given one. Like
/// all blocks of these pools they are aligned to 8: no member may ask for more.
class VELM_API ERMemoryPool {
public:
    static void* operator new(std::size_t size) { return FastAllocate(size, 1); }
    static void* operator new(std::size_t size, int count) { return FastAllocate(size, count); }
    /// An item of this pool; a size that does not fit comes from the global allocator.
    static void* operator new(std::size_t size, ERMemPool& pool);
    static void* operator new(std::size_t, void* place) noexcept { return place; }

    static void operator delete(void* block) { FastDeallocate(block); }
    static void operator delete(void* block, int) { FastDeallocate(block); }
    static void operator delete(void* block, ERMemPool&) { FastDeallocate(block); }
    static void operator delete(void*, void*) noexcept {}
};
