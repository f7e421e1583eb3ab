#include "velm/frame/vec_rep_cache.h"

#include "velm/frame/detail/thread_record.h"
#include "velm/frame/memory_pool.h"
#include "velm/platform/detail/poison.h"

#include <cassert>
#include <cstdint>
#include <cstring>
#include <new>

using velm::detail::expose;
using velm::detail::make_fresh;
using velm::detail::poison;

// The free bodies of one capacity, linked through their data.
struct ERVecRepCache::Entry : ERMemoryPool {
    std::size_t capacity;
    ERVecRep* chain = nullptr;
    Entry* next;

    Entry(std::size_t capacity_of_all, Entry* next_entry)
        : capacity(capacity_of_all), next(next_entry) {}

    ERVecRep* pop() {
        ERVecRep* const body = chain;
        expose(body, sizeof(ERVecRep));
        chain = static_cast<ERVecRep*>(body->data_);
        return body;
    }
    void push(ERVecRep* body) {
        body->data_ = chain;
        poison(body, sizeof(ERVecRep) + body->capacity_);
        // A leak checker follows no poisoned word: without this one, all bodies of a chain after
        // the first would look lost.
        expose(&body->data_, sizeof body->data_);
        chain = body;
    }
};

// The way of a body in and out is the hot path of every temporary array: the usual steps are one
// piece without a call, and every unusual case leaves by one jump to a function of its own.

inline ERVecRepCache::Entry* ERVecRepCache::known_entry(std::size_t capacity) const noexcept {
    if (capacity > largestCached || capacity % index_step != 0) [[unlikely]]
        return nullptr;
    return index_[capacity / index_step];
}

inline ERVecRepCache::Entry* ERVecRepCache::entry(std::size_t capacity) noexcept {
    Entry* const known = known_entry(capacity);
    return known != nullptr || capacity > largestCached ? known : find_or_make(capacity);
}

inline ERVecRep* ERVecRepCache::take_from(Entry* bodies) {
    ERVecRep* const body = bodies->pop();
    ++hits;
    cachedBytes -= bodies->capacity;
    --cachedCount;
    if (cachedBytes == 0) cachedCount = 0;
    return body;
}

inline bool ERVecRepCache::is_over() const {
    return cachedCount > countLimit || cachedBytes > byteLimit;
}

inline void ERVecRepCache::put_into(Entry* bodies, ERVecRep* body) {
    cachedBytes += bodies->capacity;
    ++cachedCount;
    bodies->push(body);
}

ERVecRep* ERVecRepCache::take(std::size_t capacity) {
    Entry* const bodies = entry(capacity);
    if (bodies != nullptr && bodies->chain != nullptr) return take_from(bodies);
    ++misses;
    return nullptr;
}

void ERVecRepCache::put(ERVecRep* body) {
    if (is_over()) flush();
    Entry* const bodies = entry(body->capacity_);
    if (bodies != nullptr)
        put_into(bodies, body);
    else
        body->deallocate();
}

std::size_t ERVecRep::adjustCapacity(std::size_t bytes) {
    if (bytes <= initialCapac) return initialCapac;
    const std::size_t excess = bytes - initialCapac;
    const std::size_t step = resizeInc;
    if ((step & (step - 1)) == 0) [[likely]] // a power of two, or 0
        return initialCapac + (step == 0 ? excess : (excess + step - 1) & ~(step - 1));
    return initialCapac + (excess + step - 1) / step * step;
}

// The storage begins directly after the header, aligned like the allocation.
static_assert(sizeof(ERVecRep) % __STDCPP_DEFAULT_NEW_ALIGNMENT__ == 0);

ERVecRep* ERVecRep::allocate(std::size_t capacity) {
    if (capacity > static_cast<std::size_t>(PTRDIFF_MAX) - sizeof(ERVecRep))
        throw std::bad_array_new_length();
    void* const block = ::operator new[](sizeof(ERVecRep) + capacity);
    return ::new (block) ERVecRep(0, capacity, 0, nullptr);
}

void ERVecRep::deallocate() {
    expose(this, sizeof(ERVecRep) + capacity_);
    ::operator delete[](static_cast<void*>(this));
}

// The capacity of most bodies.
static constexpr std::size_t common_capacity = 64;

// Makes a body of a free one: its storage is zero, or uninitialised with noInit.
inline ERVecRep* ERVecRep::occupy(std::size_t bytes, int noInit) {
    void* const first = storage();
    data_ = first;
    length_ = bytes;
    if (noInit == 0) {
        expose(first, capacity_);
        if (capacity_ == common_capacity) [[likely]]
            std::memset(first, 0, common_capacity); // without a call
        else
            std::memset(first, 0, capacity_);
    } else {
        make_fresh(first, bytes);
    }
    poison(static_cast<std::byte*>(first) + bytes, capacity_ - bytes);
    return this;
}

ERVecRep* ERVecRep::getRep(std::size_t bytes, int noInit) {
    const velmThreadLocalData* const data = velm::detail::thread_record.data;
    if (data != nullptr && data->repCache != nullptr && bytes <= ERVecRepCache::largestCached)
        [[likely]] {
        ERVecRepCache* const cache = data->repCache;
        ERVecRepCache::Entry* const bodies = cache->known_entry(adjustCapacity(bytes));
        if (bodies != nullptr && bodies->chain != nullptr) [[likely]]
            return cache->take_from(bodies)->occupy(bytes, noInit);
    }
    return getUnusualRep(bytes, noInit);
}

ERVecRep* ERVecRep::getUnusualRep(std::size_t bytes, int noInit) {
    if (bytes > static_cast<std::size_t>(PTRDIFF_MAX)) throw std::bad_array_new_length();
    const std::size_t capacity = adjustCapacity(bytes);
    ERVecRepCache* const cache = velm::detail::thread_rep_cache();
    ERVecRep* rep = cache != nullptr ? cache->take(capacity) : nullptr;
    if (rep == nullptr) rep = allocate(capacity);
    return rep->occupy(bytes, noInit);
}

void ERVecRep::free() {
    assert(this != nullref_);
    const velmThreadLocalData* const data = velm::detail::thread_record.data;
    if (data != nullptr && data->repCache != nullptr) [[likely]] {
        ERVecRepCache* const cache = data->repCache;
        ERVecRepCache::Entry* const bodies = cache->known_entry(capacity_);
        if (bodies != nullptr && !cache->is_over()) [[likely]]
            return cache->put_into(bodies, this);
    }
    freeUnusual();
}

void ERVecRep::freeUnusual() {
    ERVecRepCache* const cache = velm::detail::thread_rep_cache();
    if (cache != nullptr) {
        cache->put(this);
    } else {
        deallocate();
    }
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
