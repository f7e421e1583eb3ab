// ERReference: the count inside a shared object or array body.
#pragma once

#include "velm/export.h"

#include <atomic>
#include <cstdint>

/// An intrusive count of references. The word holds the number of references minus one, so a fresh
/// object (no references) holds -1. ERReference frees nothing: the caller of removeReference() that
/// gets 0 destroys the object.
///
/// Increments and decrements are sequentially consistent; references() is a relaxed read, for
/// information only. A copy copies the word, as a plain member.
class VELM_API ERReference {
public:
    constexpr ERReference() : count(-1) {}
    explicit constexpr ERReference(long references)
        : count(static_cast<std::int32_t>(references - 1)) {}
    ERReference(const ERReference& other) : count(other.load()) {}
    ERReference& operator=(const ERReference& other) {
        count.store(other.load(), std::memory_order_relaxed);
        return *this;
    }

    void addReference() { count.fetch_add(1, std::memory_order_seq_cst); }

    /// Returns the word before the decrement: 0 exactly if this was the last reference.
    unsigned int removeReference() {
        return static_cast<unsigned int>(count.fetch_sub(1, std::memory_order_seq_cst));
    }

    /// addReference by the maker of a fresh object that is known to no one else yet: no atomic
    /// step.
    void addFirstReference() { count.store(0, std::memory_order_relaxed); }

    /// removeReference by a holder; whether this was the last reference. A sole holder needs no
    /// atomic step: no one else could add a reference.
    bool removeAndTestLast() {
        if (count.load(std::memory_order_acquire) != 0) return removeReference() == 0;
        count.store(-1, std::memory_order_relaxed);
        return true;
    }

    long references() const { return static_cast<long>(load()) + 1; }

    /// The test that precedes writing in place: acquire order, so that the writes of earlier owners
    /// are visible.
    bool isUnshared() const { return count.load(std::memory_order_acquire) <= 0; }

private:
    std::int32_t load() const { return count.load(std::memory_order_relaxed); }

    std::atomic<std::int32_t> count;
};
