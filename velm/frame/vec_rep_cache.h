// ERVecRepCache: a thread's freed array bodies, kept for reuse.
#pragma once

#include "velm/export.h"
#include "velm/frame/vec_rep.h"

#include <cstddef>

/// The freed array bodies of one thread, by capacity. Bodies of more than largestCached bytes are
/// never kept. A thread has one (velmThreadLocalData::repCache), and no other thread touches it.
/// ERVecRep::getRep and ERVecRep::free, which work on it, are defined in the same source.
class VELM_API ERVecRepCache {
public:
    static constexpr std::size_t largestCached = 0x20000;

    ERVecRepCache(std::size_t maxBytes, std::size_t maxCount)
        : byteLimit(maxBytes), countLimit(maxCount) {}
    ERVecRepCache(const ERVecRepCache&) = delete;
    ERVecRepCache& operator=(const ERVecRepCache&) = delete;
    ~ERVecRepCache();

    /// Returns all bodies to the allocator.
    void flush();

    // State that others may read.
    std::size_t byteLimit;
    std::size_t countLimit;
    std::size_t cachedBytes = 0;
    std::size_t cachedCount = 0;
    std::size_t hits = 0;
    std::size_t misses = 0;

private:
    friend class ERVecRep;
    struct Entry;
    static constexpr std::size_t bucket_count = 20;
    static constexpr std::size_t index_step = 64;
    static constexpr std::size_t index_size = largestCached / index_step + 1;

    // Hands out a cached body of exactly this capacity and counts a hit; else counts a miss and
    // returns null. The caller sets the body's length and data.
    ERVecRep* take(std::size_t capacity);
    // Keeps a body, or returns it to the allocator if it is too large. A cache that is over one of
    // its limits is flushed first.
    void put(ERVecRep* body);

    // The entry of a capacity, made if there is none yet; null for a capacity that is not kept or
    // if there is no memory for the entry.
    Entry* entry(std::size_t capacity) noexcept;
    Entry* find_or_make(std::size_t capacity) noexcept;

    // The usual steps: find the entry of a capacity without a search, else null; take a body of an
    // entry that has one; test whether a limit is exceeded; put a body into its entry.
    Entry* known_entry(std::size_t capacity) const noexcept;
    ERVecRep* take_from(Entry* bodies);
    bool is_over() const;
    void put_into(Entry* bodies, ERVecRep* body);

    Entry* buckets_[bucket_count] = {};
    // The entries of the capacities that the default tuning makes, found without a search.
    Entry* index_[index_size] = {};
};
