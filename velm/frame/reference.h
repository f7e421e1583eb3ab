// ERReference: the count that a shared object or array body carries in itself.
#pragma once

#include "velm/export.h"

#include <atomic>
#include <cstdint>

/// An intrusive count of references. The word holds the number of references minus one, so a fresh
/// object (no references) holds -1. ERReference frees nothing: whoever sees removeReference()
/// return 0 destroys the object.
///
/// Increments and decrements are sequentially consistent; references() is a relaxed read, good for
/// information only. A copy takes the word over as it stands, the plain member copy.
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

    /// Returns the word before the decrement: 0 exactly when the last reference has just gone.
    unsigned int removeReference() {
        return static_cast<unsigned int>(count.fetch_sub(1, std::memory_order_seq_cst));
    }

    /// addReference by the maker of a fresh object that nobody else knows yet: no atomic step.
    void addFirstReference() { count.store(0, std::memory_order_relaxed); }

    /// removeReference by a holder; whether the last reference has just gone. A holder who is alone
    /// takes no atomic step: nobody is left who could add a reference.
    bool removeAndTestLast() {
        if (count.load(std::memory_order_acquire) != 0) return removeReference() == 0;
        count.store(-1, std::memory_order_relaxed);
        return true;
    }

    long references() const { return static_cast<long>(load()) + 1; }

    /// The test that precedes writing in place: acquire order, so that what other owners did before
    /// they let go is seen.
    bool isUnshared() const { return count.load(std::memory_order_acquire) <= 0; }

private:
    std::int32_t load() const { return count.load(std::memory_order_relaxed); }

    std::atomic<std::int32_t> count;
};
