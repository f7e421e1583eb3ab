#include "velm/frame/vec_rep_cache.h"

#include "velm/frame/memory_pool.h"
#include "velm/platform/poison.h"

#include <cstdint>
#include <new>

using velm::detail::expose;
using velm::detail::poison;

/// The free bodies of one capacity, linked through their data.
struct ERVecRepCache::Entry : ERMemoryPool {
    std::size_t capacity;
    ERVecRep* chain;
    std::size_t count;
    Entry* next;

    Entry(std::size_t capacity_of_all, Entry* next_entry)
        : capacity(capacity_of_all), chain(nullptr), count(0), next(next_entry) {}

    ERVecRep* pop() {
        ERVecRep* const body = chain;
        expose(body, sizeof(ERVecRep));
        chain = static_cast<ERVecRep*>(body->data_);
        --count;
        return body;
    }
    void push(ERVecRep* body) {
        body->data_ = chain;
        poison(body, sizeof(ERVecRep) + body->capacity_);
        chain = body;
        ++count;
    }
};

ERVecRepCache::~ERVecRepCache() {
    flush();
    for (Entry* entry : buckets_) {
        while (entry != nullptr) {
            Entry* const next = entry->next;
            delete entry;
            entry = next;
        }
    }
}

ERVecRep* ERVecRepCache::take(std::size_t capacity) {
    Entry* const bodies = capacity <= largestCached ? entry(capacity) : nullptr;
    if (bodies == nullptr || bodies->chain == nullptr) {
        ++misses;
        return nullptr;
    }
    ERVecRep* const body = bodies->pop();
    ++hits;
    cachedBytes -= capacity;
    --cachedCount;
    if (cachedBytes == 0) cachedCount = 0;
    return body;
}

void ERVecRepCache::put(ERVecRep* body) {
    if (cachedCount > countLimit || cachedBytes > byteLimit) flush();
    const std::size_t capacity = body->capacity_;
    Entry* const bodies = capacity <= largestCached ? entry(capacity) : nullptr;
    if (bodies == nullptr) {
        body->deallocate();
        return;
    }
    cachedBytes += capacity;
    ++cachedCount;
    bodies->push(body);
}

void ERVecRepCache::flush() {
    for (Entry* entry : buckets_) {
        for (; entry != nullptr; entry = entry->next) {
            while (entry->chain != nullptr)
                entry->pop()->deallocate();
        }
    }
    cachedBytes = 0;
    cachedCount = 0;
}

ERVecRepCache::Entry* ERVecRepCache::entry(std::size_t capacity) noexcept {
    if (capacity % index_step == 0) {
        Entry* const known = index_[capacity / index_step];
        if (known != nullptr) [[likely]]
            return known;
    }
    return find_or_make(capacity);
}

ERVecRepCache::Entry* ERVecRepCache::find_or_make(std::size_t capacity) noexcept {
    Entry*& bucket = buckets_[(static_cast<std::uint32_t>(capacity) >> 6) % bucket_count];
    for (Entry* entry = bucket; entry != nullptr; entry = entry->next) {
        if (entry->capacity == capacity) return entry;
    }
    try {
        bucket = new Entry(capacity, bucket);
    } catch (const std::bad_alloc&) {
        return nullptr;
    }
    if (capacity % index_step == 0) index_[capacity / index_step] = bucket;
    return bucket;
}
