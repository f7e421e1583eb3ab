#include "velm/frame/vec_rep.h"

#include "velm/frame/thread_data.h"
#include "velm/frame/vec_rep_cache.h"
#include "velm/platform/poison.h"

#include <algorithm>
#include <cassert>
#include <cstdint>
#include <cstring>
#include <new>
#include <utility>

using velm::detail::expose;
using velm::detail::make_fresh;
using velm::detail::poison;

// The storage begins right behind the header, aligned like the allocation.
static_assert(sizeof(ERVecRep) % __STDCPP_DEFAULT_NEW_ALIGNMENT__ == 0);

/// Its capacity is 0: whoever wants to write needs a body of his own.
struct ERVecRep::EmptyBody {
    ERVecRep rep{1, 0, 0, storage};
    alignas(__STDCPP_DEFAULT_NEW_ALIGNMENT__) std::byte storage[64] = {};
};

constinit ERVecRep::EmptyBody ERVecRep::empty_body;
constinit ERVecRep* const ERVecRep::nullref_ = &ERVecRep::empty_body.rep;

std::size_t ERVecRep::initialCapac = 64;
std::size_t ERVecRep::resizeInc = 64;
std::size_t ERVecRep::freeboard = 64;

std::size_t ERVecRep::initialCapacity(std::size_t bytes) {
    return std::exchange(initialCapac, bytes);
}
std::size_t ERVecRep::resizeIncrement(std::size_t bytes) { return std::exchange(resizeInc, bytes); }
std::size_t ERVecRep::maxWaste(std::size_t bytes) { return std::exchange(freeboard, bytes); }

std::size_t ERVecRep::adjustCapacity(std::size_t bytes) {
    if (bytes <= initialCapac) return initialCapac;
    const std::size_t excess = bytes - initialCapac;
    const std::size_t step = resizeInc;
    if ((step & (step - 1)) == 0) // a power of two, or 0
        return initialCapac + (step == 0 ? excess : (excess + step - 1) & ~(step - 1));
    return initialCapac + (excess + step - 1) / step * step;
}

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

/// Makes a fresh body of a free one: its storage holds nothing yet.
void ERVecRep::occupy(std::size_t bytes) {
    data_ = storage();
    length_ = bytes;
    make_fresh(data_, bytes);
    poison(static_cast<std::byte*>(data_) + bytes, capacity_ - bytes);
}

ERVecRep* ERVecRep::getRep(std::size_t bytes, int noInit) {
    if (bytes > static_cast<std::size_t>(PTRDIFF_MAX)) throw std::bad_array_new_length();
    const std::size_t capacity = adjustCapacity(bytes);
    ERVecRepCache* const cache = velm::detail::thread_rep_cache();
    ERVecRep* rep = cache != nullptr ? cache->take(capacity) : nullptr;
    if (rep == nullptr) rep = allocate(capacity);
    if (noInit == 0) {
        expose(rep->storage(), capacity);
        std::memset(rep->storage(), 0, capacity);
    }
    rep->occupy(bytes);
    if (noInit == 0) expose(rep->data_, bytes);
    return rep;
}

ERVecRep* ERVecRep::getRep(const void* src, std::size_t bytes) {
    ERVecRep* const rep = getRep(bytes, 1);
    rep->initWithVector(src);
    return rep;
}

ERVecRep* ERVecRep::getRep(std::size_t count, std::size_t elemBytes, const void* value) {
    if (elemBytes != 0 && count > static_cast<std::size_t>(PTRDIFF_MAX) / elemBytes)
        throw std::bad_array_new_length();
    ERVecRep* const rep = getRep(count * elemBytes, 1);
    rep->initWithValue(value, elemBytes);
    return rep;
}

ERVecRep* ERVecRep::duplicate() const { return getRep(data_, length_); }

ERVecRep* ERVecRep::clone(ERVecRep* source, std::size_t newBytes) {
    ERVecRep* const rep = getRep(newBytes, 1);
    if (const std::size_t kept = std::min(source->length_, newBytes); kept != 0)
        std::memcpy(rep->data_, source->data_, kept);
    rep->setLength(source->length_);
    return rep;
}

void ERVecRep::free() {
    assert(this != nullref_);
    ERVecRepCache* const cache = velm::detail::thread_rep_cache();
    if (cache == nullptr) {
        deallocate();
        return;
    }
    data_ = nullptr;
    cache->put(this);
}

void ERVecRep::setLength(std::size_t bytes) {
    length_ = bytes;
    auto* const first = static_cast<std::byte*>(data_);
    const std::size_t used = std::min(bytes, capacity_);
    expose(first, used);
    poison(first + used, capacity_ - used);
}

void ERVecRep::init(const void* src, std::size_t offset, std::size_t bytes) {
    assert(offset <= capacity_ && bytes <= capacity_ - offset);
    if (bytes == 0) return;
    auto* const first = static_cast<std::byte*>(data_);
    expose(first + offset, bytes);
    std::memcpy(first + offset, src, bytes);
    if (const std::size_t end = std::max(offset, length_); offset + bytes > end)
        poison(first + end, offset + bytes - end);
}

void ERVecRep::initWithVector(const void* src) {
    if (length_ != 0) std::memcpy(data_, src, length_);
}

void ERVecRep::initWithValue(const void* value, std::size_t elemBytes) {
    if (elemBytes == 0) return;
    auto* const first = static_cast<std::byte*>(data_);
    std::size_t filled = std::min(elemBytes, length_);
    if (filled != 0) std::memcpy(first, value, filled);
    while (filled < length_) { // doubling what is there
        const std::size_t bytes = std::min(filled, length_ - filled);
        std::memcpy(first + filled, first, bytes);
        filled += bytes;
    }
}

ERVecRep* ERVecRep::replace(ERVecRep* rep, std::size_t start, std::size_t removeBytes,
                            const void* src, std::size_t srcBytes) {
    assert(start <= rep->length_);
    const auto* const source = static_cast<const std::byte*>(src);
    auto* const first = static_cast<std::byte*>(rep->data_);
    const std::size_t added = src != nullptr ? srcBytes : 0;
    const std::size_t tail = rep->length_ - start;
    const std::size_t cut = std::min(tail, removeBytes);
    const std::size_t kept = tail - cut;
    const std::size_t new_length = rep->length_ + added - cut;

    const auto address = reinterpret_cast<std::uintptr_t>(source);
    const auto begin = reinterpret_cast<std::uintptr_t>(first);
    const bool src_inside = begin <= address && address - begin < rep->length_;
    if (rep->isUnshared() && rep->capacity_ >= new_length &&
        rep->capacity_ - new_length <= freeboard && !src_inside) {
        if (new_length > rep->length_) rep->setLength(new_length);
        if (kept != 0) std::memmove(first + start + added, first + start + cut, kept);
        if (added != 0) std::memcpy(first + start, source, added);
        rep->setLength(new_length);
        return rep;
    }
    ERVecRep* const result = getRep(new_length, 1);
    auto* const to = static_cast<std::byte*>(result->data_);
    if (start != 0) std::memcpy(to, first, start);
    if (added != 0) std::memcpy(to + start, source, added);
    if (kept != 0) std::memcpy(to + start + added, first + start + cut, kept);
    return result;
}

ERVecRep* ERVecRep::polyInsert(ERVecRep* rep, std::size_t start, std::size_t gap,
                               std::size_t stride) {
    assert(stride != 0 && start <= rep->length_);
    const std::size_t length = rep->length_;
    ERVecRep* const result = getRep(length + length / stride * gap, 1);
    const auto* const from = static_cast<const std::byte*>(rep->data_);
    auto* const to = static_cast<std::byte*>(result->data_);
    std::size_t read = start;
    std::size_t written = start;
    if (start != 0) std::memcpy(to, from, start);
    // The last piece of a body that is not a whole number of rows has no gap of its own.
    while (read < length) {
        const std::size_t piece = std::min(stride, length - read);
        const std::size_t free_bytes = (result->length_ - written) - (length - read);
        written += std::min(gap, free_bytes);
        std::memcpy(to + written, from + read, piece);
        read += piece;
        written += piece;
    }
    return result;
}

void ERVecRep::polyRemove(std::size_t start, std::size_t gap, std::size_t stride) {
    assert(stride != 0 && gap <= stride && start <= length_);
    if (start + gap >= length_) {
        setLength(start);
        return;
    }
    auto* const bytes = static_cast<std::byte*>(data_);
    std::size_t kept = start;
    for (std::size_t read = start + gap; read < length_; read += stride) {
        const std::size_t piece = std::min(stride - gap, length_ - read);
        std::memmove(bytes + kept, bytes + read, piece);
        kept += piece;
    }
    setLength(kept);
}
