#include "velm/frame/vec_rep.h"

#include "velm/platform/detail/poison.h"

#include <algorithm>
#include <cassert>
#include <cstdint>
#include <cstring>
#include <new>
#include <utility>

using velm::detail::expose;
using velm::detail::poison;

// Its capacity is 0: a writer needs a body of its own.
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
    while (filled < length_) { // doubling the filled part
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
