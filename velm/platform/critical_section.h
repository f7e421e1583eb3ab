// CCriticalSection and Concurrency::critical_section: mutual exclusion between threads.
#pragma once

#include <mutex>

/// A lock that its owner may take again; each Lock needs its Unlock.
class CCriticalSection {
public:
    CCriticalSection() = default;
    CCriticalSection(const CCriticalSection&) = delete;
    CCriticalSection& operator=(const CCriticalSection&) = delete;

    void Lock() { mutex_.lock(); }
    void Unlock() { mutex_.unlock(); }

    // The names that std::lock_guard looks for.
    void lock() { Lock(); }
    void unlock() { Unlock(); }

private:
    std::recursive_mutex mutex_;
};

namespace Concurrency {

/// A lock that its owner may not take again.
class critical_section {
public:
    constexpr critical_section() = default;
    critical_section(const critical_section&) = delete;
    critical_section& operator=(const critical_section&) = delete;

    void lock() { mutex_.lock(); }
    bool try_lock() { return mutex_.try_lock(); }
    void unlock() { mutex_.unlock(); }

    /// Holds the lock for the life of the object.
    class scoped_lock {
    public:
        explicit scoped_lock(critical_section& section) : section_(section) { section_.lock(); }
        scoped_lock(const scoped_lock&) = delete;
        scoped_lock& operator=(const scoped_lock&) = delete;
        ~scoped_lock() { section_.unlock(); }

    private:
        critical_section& section_;
    };

private:
    std::mutex mutex_;
};

} // namespace Concurrency
